#include "util/coordinates.h"

#include "tests/support/decimal_comma.h"
#include "tests/util/parsed_json.h"

#include <cmath>
#include <csignal>
#include <limits>
#include <string>

namespace korvane::test {

namespace {

unsigned check(double value, std::string axis)
{
    return static_cast<unsigned>(check_coordinate_range(value, axis.data()));
}

TEST(check_coordinate_range, accepts_the_picture_with_its_bounds)
{
    for (const char* axis : {"x", "y"}) {
        for (const double value : {0.0, -0.0, 1.0, 0.5, 1e-300, 0.9999999, std::nextafter(1.0, 0.0)}) {
            EXPECT_EQ(check(value, axis), 0U) << axis << ' ' << value;
        }
        EXPECT_EQ(check(std::numeric_limits<double>::quiet_NaN(), axis), 0U) << "both comparisons are false";
    }
}

TEST(check_coordinate_range, refuses_what_is_outside)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const char* axis : {"x", "y"}) {
        for (const double value : {1.0000001, 1.000001, -0.1, -1e-300, std::nextafter(1.0, 2.0), 5.0, -5.0,
                                   1e300, infinity, -infinity}) {
            EXPECT_EQ(check(value, axis), 0xC4080004U) << axis << ' ' << value;
        }
    }
}

TEST(check_coordinate_range, checks_no_other_axis)
{
    for (const char* axis : {"", "z", "X", "Y", "xy", "x ", " x", "x1", "width"}) {
        EXPECT_EQ(check(5.0, axis), 0U) << '"' << axis << '"';
        EXPECT_EQ(check(-5.0, axis), 0U) << '"' << axis << '"';
    }
}

TEST(check_coordinate_range, refuses_an_axis_that_is_null)
{
    EXPECT_EQ(static_cast<unsigned>(check_coordinate_range(5.0, nullptr)), 0xC4080003U);
    EXPECT_EQ(static_cast<unsigned>(check_coordinate_range(0.5, nullptr)), 0xC4080003U);
}

/// "x,y x,y ..."
std::string polygon_of(const char* json)
{
    std::vector<Tposition_xy> polygon;
    set_xy_position(parsed(json).get(), polygon);
    std::string text;
    for (const Tposition_xy& vertex : polygon) {
        text += (text.empty() ? "" : " ") + std::string(vertex.x) + ',' + vertex.y;
    }
    return text;
}

TEST(set_xy_position, reads_up_to_four_corners_in_order)
{
    const struct {
        const char* json;
        const char* polygon;
    } cases[] = {
        {R"({"x1":0.1,"y1":0.2,"x2":0.3,"y2":0.4,"x3":0.5,"y3":0.6,"x4":0.7,"y4":0.8})",
         "0.1,0.2 0.3,0.4 0.5,0.6 0.7,0.8"},
        {R"({"y4":8,"x4":7,"y3":6,"x3":5,"y2":4,"x2":3,"y1":2,"x1":1})", "1,2 3,4 5,6 7,8"},
        {R"({})", ""},
        {R"({"x1":0.1,"y1":0.2})", "0.1,0.2"},
        // A pair with a member missing is skipped, the later ones are still read.
        {R"({"x1":0.1,"y1":0.2,"x3":0.5,"y3":0.6})", "0.1,0.2 0.5,0.6"},
        {R"({"x1":0.1,"x2":0.3,"y2":0.4,"y3":0.6,"x4":0.7,"y4":0.8})", "0.3,0.4 0.7,0.8"},
        {R"({"x1":null,"y1":0.2,"x2":0.3,"y2":0.4})", "0.3,0.4"},
        // Other keys are none.
        {R"({"x":1,"y":2,"x0":1,"y0":2,"x5":1,"y5":2,"X1":1,"Y1":2,"x":1})", ""},
        // Texts as they are, numbers in json-c's text form.
        {R"({"x1":"0.50","y1":" left ","x2":"","y2":"-1"})", "0.50, left  ,-1"},
        {R"({"x1":0.5,"y1":0.50,"x2":1,"y2":1.0,"x3":-2,"y3":1e3})", "0.5,0.50 1,1.0 -2,1e3"},
        {R"({"x1":true,"y1":[1,2]})", "true,[ 1, 2 ]"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(polygon_of(c.json), c.polygon) << c.json;
    }
}

TEST(set_xy_position, appends)
{
    std::vector<Tposition_xy> polygon(1);
    set_xy_position(parsed(R"({"x2":"3","y2":"4"})").get(), polygon);
    ASSERT_EQ(polygon.size(), 2U);
    EXPECT_STREQ(polygon[0].x, "");
    EXPECT_STREQ(polygon[1].x, "3");
}

TEST(set_xy_position, keeps_the_decimal_point_whatever_the_hosts_locale)
{
    const decimal_comma comma;
    EXPECT_EQ(polygon_of(R"({"x1":"0.5","y1":0.25,"x2":1.0,"y2":1e-3})"), "0.5,0.25 1.0,1e-3");
}

std::string corner(const char* key, std::size_t length)
{
    const std::string other = key[0] == 'x' ? std::string("y") + (key + 1) : std::string("x") + (key + 1);
    return std::string("{\"") + key + "\":\"" + std::string(length, '1') + "\",\"" + other + "\":\"0\"}";
}

TEST(set_xy_position, takes_a_coordinate_of_32_characters)
{
    for (const char* key : {"x1", "y1", "x4", "y4"}) {
        const std::string polygon = polygon_of(corner(key, 32).c_str());
        EXPECT_NE(polygon.find(std::string(32, '1')), std::string::npos) << key;
    }
}

TEST(set_xy_position_death_test, ends_the_process_on_a_coordinate_of_33_characters)
{
    for (const char* key : {"x1", "y1", "x2", "y2", "x3", "y3", "x4", "y4"}) {
        EXPECT_EXIT(polygon_of(corner(key, 33).c_str()), ::testing::KilledBySignal(SIGABRT),
                    "^libkorvane: \"" + std::string(key) +
                        "\" has 33 characters, at most 32 are allowed: ending the process\n$")
            << key;
    }
}

TEST(set_xy_position, of_no_object_is_none)
{
    std::vector<Tposition_xy> polygon;
    set_xy_position(nullptr, polygon);
    EXPECT_TRUE(polygon.empty());
    EXPECT_EQ(polygon_of("[1,2]"), "");
}

} // namespace

} // namespace korvane::test
