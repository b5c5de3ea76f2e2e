#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// A point of the picture, as fractions of its width and height.
struct vertex {
    double x;
    double y;
};

/// A polygon ready for the database: its box and its well-known binary.
struct shape {
    double min_x, max_x, min_y, max_y;
    std::string well_known_binary;
};

/// The most vertices a polygon may have: more than the texts of clients have room for. Repairing one that
/// crosses itself everywhere takes time by the square of this number.
constexpr std::size_t most_vertices = 500;

/// One vertex makes a point, two a line, more a polygon, closed by itself; vertices that repeat the one
/// before do not count. A polygon that crosses itself (a bow tie) becomes the area that its lines enclose,
/// one without area a line or a point; a spike without width on it is dropped.
/// Throws refusal (bad_polygon) for no vertex, too many, or coordinates that are too large to compute with.
shape make_shape(std::vector<vertex> vertices);

/// An area that many shapes are compared with.
class prepared_area {
public:
    explicit prepared_area(std::string_view well_known_binary);
    ~prepared_area();
    prepared_area(const prepared_area&) = delete;
    prepared_area& operator=(const prepared_area&) = delete;

    /// Whether the two have a point in common; touching is enough.
    bool overlaps(std::string_view well_known_binary) const;

private:
    struct parts;
    std::unique_ptr<parts> parts_;
};
