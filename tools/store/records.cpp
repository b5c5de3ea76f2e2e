#include "records.h"

#include "refusal.h"

#include <json-c/json_visit.h>

#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <optional>

namespace {

refusal bad_member(std::string_view name, json_object* value, const std::string& expected)
{
    return refusal(ret_code::bad_member, "member " + quoted(name) + " is " + shortened(json_text(value)) +
                                             ", expected " + expected);
}

sql_value read_text(const member& wanted, json_object* value)
{
    if (!json_object_is_type(value, json_type_string))
        throw bad_member(wanted.name, value, "a string");
    const std::string_view text = json_string_value(value);
    if (text.size() > wanted.size)
        throw refusal(ret_code::bad_member, "member " + quoted(wanted.name) + " has " +
                                                std::to_string(text.size()) + " bytes, expected at most " +
                                                std::to_string(wanted.size));
    return std::string(text);
}

sql_value read_integer_member(const member& wanted, json_object* value)
{
    const std::int64_t number = json_object_get_int64(value);
    if (!json_object_is_type(value, json_type_int) || number < INT32_MIN || number > INT32_MAX)
        throw bad_member(wanted.name, value, "a whole number of 32 bits");
    return number;
}

std::optional<double> finite_number(json_object* value)
{
    const double number = json_object_get_double(value);
    const bool is_number =
        json_object_is_type(value, json_type_double) || json_object_is_type(value, json_type_int);
    return is_number && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

sql_value read_number_member(const member& wanted, json_object* value)
{
    if (const auto number = finite_number(value))
        return *number;
    throw bad_member(wanted.name, value, "a number");
}

sql_value read_boolean_member(const member& wanted, json_object* value)
{
    if (!json_object_is_type(value, json_type_boolean))
        throw bad_member(wanted.name, value, "true or false");
    return std::int64_t{json_object_get_boolean(value)};
}

sql_value read_time(const member& wanted, json_object* value)
{
    std::int64_t time = 0;
    if (!json_object_is_type(value, json_type_string) && !json_object_is_type(value, json_type_int))
        throw bad_member(wanted.name, value, "milliseconds as a string of digits");
    const std::string text(json_object_get_string(value)); // of a number: its digits
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), time);
    if (error != std::errc() || stop != text.data() + text.size())
        throw bad_member(wanted.name, value, "milliseconds as a string of digits");
    return time;
}

sql_value read_member(const member& wanted, json_object* value)
{
    switch (wanted.type) {
    case member_type::text:
        return read_text(wanted, value);
    case member_type::integer:
        return read_integer_member(wanted, value);
    case member_type::number:
        return read_number_member(wanted, value);
    case member_type::boolean:
        return read_boolean_member(wanted, value);
    case member_type::time:
        return read_time(wanted, value);
    }
    throw refusal(ret_code::internal_error, "a member of no known type");
}

// A record without a time counts as one of time 0, which clients leave out.
sql_value absent(const member& wanted)
{
    return wanted.type == member_type::time ? sql_value(std::int64_t{0}) : sql_value();
}

// json-c reads NaN and Infinity and would write them back, which no reader of JSON takes.
void refuse_not_finite(json_object* record)
{
    bool all_finite = true;
    const auto look = [](json_object* value, int, json_object*, const char*, std::size_t*,
                         void* result) -> int {
        if (!json_object_is_type(value, json_type_double) || std::isfinite(json_object_get_double(value)))
            return JSON_C_VISIT_RETURN_CONTINUE;
        *static_cast<bool*>(result) = false;
        return JSON_C_VISIT_RETURN_STOP;
    };
    json_c_visit(record, 0, look, &all_finite);
    if (!all_finite)
        throw refusal(ret_code::not_json, "body is not JSON: it has a number that is not finite");
}

void drop_null_members(json_object* record)
{
    std::vector<std::string> nulls;
    json_object_object_foreach(record, name, value)
    {
        if (value == nullptr)
            nulls.emplace_back(name);
    }
    for (const std::string& name : nulls)
        json_object_object_del(record, name.c_str());
}

json_object* find_member(json_object* object, std::string_view name)
{
    json_object* value = nullptr;
    json_object_object_get_ex(object, std::string(name).c_str(), &value);
    return value;
}

const char* sql_type(member_type type)
{
    switch (type) {
    case member_type::text:
        return " TEXT";
    case member_type::number:
        return " REAL";
    default:
        return " INTEGER";
    }
}

// The two tables of a kind, and the triggers that keep them and the row count together.
constexpr std::string_view schema_template = R"(
    CREATE TABLE IF NOT EXISTS KIND (id INTEGER PRIMARY KEY, COLUMNS record TEXT NOT NULL);
    CREATE INDEX IF NOT EXISTS KIND_time ON KIND (timestamp);
    CREATE VIRTUAL TABLE IF NOT EXISTS KIND_box USING rtree(id, min_x, max_x, min_y, max_y, +shape BLOB);
    CREATE TABLE IF NOT EXISTS row_count (kind TEXT PRIMARY KEY, rows INTEGER NOT NULL);
    INSERT OR IGNORE INTO row_count VALUES ('KIND', 0);
    CREATE TRIGGER IF NOT EXISTS KIND_added AFTER INSERT ON KIND BEGIN
        UPDATE row_count SET rows = rows + 1 WHERE kind = 'KIND';
    END;
    CREATE TRIGGER IF NOT EXISTS KIND_removed AFTER DELETE ON KIND BEGIN
        DELETE FROM KIND_box WHERE id = old.id;
        UPDATE row_count SET rows = rows - 1 WHERE kind = 'KIND';
    END;)";

