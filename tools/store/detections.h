#pragma once

#include "query_string.h"
#include "records.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One parameter that narrows a query.
struct filter {
    std::string_view parameter;
    /// The value to bind; none when it filters nothing. Throws refusal (bad_parameter).
    std::optional<sql_value> (*read)(std::string_view name, std::string_view value);
    /// SQL over the kind's columns with one "?".
    std::string_view condition;
    /// Stands in for condition under partial_query=true; empty where that makes no difference.
    std::string_view partial_condition = {};
};

// The values that filters take. Negative bounds and empty texts are what clients send for "no such filter".
std::optional<sql_value> integer_value(std::string_view name, std::string_view value);
std::optional<sql_value> end_time_value(std::string_view name, std::string_view value); ///< 0: no end
std::optional<sql_value> bound_value(std::string_view name, std::string_view value);
std::optional<sql_value> boolean_value(std::string_view name, std::string_view value);
std::optional<sql_value> text_value(std::string_view name, std::string_view value);
std::optional<sql_value> integer_list_value(std::string_view name, std::string_view value);
std::optional<sql_value> quoted_list_value(std::string_view name, std::string_view value);
std::optional<sql_value> encoded_quoted_list_value(std::string_view name, std::string_view value);
std::optional<sql_value> tab_list_value(std::string_view name, std::string_view value);
std::optional<sql_value> bar_list_value(std::string_view name, std::string_view value);

/// The filters that all detections have (channels, times; the area comes by itself) and the kind's own.
std::vector<filter> with_common_filters(std::vector<filter> own);

/// A condition on the rows of a kind, with the values of its "?".
struct row_choice {
    std::string sql;
    std::vector<sql_value> values;
};

/// What a query says that is not about paging. `parameters` must know area_parameters() and the filters'
/// names.
row_choice read_choice(std::string_view table, const std::vector<filter>& filters,
                       const query_parameters& parameters);

/// The names of the filters' parameters, the area's and `more`.
std::vector<std::string_view> known_parameters(const std::vector<filter>& filters,
                                               const std::vector<std::string_view>& more);

/// What is special about one kind of detection.
struct detection_kind {
    record_kind record;
    std::vector<filter> filters;
};

/// Stores detections of one kind and answers queries for them.
class detection_table {
public:
    detection_table(database& db, const detection_kind& kind);

    /// POST: one record. The reply's text.
    std::string add(const std::string& body);

    /// GET: a page of the records that match, newest or oldest first, equal times in the order in which they
    /// came (oldest first) or its reverse. The reply's text.
    std::string query(const std::string& raw_query) const;

    std::int64_t count() const { return records_.count(); }

private:
    database& database_;
    const detection_kind& kind_;
    record_table records_;
};
