#include "dispatch/answer_rows.h"
#include "dispatch/ingest_steps.h"
#include "dispatch/kinds.h"
#include "dispatch/query_steps.h"
#include "log/korvane_log.h"
#include "store/ai_CDataBaseComm.h"
#include "store/record_requests.h"
#include "util/fixed_text.h"
#include "util/guarded.h"
#include "util/time_conversions.h"

#include <korvane/ai_metadata.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <utility>

namespace korvane {

namespace {

constexpr ingest_log counting_ingest{"add_people_counting_metadata", {}};
constexpr report_keys counting_keys{"appID", "appName", "version"};

/// Stores one counted line or zone.
int add_counts(json_object* object, const report_header& report, const result_header& result,
               json_owner spent)
{
    json_object* count_in = json_member(object, "people_count_in");
    if (count_in == nullptr) {
        return missing_member(counting_ingest, __LINE__, "people_count_in");
    }
    json_object* count_out = json_member(object, "people_count_out");
    if (count_out == nullptr) {
        return missing_member(counting_ingest, __LINE__, "people_count_out");
    }
    json_object* position = json_array_member(object, "position");
    if (position == nullptr) {
        return missing_member(counting_ingest, __LINE__, "position");
    }
    people_counting_metadata_information record;
    if (const int code = read_vertices(position, counting_ingest, record.positions)) {
        return code;
    }
    fill_header(record, report, result, abort_if_long);
    abort_if_long(record.description, json_text(json_member(object, "description")), "description");
    record.people_count_in = json_object_get_int(count_in);
    record.people_count_out = json_object_get_int(count_out);

    const int code = store_people_counting(record, std::move(spent));
    if (code != 0) {
        log_debug("[korvane](%s:%d) add people counting metadata failed", counting_ingest.function, __LINE__);
    }
    return code;
}

int walk_counts(json_object* request, const char* kind_name, const char* timestamp_text, report_use use)
{
    report_header report;
    if (const int code =
            open_report(request, counting_keys, kind_name, timestamp_text, counting_ingest, report)) {
        return code;
    }
    for (json_object* element : json_elements(report.results)) {
        const result_header result = read_result(element, report);
        json_object* objects = json_array_member(element, "objects");
        if (objects == nullptr) {
            return missing_member(counting_ingest, __LINE__, "objects");
        }
        for (json_object* list : json_elements(objects)) {
            if (!json_object_is_type(list, json_type_array)) {
                return missing_member(counting_ingest, __LINE__, "objects");
            }
            for (report_object object : report_objects(list, use)) {
                if (const int code = add_counts(object.value, report, result, std::move(object.spent))) {
                    return code;
                }
            }
        }
    }
    return as_int(result_ok);
}

constexpr query_log counting_query{"query_people_counting_metadata", {}};

using bucket = people_counting_metadata_information;

constexpr unsigned long long day_ms = 86'400'000;

/// With its day, the days that a "day" query shows; older counts are no longer needed.
constexpr unsigned long long earlier_days = 6;

/// What a query type means. The range ends with the day asked for.
struct query_type_row {
    const char* name;
    unsigned long long interval_ms;
    unsigned long long earlier_days;
};

constexpr query_type_row query_types[] = {
    {"15-min", 900'000, 0},
    {"hour", 3'600'000, 0},
    {"day", day_ms, earlier_days},
};

const query_type_row* find_query_type(std::string_view name)
{
    for (const query_type_row& row : query_types) {
        if (name == row.name) {
            return &row;
        }
    }
    return nullptr;
}

json_owner channel_buckets(const std::vector<bucket>& buckets, rows_as form)
{
    return make_rows(buckets, counting_query, form, [](answer_row& row, const bucket& bucket) {
        row.digits("start_time", bucket.timestamp);
        row.number("sum_in", bucket.people_count_in);
        row.number("sum_out", bucket.people_count_out);
    });
}

/// All channels are answered in groups of seven buckets, whatever the query type: with "day", a week a
/// channel.
constexpr unsigned long long group_size = 7;

json_owner make_group(const bucket* first, rows_as form)
{
    json_owner data = made_json(json_object_new_array());
    for (unsigned long long i = 0; i < group_size; ++i) {
        char date[date_size];
        write_day(first[i].timestamp, date);
        answer_row row(counting_query, form);
        row.text("date", date);
        row.number("sum_in", first[i].people_count_in);
        row.number("sum_out", first[i].people_count_out);
        add_json_element(data.get(), row.finish());
    }
    answer_row group(counting_query, form);
    group.text("channel_sid", first->channel_sid);
    json_owner object = group.finish();
    add_json_member(object.get(), "data", std::move(data));
    return object;
}

json_owner page_of_groups(const std::vector<bucket>& buckets, unsigned long long count, const page& asked,
                          rows_as form)
{
    const auto first = static_cast<unsigned long long>(asked.skip); // a negative one lies behind every group
    const auto most = static_cast<unsigned long long>(std::max(asked.limit, 0));
    const unsigned long long end = first < count ? first + std::min(count - first, most) : 0;
    tzset();
    answer_rows groups(form, end > first ? end - first : 0);
    for (unsigned long long group = first; group < end; ++group) {
        groups.add(make_group(&buckets[group * group_size], form));
    }
    return groups.finish();
}

/// A statistics query as it was read; the texts within the widths that the interface gives them.
struct statistics_query {
    bool one_channel = false;
    char channel_sid[33] = {};
    char query_type[33] = {};
    char start_time[24] = {};
};

int read_statistics_query(json_object* filters, statistics_query& asked)
{
    json_object* channel = json_member(filters, "channel_sid");
    abort_if_long(asked.channel_sid, json_text(channel), "channel_sid");
    asked.one_channel = asked.channel_sid[0] != '\0';

    const std::string_view query_type = json_text(json_member(filters, "query_type"));
    if (query_type.empty()) {
        log_debug("%s(%d)- [korvane] get query_type failed ", counting_query.function, __LINE__);
        return as_int(result_bad_request);
    }
    abort_if_long(asked.query_type, query_type, "query_type");

    json_object* start_time = json_member(filters, "start_time");
    if (start_time == nullptr) {
        log_debug("%s(%d)- [korvane] get start_time failed ", counting_query.function, __LINE__);
        return as_int(result_bad_request);
    }
    abort_if_long(asked.start_time, json_text(start_time), "start_time");
    return as_int(result_ok);
}

int find_statistics(json_object* request, json_object* answer, rows_as form)
{
    json_object* filters = open_filters(request, counting_query);
    if (filters == nullptr) {
        return as_int(result_bad_request);
    }
    statistics_query asked;
    if (const int code = read_statistics_query(filters, asked)) {
        return code;
    }
    const query_type_row* type = find_query_type(asked.query_type);
    if (type == nullptr) {
        log_debug("%s(%d)- [korvane] invalid query type ", counting_query.function, __LINE__);
        return as_int(result_unknown_query_type);
    }
    // Unsigned: a range that leaves the 64-bit times goes out wrapped, as it always has.
    const auto day =
        static_cast<unsigned long long>(start_of_day_ms(std::strtoll(asked.start_time, nullptr, 10)));
    std::vector<bucket> buckets;
    const int code = ai_CDataBaseComm().get_people_counting_metadata(
        asked.query_type, asked.one_channel ? asked.channel_sid : nullptr, type->interval_ms,
        day - type->earlier_days * day_ms, day + day_ms - 1, buckets, nullptr);
    if (code != 0) {
        log_debug("[korvane](%s:%d) get people counting metadata failed", counting_query.function, __LINE__);
        return code;
    }
    if (asked.one_channel) {
        add_json_members(answer, {{"metadatalist", channel_buckets(buckets, form)},
                                  {"channel_sid", make_json_text(asked.channel_sid)}});
    } else {
        const unsigned long long count = buckets.size() / group_size;
        json_owner groups = page_of_groups(buckets, count, read_page(filters), form);
        add_json_members(answer, {{"count", make_json_number(static_cast<int>(count))},
                                  {"metadatalist", std::move(groups)}});
    }
    return as_int(result_ok);
}

int delete_counts(char* timestamp)
{
    const long long day = start_of_day_ms(std::strtoll(timestamp, nullptr, 10));
    long long cutoff = 0;
    if (__builtin_sub_overflow(day, static_cast<long long>(earlier_days * day_ms), &cutoff)) {
        cutoff = LLONG_MIN; // wrapped, it would ask for everything to be deleted
    }
    const int code = ai_CDataBaseComm().delete_people_counting(static_cast<unsigned long long>(cutoff));
    if (code != 0) {
        log_debug("[korvane](%s:%d) delete people counting metadata failed", "delete_people_counting",
                  __LINE__);
    }
    return code;
}

} // namespace

int add_people_counting(json_object* request, const char* kind_name, const char* timestamp_text,
                        report_use use)
{
    return guarded_ingest(counting_ingest, request, kind_name, timestamp_text,
                          [&] { return walk_counts(request, kind_name, timestamp_text, use); });
}

unsigned int query_people_counting(json_object* request, json_object*& answer, rows_as form)
{
    return guarded_query(counting_query, request, answer,
                         [&] { return find_statistics(request, answer, form); });
}

} // namespace korvane

int add_people_counting_metadata(json_object* request, char* kind_name, char* timestamp_text)
{
    return korvane::add_people_counting(request, kind_name, timestamp_text, korvane::report_use::read);
}

unsigned int query_people_counting_metadata(json_object* query, json_object*& answer)
{
    return korvane::query_people_counting(query, answer, korvane::rows_as::objects);
}

int delete_people_counting(void* json_text)
{
    if (json_text == nullptr) {
        return korvane::as_int(korvane::result_null_request);
    }
    return korvane::guarded(__func__, [&] { return korvane::delete_counts(static_cast<char*>(json_text)); });
}
