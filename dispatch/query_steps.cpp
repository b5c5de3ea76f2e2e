#include "dispatch/query_steps.h"

#include "log/korvane_log.h"
#include "util/coordinates.h"
#include "util/guarded.h"
#include "util/work_area.h"

namespace korvane {

json_object* open_filters(json_object* request, const query_log& log)
{
    json_object* filters = json_member(request, "metadata");
    if (filters == nullptr) {
        log_debug("%s(%d)- [korvane] get metadata failed ", log.function, log.lines.metadata);
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

void log_confidence_bound(const query_log& log, int line, const char* which, int value)
{
    log_debug("[korvane](%s:%d) %s confidence value : %d out of bounds(%d~%d)", log.function, line, which,
              value, 0, 100);
}

namespace {

/// Writes {"x":..., "y":...} for as many vertices as fit whole; says how many.
std::size_t write_vertices(work_area& text, const std::vector<Tposition_xy>& vertices)
{
    constexpr std::string_view frame = R"({"x":, "y":},)";
    std::size_t count = 0;
    for (const Tposition_xy& vertex : vertices) {
        const std::string_view x = text_of(vertex.x);
        const std::string_view y = text_of(vertex.y);
        if (frame.size() + x.size() + y.size() > text.room()) {
            break;
        }
        text.append("{\"x\":");
        text.append(x);
        text.append(", \"y\":");
        text.append(y);
        text.append("},");
        ++count;
    }
    return count;
}

} // namespace

answer_row::answer_row(const query_log& log)
    : row_(make_json_object())
    , log_(log)
{
}

void answer_row::add_text(const char* name, std::string_view value)
{
    add_json_member(row_.get(), name, make_json_text(value));
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
    add_json_member(row_.get(), name, make_json_number(value));
}

void answer_row::real(const char* name, double value)
{
    add_json_member(row_.get(), name, made_json(json_object_new_double(value)));
}

void answer_row::boolean(const char* name, bool value)
{
    add_json_member(row_.get(), name, made_json(json_object_new_boolean(value ? 1 : 0)));
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
    work_area text;
    text.append("[");
    const std::size_t count = write_vertices(text, vertices);
    text.replace_last(']');
    if (count < vertices.size()) {
        log_debug("[korvane](%s:%d) %s holds %zu of %zu vertices, the others do not fit", log_.function,
                  log_.lines.polygon, name, count, vertices.size());
    }
    add_json_member(row_.get(), name, parse_json(text.c_str()));
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
