#include "bench/statistics_samples.h"

#include "codec/people_counting.h"

#include <benchmark/benchmark.h>
#include <json-c/json.h>

#include <cstdio>

namespace korvane::bench {

std::string name_of(const query_type& type, std::size_t channels)
{
    return std::string(type.name) + "/channels:" + std::to_string(channels);
}

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

std::vector<people_counting_metadata_information> decode_statistics(const std::string& reply,
                                                                    const query_type& type)
{
    std::vector<people_counting_metadata_information> buckets;
    int result = -1;
    trans_string_to_people_counting_metadata_statistics(reply, nullptr, nullptr, type.interval, type.start,
                                                        statistics_start + statistics_day_ms - 1, buckets,
                                                        result);
    return buckets;
}

void parse_statistics(const std::string& reply)
{
    json_object* tree = json_tokener_parse(reply.c_str());
    benchmark::DoNotOptimize(tree);
    json_object_put(tree);
}

} // namespace korvane::bench
