#include "util/url_encode.h"

#include <gtest/gtest.h>

namespace korvane::test {

namespace {

TEST(url_encode, escapes_all_but_unreserved_characters)
{
    using namespace std::string_literals;
    const std::string unreserved = "ABCXYZabcxyz0189-._~";
    const struct {
        std::string value;
        std::string encoded;
    } cases[] = {
        {"", ""},
        {unreserved, unreserved},
        {" ", "%20"},
        {"/", "%2F"},
        {"A B", "A%20B"},
        {"Ann\t", "Ann%09"},
        {"!\"#$%&'()*+,:;<=>?@[\\]^`{|}",
         "%21%22%23%24%25%26%27%28%29%2A%2B%2C%3A%3B%3C%3D%3E%3F%40%5B%5C%5D%5E%60%7B%7C%7D"},
        {"\xc3\xa9\xe4\xb8\xad", "%C3%A9%E4%B8%AD"},
        {"\r\n\x01\x7f\xff", "%0D%0A%01%7F%FF"},
        {"a\0b"s, "a%00b"},
        {"\0"s, "%00"},
        {"100%", "100%25"},
        {"%20", "%2520"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(url_encode(c.value), c.encoded);
    }
}

TEST(url_encode, encodes_a_hundred_thousand_characters)
{
    std::string expected;
    for (int i = 0; i < 100'000; ++i) {
        expected += "%2F";
    }
    EXPECT_EQ(url_encode(std::string(100'000, '/')), expected);
}

TEST(url_encode, is_empty_for_what_libcurl_does_not_take)
{
    EXPECT_EQ(url_encode(std::string(9'000'000, '/')), "");
}

} // namespace

} // namespace korvane::test
