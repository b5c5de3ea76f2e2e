// Statistics of people counting, as a store lists them and as the library makes them dense.
#pragma once

#include <korvane/metadata_records.h>

#include <cstddef>
#include <string>
#include <vector>

namespace korvane::bench {

/// A type of statistics query, and how full its channels are.
struct query_type {
    const char* name;
    unsigned long long interval; ///< milliseconds, like the next
    unsigned long long start;
    std::size_t buckets;      ///< of a channel
    std::size_t filled_every; ///< which of them have a row
};

constexpr unsigned long long statistics_day_ms = 86'400'000;
constexpr unsigned long long statistics_start = 1'712'275'200'000;

constexpr query_type query_types[] = {
    {"15-min", statistics_day_ms / 96, statistics_start, 96, 12},
    {"15-min, busy", statistics_day_ms / 96, statistics_start, 96, 1},
    {"day", statistics_day_ms, statistics_start - 6 * statistics_day_ms, 7, 3},
    {"day, busy", statistics_day_ms, statistics_start - 6 * statistics_day_ms, 7, 1},
};

constexpr std::size_t channel_counts[] = {10, 100, 1'000};

/// The type's name and the number of channels.
std::string name_of(const query_type& type, std::size_t channels);

/// A store's reply with the rows of so many channels.
std::string make_statistics(const query_type& type, std::size_t channels);

/// The library's buckets of a reply.
std::vector<people_counting_metadata_information> decode_statistics(const std::string& reply,
                                                                    const query_type& type);

/// Parses a reply with json-c alone, and releases the tree.
void parse_statistics(const std::string& reply);

} // namespace korvane::bench
