// Writing a query's answer.
#pragma once

#include "dispatch/query_steps.h"
#include "util/fixed_text.h"
#include "util/guarded.h"
#include "util/json_members.h"

#include <korvane/metadata_records.h>

#include <ctime>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/// What an answer's rows become: objects, for a host that called the handler and looks at the tree, or at once their
/// text, for an answer whose text alone counts. A row's memory then serves the next one, which halves the time of a
/// row of 10,000 and needs no tree of them all.
enum class rows_as { objects, text };

/// One object of an answer's list. Members stand in the order of the calls; each value goes out as json-c
/// writes it. Names are literals, each given once a row: they are neither copied nor looked for.
class answer_row {
public:
    /// As text, a row may borrow from its record.
    answer_row(const query_log& log, rows_as form);

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
    rows_as form_;
};

/// An answer's list in the making.
class answer_rows {
public:
    answer_rows(rows_as form, std::size_t expected);

    void add(json_owner row);

    /// The list, an array; as text it is one to json-c's writer alone.
    json_owner finish();

private:
    rows_as form_;
    json_owner rows_;
    std::string text_;
};

/// An answer's list: one row a record, in the reply's order. Asks for the local zone once for all of them.
template <class Record, class MakeRow>
json_owner make_rows(const std::vector<Record>& records, const query_log& log, rows_as form, MakeRow make_row)
{
    tzset();
    answer_rows rows(form, records.size());
    for (const Record& record : records) {
        answer_row row(log, form);
        make_row(row, record);
        rows.add(row.finish());
    }
    return rows.finish();
}

/// Puts the store's counts and the list of rows into the answer: "over" unless 0, "count", "metadatalist".
void fill_answer(json_object* answer, long long total, int over, json_owner rows);

/// Runs a query handler's work: null pointers give result_null_request, nothing is thrown.
template <class Query>
unsigned int guarded_query(const query_log& log, json_object* request, json_object* answer, Query query)
{
    if (request == nullptr || !json_object_is_type(answer, json_type_object)) {
        return result_null_request;
    }
    return static_cast<unsigned int>(guarded(log.function, query));
}

} // namespace korvane
