#include "codec/record_writer.h"

#include "log/korvane_log.h"

namespace korvane {

/// Appends "[x,y]," if it fits and leaves `reserve` characters; says whether it did.
bool record_writer::append_vertex(const Tposition_xy& vertex, std::size_t reserve)
{
    const std::string_view x = text_of(vertex.x);
    const std::string_view y = text_of(vertex.y);
    if (x.size() + y.size() + std::string_view("[,],").size() + reserve > text_.room()) {
        return false;
    }
    text_.append("[");
    text_.append(x);
    text_.append(",");
    text_.append(y);
    text_.append("],");
    return true;
}

/// Appends as many vertices as fit whole and leave `reserve` characters.
void record_writer::append_vertices(const std::vector<Tposition_xy>& polygon, std::size_t reserve)
{
    std::size_t count = 0;
    while (count < polygon.size() && append_vertex(polygon[count], reserve)) {
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
    const std::size_t closing = text_of(polygon.front().x).size() + text_of(polygon.front().y).size() + 4;
    append_vertices(polygon, closing + end.size() - 1);
    append_vertex(polygon.front(), end.size() - 1);
    text_.remove_last();
    text_.append(end);
}

void record_writer::finish(std::string& out)
{
    text_.replace_last('}');
    out.assign(text_.view());
}

} // namespace korvane
