// A record's "position": the polygon around what was seen, vertices {"x": ..., "y": ...} in fractions of the
// picture.
#pragma once

#include "json.h"

namespace host {

/// The record's polygon, or null when it has none.
json_object* position_of(json_object* record);

struct box {
    double left = 1;
    double right = 0;
    double top = 1;
    double bottom = 0;
};

box box_around(json_object* position);

} // namespace host
