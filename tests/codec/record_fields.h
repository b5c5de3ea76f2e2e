// Setting and looking at the fields of any kind's record, and calling its two conversions.
#pragma once

#include <korvane/metadata_records.h>

#include <gtest/gtest.h>
#include <json-c/json.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
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

/// A kind's two conversions as a host calls them; both must succeed.
template <class Record, int (*to_text)(Record, std::string&),
          int (*to_records)(std::string, std::vector<Record>&, int&, long long&, int&)>
struct codec_under_test {
    using record = Record;

    /// What a reply left of its caller's variables.
    struct reading {
        int ret = 11;
        long long total = 22;
        int over = 33;
        std::vector<Record> records;
    };

    static std::string written(const Record& wanted)
    {
        std::string text = "what stood here before";
        EXPECT_EQ(to_text(wanted, text), 0);
        return text;
    }

    /// The text of a record in which only `change` has set something.
    static std::string written_with(const std::function<void(Record&)>& change)
    {
        Record changed;
        change(changed);
        return written(changed);
    }

    static reading read(const std::string& reply, reading before = {})
    {
        EXPECT_EQ(to_records(reply, before.records, before.ret, before.total, before.over), 0) << reply;
        return before;
    }

    /// The one record of a reply whose only element is `element`.
    static Record read_one(const std::string& element)
    {
        const reading seen = read(R"({"ret":0,"totalCounts":1,"datas":[)" + element + "]}");
        EXPECT_EQ(seen.records.size(), 1U) << element;
        return seen.records.empty() ? Record() : seen.records.front();
    }
};

} // namespace korvane::test
