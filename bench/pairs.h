// Times two ways of doing the same work in turns, so that whatever else the machine does meets both alike.
#pragma once

#include "bench/table.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace korvane::bench {

/// The counters of a round.
constexpr const char* library_time = "library_s"; ///< seconds a unit
constexpr const char* rival_time = "rival_s";     ///< seconds a unit
constexpr const char* ratio = "ratio";            ///< library / rival

/// Between the name of the work and that of the rival, in a benchmark's name.
constexpr const char* against = "/against:";

/// The value below which the given share of the values lies.
double quantile(std::vector<double> values, double share);

/// Gives a benchmark its name, its statistics over the rounds and its clock: each round reports its own time.
benchmark::internal::Benchmark* set_up_rounds(benchmark::internal::Benchmark* pair);

template <class Call>
double seconds_of(std::size_t calls, Call& call)
{
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < calls; ++i) {
        call();
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// How many calls take long enough for the clock's own cost not to show.
template <class Call>
std::size_t calls_a_turn(Call& call)
{
    constexpr double long_enough_s = 50e-6;
    std::size_t calls = 1;
    while (seconds_of(calls, call) < long_enough_s) {
        calls *= 2;
    }
    return calls;
}

/// A round: turns of the library and its rival, who begins changing each time, from round to round too. Its
/// result is the median turn of each, so that a few turns that the machine interrupted do not show.
template <class Library, class Rival>
void run_round(benchmark::State& state, double units_a_call, Library& library, Rival& rival,
               bool& library_begins)
{
    const std::size_t calls = calls_a_turn(library);
    std::vector<double> library_turns;
    std::vector<double> rival_turns;
    for (auto _ : state) {
        if (library_begins) {
            library_turns.push_back(seconds_of(calls, library));
        }
        rival_turns.push_back(seconds_of(calls, rival));
        if (!library_begins) {
            library_turns.push_back(seconds_of(calls, library));
        }
        library_begins = !library_begins;
        state.SetIterationTime(library_turns.back());
    }
    const double units = units_a_call * static_cast<double>(calls);
    const double library_median = quantile(library_turns, 0.5);
    const double rival_median = quantile(rival_turns, 0.5);
    state.counters[library_time] = library_median / units;
    state.counters[rival_time] = rival_median / units;
    state.counters[ratio] = library_median / rival_median;
}

inline void nothing_to_prepare() {}

/// Registers a pair. `library` and `rival` do the same work when called, `units_a_call` units of what `unit`
/// names; `prepare` is called before each round.
template <class Library, class Rival, class Prepare = void (*)()>
void add_pair(const std::string& work, const std::string& rival_name, const std::string& unit,
              std::size_t units_a_call, Library library, Rival rival, Prepare prepare = nothing_to_prepare)
{
    const std::string name = work + against + rival_name;
    const auto round = [=, library_begins = true](benchmark::State& state) mutable {
        show_progress(name);
        prepare();
        run_round(state, static_cast<double>(units_a_call), library, rival, library_begins);
        state.SetLabel(unit);
    };
    set_up_rounds(benchmark::RegisterBenchmark(name.c_str(), round));
}

/// A pair's medians over the rounds, and the quartiles of its rounds' ratios.
struct pair_result {
    std::string work;
    std::string rival;
    std::string unit;
    double library_s = 0; ///< a unit, like the next
    double rival_s = 0;
    double ratio = 0;
    double ratio_q1 = 0;
    double ratio_q3 = 0;
};

/// Runs what the command line asks for and prints the table; a wrong option ends the process with status 2.
std::vector<pair_result> run_pairs(int argc, char** argv);

} // namespace korvane::bench
