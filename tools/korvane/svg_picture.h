// One picture of where in the camera's view the records of an answer lie: every polygon translucent, so that
// places seen often are darker.
#pragma once

#include "json.h"

#include <string>

namespace host {

struct picture_labels {
    std::string title;
    std::string asked_for;
    double aspect; ///< width of the camera's view by its height
};

/// An SVG document of the "position" polygons of `records`, an array as query answers hold it.
std::string svg_picture(json_object* records, const picture_labels& labels);

} // namespace host
