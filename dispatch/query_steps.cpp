#include "dispatch/query_steps.h"

#include "log/korvane_log.h"
#include "util/coordinates.h"
#include "util/work_area.h"

#include <charconv>

namespace korvane {

json_object* open_filters(json_object* request, const query_log& log)
{
    json_object* filters = json_member(request, "metadata");
    if (!json_object_is_type(filters, json_type_object)) {
        log_debug("%s(%d)- [korvane] get metadata failed ", log.function, log.lines.metadata);
        return nullptr;
    }
    return filters;
}

std::vector<std::string> read_channels(json_object* filters, const query_log& log)
{
    constexpr std::size_t id_length = 32;
    std::vector<std::string> channels;
    for (json_object* element : json_elements(json_member(filters, "channel_guid_list"))) {
        const std::string_view id = json_text(element);
        if (id.size() == id_length) {
            channels.emplace_back(id);
        } else {
            log_debug("[korvane](%s:%d) channel_sid length : %d out of bounds(%d)", log.function,
                      log.lines.channel_length, static_cast<int>(id.size()), static_cast<int>(id_length));
        }
    }
    return channels;
}

int read_sort_dir(json_object* filters)
{
    return json_int_member(filters, "sort_dir", -1) == 1 ? 1 : -1;
}

page read_page(json_object* filters)
{
    return {json_int_member(filters, "skip", 0), json_int_member(filters, "limit", 10)};
}

time_range read_time_range(json_object* filters)
{
    json_object* end = json_member(filters, "end_time");
    return {static_cast<unsigned long long>(json_text_number(json_member(filters, "start_time"))),
            end ? static_cast<unsigned long long>(json_text_number(end)) : wall_clock_ms()};
}

std::vector<Tposition_xy> read_area(json_object* filters)
{
    std::vector<Tposition_xy> area;
    read_corners(filters, area);
    return area;
}

std::vector<std::string> read_texts(json_object* filters, const char* key)
{
    std::vector<std::string> texts;
    for (json_object* element : json_elements(json_member(filters, key))) {
        texts.emplace_back(json_text(element));
    }
    return texts;
}

int read_confidence_bound(json_object* filters, const query_log& log, bound which, int absent,
                          bool (*usable)(int value))
{
    const bool start = which == bound::start;
    json_object* member = json_member(filters, start ? "start_confidence" : "end_confidence");
    if (member == nullptr) {
        return absent;
    }
    const int value = json_object_get_int(member);
    if (usable(value)) {
        return value;
    }
    log_debug("[korvane](%s:%d) %s confidence value : %d out of bounds(%d~%d)", log.function,
              start ? log.lines.start_confidence : log.lines.end_confidence, start ? "start" : "end", value,
              0, 100);
    return absent;
}

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

/// Digits, a point, digits, and a sign perhaps: a coordinate's usual form.
bool is_decimal_fraction(std::string_view text)
{
    constexpr std::string_view digits = "0123456789";
    text.remove_prefix(!text.empty() && text.front() == '-' ? 1 : 0);
    const std::size_t point = text.find_first_not_of(digits);
    return point != 0 && point < text.size() && text[point] == '.' && point + 1 < text.size() &&
           text.find_first_not_of(digits, point + 1) == std::string_view::npos;
}

/// A number that is written as its text stands, null when that is none: what the parser would make of the text, at a
/// quarter of its cost.
json_owner make_coordinate(const char (&field)[33])
{
    const std::string_view text = text_of(field);
    if (!is_decimal_fraction(text)) {
        return parse_json(field);
    }
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
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

} // namespace

answer_row::answer_row(const query_log& log)
    : row_(make_json_object())
    , log_(log)
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
    add(name, made_json(json_object_new_double(value)));
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
    add(name, make_position(vertices.data(), count));
}

void fill_answer(json_object* answer, long long total, int over, json_owner rows)
{
    if (over != 0) {
        add_json_member(answer, "over", make_json_number(over));
    }
    add_json_member(answer, "count", make_json_number(static_cast<int>(total)));
    add_json_member(answer, "metadatalist", std::move(rows));
}

} // namespace korvane
