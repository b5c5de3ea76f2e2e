#include "dispatch/answer_rows.h"

#include "log/korvane_log.h"
#include "util/time_conversions.h"
#include "util/work_area.h"

#include <json-c/printbuf.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cmath>
#include <memory>

namespace korvane {

namespace {

/// How many vertices fit whole into the text of a polygon.
std::size_t vertices_that_fit(const std::vector<Tposition_xy>& vertices)
{
    constexpr std::string_view frame = R"({"x":, "y":},)";
    std::size_t room = work_area::size - 1 - std::string_view("[").size();
    std::size_t count = 0;
    for (const Tposition_xy& vertex : vertices) {
        const std::size_t length = frame.size() + text_of(vertex.x).size() + text_of(vertex.y).size();
        if (length > room) {
            break;
        }
        room -= length;
        ++count;
    }
    return count;
}

const char* behind_digits(const char* at)
{
    while (*at >= '0' && *at <= '9') {
        ++at;
    }
    return at;
}

/// Digits, a point, digits, and a sign perhaps: a coordinate's usual form.
bool is_decimal_fraction(const char* text)
{
    const char* digits = text + (*text == '-' ? 1 : 0);
    const char* point = behind_digits(digits);
    if (point == digits || *point != '.') {
        return false;
    }
    const char* end = behind_digits(point + 1);
    return end != point + 1 && *end == '\0';
}

/// A number that is written as its text stands, null when that is none: what the parser would make of the text, at a
/// quarter of its cost.
json_owner make_coordinate(const char (&field)[33])
{
    if (!is_decimal_fraction(field)) {
        return parse_json(field);
    }
    double value = 0;
    std::from_chars(field, field + sizeof field, value);
    return made_json(json_object_new_double_s(value, field));
}

/// [{"x":..., "y":...}, ...]; null when a coordinate is no number.
json_owner make_position(const Tposition_xy* vertices, std::size_t count)
{
    json_owner position = made_json(json_object_new_array_ext(static_cast<int>(count)));
    for (std::size_t i = 0; i < count; ++i) {
        json_owner x = make_coordinate(vertices[i].x);
        json_owner y = make_coordinate(vertices[i].y);
        if (!x || !y) {
            return nullptr;
        }
        json_owner vertex = make_json_object();
        add_new_json_member(vertex.get(), "x", std::move(x));
        add_new_json_member(vertex.get(), "y", std::move(y));
        add_json_element(position.get(), std::move(vertex));
    }
    return position;
}

/// json-c's writer of such a list, from the vertices themselves and as it would set their objects.
int write_position(json_object* position, printbuf* out, int /*level*/, int /*flags*/)
{
    int result = 0;
    const auto append = [out, &result](std::string_view piece) {
        result = std::min(result, printbuf_memappend(out, piece.data(), static_cast<int>(piece.size())));
    };
    std::string_view before = "[ ";
    for (const Tposition_xy& vertex :
         *static_cast<std::vector<Tposition_xy>*>(json_object_get_userdata(position))) {
        append(before);
        append(R"({ "x": )");
        append(text_of(vertex.x));
        append(R"(, "y": )");
        append(text_of(vertex.y));
        append(" }");
        before = ", ";
    }
    append(" ]");
    return result;
}

/// json-c's writer of a number, but for the host's decimal sign, of which json-c mends the comma alone.
int write_real(json_object* number, printbuf* out, int /*level*/, int /*flags*/)
{
    constexpr int digits = 17;
    std::array<char, 32> text;
    char* end = std::to_chars(text.data(), text.data() + text.size(), json_object_get_double(number),
                              std::chars_format::general, digits)
                    .ptr;
    if (std::find_if(text.data(), end, [](char c) { return c == '.' || c == 'e'; }) == end) {
        *end++ = '.';
        *end++ = '0';
    }
    return printbuf_memappend(out, text.data(), static_cast<int>(end - text.data()));
}

bool are_decimal_fractions(const std::vector<Tposition_xy>& vertices)
{
    return std::all_of(vertices.begin(), vertices.end(), [](const Tposition_xy& vertex) {
        return is_decimal_fraction(vertex.x) && is_decimal_fraction(vertex.y);
    });
}

/// A list that is an empty array to all but json-c's writer, which looks at the vertices then. Without
/// objects for the vertices a query takes an eighth fewer instructions.
json_owner borrow_position(const std::vector<Tposition_xy>& vertices)
{
    json_owner position = made_json(json_object_new_array_ext(0));
    json_object_set_serializer(position.get(), write_position,
                               const_cast<std::vector<Tposition_xy>*>(&vertices), nullptr);
    return position;
}

} // namespace

answer_row::answer_row(const query_log& log, rows_as form)
    : row_(make_json_object())
    , log_(log)
    , form_(form)
{
}

void answer_row::add_text(const char* name, std::string_view value)
{
    add(name, make_json_text(value));
}

void answer_row::date(const char* name, long long milliseconds)
{
    char text[date_size];
    write_date(milliseconds, text);
    add_text(name, text_of(text));
}

void answer_row::digits(const char* name, long long value)
{
    add_text(name, std::to_string(value));
}

void answer_row::number(const char* name, int value)
{
    add(name, make_json_number(value));
}

void answer_row::real(const char* name, double value)
{
    json_owner number = made_json(json_object_new_double(value));
    if (std::isfinite(value)) {
        json_object_set_serializer(number.get(), write_real, nullptr, nullptr);
    }
    add(name, std::move(number));
}

void answer_row::boolean(const char* name, bool value)
{
    add(name, made_json(json_object_new_boolean(value ? 1 : 0)));
}

void answer_row::stream(const char* name, int stream_id)
{
    if (stream_id != -1) {
        number(name, stream_id == 0 ? 1 : stream_id);
    }
}

void answer_row::polygon(const char* name, const std::vector<Tposition_xy>& vertices)
{
    if (vertices.empty()) {
        return;
    }
    const std::size_t count = vertices_that_fit(vertices);
    if (count < vertices.size()) {
        log_debug("[korvane](%s:%d) %s holds %zu of %zu vertices, the others do not fit", log_.function,
                  __LINE__, name, count, vertices.size());
    }
    const bool borrowed =
        form_ == rows_as::text && count == vertices.size() && are_decimal_fractions(vertices);
    add(name, borrowed ? borrow_position(vertices) : make_position(vertices.data(), count));
}

namespace {

/// json-c's writer of a list that is text already.
int write_text(json_object* list, printbuf* out, int /*level*/, int /*flags*/)
{
    const auto& text = *static_cast<const std::string*>(json_object_get_userdata(list));
    if (text.size() > INT_MAX) {
        return -1; // json-c's texts are no longer
    }
    return printbuf_memappend(out, text.data(), static_cast<int>(text.size()));
}

void release_text(json_object* /*list*/, void* text)
{
    delete static_cast<std::string*>(text);
}

} // namespace

answer_rows::answer_rows(rows_as form, std::size_t expected)
    : form_(form)
    , rows_(made_json(json_object_new_array_ext(form == rows_as::objects ? static_cast<int>(expected) : 0)))
    , text_("[")
{
}

void answer_rows::add(json_owner row)
{
    if (form_ == rows_as::objects) {
        add_json_element(rows_.get(), std::move(row));
        return;
    }
    text_.append(text_.size() == 1 ? " " : ", "); // as json-c sets a list
    text_.append(json_text(row.get()));
}

json_owner answer_rows::finish()
{
    if (form_ == rows_as::text) {
        text_.append(" ]");
        auto text = std::make_unique<std::string>(std::move(text_));
        json_object_set_serializer(rows_.get(), write_text, text.release(), release_text);
    }
    return std::move(rows_);
}

void fill_answer(json_object* answer, long long total, int over, json_owner rows)
{
    add_json_members(answer, {{"over", over != 0 ? make_json_number(over) : nullptr},
                              {"count", make_json_number(static_cast<int>(total))},
                              {"metadatalist", std::move(rows)}});
}

} // namespace korvane
