#include "tests/wire/expected_text.h"
#include "tests/wire/placeholders.h"

#include <gtest/gtest.h>

namespace korvane::test {

namespace {

const expected_text* no_name(std::string_view)
{
    return nullptr;
}

constexpr time_window window{1712345678901, 1712345678999};

TEST(expected_text, is_met_byte_for_byte)
{
    const struct {
        const char* written;
        std::string actual;
        std::optional<std::size_t> parts_at;
    } cases[] = {
        {"", "", std::nullopt},
        {"abc", "abc", std::nullopt},
        {"a<<blank>>b", "a b", std::nullopt},
        {"<<blank*3>>", "   ", std::nullopt},
        {"<<x0d0a00>>", std::string("\r\n\0", 3), std::nullopt},
        {"<<crlf>>", "\r\n", std::nullopt},
        {"[<<\"ab\"*3>>]", "[ababab]", std::nullopt},
        {"[<<\"ab\"*0>>]", "[]", std::nullopt},
        {"<<\"a*b\"*2>>", "a*ba*b", std::nullopt},
        {"t=<<now>>&", "t=1712345678901&", std::nullopt},
        {"t=<<now>>&", "t=1712345678999&", std::nullopt},
        {"f(<<line>>)", "f(7)", std::nullopt},
        {"abc", "abd", 2},
        {"abc", "ab", 2},
        {"abc", "abcd", 3},
        {"", "x", 0},
        {"t=<<now>>&", "t=1712345678900&", 2},
        {"t=<<now>>&", "t=1712345679000&", 2},
        {"t=<<now>>&", "t=&", 2},
        {"t=<<now>>&", "t=17123456789010&", 2},
        {"f(<<line>>)", "f()", 2},
        {"f(<<line>>)", "f(-7)", 2},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(expand(c.written, no_name).mismatch(c.actual, window), c.parts_at)
            << c.written << " | " << c.actual;
    }
}

TEST(expected_text, counts_a_moment_as_thirteen_digits)
{
    EXPECT_EQ(expand("t=<<now>>&", no_name).size(), 16U);
}

TEST(expected_text, uses_named_texts)
{
    const expected_text vertex = expand("[0.5,<<now>>],", no_name);
    const auto find = [&](std::string_view name) { return name == "vertex" ? &vertex : nullptr; };
    EXPECT_EQ(expand("<<vertex*2>><<vertex>>", find).spelled(), "[0.5,<<now>>],[0.5,<<now>>],[0.5,<<now>>],");
}

TEST(expected_text, refuses_placeholders_it_does_not_know)
{
    for (const char* text : {"<<", "<<now", "<<>>", "<<Now>>", "<<name>>", "<<name*2>>", "<<\"a\"*>>",
                             "<<\"a\"*-1>>", "<<\"a*2>>", "<<x>>", "<<x0>>", "<<x0g>>", "<<\"a\"*2x>>"}) {
        EXPECT_THROW(expand(text, no_name), std::invalid_argument) << text;
    }
}

TEST(expected_text, shows_where_texts_part)
{
    const std::string shown = describe_mismatch(expected_text("a\r\nbc"), "a\r\nbd", 4);
    EXPECT_NE(shown.find("expected:\n    a\\r\\n\n    bc\n"), std::string::npos) << shown;
    EXPECT_NE(shown.find("at byte 4"), std::string::npos) << shown;
    EXPECT_NE(shown.find("b  >>>  d"), std::string::npos) << shown;
}

} // namespace

} // namespace korvane::test
