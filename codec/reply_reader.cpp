#include "codec/reply_reader.h"

#include "util/coordinates.h"

namespace korvane {

namespace {

/// A number of a vertex; a missing one leaves the coordinate empty.
void read_coordinate(json_object* vertex, std::size_t index, char (&field)[33])
{
    json_object* number =
        json_object_is_type(vertex, json_type_array) ? json_object_array_get_idx(vertex, index) : nullptr;
    if (number) {
        write_coordinate(field, json_number(number));
    }
}

void append_vertex(json_object* vertex, std::vector<Tposition_xy>& polygon)
{
    Tposition_xy& position = polygon.emplace_back();
    read_coordinate(vertex, 0, position.x);
    read_coordinate(vertex, 1, position.y);
}

} // namespace

void reply_row::vertex_pairs(const char* name, std::vector<Tposition_xy>& polygon)
{
    const json_elements vertices(json_member(row_, name));
    polygon.reserve(polygon.size() + vertices.size());
    for (json_object* vertex : vertices) {
        append_vertex(vertex, polygon);
    }
}

void reply_row::closed_ring(const char* name, std::vector<Tposition_xy>& polygon)
{
    for (json_object* ring : json_elements(json_member(json_member(row_, name), "coordinates"))) {
        const json_elements vertices(ring);
        if (polygon.empty()) { // for each of many rings it would move the whole list
            polygon.reserve(vertices.size());
        }
        for (std::size_t i = 0; i + 1 < vertices.size(); ++i) {
            append_vertex(vertices[i], polygon);
        }
    }
}

store_reply open_reply(const std::string& reply, int& ret, long long& total, int& over)
{
    store_reply opened;
    opened.tree = parse_json(reply.c_str());
    json_object* root = opened.tree.get();
    get_json_int(root, "ret", &ret);
    if (ret == ret_nothing) {
        return opened;
    }
    get_json_int(root, "overThreshold", &over);
    json_object* total_counts = json_member(root, "totalCounts");
    if (is_json_scalar(total_counts)) {
        total = json_text_number(total_counts);
        opened.rows = json_elements(json_member(root, "datas"));
    } else {
        total = 0;
    }
    return opened;
}

} // namespace korvane
