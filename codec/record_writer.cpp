#include "codec/record_writer.h"

#include "log/korvane_log.h"

namespace korvane {

namespace {

/// Characters of "[x,y],".
std::size_t length_of(const Tposition_xy& vertex)
{
    return text_of(vertex.x).size() + text_of(vertex.y).size() + 4;
}

} // namespace

void record_writer::append_vertex(const Tposition_xy& vertex)
{
    text_.append("[");
    text_.append(text_of(vertex.x));
    text_.append(",");
    text_.append(text_of(vertex.y));
    text_.append("],");
}

/// Appends as many vertices as fit whole and leave `reserve` characters.
void record_writer::append_vertices(const std::vector<Tposition_xy>& polygon, std::size_t reserve)
{
    std::size_t count = 0;
    while (count < polygon.size() && length_of(polygon[count]) + reserve <= text_.room()) {
        append_vertex(polygon[count]);
        ++count;
    }
    if (count < polygon.size()) {
        log_debug("[korvane](%s:%d) loc holds %zu of %zu vertices, the others do not fit", codec_, __LINE__,
                  count, polygon.size());
    }
}

void record_writer::vertex_pairs(std::string_view name, const std::vector<Tposition_xy>& polygon)
{
    constexpr std::string_view end = "],"; // in the place of the last comma
    if (polygon.empty()) {
        return;
    }
    key(name);
    text_.append("[");
    append_vertices(polygon, end.size() - 1);
    text_.remove_last();
    text_.append(end);
}

void record_writer::closed_ring(std::string_view name, const std::vector<Tposition_xy>& polygon)
{
    constexpr std::string_view end = "]]},"; // in the place of the last comma
    if (polygon.empty()) {
        return;
    }
    key(name);
    text_.append(R"({"type":"Polygon","coordinates":[[)");
    append_vertices(polygon, length_of(polygon.front()) + end.size() - 1);
    append_vertex(polygon.front());
    text_.remove_last();
    text_.append(end);
}

void record_writer::finish(std::string& out)
{
    text_.replace_last('}');
    out.assign(text_.view());
}

} // namespace korvane
