// Setting and looking at the fields of any kind's record.
#pragma once

#include <korvane/metadata_records.h>

#include <json-c/json.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace korvane::test {

inline std::string times(std::size_t count, const std::string& text)
{
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

/// Copies a text with its terminator; of a longer one what fits, so that no terminator is left.
template <std::size_t size>
void set(char (&field)[size], const std::string& text)
{
    std::memcpy(field, text.c_str(), std::min(text.size() + 1, size));
}

/// The whole array, its last byte too: no terminator is left.
template <std::size_t size>
void fill(char (&field)[size], char letter)
{
    std::memset(field, letter, size);
}

template <std::size_t size>
bool all_zero(const char (&field)[size])
{
    return std::all_of(field, field + size, [](char byte) { return byte == 0; });
}

inline Tposition_xy vertex(const std::string& x, const std::string& y)
{
    Tposition_xy made;
    set(made.x, x);
    set(made.y, y);
    return made;
}

/// "(x y)(x y)..."
inline std::string vertices_of(const std::vector<Tposition_xy>& polygon)
{
    std::string text;
    for (const Tposition_xy& corner : polygon) {
        text += std::string("(") + corner.x + " " + corner.y + ")";
    }
    return text;
}

inline bool is_json_object(const std::string& text)
{
    const std::unique_ptr<json_object, int (*)(json_object*)> tree(json_tokener_parse(text.c_str()),
                                                                   json_object_put);
    return json_object_is_type(tree.get(), json_type_object);
}

} // namespace korvane::test
