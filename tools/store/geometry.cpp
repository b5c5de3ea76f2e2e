#include "geometry.h"

#include "refusal.h"

#include <geos_c.h>

#include <algorithm>
#include <cmath>

namespace {

// Beyond this, products of coordinates lose the digits that decide whether lines cross.
constexpr double largest_coordinate = 1e9;

/// GEOS keeps its settings and its last error in a context, one per thread.
class geos_context {
public:
    geos_context()
        : handle_(GEOS_init_r())
    {
        GEOSContext_setErrorMessageHandler_r(
            handle_, [](const char* message, void* kept) { *static_cast<std::string*>(kept) = message; },
            &error_);
    }
    ~geos_context() { GEOS_finish_r(handle_); }
    geos_context(const geos_context&) = delete;
    geos_context& operator=(const geos_context&) = delete;

    GEOSContextHandle_t handle() const { return handle_; }
    refusal error() const
    {
        return refusal(ret_code::bad_polygon, "polygon cannot be computed with: " + error_);
    }

private:
    GEOSContextHandle_t handle_;
    std::string error_;
};

geos_context& context()
{
    thread_local geos_context context;
    return context;
}

struct geometry_releaser {
    void operator()(GEOSGeometry* geometry) const { GEOSGeom_destroy_r(context().handle(), geometry); }
    void operator()(const GEOSPreparedGeometry* area) const
    {
        GEOSPreparedGeom_destroy_r(context().handle(), area);
    }
    void operator()(GEOSWKBReader* reader) const { GEOSWKBReader_destroy_r(context().handle(), reader); }
    void operator()(GEOSMakeValidParams* method) const
    {
        GEOSMakeValidParams_destroy_r(context().handle(), method);
    }
    void operator()(unsigned char* bytes) const { GEOSFree_r(context().handle(), bytes); }
};
template <typename type>
using geos_owner = std::unique_ptr<type, geometry_releaser>;

/// Takes what a GEOS call returned; null means that it failed.
template <typename type>
geos_owner<type> take(type* made)
{
    if (made == nullptr)
        throw context().error();
    return geos_owner<type>(made);
}

geos_owner<GEOSGeometry> make_geometry(const std::vector<vertex>& vertices)
{
    const GEOSContextHandle_t handle = context().handle();
    const bool is_polygon = vertices.size() > 2;
    const auto count = static_cast<unsigned>(vertices.size());
    GEOSCoordSequence* sequence = GEOSCoordSeq_create_r(handle, is_polygon ? count + 1 : count, 2);
    if (sequence == nullptr)
        throw context().error();
    for (unsigned at = 0; at < count; ++at)
        GEOSCoordSeq_setXY_r(handle, sequence, at, vertices[at].x, vertices[at].y);
    if (count == 1)
        return take(GEOSGeom_createPoint_r(handle, sequence)); // these take the sequence over
    if (count == 2)
        return take(GEOSGeom_createLineString_r(handle, sequence));
    GEOSCoordSeq_setXY_r(handle, sequence, count, vertices.front().x, vertices.front().y);
    auto ring = take(GEOSGeom_createLinearRing_r(handle, sequence));
    auto polygon = take(GEOSGeom_createPolygon_r(handle, ring.release(), nullptr, 0));
    if (GEOSisValid_r(handle, polygon.get()) == 1)
        return polygon;
    // Of the two methods, this one does not take minutes for a scribble of some hundred lines.
    const auto method = take(GEOSMakeValidParams_create_r(handle));
    GEOSMakeValidParams_setMethod_r(handle, method.get(), GEOS_MAKE_VALID_STRUCTURE);
    GEOSMakeValidParams_setKeepCollapsed_r(handle, method.get(), 1); // a polygon without area becomes a line
    return take(GEOSMakeValidWithParams_r(handle, polygon.get(), method.get()));
}

std::string well_known_binary(const GEOSGeometry* geometry)
{
    std::size_t size = 0;
    const auto bytes = take(GEOSGeomToWKB_buf_r(context().handle(), geometry, &size));
    return std::string(reinterpret_cast<const char*>(bytes.get()), size);
}

geos_owner<GEOSGeometry> read_well_known_binary(std::string_view bytes)
{
    const auto reader = take(GEOSWKBReader_create_r(context().handle()));
    return take(GEOSWKBReader_read_r(context().handle(), reader.get(),
                                     reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()));
}

} // namespace

shape make_shape(std::vector<vertex> vertices)
{
    if (vertices.empty() || vertices.size() > most_vertices)
        throw refusal(ret_code::bad_polygon, "polygon has " + std::to_string(vertices.size()) +
                                                 " vertices, expected 1 to " + std::to_string(most_vertices));
    shape made{vertices[0].x, vertices[0].x, vertices[0].y, vertices[0].y, {}};
    for (const vertex& at : vertices) {
        if (!(std::abs(at.x) <= largest_coordinate && std::abs(at.y) <= largest_coordinate))
            throw refusal(ret_code::bad_polygon, "polygon has a coordinate beyond 1e9");
        made.min_x = std::min(made.min_x, at.x);
        made.max_x = std::max(made.max_x, at.x);
        made.min_y = std::min(made.min_y, at.y);
        made.max_y = std::max(made.max_y, at.y);
    }
    const auto same = [](const vertex& a, const vertex& b) { return a.x == b.x && a.y == b.y; };
    vertices.erase(std::unique(vertices.begin(), vertices.end(), same), vertices.end());
    if (vertices.size() > 1 && same(vertices.front(), vertices.back()))
        vertices.pop_back();
    made.well_known_binary = well_known_binary(make_geometry(vertices).get());
    return made;
}

struct prepared_area::parts {
    geos_owner<GEOSGeometry> geometry;
    geos_owner<const GEOSPreparedGeometry> prepared; // looks into geometry, so it goes first
};

prepared_area::prepared_area(std::string_view bytes)
    : parts_(std::make_unique<parts>())
{
    parts_->geometry = read_well_known_binary(bytes);
    parts_->prepared = take(GEOSPrepare_r(context().handle(), parts_->geometry.get()));
}

prepared_area::~prepared_area() = default;

bool prepared_area::overlaps(std::string_view bytes) const
{
    const auto other = read_well_known_binary(bytes);
    const char result = GEOSPreparedIntersects_r(context().handle(), parts_->prepared.get(), other.get());
    if (result == 2)
        throw context().error();
    return result == 1;
}
