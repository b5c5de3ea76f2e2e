// Polygon vertices: checking, reading and writing coordinates.
#pragma once

#include <korvane/metadata_records.h>

#include <vector>

struct json_object;

/// 0, or result_out_of_picture when `axis` is "x" or "y" and `value` is below 0.0 or above 1.0. A NaN passes.
int check_coordinate_range(double value, char* axis);

/// Appends the corners "x1"/"y1" to "x4"/"y4" of `object`, in order, leaving out a pair with a member
/// missing. A coordinate text over 32 characters ends the process.
void set_xy_position(json_object* object, std::vector<Tposition_xy>& polygon);

namespace korvane {

/// set_xy_position for the library's own use: throws std::bad_alloc.
void read_corners(json_object* object, std::vector<Tposition_xy>& polygon);

/// Writes `value` with six decimals, whatever the host's locale, cut to the field.
void write_coordinate(char (&field)[33], double value);

} // namespace korvane
