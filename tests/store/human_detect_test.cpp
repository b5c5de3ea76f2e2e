#include "store_process.h"

#include <gtest/gtest.h>

namespace {

const std::string channel_a(32, 'a');
const std::string channel_b(32, 'b');

std::string record(const std::string& time, const std::string& more = "")
{
    return R"({"func_name":"HumanDetection","timestamp":")" + time + "\"" + more + "}";
}

std::string with_loc(const std::string& name, const std::string& loc)
{
    return R"({"description":")" + name + R"(","timestamp":"1","loc":)" + loc + "}";
}

struct human_detect_test : testing::Test {
    store_process store;

    void add(const std::string& body) { ASSERT_EQ(ok, store.post("human_detect", body)) << body; }
    std::string query(const std::string& parameters) { return store.get("human_detect?" + parameters); }
};

TEST_F(human_detect_test, an_empty_store_has_no_newest_record)
{
    EXPECT_EQ(listing(0, {}), query("start_time=0&end_time=0&sort_dir=-1&skip=0&limit=1"));
}

TEST_F(human_detect_test, a_record_comes_back_as_it_was_sent)
{
    const std::string body =
        R"({"app_id":"a1","app_name":"n","model":"m","brand":"b/c","func_name":"HumanDetection",)"
        R"("timestamp":"1700000000000","version":"1.0","task_name":"t","description":"d \"q\" \\ äöü 顔",)"
        R"("channel_sid":")" +
        channel_a + R"(","stream_id":0,"loc":[[0.100000,0.200000],[0.300000,0.200000],[0.300000,0.400000]]})";
    add(body);
    EXPECT_EQ(listing(1, {body}), query("start_time=0&end_time=0&sort_dir=-1&skip=0&limit=1"));
}

TEST_F(human_detect_test, null_members_are_left_out)
{
    add(R"({"timestamp":"1","app_id":null,"loc":null,"brand":"b"})");
    EXPECT_EQ(listing(1, {R"({"timestamp":"1","brand":"b"})"}), query(""));
}

TEST_F(human_detect_test, a_time_may_be_a_number_or_missing)
{
    add(R"({"timestamp":7})");
    add(R"({"app_id":"no time"})");
    EXPECT_EQ(listing(1, {R"({"timestamp":7})"}), query("start_time=7&end_time=7"));
    EXPECT_EQ(listing(2, {R"({"timestamp":7})", R"({"app_id":"no time"})"}), query("start_time=0"));
}

TEST_F(human_detect_test, times_bound_a_query_inclusively)
{
    for (const char* time : {"10", "20", "30", "40"})
        add(record(time));
    EXPECT_EQ(listing(2, {record("20"), record("30")}), query("start_time=20&end_time=30&sort_dir=1"));
    EXPECT_EQ(listing(2, {record("30"), record("40")}), query("start_time=21&end_time=0&sort_dir=1"));
    EXPECT_EQ(listing(0, {}), query("start_time=31&end_time=39"));
}

TEST_F(human_detect_test, times_before_the_epoch_arrive_as_unsigned_numbers)
{
    add(record("-5"));
    add(record("5"));
    EXPECT_EQ(listing(2, {record("-5"), record("5")}),
              query("start_time=18446744073709551606&end_time=0&sort_dir=1"));
    EXPECT_EQ(listing(1, {record("-5")}), query("start_time=-10&end_time=18446744073709551615"));
}

TEST_F(human_detect_test, both_directions_and_ties_are_stable)
{
    const std::string first = record("10", R"(,"app_id":"first")");
    const std::string second = record("10", R"(,"app_id":"second")");
    const std::string early = record("5");
    add(first);
    add(second);
    add(early);
    EXPECT_EQ(listing(3, {early, first, second}), query("sort_dir=1"));
    EXPECT_EQ(listing(3, {second, first, early}), query("sort_dir=-1"));
    EXPECT_EQ(listing(3, {second, first, early}), query(""));
}

TEST_F(human_detect_test, pages_keep_the_total)
{
    for (int time = 1; time <= 12; ++time)
        add(record(std::to_string(time)));
    EXPECT_EQ(listing(12, {record("3"), record("4")}), query("sort_dir=1&skip=2&limit=2"));
    EXPECT_EQ(listing(12, {record("12")}), query("sort_dir=1&skip=11&limit=5"));
    EXPECT_EQ(listing(12, {}), query("sort_dir=1&skip=12&limit=5"));
    EXPECT_EQ(listing(12, {}), query("sort_dir=1&skip=0&limit=0"));
    EXPECT_EQ(listing(12, {record("11"), record("12")}), query("sort_dir=1&skip=10"));
}

