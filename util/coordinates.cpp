#include "util/coordinates.h"

#include "util/fixed_text.h"
#include "util/json_members.h"
#include "util/result.h"
#include "util/six_decimals.h"

#include <new>

namespace korvane {

namespace {

struct corner_keys {
    const char* x;
    const char* y;
};

constexpr corner_keys corners[] = {{"x1", "y1"}, {"x2", "y2"}, {"x3", "y3"}, {"x4", "y4"}};

} // namespace

void read_corners(json_object* object, std::vector<Tposition_xy>& polygon)
{
    for (const corner_keys& corner : corners) {
        json_object* x = json_member(object, corner.x);
        json_object* y = json_member(object, corner.y);
        if (x && y) {
            Tposition_xy vertex;
            abort_if_long(vertex.x, json_text(x), corner.x);
            abort_if_long(vertex.y, json_text(y), corner.y);
            polygon.push_back(vertex);
        }
    }
}

void write_coordinate(char (&field)[33], double value)
{
    if (char* end = write_six_decimals(field, field + sizeof field - 1, value)) {
        *end = '\0';
    } else {
        cut(field, six_decimals(value).view());
    }
}

} // namespace korvane

int check_coordinate_range(double value, char* axis)
{
    if (axis == nullptr) {
        return korvane::as_int(korvane::result_null_request);
    }
    const std::string_view name = axis;
    const bool checked = name == "x" || name == "y";
    return korvane::as_int(checked && (value > 1.0 || value < 0.0) ? korvane::result_out_of_picture
                                                                   : korvane::result_ok);
}

void set_xy_position(json_object* object, std::vector<Tposition_xy>& polygon)
{
    try {
        korvane::read_corners(object, polygon);
    } catch (const std::bad_alloc&) {
        // No result to tell it by: the polygon holds the corners read so far.
    }
}
