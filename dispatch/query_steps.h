// The steps that the kinds' query handlers share: reading the filters and writing the answer.
#pragma once

#include "util/fixed_text.h"
#include "util/json_members.h"
#include "util/time_conversions.h"

#include <korvane/metadata_records.h>

#include <ctime>
#include <string>
#include <utility>
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

/// One object of an answer's list. Members stand in the order of the calls; each value goes out as json-c
/// writes it. Names are literals, each given once a row: they are neither
/// copied nor looked for.
class answer_row {
public:
    explicit answer_row(const query_log& log);

    template <std::size_t size>
    void text(const char* name, const char (&field)[size])
    {
        add_text(name, text_of(field));
    }

    template <std::size_t size>
    void text_if_set(const char* name, const char (&field)[size])
    {
        if (field[0] != '\0') {
            add_text(name, text_of(field));
        }
    }

    /// Local date and time of a timestamp.
    void date(const char* name, long long milliseconds);

    /// Decimal digits as a text: not every reader's numbers hold 64 bits.
    void digits(const char* name, long long value);

    void number(const char* name, int value);
    void real(const char* name, double value);
    void boolean(const char* name, bool value);

    /// Left out when -1. Hosts count streams from 1: a stored 0 is their first.
    void stream(const char* name, int stream_id);

    /// [{"x":..., "y":...}, ...], left out without vertices. As many vertices as 8191 characters hold; null
    /// when a coordinate is missing.
    void polygon(const char* name, const std::vector<Tposition_xy>& vertices);

    json_owner finish() { return std::move(row_); }

private:
    void add_text(const char* name, std::string_view value);

    void add(const char* name, json_owner value) { add_new_json_member(row_.get(), name, std::move(value)); }

    json_owner row_;
    const query_log& log_;
};

/// An answer's list: one row a record, in the reply's order. Asks for the local zone once for all of them.
template <class Record, class MakeRow>
json_owner make_rows(const std::vector<Record>& records, const query_log& log, MakeRow make_row)
{
    tzset();
    json_owner rows = made_json(json_object_new_array_ext(static_cast<int>(records.size())));
    for (const Record& record : records) {
        answer_row row(log);
        make_row(row, record);
        add_json_element(rows.get(), row.finish());
    }
    return rows;
}

/// Puts the store's counts and the list of rows into the answer: "over" unless 0, "count", "metadatalist".
void fill_answer(json_object* answer, long long total, int over, json_owner rows);

} // namespace korvane
