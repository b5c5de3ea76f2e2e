// How long single inserts of one record take, the slow ones above all, with the bare calls in turns beside them: what
// the machine does now and then meets both.
//
//   latency_bench FILE.json [CALLS]
#include "bench/bare_exchange.h"
#include "bench/fail.h"
#include "bench/library_calls.h"
#include "bench/pairs.h"
#include "bench/peer.h"
#include "bench/samples.h"

#include <algorithm>
#include <cstdlib>

namespace korvane::bench {

namespace {

struct latencies {
    std::vector<double> library;
    std::vector<double> rival;
};

template <class Library, class Rival>
latencies time_each(std::size_t calls, Library& library, Rival& rival)
{
    latencies times;
    for (std::size_t i = 0; i < calls; ++i) {
        const bool library_begins = i % 2 == 0;
        if (library_begins) {
            times.library.push_back(seconds_of(1, library));
        }
        times.rival.push_back(seconds_of(1, rival));
        if (!library_begins) {
            times.library.push_back(seconds_of(1, library));
        }
    }
    return times;
}

void add_side(table& table, const char* name, const std::vector<double>& times)
{
    const double median = quantile(times, 0.5);
    const double late = quantile(times, 0.99);
    table.add({name, static_cast<double>(times.size()), median, late, late / median,
               *std::max_element(times.begin(), times.end())});
}

void run(const char* file, std::size_t calls)
{
    peer peer;
    peer.answer_with(make_stored_reply());
    std::string report = make_report(1);
    const auto library = [&] { insert(report); };
    bare_exchanges rival(peer.record(library), peer.answer_size());
    show_progress("latency of " + std::to_string(calls) + " inserts");
    const latencies times = time_each(calls, library, rival);

    table table({{"insert of 1 record"},
                 {"calls", as_count},
                 {"median", as_time},
                 {"99 %", as_time},
                 {"99 % / median", as_ratio},
                 {"worst", as_time}});
    add_side(table, "library", times.library);
    add_side(table, "bare calls", times.rival);
    table.print();
    table.write_json(file);
}

} // namespace

} // namespace korvane::bench

int main(int argc, char** argv)
{
    const std::size_t calls = argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 3'000;
    if (argc < 2 || argc > 3 || calls == 0) {
        korvane::bench::fail("usage: latency_bench FILE.json [CALLS]");
    }
    korvane::bench::run(argv[1], calls);
}
