// The statistics of people counting: sparse rows made dense, against json-c's parse alone of the same reply. Time and
// memory must grow with the channels, and no faster.
#include "bench/fail.h"
#include "bench/heap_peak.h"
#include "bench/pairs.h"
#include "codec/people_counting.h"

#include <json-c/json.h>

#include <cstdio>
#include <memory>

namespace korvane::bench {

namespace {

using bucket = people_counting_metadata_information;

constexpr unsigned long long day_ms = 86'400'000;
constexpr unsigned long long start = 1'712'275'200'000;

struct query_type {
    const char* name;
    unsigned long long interval;
    unsigned long long start;
    std::size_t buckets;      ///< of a channel
    std::size_t filled_every; ///< which of them have a row
};

constexpr query_type query_types[] = {
    {"15-min", day_ms / 96, start, 96, 12},
    {"day", day_ms, start - 6 * day_ms, 7, 3},
};
constexpr std::size_t channel_counts[] = {10, 100, 1'000};

/// The rows that a store lists of so many channels.
std::string make_statistics(const query_type& type, std::size_t channels)
{
    std::string reply = R"({"ret":0,"datas":[)";
    for (std::size_t channel = 0; channel < channels; ++channel) {
        char id[33];
        std::snprintf(id, sizeof id, "0f1e2d3c4b5a69788796a5b4%08x", static_cast<unsigned>(channel));
        for (std::size_t i = 0; i < type.buckets; i += type.filled_every) {
            reply.append(reply.back() == '[' ? "" : ",").append(R"({"_id":{"channel_sid":")").append(id);
            reply.append(R"(","timestamp":)").append(std::to_string(type.start + i * type.interval));
            reply.append(R"(},"sum_in":)").append(std::to_string(channel + i));
            reply.append(R"(,"sum_out":)").append(std::to_string(i)).append("}");
        }
    }
    return reply + "]}";
}

std::vector<bucket> decode(const std::string& reply, const query_type& type)
{
    std::vector<bucket> buckets;
    int result = -1;
    trans_string_to_people_counting_metadata_statistics(reply, nullptr, nullptr, type.interval, type.start,
                                                        start + day_ms - 1, buckets, result);
    return buckets;
}

void parse(const std::string& reply)
{
    json_object* tree = json_tokener_parse(reply.c_str());
    benchmark::DoNotOptimize(tree);
    json_object_put(tree);
}

/// Fails unless every channel has every bucket, with the sums that the reply was made of.
void require_dense(const std::string& work, const std::vector<bucket>& buckets, const query_type& type,
                   std::size_t channels)
{
    if (buckets.size() != channels * type.buckets) {
        fail(work + ": the library made " + std::to_string(buckets.size()) + " buckets");
    }
    for (std::size_t at = 0; at < buckets.size(); ++at) {
        const std::size_t i = at % type.buckets;
        const bool filled = i % type.filled_every == 0;
        if (buckets[at].timestamp != static_cast<long long>(type.start + i * type.interval) ||
            buckets[at].people_count_in != static_cast<int>(filled ? at / type.buckets + i : 0)) {
            fail(work + ": bucket " + std::to_string(at) + " is wrong");
        }
    }
}

std::string name_of(const query_type& type, std::size_t channels)
{
    return std::string(type.name) + "/channels:" + std::to_string(channels);
}

void add_decode(const query_type& type, std::size_t channels)
{
    const std::string work = name_of(type, channels);
    const auto reply = std::make_shared<const std::string>(make_statistics(type, channels));
    require_dense(work, decode(*reply, type), type, channels);
    add_pair(
        work, "json-c parse", "channel", channels,
        [reply, type] { benchmark::DoNotOptimize(decode(*reply, type).data()); }, [reply] { parse(*reply); });
}

/// The most heap at one time; the buckets themselves are what the caller asked for.
void print_memory()
{
    constexpr double kib = 1024;
    std::printf("\n| %-20s | %9s | %12s | %11s | %14s |\n", "heap at most, KiB", "library", "json-c parse",
                "the buckets", "library/channel");
    std::printf("|----------------------|----------:|-------------:|------------:|----------------:|\n");
    for (const query_type& type : query_types) {
        for (const std::size_t channels : channel_counts) {
            const std::string reply = make_statistics(type, channels);
            const auto library = static_cast<double>(heap_peak_of([&] { decode(reply, type); }));
            const auto rival = static_cast<double>(heap_peak_of([&] { parse(reply); }));
            const auto buckets = static_cast<double>(channels * type.buckets * sizeof(bucket));
            std::printf("| %-20s | %9.0f | %12.0f | %11.0f | %15.1f |\n", name_of(type, channels).c_str(),
                        library / kib, rival / kib, buckets / kib,
                        library / kib / static_cast<double>(channels));
        }
    }
}

} // namespace

} // namespace korvane::bench

int main(int argc, char** argv)
{
    using namespace korvane::bench;
    for (const query_type& type : query_types) {
        for (const std::size_t channels : channel_counts) {
            add_decode(type, channels);
        }
    }
    const int status = run_pairs(argc, argv);
    if (status == 0) {
        print_memory();
    }
    return status;
}
