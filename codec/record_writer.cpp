#include "codec/record_writer.h"

#include "log/korvane_log.h"

namespace korvane {

/// Appends "[x,y]," for as many vertices as fit whole and leave `reserve` characters; says how many.
std::size_t record_writer::append_vertices(const std::vector<Tposition_xy>& polygon, std::size_t reserve)
{
    std::size_t count = 0;
    for (const Tposition_xy& vertex : polygon) {
        const std::string_view x = text_of(vertex.x);
        const std::string_view y = text_of(vertex.y);
        if (x.size() + y.size() + 4 + reserve > text_.room()) {
            break;
        }
        text_.append("[");
        text_.append(x);
        text_.append(",");
        text_.append(y);
        text_.append("],");
        ++count;
    }
    if (count < polygon.size()) {
        log_debug("[korvane](%s:%d) loc holds %zu of %zu vertices, the others do not fit", codec_, __LINE__,
                  count, polygon.size());
    }
    return count;
}

void record_writer::vertex_pairs(std::string_view name, const std::vector<Tposition_xy>& polygon)
{
    if (polygon.empty()) {
        return;
    }
    key(name);
    text_.append("[");
    append_vertices(polygon, 1); // for the comma behind the closing bracket
    text_.replace_last(']');
    text_.append(",");
}

void record_writer::finish(std::string& out)
{
    text_.replace_last('}');
    out.assign(text_.view());
}

} // namespace korvane