TEST_F(human_detect_test, channels_choose_records)
{
    const std::string a = record("1", R"(,"channel_sid":")" + channel_a + "\"");
    const std::string b = record("2", R"(,"channel_sid":")" + channel_b + "\"");
    const std::string none = record("3");
    for (const std::string& body : {a, b, none})
        add(body);
    EXPECT_EQ(listing(1, {a}), query("channel_sid=[\"" + channel_a + "\"]&sort_dir=1"));
    EXPECT_EQ(listing(2, {a, b}),
              query("channel_sid=[\"" + channel_a + "\",\"" + channel_b + "\"]&sort_dir=1"));
    EXPECT_EQ(listing(0, {}), query("channel_sid=[\"" + std::string(32, 'c') + "\"]"));
    EXPECT_EQ(listing(3, {a, b, none}), query("sort_dir=1"));
}

constexpr char middle[] = "x1=0.4&y1=0.4&x2=0.6&y2=0.4&x3=0.6&y3=0.6&x4=0.4&y4=0.6";

struct area_case {
    const char* name;
    const char* loc;
    bool overlaps; ///< the square from 0.4 to 0.6
};

constexpr area_case area_cases[] = {
    {"across", "[[0.5,0.5],[0.9,0.5],[0.9,0.9],[0.5,0.9]]", true},
    {"within", "[[0.45,0.45],[0.55,0.45],[0.55,0.55]]", true},
    {"around", "[[0.1,0.1],[0.9,0.1],[0.9,0.9],[0.1,0.9]]", true},
    {"touching a side", "[[0.6,0.4],[0.8,0.4],[0.8,0.6],[0.6,0.6]]", true},
    {"touching a corner", "[[0.6,0.6],[0.8,0.6],[0.8,0.8]]", true},
    {"beside", "[[0.61,0.4],[0.8,0.4],[0.8,0.6],[0.61,0.6]]", false},
    {"box overlaps, triangle does not", "[[0.3,0.3],[0.65,0.3],[0.3,0.65],[0.3,0.3]]", true},
    {"only the box overlaps", "[[0.1,0.1],[0.6,0.1],[0.1,0.6]]", false},
    {"point within", "[[0.5,0.5]]", true},
    {"point on the edge", "[[0.4,0.5]]", true},
    {"point outside", "[[0.39,0.5]]", false},
    {"line across", "[[0.1,0.5],[0.9,0.5]]", true},
    {"line outside", "[[0.1,0.7],[0.9,0.7]]", false},
    {"bow tie with a wing in it", "[[0.1,0.4],[0.5,0.6],[0.5,0.4],[0.1,0.6]]", true},
    {"bow tie whose waist is passed by", "[[0.45,0.0],[0.55,1.0],[0.55,0.0],[0.45,1.0]]", true},
    {"bow tie with the square between its wings", "[[0.0,0.2],[1.0,0.2],[0.0,0.38],[1.0,0.38]]", false},
    {"all vertices equal", "[[0.5,0.5],[0.5,0.5],[0.5,0.5]]", true},
    {"all vertices in a line", "[[0.1,0.1],[0.5,0.5],[0.9,0.9]]", true},
    {"five-pointed star around it", "[[0.5,0.0],[0.8,0.95],[0.02,0.36],[0.98,0.36],[0.2,0.95]]", true},
    {"spike into it", "[[0.1,0.1],[0.3,0.1],[0.3,0.5],[0.5,0.5],[0.3,0.5],[0.1,0.5]]", false},
    {"closed ring as sent", "[[0.5,0.5],[0.9,0.5],[0.9,0.9],[0.5,0.5]]", true},
    {"hair's breadth outside", "[[0.6000001,0.4],[0.8,0.4],[0.8,0.6]]", false},
};

TEST_F(human_detect_test, an_area_finds_the_polygons_that_overlap_it)
{
    for (const area_case& each : area_cases) {
        store_process one;
        const std::string body = with_loc(each.name, each.loc);
        ASSERT_EQ(ok, one.post("human_detect", body)) << each.name;
        const std::string expected = each.overlaps ? listing(1, {body}) : listing(0, {});
        EXPECT_EQ(expected, one.get("human_detect?" + std::string(middle) + "&limit=5")) << each.name;
    }
}

TEST_F(human_detect_test, a_bow_tie_has_a_hole_beside_its_waist)
{
    // Lines from corner to corner of the picture, joined left and right: above the waist is nothing.
    add(with_loc("bow tie", "[[0,0],[0,1],[1,0],[1,1]]"));
    EXPECT_EQ(listing(0, {}), query("x1=0.49&y1=0.8&x2=0.51&y2=0.8&x3=0.51&y3=0.9&x4=0.49&y4=0.9"));
    EXPECT_EQ(1U, query("x1=0.1&y1=0.45&x2=0.2&y2=0.45&x3=0.2&y3=0.55&x4=0.1&y4=0.55")
                      .find("\"ret\":0,\"totalCounts\":1"));
}