void replace_all(std::string& text, std::string_view word, std::string_view replacement)
{
    for (std::size_t at = 0; (at = text.find(word, at)) != std::string::npos; at += replacement.size())
        text.replace(at, word.size(), replacement);
}

std::string schema(const record_kind& kind)
{
    std::string columns;
    for (const member& each : kind.members)
        if (each.where == kept::as_column)
            columns += std::string(each.name) + sql_type(each.type) + ",";
    std::string text(schema_template);
    replace_all(text, "KIND", kind.table);
    replace_all(text, "COLUMNS", columns);
    return text;
}

std::string insert_statement(const record_kind& kind)
{
    std::string columns;
    std::string values;
    for (const member& each : kind.members)
        if (each.where == kept::as_column) {
            columns += std::string(each.name) + ", ";
            values += "?, ";
        }
    return "INSERT INTO " + std::string(kind.table) + " (" + columns + "record) VALUES (" + values + "?)";
}

vertex read_vertex(json_object* value)
{
    const bool is_pair = json_object_is_type(value, json_type_array) && json_object_array_length(value) == 2;
    const auto x = is_pair ? finite_number(json_object_array_get_idx(value, 0)) : std::nullopt;
    const auto y = is_pair ? finite_number(json_object_array_get_idx(value, 1)) : std::nullopt;
    if (!x || !y)
        throw refusal(ret_code::bad_polygon,
                      "member \"loc\" has the vertex " + shortened(json_text(value)) + ", expected [x,y]");
    return {*x, *y};
}

} // namespace

std::vector<member> with_header(std::size_t description_size, std::vector<member> own)
{
    std::vector<member> members = {
        {"app_id", member_type::text, 127, kept::in_record},
        {"app_name", member_type::text, 63, kept::in_record},
        {"model", member_type::text, 63, kept::in_record},
        {"brand", member_type::text, 127, kept::in_record},
        {"func_name", member_type::text, 127, kept::in_record},
        {"timestamp", member_type::time, 0, kept::as_column},
        {"version", member_type::text, 127, kept::in_record},
        {"task_name", member_type::text, 63, kept::in_record},
        {"description", member_type::text, description_size, kept::in_record},
        {"channel_sid", member_type::text, 32, kept::as_column},
        {"stream_id", member_type::integer, 0, kept::in_record},
    };
    members.insert(members.end(), own.begin(), own.end());
    return members;
}

std::vector<vertex> read_vertex_list(json_object* loc)
{
    if (!json_object_is_type(loc, json_type_array))
        throw refusal(ret_code::bad_polygon,
                      "member \"loc\" is " + shortened(json_text(loc)) + ", expected [[x,y],...]");
    std::vector<vertex> vertices;
    for (std::size_t at = 0; at < json_object_array_length(loc); ++at)
        vertices.push_back(read_vertex(json_object_array_get_idx(loc, at)));
    return vertices;
}

std::vector<vertex> read_closed_ring(json_object* loc)
{
    json_object* type = find_member(loc, "type");
    json_object* rings = find_member(loc, "coordinates");
    if (!json_object_is_type(type, json_type_string) || json_string_value(type) != "Polygon" ||
        !json_object_is_type(rings, json_type_array) || json_object_array_length(rings) != 1)
        throw refusal(ret_code::bad_polygon,
                      "member \"loc\" is " + shortened(json_text(loc)) +
                          ", expected {\"type\":\"Polygon\",\"coordinates\":[[[x,y],...]]} with one ring");
    std::vector<vertex> ring = read_vertex_list(json_object_array_get_idx(rings, 0));
    if (ring.size() < 2 || ring.front().x != ring.back().x || ring.front().y != ring.back().y)
        throw refusal(ret_code::bad_polygon,
                      "member \"loc\" has a ring whose last vertex does not repeat the first");
    ring.pop_back();
    return ring;
}

record_table::record_table(database& db, const record_kind& kind)
    : database_(db)
    , kind_(kind)
    , insert_(insert_statement(kind))
    , insert_box_("INSERT INTO " + std::string(kind.table) + "_box VALUES (?, ?, ?, ?, ?, ?)")
{
    database_.execute(schema(kind));
}

void record_table::add(json_object* record)
{
    refuse_not_finite(record);
    drop_null_members(record);
    std::vector<sql_value> columns;
    for (const member& each : kind_.members) {
        json_object* value = find_member(record, each.name);
        sql_value read = value == nullptr ? absent(each) : read_member(each, value);
        if (each.where == kept::as_column)
            columns.push_back(std::move(read));
    }
    columns.emplace_back(json_text(record));
    std::optional<shape> polygon;
    if (json_object* loc = find_member(record, "loc"))
        polygon = make_shape(kind_.read_loc(loc));

    transaction change(database_);
    database_.change(insert_, columns);
    if (polygon)
        database_.change(insert_box_,
                         {database_.last_insert_id(), polygon->min_x, polygon->max_x, polygon->min_y,
                          polygon->max_y, blob{std::move(polygon->well_known_binary)}});
    change.commit();
}

std::int64_t record_table::count() const
{
    return database_.integer("SELECT rows FROM row_count WHERE kind = ?", {std::string(kind_.table)});
}
