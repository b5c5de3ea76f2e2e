#include "bench/pairs.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>

namespace korvane::bench {

namespace {

constexpr const char* lower_quartile = "q1";
constexpr const char* upper_quartile = "q3";

struct row {
    std::string work;
    std::string rival;
    std::string unit;
    double library_s = 0;
    double rival_s = 0;
    double ratio = 0;
    double ratio_q1 = 0;
    double ratio_q3 = 0;
};

std::string time_text(double seconds)
{
    struct scale {
        double below_s;
        double factor;
        const char* unit;
    };
    // From here on three digits round up to the next unit.
    constexpr std::array<scale, 4> scales{
        {{999.5e-9, 1e9, "ns"}, {999.5e-6, 1e6, "us"}, {0.9995, 1e3, "ms"}, {INFINITY, 1, "s"}}};
    const scale& scale =
        *std::find_if(scales.begin(), scales.end(), [&](const auto& s) { return seconds < s.below_s; });
    char text[32];
    std::snprintf(text, sizeof text, "%.3g %s", seconds * scale.factor, scale.unit);
    return text;
}

/// Prints one row a pair, in Markdown: medians of the rounds, and the quartiles of their ratios.
class pair_table : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& /*context*/) override { return true; }

    /// Called twice a pair: with its rounds, and with their statistics unless there was only one round.
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            add(run, rows_[run.family_index]);
        }
    }

    void Finalize() override
    {
        show_progress("");
        std::printf("| %-26s | %-12s | %-6s | %9s | %9s | %6s | %15s |\n", "work", "against", "per",
                    "library", "against", "ratio", "quartiles");
        std::printf("|%.28s|%.14s|%.8s|%.10s:|%.10s:|%.7s:|%.16s:|\n", dashes, dashes, dashes, dashes, dashes,
                    dashes, dashes);
        for (const auto& [index, row] : rows_) {
            std::printf("| %-26s | %-12s | %-6s | %9s | %9s | %6.3f | %6.3f to %5.3f |\n", row.work.c_str(),
                        row.rival.c_str(), row.unit.c_str(), time_text(row.library_s).c_str(),
                        time_text(row.rival_s).c_str(), row.ratio, row.ratio_q1, row.ratio_q3);
        }
    }

private:
    static constexpr const char* dashes = "------------------------------";

    static void add(const Run& run, row& row)
    {
        const std::string& name = run.run_name.function_name;
        const std::size_t split = name.find(against);
        row.work = name.substr(0, split);
        row.rival = name.substr(split + std::strlen(against));
        row.unit = run.report_label.empty() ? row.unit : run.report_label;
        const bool only_round = run.run_type == Run::RT_Iteration && run.repetitions == 1;
        if (only_round || run.aggregate_name == "median") {
            row.library_s = run.counters.at(library_time);
            row.rival_s = run.counters.at(rival_time);
            row.ratio = run.counters.at(ratio);
        }
        if (only_round || run.aggregate_name == lower_quartile) {
            row.ratio_q1 = run.counters.at(ratio);
        }
        if (only_round || run.aggregate_name == upper_quartile) {
            row.ratio_q3 = run.counters.at(ratio);
        }
    }

    std::map<std::int64_t, row> rows_; ///< in the order of registration
};

} // namespace

double quantile(std::vector<double> values, double share)
{
    const auto at = std::lround(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + at, values.end());
    return values[static_cast<std::size_t>(at)];
}

void show_progress(const std::string& name)
{
    if (isatty(STDERR_FILENO) != 0) {
        std::fprintf(stderr, "\r\033[K%s", name.c_str());
    }
}

benchmark::internal::Benchmark* set_up_rounds(benchmark::internal::Benchmark* pair)
{
    return pair->UseManualTime()
        ->ComputeStatistics(lower_quartile, [](const std::vector<double>& v) { return quantile(v, 0.25); })
        ->ComputeStatistics(upper_quartile, [](const std::vector<double>& v) { return quantile(v, 0.75); });
}

int run_pairs(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    pair_table table;
    benchmark::RunSpecifiedBenchmarks(&table);
    benchmark::Shutdown();
    return 0;
}

} // namespace korvane::bench