TEST_F(human_detect_test, the_query_area_may_cross_itself_or_be_a_point)
{
    const std::string body = with_loc("square", "[[0.4,0.4],[0.6,0.4],[0.6,0.6],[0.4,0.6]]");
    add(body);
    EXPECT_EQ(listing(1, {body}), query("x1=0&y1=0&x2=1&y2=1&x3=1&y3=0&x4=0&y4=1"));
    EXPECT_EQ(listing(1, {body}), query("x1=0.5&y1=0.5&x2=0.5&y2=0.5&x3=0.5&y3=0.5&x4=0.5&y4=0.5"));
    EXPECT_EQ(listing(0, {}), query("x1=0.7&y1=0.5&x2=0.7&y2=0.5&x3=0.7&y3=0.5&x4=0.7&y4=0.5"));
}

TEST_F(human_detect_test, a_record_without_a_polygon_is_in_no_area)
{
    add(record("1"));
    EXPECT_EQ(listing(0, {}), query("x1=0&y1=0&x2=1&y2=0&x3=1&y3=1&x4=0&y4=1"));
}

TEST_F(human_detect_test, all_filters_together)
{
    const std::string hit = record("20", R"(,"channel_sid":")" + channel_a + R"(","loc":[[0.5,0.5]])");
    add(hit);
    add(record("30", R"(,"channel_sid":")" + channel_a + R"(","loc":[[0.5,0.5]])"));
    add(record("20", R"(,"channel_sid":")" + channel_b + R"(","loc":[[0.5,0.5]])"));
    add(record("20", R"(,"channel_sid":")" + channel_a + R"(","loc":[[0.9,0.9]])"));
    EXPECT_EQ(listing(1, {hit}), query(std::string(middle) + "&channel_sid=[\"" + channel_a +
                                       "\"]&start_time=10&end_time=25&sort_dir=1&skip=0&limit=10"));
}

struct refused_body {
    std::string body;
    std::string reply;
};

TEST_F(human_detect_test, refused_bodies_say_what_and_where)
{
    const refused_body cases[] = {
        {"}", R"({"ret":1001,"reason":"body is not JSON: unexpected character at byte 0 of 1"})"},
        {"", R"({"ret":1001,"reason":"body is not JSON: it is empty"})"},
        {R"({"a":"b"c"})",
         R"({"ret":1001,"reason":"body is not JSON: object value separator ',' expected at byte 8 of 11"})"},
        {R"({"a":1)", R"({"ret":1001,"reason":"body is not JSON: unexpected end of data at byte 6 of 6"})"},
        {R"({"a":1}{})", R"({"ret":1001,"reason":"body is not JSON: unexpected character at byte 7 of 9"})"},
        {std::string("{}\0{}", 5), R"({"ret":1001,"reason":"body is not JSON: zero byte at byte 2 of 5"})"},
        {R"({"loc":[[nan,nan]]})",
         R"({"ret":1001,"reason":"body is not JSON: null expected at byte 10 of 19"})"},
        {R"({"loc":[[NaN,0]]})",
         R"({"ret":1001,"reason":"body is not JSON: it has a number that is not finite"})"},
        {R"({"x":{"y":[-Infinity]}})",
         R"({"ret":1001,"reason":"body is not JSON: it has a number that is not finite"})"},
        {R"({"x":1e999})", R"({"ret":1001,"reason":"body is not JSON: it has a number that is not finite"})"},
        {"[1]", R"({"ret":1002,"reason":"body is not a JSON object but of type array"})"},
        {"12", R"({"ret":1002,"reason":"body is not a JSON object but of type int"})"},
        {"null", R"({"ret":1002,"reason":"body is not a JSON object but of type null"})"},
        {R"({"app_id":5})", R"({"ret":1003,"reason":"member \"app_id\" is 5, expected a string"})"},
        {R"({"stream_id":"0"})",
         R"({"ret":1003,"reason":"member \"stream_id\" is \"0\", expected a whole number of 32 bits"})"},
        {R"({"stream_id":2147483648})",
         R"({"ret":1003,"reason":"member \"stream_id\" is 2147483648, expected a whole number of 32 bits"})"},
        {R"({"timestamp":"12x"})",
         R"({"ret":1003,"reason":"member \"timestamp\" is \"12x\", expected milliseconds as a string of digits"})"},
        {R"({"timestamp":1.5})",
         R"({"ret":1003,"reason":"member \"timestamp\" is 1.5, expected milliseconds as a string of digits"})"},
        {R"({"channel_sid":")" + std::string(33, 'c') + "\"}",
         R"({"ret":1003,"reason":"member \"channel_sid\" has 33 bytes, expected at most 32"})"},
        {R"({"loc":"here"})", R"({"ret":1004,"reason":"member \"loc\" is \"here\", expected [[x,y],...]"})"},
        {R"({"loc":[]})", R"({"ret":1004,"reason":"polygon has 0 vertices, expected 1 to 500"})"},
        {R"({"loc":[[0.1,0.2],[0.3]]})",
         R"({"ret":1004,"reason":"member \"loc\" has the vertex [0.3], expected [x,y]"})"},
        {R"({"loc":[[0.1,"0.2"]]})",
         R"({"ret":1004,"reason":"member \"loc\" has the vertex [0.1,\"0.2\"], expected [x,y]"})"},
        {R"({"loc":[[0.1,1e10]]})", R"({"ret":1004,"reason":"polygon has a coordinate beyond 1e9"})"},
    };
    for (const refused_body& each : cases)
        EXPECT_EQ(each.reply, store.post("human_detect", each.body)) << each.body;
    EXPECT_EQ(listing(0, {}), query("")) << "nothing refused is stored";
}

