#include "bench/pairs.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

namespace korvane::bench {

namespace {

constexpr const char* lower_quartile = "q1";
constexpr const char* upper_quartile = "q3";

/// Gathers the medians and quartiles of each pair.
class pair_reporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& /*context*/) override { return true; }

    /// Called twice a pair: with its rounds, and with their statistics unless there was only one round.
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            add(run, results_[run.family_index]);
        }
    }

    std::vector<pair_result> results() const
    {
        std::vector<pair_result> in_order;
        for (const auto& [index, result] : results_) {
            in_order.push_back(result);
        }
        return in_order;
    }

private:
    static void add(const Run& run, pair_result& result)
    {
        const std::string& name = run.run_name.function_name;
        const std::size_t split = name.find(against);
        result.work = name.substr(0, split);
        result.rival = name.substr(split + std::strlen(against));
        result.unit = run.report_label.empty() ? result.unit : run.report_label;
        const bool only_round = run.run_type == Run::RT_Iteration && run.repetitions == 1;
        if (only_round || run.aggregate_name == "median") {
            result.library_s = run.counters.at(library_time);
            result.rival_s = run.counters.at(rival_time);
            result.ratio = run.counters.at(ratio);
        }
        if (only_round || run.aggregate_name == lower_quartile) {
            result.ratio_q1 = run.counters.at(ratio);
        }
        if (only_round || run.aggregate_name == upper_quartile) {
            result.ratio_q3 = run.counters.at(ratio);
        }
    }

    std::map<std::int64_t, pair_result> results_; ///< in the order of registration
};

void print(const std::vector<pair_result>& results)
{
    table pairs({{"work"},
                 {"against"},
                 {"per"},
                 {"library", as_time},
                 {"against", as_time},
                 {"ratio", as_ratio},
                 {"1st quartile", as_ratio},
                 {"3rd quartile", as_ratio}});
    for (const pair_result& result : results) {
        pairs.add({result.work, result.rival, result.unit, result.library_s, result.rival_s, result.ratio,
                   result.ratio_q1, result.ratio_q3});
    }
    pairs.print();
}

} // namespace

double quantile(std::vector<double> values, double share)
{
    const auto at = std::lround(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + at, values.end());
    return values[static_cast<std::size_t>(at)];
}

benchmark::internal::Benchmark* set_up_rounds(benchmark::internal::Benchmark* pair)
{
    return pair->UseManualTime()
        ->ComputeStatistics(lower_quartile, [](const std::vector<double>& v) { return quantile(v, 0.25); })
        ->ComputeStatistics(upper_quartile, [](const std::vector<double>& v) { return quantile(v, 0.75); });
}

std::vector<pair_result> run_pairs(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        std::_Exit(2); // not exit: a peer's thread may be at work
    }
    pair_reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    print(reporter.results());
    return reporter.results();
}

} // namespace korvane::bench
