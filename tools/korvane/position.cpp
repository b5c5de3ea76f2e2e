#include "position.h"

#include <algorithm>

namespace host {

json_object* position_of(json_object* record)
{
    json_object* position = json_member(record, "position");
    const bool is_polygon =
        json_object_is_type(position, json_type_array) && json_object_array_length(position) > 0;
    return is_polygon ? position : nullptr;
}

box box_around(json_object* position)
{
    box around;
    for (size_t index = 0; index < json_object_array_length(position); ++index) {
        json_object* vertex = json_object_array_get_idx(position, index);
        const double x = json_object_get_double(json_member(vertex, "x"));
        const double y = json_object_get_double(json_member(vertex, "y"));
        around = {std::min(around.left, x), std::max(around.right, x), std::min(around.top, y),
                  std::max(around.bottom, y)};
    }
    return around;
}

} // namespace host