TEST_F(human_detect_test, refused_queries_say_what_was_expected)
{
    const std::pair<const char*, const char*> cases[] = {
        {"limit=ten", R"({"ret":1006,"reason":"parameter limit is \"ten\", expected a whole number"})"},
        {"limit=-1", R"({"ret":1006,"reason":"parameter limit is \"-1\", expected 0 or more"})"},
        {"skip=", R"({"ret":1006,"reason":"parameter skip is \"\", expected a whole number"})"},
        {"skip=1 ", R"({"ret":1006,"reason":"parameter skip is \"1 \", expected a whole number"})"},
        {"start_time=1.5",
         R"({"ret":1006,"reason":"parameter start_time is \"1.5\", expected a whole number"})"},
        {"end_time=99999999999999999999",
         R"({"ret":1006,"reason":"parameter end_time is \"99999999999999999999\", expected a whole number"})"},
        {"sort_dir=0",
         R"x({"ret":1006,"reason":"parameter sort_dir is \"0\", expected 1 (oldest first) or -1 (newest first)"})x"},
        {"x1=0&y1=0", R"({"ret":1005,"reason":"parameter x2 is missing"})"},
        {"x1=&y1=0&x2=1&y2=0&x3=1&y3=1&x4=0&y4=1",
         R"({"ret":1006,"reason":"parameter x1 is \"\", expected a number"})"},
        {"x1=nan&y1=0&x2=1&y2=0&x3=1&y3=1&x4=0&y4=1",
         R"({"ret":1006,"reason":"parameter x1 is \"nan\", expected a number"})"},
        {"channel_sid=abc",
         R"({"ret":1006,"reason":"parameter channel_sid is \"abc\", expected a list like [\"a\",\"b\"]"})"},
        {"channel=abc", R"({"ret":1007,"reason":"unknown parameter \"channel\""})"},
        {"limit=1&limit=2", R"({"ret":1007,"reason":"parameter limit is given twice"})"},
        {"limit=1&lmit=2",
         R"({"ret":1006,"reason":"parameter limit is \"1&lmit=2\", expected a whole number"})"},
    };
    for (const auto& [parameters, reply] : cases)
        EXPECT_EQ(reply, query(parameters)) << parameters;
}

TEST_F(human_detect_test, every_text_may_fill_its_room_and_no_more)
{
    const std::pair<const char*, std::size_t> rooms[] = {
        {"app_id", 127},  {"app_name", 63},  {"model", 63},        {"brand", 127},      {"func_name", 127},
        {"version", 127}, {"task_name", 63}, {"description", 127}, {"channel_sid", 32},
    };
    for (const auto& [name, room] : rooms) {
        const std::string begin = "{\"" + std::string(name) + "\":\"";
        EXPECT_EQ(ok, store.post("human_detect", begin + std::string(room, 'x') + "\"}")) << name;
        EXPECT_EQ(1003, ret_of(store.post("human_detect", begin + std::string(room + 1, 'x') + "\"}")))
            << name;
    }
}

TEST_F(human_detect_test, a_polygon_that_crosses_itself_many_times_is_refused_or_stored_but_not_fatal)
{
    const auto zigzag = [](int vertices) {
        std::string loc = "[";
        for (int at = 0; at < vertices; ++at)
            loc += (at == 0 ? "[" : ",[") + std::to_string(at % 2 == 0 ? 0.0 : 1.0) + "," +
                   std::to_string(at * 7919 % vertices * 0.001) + "]";
        return loc + "]";
    };
    EXPECT_EQ(ok, store.post("human_detect", with_loc("zigzag", zigzag(200))));
    EXPECT_EQ(1004, ret_of(store.post("human_detect", with_loc("too many", zigzag(501)))));
}

} // namespace
