#include "count_series.h"

#include "local_time.h"
#include "text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace host {

const std::vector<count_type>& count_types()
{
    static const std::vector<count_type> types = {
        {"15-min", "quarter hour", "TIME", "%H:%M", "%H:%M", 8},
        {"hour", "hour", "TIME", "%H:%M", "%H:%M", 2},
        {"day", "day", "DAY", "%a %Y-%m-%d", "%a %e", 1},
    };
    return types;
}

namespace {

// A day's bucket is 24 hours long: in a week in which the clocks change it need not begin at midnight.
std::string label_of(long long start, const count_type& type)
{
    const std::string label = local_time_text(start, type.label_format);
    const std::string clock = local_time_text(start, "%H:%M");
    return std::strcmp(type.name, "day") == 0 && clock != "00:00" ? label + " " + clock : label;
}

count_bucket read_bucket(json_object* entry, long long start, const count_type& type)
{
    return {label_of(start, type), local_time_text(start, type.mark_format),
            json_object_get_int64(json_member(entry, "sum_in")),
            json_object_get_int64(json_member(entry, "sum_out"))};
}

count_series read_channel(json_object* answer, json_object* entries, const count_type& type)
{
    count_series series = {"channel " + printable(json_text(answer, "channel_sid")), {}, type.mark_every};
    for (size_t index = 0; index < json_object_array_length(entries); ++index) {
        json_object* entry = json_object_array_get_idx(entries, index);
        const long long start = std::strtoll(json_text(entry, "start_time").c_str(), nullptr, 10);
        series.buckets.push_back(read_bucket(entry, start, type));
    }
    return series;
}

// The entries of a group tell their dates only, so they are labelled as days whatever they are.
count_series read_group(json_object* group, const count_type& type, long long number)
{
    const count_type& day = count_types().back();
    const std::string channel = "channel " + printable(json_text(group, "channel_sid"));
    const bool one_channel = &type == &day;
    count_series series = {
        one_channel ? channel : "group " + grouped(number) + ", begins in " + channel, {}, 1};
    json_object* entries = json_member(group, "data");
    for (size_t index = 0; entries != nullptr && index < json_object_array_length(entries); ++index) {
        json_object* entry = json_object_array_get_idx(entries, index);
        const std::string date = json_text(entry, "date");
        const auto start = parse_local_time(date, day_edge::first_moment);
        series.buckets.push_back(read_bucket(entry, start.value_or(0), day));
    }
    return series;
}

} // namespace

count_sums sums_of(const count_series& series)
{
    count_sums sums;
    for (const count_bucket& bucket : series.buckets) {
        sums.in += bucket.in;
        sums.out += bucket.out;
    }
    return sums;
}

long long greatest_count(const std::vector<count_series>& all)
{
    long long greatest = 0;
    for (const count_series& series : all) {
        for (const count_bucket& bucket : series.buckets) {
            greatest = std::max({greatest, bucket.in, bucket.out});
        }
    }
    return greatest;
}

std::vector<count_series> read_counts(json_object* answer, const count_type& type, long long skipped)
{
    json_object* list = json_member(answer, "metadatalist");
    if (!json_object_is_type(list, json_type_array)) {
        throw std::runtime_error("the answer holds no \"metadatalist\"");
    }
    if (json_member(answer, "channel_sid") != nullptr) {
        return {read_channel(answer, list, type)};
    }
    std::vector<count_series> groups;
    for (size_t index = 0; index < json_object_array_length(list); ++index) {
        groups.push_back(read_group(json_object_array_get_idx(list, index), type,
                                    skipped + static_cast<long long>(index) + 1));
    }
    return groups;
}

} // namespace host
