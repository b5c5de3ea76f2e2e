// The statistics of people counting: sparse rows made dense, against json-c's parse alone of the same reply. The time
// must grow with the channels, and no faster.
#include "bench/fail.h"
#include "bench/pairs.h"
#include "bench/statistics_samples.h"

#include <memory>

namespace korvane::bench {

namespace {

/// Fails unless every channel has every bucket, with the sums that the reply was made of.
void require_dense(const std::string& work, const std::vector<people_counting_metadata_information>& buckets,
                   const query_type& type, std::size_t channels)
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

void add_decode(const query_type& type, std::size_t channels)
{
    const std::string work = name_of(type, channels);
    const auto reply = std::make_shared<const std::string>(make_statistics(type, channels));
    require_dense(work, decode_statistics(*reply, type), type, channels);
    const auto library = [reply, type] { benchmark::DoNotOptimize(decode_statistics(*reply, type).data()); };
    add_pair(work, "json-c parse", "channel", channels, library, [reply] { parse_statistics(*reply); });
    // Most of the memory is the buckets themselves, which the interface asks for.
    add_pair(work, "parse + empty buckets", "channel", channels, library,
             [reply, count = channels * type.buckets] {
                 parse_statistics(*reply);
                 benchmark::DoNotOptimize(std::vector<people_counting_metadata_information>(count).data());
             });
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
    run_pairs(argc, argv);
}
