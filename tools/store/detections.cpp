#include "detections.h"

#include "refusal.h"

#include <array>
#include <cstdint>

namespace {

constexpr std::array<std::string_view, 8> area_parameters = {"x1", "y1", "x2", "y2", "x3", "y3", "x4", "y4"};
constexpr std::string_view partial_query = "partial_query";

// The corners x1,y1 to x4,y4; none when the query names no corner at all.
std::optional<shape> read_area(const query_parameters& parameters)
{
    bool has_any = false;
    for (const std::string_view name : area_parameters)
        has_any = has_any || parameters.find(name);
    if (!has_any)
        return std::nullopt;
    const auto coordinate = [&](std::size_t at) {
        return read_number(area_parameters[at], parameters.require(area_parameters[at]));
    };
    std::vector<vertex> corners;
    for (std::size_t at = 0; at < area_parameters.size(); at += 2)
        corners.push_back({coordinate(at), coordinate(at + 1)});
    return make_shape(corners);
}

// The R*Tree finds the boxes that meet the area's box; the shapes in them decide.
void add_area(row_choice& choice, std::string_view table, shape area)
{
    choice.sql +=
        " AND id IN (SELECT id FROM " + std::string(table) +
        "_box WHERE max_x >= ? AND min_x <= ? AND max_y >= ? AND min_y <= ? AND overlaps(shape, ?))";
    choice.values.insert(choice.values.end(), {area.min_x, area.max_x, area.min_y, area.max_y,
                                               blob{std::move(area.well_known_binary)}});
}

std::int64_t read_count(const query_parameters& parameters, std::string_view name, std::int64_t otherwise)
{
    const auto value = parameters.find(name);
    const std::int64_t count = value ? read_integer(name, *value) : otherwise;
    if (count < 0)
        throw refusal(ret_code::bad_parameter,
                      "parameter " + std::string(name) + " is " + quoted(*value) + ", expected 0 or more");
    return count;
}

std::string_view read_order(const query_parameters& parameters)
{
    const std::string_view direction = parameters.find("sort_dir").value_or("-1");
    if (direction == "1")
        return " ORDER BY timestamp, id";
    if (direction == "-1")
        return " ORDER BY timestamp DESC, id DESC";
    throw refusal(ret_code::bad_parameter, "parameter sort_dir is " + quoted(direction) +
                                               ", expected 1 (oldest first) or -1 (newest first)");
}

} // namespace

std::optional<sql_value> integer_value(std::string_view name, std::string_view value)
{
    return read_integer(name, value);
}

std::optional<sql_value> end_time_value(std::string_view name, std::string_view value)
{
    const std::int64_t time = read_integer(name, value);
    return time == 0 ? std::nullopt : std::optional<sql_value>(time);
}

std::optional<sql_value> bound_value(std::string_view name, std::string_view value)
{
    const double bound = read_number(name, value);
    return bound < 0 ? std::nullopt : std::optional<sql_value>(bound);
}

std::optional<sql_value> boolean_value(std::string_view name, std::string_view value)
{
    return std::int64_t{read_boolean(name, value)};
}

std::optional<sql_value> text_value(std::string_view, std::string_view value)
{
    return value.empty() ? std::nullopt : std::optional<sql_value>(std::string(value));
}

std::optional<sql_value> integer_list_value(std::string_view name, std::string_view value)
{
    std::string items;
    for (const std::int64_t item : read_integer_list(name, value))
        items += (items.empty() ? "" : ",") + std::to_string(item);
    return "[" + items + "]";
}

std::optional<sql_value> quoted_list_value(std::string_view name, std::string_view value)
{
    return json_array_of(read_quoted_list(name, value));
}

std::optional<sql_value> encoded_quoted_list_value(std::string_view name, std::string_view value)
{
    return json_array_of(read_encoded_quoted_list(name, value));
}

std::optional<sql_value> tab_list_value(std::string_view name, std::string_view value)
{
    return json_array_of(read_tab_list(name, value));
}

std::optional<sql_value> bar_list_value(std::string_view name, std::string_view value)
{
    return json_array_of(read_bar_list(name, value));
}

std::vector<filter> with_common_filters(std::vector<filter> own)
{
    std::vector<filter> filters = {
        {"channel_sid", quoted_list_value, "channel_sid IN (SELECT value FROM json_each(?))"},
        {"start_time", integer_value, "timestamp >= ?"},
        {"end_time", end_time_value, "timestamp <= ?"},
    };
    filters.insert(filters.end(), own.begin(), own.end());
    return filters;
}

std::vector<std::string_view> known_parameters(const std::vector<filter>& filters,
                                               const std::vector<std::string_view>& more)
{
    std::vector<std::string_view> known(area_parameters.begin(), area_parameters.end());
    for (const filter& each : filters) {
        known.push_back(each.parameter);
        if (!each.partial_condition.empty())
            known.push_back(partial_query);
    }
    known.insert(known.end(), more.begin(), more.end());
    return known;
}

row_choice read_choice(std::string_view table, const std::vector<filter>& filters,
                       const query_parameters& parameters)
{
    row_choice choice{"TRUE", {}};
    const auto partial = parameters.find(partial_query);
    const bool is_partial = partial && read_boolean(partial_query, *partial);
    for (const filter& each : filters) {
        const auto value = parameters.find(each.parameter);
        auto bound = value ? each.read(each.parameter, *value) : std::nullopt;
        if (!bound)
            continue;
        const bool by_part = is_partial && !each.partial_condition.empty();
        choice.sql += " AND " + std::string(by_part ? each.partial_condition : each.condition);
        choice.values.push_back(std::move(*bound));
    }
    if (auto area = read_area(parameters))
        add_area(choice, table, std::move(*area));
    return choice;
}

detection_table::detection_table(database& db, const detection_kind& kind)
    : database_(db)
    , kind_(kind)
    , records_(db, kind.record)
{
}

std::string detection_table::add(const std::string& body)
{
    records_.add(parse_json_object(body).get());
    return R"({"ret":0})";
}

std::string detection_table::query(const std::string& raw_query) const
{
    const query_parameters parameters(raw_query,
                                      known_parameters(kind_.filters, {"sort_dir", "skip", "limit"}));
    row_choice choice = read_choice(kind_.record.table, kind_.filters, parameters);
    const std::string_view order = read_order(parameters);
    const std::int64_t skip = read_count(parameters, "skip", 0);
    const std::int64_t limit = read_count(parameters, "limit", 10);

    const std::string from = " FROM " + std::string(kind_.record.table) + " WHERE " + choice.sql;
    const std::int64_t total = database_.integer("SELECT COUNT(*)" + from, choice.values);
    std::string text =
        R"({"ret":0,"totalCounts":)" + std::to_string(total) + R"(,"overThreshold":0,"datas":[)";
    choice.values.insert(choice.values.end(), {limit, skip});
    result_rows rows =
        database_.query("SELECT record" + from + std::string(order) + " LIMIT ? OFFSET ?", choice.values);
    for (bool first = true; rows.next(); first = false) {
        text += first ? "" : ",";
        text += rows.text(0);
    }
    return text + "]}";
}
