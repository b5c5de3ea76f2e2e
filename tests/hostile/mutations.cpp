#include "tests/hostile/mutations.h"

#include <nlohmann/json.hpp>

namespace korvane::test {

namespace {

using json = nlohmann::ordered_json;
using pointer = json::json_pointer;

constexpr char mark[] = "@@ here @@";

std::string repeated(std::size_t count, const std::string& text)
{
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

void collect_places(const json& value, const pointer& here, std::vector<pointer>& places)
{
    if (value.is_object()) {
        for (const auto& [key, member] : value.items()) {
            places.push_back(here / key);
            collect_places(member, here / key, places);
        }
    } else if (value.is_array()) {
        for (std::size_t i = 0; i < value.size(); ++i) {
            places.push_back(here / i);
            collect_places(value[i], here / i, places);
        }
    }
}

/// Every value but the whole.
std::vector<pointer> places_in(const json& tree)
{
    std::vector<pointer> places;
    collect_places(tree, pointer(), places);
    return places;
}

/// The text with the value at `place` replaced by bytes that need not be JSON.
class text_with_a_hole {
public:
    text_with_a_hole(json tree, const pointer& place)
    {
        tree[place] = mark;
        text_ = tree.dump();
        const std::string quoted = '"' + std::string(mark) + '"';
        at_ = text_.find(quoted);
        size_ = quoted.size();
    }

    std::string filled_with(const std::string& bytes) const
    {
        return std::string(text_).replace(at_, size_, bytes);
    }

private:
    std::string text_;
    std::size_t at_;
    std::size_t size_;
};

} // namespace

const std::vector<std::string>& short_values()
{
    static const std::vector<std::string> values{
        // of every type
        "null",
        "true",
        "false",
        "0",
        "-1",
        "7",
        "0.5",
        R"("")",
        R"("text")",
        R"("0.5")",
        "[]",
        "[1]",
        "{}",
        R"({"a":1})",
        "[[],{}]",
        // at the ends, and past them
        "-0",
        "2147483648",
        "9223372036854775807",
        "-9223372036854775808",
        "9223372036854775808",
        "18446744073709551616",
        "-9223372036854775809",
        "1e308",
        "1e999",
        "-1e999",
        "1e-999",
        R"("1e999")",
        R"("-922337203685477580")",
        // json-c reads these, JSON does not have them
        "NaN",
        "Infinity",
        "-Infinity",
        "'quoted'",
        "+1",
        "01",
        "/* */ 1",
        "tRuE",
        // texts with bytes that mean something elsewhere
        R"("\u0000")",
        R"("a\u0000b")",
        R"("\u0001\u001f\u007f")",
        R"("\r\nX: y")",
        R"("a b?c&d=\u0025")",
        R"("\ud800")",
        R"("\"\\/")",
        "\"\x01\"",
        "\"\xff\xfe\"",
        "\"\xc3\"",
        "\"\xed\xa0\x80\"",
        "\"\xf4\x90\x80\x80\"",
        // no values
        "",
        "x",
        "\xff",
        "[",
        "\"",
        "1 2",
        ",",
    };
    return values;
}

const std::vector<std::string>& long_values()
{
    static const std::vector<std::string> values{
        '"' + std::string(33, 'x') + '"',
        '"' + std::string(129, 'x') + '"',
        '"' + std::string(9000, 'x') + '"',
        '"' + repeated(300, "\xc3\xa4") + '"',
        std::string(400, '1'),
        "0." + std::string(400, '1'),
        "1e" + std::string(40, '1'),
        repeated(24, "[") + repeated(24, "]"),
        repeated(200, R"({"a":)") + "1" + repeated(200, "}"),
        "[" + repeated(200, "[1,1],") + "[0.5,0.5]]",
    };
    return values;
}

const std::vector<std::string>& some_long_values()
{
    static const std::vector<std::string> values{long_values()[0], long_values()[7]};
    return values;
}

void for_each_replacement(const std::string& text, const std::vector<std::string>& values,
                          const use_mutation& use)
{
    const json tree = json::parse(text);
    for (const pointer& place : places_in(tree)) {
        const text_with_a_hole hole(tree, place);
        for (const std::string& value : values) {
            use({place.to_string() + " = " + value.substr(0, 60), hole.filled_with(value), place.back()});
        }
    }
    for (const std::string& value : values) {
        use({"all = " + value.substr(0, 60), value, {}});
    }
}

void for_each_rearrangement(const std::string& text, const use_mutation& use)
{
    const json tree = json::parse(text);
    for (const pointer& place : places_in(tree)) {
        const json& parent = tree[place.parent_pointer()];
        const std::string value = tree[place].dump();
        if (parent.is_object()) {
            const text_with_a_hole hole(tree, place);
            const std::string key = '"' + place.back() + "\":";
            for (const char* other : {"null", "7", R"("text")", "[]", "{}"}) {
                use({place.to_string() + " twice, then " + other,
                     hole.filled_with(value + ',' + key + other),
                     {}});
                use({place.to_string() + " twice, first " + other,
                     hole.filled_with(other + (',' + key) + value),
                     {}});
            }
        } else {
            use({place.to_string() + " twice",
                 text_with_a_hole(tree, place).filled_with(value + ',' + value),
                 {}});
        }
        json without = tree;
        json& place_of_it = without[place.parent_pointer()];
        if (parent.is_object()) {
            place_of_it.erase(place.back());
        } else {
            place_of_it.erase(static_cast<std::size_t>(std::stoul(place.back())));
        }
        use({place.to_string() + " missing", without.dump(), {}});
    }
}

void for_each_truncation(const std::string& text, const use_mutation& use)
{
    for (std::size_t length = 0; length < text.size(); ++length) {
        use({"the first " + std::to_string(length) + " bytes", text.substr(0, length), {}});
    }
}

void for_each_depth(const std::string& text, const use_mutation& use)
{
    constexpr std::size_t levels_read = 32;
    const json tree = json::parse(text);
    for (std::size_t depth = 1; depth <= levels_read + 8; ++depth) {
        use({std::to_string(depth) + " arrays around it",
             repeated(depth, "[") + text + repeated(depth, "]"),
             {}});
        use({std::to_string(depth) + " objects around it",
             repeated(depth, R"({"a":)") + text + repeated(depth, "}"),
             {}});
        json deeper = tree;
        deeper["a"] = mark;
        const pointer place("/a");
        use({std::to_string(depth) + " arrays inside it",
             text_with_a_hole(deeper, place).filled_with(repeated(depth, "[") + repeated(depth, "]")),
             {}});
    }
    constexpr std::size_t very_deep = 5000;
    use({"very deep", repeated(very_deep, "[") + text + repeated(very_deep, "]"), {}});
    use({"very deep, without an end", repeated(very_deep, R"({"a":[)"), {}});
}

void for_each_nonsense(const std::string& text, const use_mutation& use)
{
    const std::string zero_bytes("\0\0", 2);
    for (const std::string& nonsense :
         {std::string(), std::string(" "), std::string("\n\n\n"), "\xef\xbb\xbf" + text, " " + text + "\r\n",
          text + text, text + "x", text + zero_bytes, zero_bytes + text, "x" + text,
          std::string("<html></html>"), std::string("nul"), std::string("{\"a\"}"), std::string("{\"a\":}"),
          std::string("[,]"), std::string("/* never closed"), std::string("// a comment\n") + text,
          std::string(4000, ' ') + text, std::string(100, '\xff')}) {
        use({"nonsense: " + nonsense.substr(0, 40), nonsense, {}});
    }
}

} // namespace korvane::test
