#include "util/json_members.h"

#include "tests/support/decimal_comma.h"
#include "tests/util/parsed_json.h"

#include <climits>
#include <string>

namespace korvane::test {

namespace {

TEST(get_json_int, takes_what_json_c_makes_of_the_member)
{
    const struct {
        const char* json;
        int value;
    } cases[] = {
        {R"({"k":5})", 5},
        {R"({"k":0})", 0},
        {R"({"k":-5})", -5},
        {R"({"k":"5"})", 5},
        {R"({"k":"-12"})", -12},
        {R"({"k":5.7})", 5},
        {R"({"k":-5.7})", -5},
        {R"({"k":true})", 1},
        {R"({"k":false})", 0},
        {R"({"k":2147483647})", INT_MAX},
        {R"({"k":2147483648})", INT_MAX},
        {R"({"k":-2147483649})", INT_MIN},
        {R"({"k":99999999999999999999})", INT_MAX},
        {R"({"k":"text"})", 0},
        {R"({"k":[5]})", 0},
        {R"({"k":{"k":5}})", 0},
    };
    for (const auto& c : cases) {
        int value = 77;
        get_json_int(parsed(c.json).get(), "k", &value);
        EXPECT_EQ(value, c.value) << c.json;
    }
}

TEST(get_json_double, takes_what_json_c_makes_of_the_member)
{
    const struct {
        const char* json;
        double value;
    } cases[] = {
        {R"({"k":0.5})", 0.5},      {R"({"k":"0.5"})", 0.5},   {R"({"k":5})", 5.0},
        {R"({"k":-1e-3})", -0.001}, {R"({"k":"1e3"})", 1000.}, {R"({"k":true})", 1.0},
        {R"({"k":"x"})", 0.0},      {R"({"k":"0.5x"})", 0.0},  {R"({"k":"0,5"})", 0.0},
        {R"({"k":""})", 0.0},       {R"({"k":[0.5]})", 0.0},   {R"({"k":"1e999"})", 0.0},
    };
    for (const auto& c : cases) {
        double value = 77.0;
        get_json_double(parsed(c.json).get(), "k", &value);
        EXPECT_EQ(value, c.value) << c.json;
    }
}

TEST(get_json_double, reads_the_decimal_point_whatever_the_hosts_locale)
{
    const decimal_comma comma;
    for (const char* json : {R"({"k":0.5})", R"({"k":"0.5"})"}) {
        double value = 77.0;
        get_json_double(parsed(json).get(), "k", &value);
        EXPECT_EQ(value, 0.5) << json;
    }
    double value = 77.0;
    get_json_double(parsed(R"({"k":"0,5"})").get(), "k", &value);
    EXPECT_EQ(value, 0.0) << "a comma is no decimal point on the wire";
}

TEST(get_json_string, copies_the_members_text)
{
    const std::string long_text(5000, 'l');
    const std::string long_json = "{\"k\":\"" + long_text + "\"}";
    const struct {
        const char* json;
        std::string text;
    } cases[] = {
        {R"({"k":"text"})", "text"},
        {R"({"k":""})", ""},
        {R"({"k":"a\"b\\c\u00e9"})", "a\"b\\c\xc3\xa9"},
        {R"({"k":5})", "5"},
        {R"({"k":0.50})", "0.50"},
        {R"({"k":true})", "true"},
        {R"({"k":[1,2]})", "[ 1, 2 ]"},
        {R"({"k":{"a":1}})", "{ \"a\": 1 }"},
        {long_json.c_str(), long_text},
    };
    for (const auto& c : cases) {
        std::string out(6000, '#');
        get_json_string(parsed(c.json).get(), "k", out.data());
        EXPECT_EQ(out.substr(0, c.text.size() + 2), c.text + '\0' + '#') << c.json;
    }
}

TEST(get_json_timestamp, converts_the_members_text_base_10)
{
    const struct {
        const char* json;
        long long value;
    } cases[] = {
        {R"({"timestamp":1712345678901})", 1712345678901},
        {R"({"timestamp":"1712345678901"})", 1712345678901},
        {R"({"timestamp":"0"})", 0},
        {R"({"timestamp":-5})", -5},
        {R"({"timestamp":" 12 "})", 12},
        {R"({"timestamp":"+12"})", 12},
        {R"({"timestamp":"12abc"})", 12},
        {R"({"timestamp":"0x10"})", 0},
        {R"({"timestamp":"010"})", 10},
        {R"({"timestamp":"abc"})", 0},
        {R"({"timestamp":""})", 0},
        {R"({"timestamp":1.7e3})", 1},
        {R"({"timestamp":12.9})", 12},
        {R"({"timestamp":true})", 0},
        {R"({"timestamp":"9223372036854775807"})", LLONG_MAX},
        {R"({"timestamp":"9223372036854775808"})", LLONG_MAX},
        {R"({"timestamp":"-9999999999999999999999"})", LLONG_MIN},
    };
    for (const auto& c : cases) {
        long long value = 77;
        get_json_timestamp(parsed(c.json).get(), &value);
        EXPECT_EQ(value, c.value) << c.json;
    }
}

TEST(json_getters, leave_the_target_alone_when_the_member_is_missing)
{
    for (const char* json : {"{}", R"({"k":null,"timestamp":null})", R"({"K":1,"Timestamp":1,"k ":1})",
                             R"({"inner":{"k":1,"timestamp":1}})", "[1]", "5"}) {
        const auto object = parsed(json);
        int number = 77;
        double real = 77.0;
        char text[] = "kept";
        long long timestamp = 77;
        get_json_int(object.get(), "k", &number);
        get_json_double(object.get(), "k", &real);
        get_json_string(object.get(), "k", text);
        get_json_timestamp(object.get(), &timestamp);
        EXPECT_EQ(number, 77) << json;
        EXPECT_EQ(real, 77.0) << json;
        EXPECT_STREQ(text, "kept") << json;
        EXPECT_EQ(timestamp, 77) << json;
    }
}

TEST(json_getters, look_into_no_object_and_for_no_key_for_nothing)
{
    const auto object = parsed(R"({"":1,"k":1})");
    int number = 77;
    double real = 77.0;
    char text[] = "kept";
    long long timestamp = 77;
    get_json_int(nullptr, "k", &number);
    get_json_int(object.get(), nullptr, &number);
    get_json_double(nullptr, "k", &real);
    get_json_double(object.get(), nullptr, &real);
    get_json_string(nullptr, "k", text);
    get_json_string(object.get(), nullptr, text);
    get_json_timestamp(nullptr, &timestamp);
    EXPECT_EQ(number, 77);
    EXPECT_EQ(real, 77.0);
    EXPECT_STREQ(text, "kept");
    EXPECT_EQ(timestamp, 77);
}

TEST(json_getters, leave_the_object_as_it_was_without_a_target)
{
    const char* const text = R"({ "k": 1, "timestamp": 2 })";
    const auto object = parsed(text);
    get_json_int(object.get(), "k", nullptr);
    get_json_double(object.get(), "k", nullptr);
    get_json_string(object.get(), "k", nullptr);
    get_json_timestamp(object.get(), nullptr);
    EXPECT_STREQ(json_object_to_json_string(object.get()), text);
}

} // namespace

} // namespace korvane::test
