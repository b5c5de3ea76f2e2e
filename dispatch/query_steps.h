// The steps that the kinds' query handlers share for reading the filters.
#pragma once

#include "util/json_members.h"

#include <korvane/metadata_records.h>

#include <string>
#include <vector>

namespace korvane {

/// The line told with each message of the shared steps. These defaults name the message's row here.
struct query_lines {
    int metadata = __LINE__;
    int channel_length = __LINE__;
    int start_confidence = __LINE__;
    int end_confidence = __LINE__;
};

/// Where a kind's query logs from.
struct query_log {
    const char* function;
    query_lines lines;
};

/// The request's filters, an object; null, logged, when the request has none.
json_object* open_filters(json_object* request, const query_log& log);

/// "channel_guid_list": the ids of exactly 32 characters; any other is logged and left out.
std::vector<std::string> read_channels(json_object* filters, const query_log& log);

/// "sort_dir": 1 for 1, else -1.
int read_sort_dir(json_object* filters);

struct page {
    int skip;
    int limit;
};

/// "skip" and "limit"; by default the first ten.
page read_page(json_object* filters);

struct time_range {
    unsigned long long start;
    unsigned long long end;
};

/// "start_time" and "end_time" in milliseconds; by default all until now.
time_range read_time_range(json_object* filters);

/// "x1"/"y1" to "x4"/"y4".
std::vector<Tposition_xy> read_area(json_object* filters);

/// The texts of an optional array; none when it is missing.
std::vector<std::string> read_texts(json_object* filters, const char* key);

enum class bound { start, end };

/// "start_confidence" or "end_confidence" as far as the kind can use it; `absent` for any other, which is
/// logged, and without one.
int read_confidence_bound(json_object* filters, const query_log& log, bound which, int absent,
                          bool (*usable)(int value));

} // namespace korvane
