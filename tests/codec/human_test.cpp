#include "codec/human.h"

#include "tests/codec/record_fields.h"
#include "tests/support/debug_log.h"
#include "tests/support/decimal_comma.h"
#include "tests/support/sandbox_test.h"

#include <array>
#include <climits>
#include <cmath>
#include <cstdio>
#include <functional>
#include <new>
#include <random>

namespace korvane::test {

namespace {

using codec = codec_under_test<human_detection_metadata_information, trans_human_metadata_info_to_string,
                               trans_string_to_human_metadata_info>;
using record = codec::record;
using reading = codec::reading;
using log_texts = std::vector<std::string>;

class human_text : public sandbox_test {};
class human_reply : public sandbox_test {};

TEST(human_record, is_cleared_when_made)
{
    alignas(record) std::array<unsigned char, sizeof(record)> dirty;
    dirty.fill(0xff);
    auto* made = new (dirty.data()) record();
    EXPECT_TRUE(all_zero(made->app_id) && all_zero(made->app_name) && all_zero(made->model) &&
                all_zero(made->brand));
    EXPECT_EQ(made->timestamp, 0);
    EXPECT_TRUE(all_zero(made->func_name) && all_zero(made->version) && all_zero(made->task_name) &&
                all_zero(made->description) && all_zero(made->channel_sid));
    EXPECT_EQ(made->stream_id, -1);
    EXPECT_TRUE(made->positions.empty());
    made->~record();
}

TEST(human_record, copies_own_their_vertices)
{
    record first;
    first.positions = {vertex("0.1", "0.2")};
    record copy = first;
    std::vector<record> list(3, first);
    first.positions[0].x[0] = '9';
    first.positions.clear();
    EXPECT_EQ(vertices_of(copy.positions), "(0.1 0.2)");
    EXPECT_EQ(vertices_of(list[2].positions), "(0.1 0.2)");
    copy = list[0];
    list[0].positions[0].y[0] = '7';
    EXPECT_EQ(vertices_of(copy.positions), "(0.1 0.2)");
}

TEST_F(human_text, has_each_member_only_when_it_is_set)
{
    const struct {
        std::function<void(record&)> change;
        const char* text;
    } cases[] = {
        {[](record&) {}, "}"},
        {[](record& r) { set(r.app_id, "a"); }, R"({"app_id":"a"})"},
        {[](record& r) { set(r.app_name, "n"); }, R"({"app_name":"n"})"},
        {[](record& r) { set(r.model, "m"); }, R"({"model":"m"})"},
        {[](record& r) { set(r.brand, "b"); }, R"({"brand":"b"})"},
        {[](record& r) { set(r.func_name, "f"); }, R"({"func_name":"f"})"},
        {[](record& r) { r.timestamp = 0; }, "}"},
        {[](record& r) { r.timestamp = 1; }, R"({"timestamp":"1"})"},
        {[](record& r) { r.timestamp = -1; }, R"({"timestamp":"-1"})"},
        {[](record& r) { r.timestamp = LLONG_MAX; }, R"({"timestamp":"9223372036854775807"})"},
        {[](record& r) { r.timestamp = LLONG_MIN; }, R"({"timestamp":"-9223372036854775808"})"},
        {[](record& r) { set(r.version, "v"); }, R"({"version":"v"})"},
        {[](record& r) { set(r.task_name, "t"); }, R"({"task_name":"t"})"},
        {[](record& r) { set(r.description, "d"); }, R"({"description":"d"})"},
        {[](record& r) { set(r.channel_sid, "c"); }, R"({"channel_sid":"c"})"},
        {[](record& r) { r.stream_id = -1; }, "}"},
        {[](record& r) { r.stream_id = 0; }, R"({"stream_id":0})"},
        {[](record& r) { r.stream_id = -2; }, R"({"stream_id":-2})"},
        {[](record& r) { r.stream_id = INT_MAX; }, R"({"stream_id":2147483647})"},
        {[](record& r) { r.stream_id = INT_MIN; }, R"({"stream_id":-2147483648})"},
        {[](record& r) { r.positions = {vertex("0.500000", "0.250000")}; },
         R"({"loc":[[0.500000,0.250000]]})"},
        {[](record& r) {
             r.positions = {vertex("0", "1"), vertex("1", "0"), vertex("0.5", "x")};
         },
         R"({"loc":[[0,1],[1,0],[0.5,x]]})"},
        {[](record& r) { r.positions = {vertex("", "")}; }, R"({"loc":[[,]]})"},
        {[](record& r) {
             set(r.channel_sid, "c");
             r.stream_id = 0;
         },
         R"({"channel_sid":"c","stream_id":0})"},
        // A first byte of zero is an empty text, whatever stands behind it.
        {[](record& r) {
             set(r.brand, "b");
             r.brand[0] = 0;
             r.brand[1] = 'x';
         },
         "}"},
        // Nothing is escaped.
        {[](record& r) { set(r.description, "a \"b\" \\ /\n%s"); }, "{\"description\":\"a \"b\" \\ /\n%s\"}"},
        {[](record& r) { set(r.description, "\xc3\xbc\xff"); }, "{\"description\":\"\xc3\xbc\xff\"}"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(codec::written_with(c.change), c.text);
    }
    EXPECT_EQ(debug_log_texts(), log_texts());
}

TEST_F(human_text, has_its_members_in_the_order_of_the_wire)
{
    const auto all = [](record& r) {
        r.positions = {vertex("0.1", "0.2")};
        r.stream_id = 3;
        r.timestamp = 5;
        set(r.channel_sid, "c");
        set(r.description, "d");
        set(r.task_name, "t");
        set(r.version, "v");
        set(r.func_name, "f");
        set(r.brand, "b");
        set(r.model, "m");
        set(r.app_name, "n");
        set(r.app_id, "a");
    };
    EXPECT_EQ(
        codec::written_with(all),
        R"({"app_id":"a","app_name":"n","model":"m","brand":"b","func_name":"f","timestamp":"5","version":"v",)"
        R"("task_name":"t","description":"d","channel_sid":"c","stream_id":3,"loc":[[0.1,0.2]]})");
}

TEST_F(human_text, reads_a_full_field_to_its_end_and_no_further)
{
    const auto full = [](record& r) {
        fill(r.app_id, 'a');
        fill(r.app_name, 'n');
        fill(r.model, 'm');
        fill(r.brand, 'b');
        fill(r.func_name, 'f');
        r.timestamp = 1;
        fill(r.version, 'v');
        fill(r.task_name, 't');
        fill(r.description, 'd');
        fill(r.channel_sid, 'c');
        r.stream_id = 1;
        r.positions = {vertex(times(33, "1"), times(33, "2")), vertex("3", "4")};
    };
    EXPECT_EQ(codec::written_with(full),
              "{\"app_id\":\"" + times(128, "a") + "\",\"app_name\":\"" + times(64, "n") + "\",\"model\":\"" +
                  times(64, "m") + "\",\"brand\":\"" + times(128, "b") + "\",\"func_name\":\"" +
                  times(128, "f") + "\",\"timestamp\":\"1\",\"version\":\"" + times(128, "v") +
                  "\",\"task_name\":\"" + times(64, "t") + "\",\"description\":\"" + times(128, "d") +
                  "\",\"channel_sid\":\"" + times(33, "c") + "\",\"stream_id\":1,\"loc\":[[" +
                  times(33, "1") + "," + times(33, "2") + "],[3,4]]}");
}

TEST_F(human_text, has_points_in_a_host_with_a_decimal_comma)
{
    const decimal_comma host;
    record r;
    r.timestamp = 1712345678901;
    r.stream_id = 1234567;
    r.positions = {vertex("0.5", "0.25")};
    EXPECT_EQ(codec::written(r), R"({"timestamp":"1712345678901","stream_id":1234567,"loc":[[0.5,0.25]]})");
}

/// What is left of a polygon of 20 characters a vertex, the first of them `longer`, in a text of 8191: of the
/// text
/// {"loc":[...]} eight characters stand before the vertices and one behind them.
TEST_F(human_text, holds_a_polygon_up_to_8191_characters)
{
    const std::string message = "[korvane](trans_human_metadata_info_to_string:#) loc holds ";
    const std::string behind = " vertices, the others do not fit";
    const struct {
        std::size_t vertices;
        std::size_t longer;
        std::size_t kept;
        std::size_t length;
    } cases[] = {
        {409, 0, 409, 8189}, {409, 2, 409, 8191}, {409, 3, 408, 8172},
        {410, 0, 409, 8189}, {410, 2, 409, 8191}, {5000, 0, 409, 8189},
    };
    for (const auto& c : cases) {
        clear_debug_log();
        record r;
        r.positions.assign(c.vertices, vertex("0.500000", "0.250000"));
        r.positions[0] = vertex("0.500000" + times(c.longer, "0"), "0.250000");
        const std::string text = codec::written(r);
        EXPECT_EQ(text, "{\"loc\":[[0.500000" + times(c.longer, "0") + ",0.250000]" +
                            times(c.kept - 1, ",[0.500000,0.250000]") + "]}");
        EXPECT_EQ(text.size(), c.length);
        EXPECT_TRUE(is_json_object(text));
        const log_texts told{message + std::to_string(c.kept) + " of " + std::to_string(c.vertices) + behind};
        EXPECT_EQ(debug_log_texts(), c.kept < c.vertices ? told : log_texts());
    }
}

TEST_F(human_text, keeps_the_vertices_before_the_first_that_does_not_fit)
{
    record r;
    r.positions.assign(408, vertex("0.500000", "0.250000")); // 8169 characters
    r.positions.push_back(vertex(times(32, "1"), times(32, "2")));
    r.positions.push_back(
        vertex("0", "0")); // would fit, but a polygon without a corner in its middle is another one
    EXPECT_EQ(codec::written(r), "{\"loc\":[[0.500000,0.250000]" + times(407, ",[0.500000,0.250000]") + "]}");
    EXPECT_EQ(debug_log_texts(),
              log_texts{"[korvane](trans_human_metadata_info_to_string:#) loc holds 408 of 410 "
                        "vertices, the others do not fit"});
}

TEST_F(human_text, stays_json_when_full_fields_leave_less_room_for_the_polygon)
{
    record r;
    set(r.app_id, times(127, "a"));
    set(r.brand, times(127, "b"));
    set(r.description, times(127, "d"));
    r.positions.assign(1000, vertex("0.500000", "0.250000"));
    const std::string text = codec::written(r);
    EXPECT_TRUE(is_json_object(text)) << text.substr(0, 500);
    EXPECT_LE(text.size(), 8191U);
    EXPECT_GT(text.size(), 8191U - 20U);
    EXPECT_EQ(debug_log_texts().size(), 1U);
}

TEST_F(human_reply, sets_what_it_has_and_keeps_the_rest)
{
    const struct {
        const char* reply;
        int ret;
        long long total;
        int over;
        std::size_t count;
    } cases[] = {
        {R"({"ret":0,"totalCounts":"57","datas":[]})", 0, 57, 33, 0},
        {R"({"ret":0,"totalCounts":57,"overThreshold":1,"datas":[]})", 0, 57, 1, 0},
        {R"({"ret":0,"totalCounts":57,"overThreshold":0,"datas":[{}]})", 0, 57, 0, 1},
        {R"({"ret":0,"totalCounts":57,"overThreshold":null,"datas":[{},{}]})", 0, 57, 33, 2},
        {R"({"totalCounts":57,"datas":[{}]})", 11, 57, 33, 1},
        {R"({"ret":null,"totalCounts":57,"datas":[{}]})", 11, 57, 33, 1},
        {R"({"ret":"7","totalCounts":57,"datas":[{}]})", 7, 57, 33, 1},
        {R"({"ret":7.9,"totalCounts":" 57 of many","overThreshold":"2","datas":[{}]})", 7, 57, 2, 1},
        {R"({"ret":0,"totalCounts":"9223372036854775807","datas":[]})", 0, LLONG_MAX, 33, 0},
        {R"({"ret":0,"totalCounts":"99999999999999999999","datas":[]})", 0, LLONG_MAX, 33, 0},
        {R"({"ret":0,"totalCounts":-1,"datas":[]})", 0, -1, 33, 0},
        {R"({"ret":0,"totalCounts":"none","datas":[]})", 0, 0, 33, 0},
        {R"({"ret":0,"totalCounts":57})", 0, 57, 33, 0},
        {R"({"ret":0,"totalCounts":57,"datas":null})", 0, 57, 33, 0},
        {R"({"ret":0,"totalCounts":57,"datas":{}})", 0, 57, 33, 0},
        {R"({"ret":0,"totalCounts":57,"datas":"[{}]"})", 0, 57, 33, 0},
        {R"({"ret":0,"totalCounts":57,"datas":[null,1,"x",[],{}]})", 0, 57, 33, 5},
        // The store has nothing.
        {R"({"ret":-101})", -101, 22, 33, 0},
        {R"({"ret":-101,"totalCounts":57,"overThreshold":1,"datas":[{}]})", -101, 22, 33, 0},
        {R"({"ret":"-101","totalCounts":57,"datas":[{}]})", -101, 22, 33, 0},
        // A store that does not count, or does not speak JSON, has no records.
        {R"({"ret":0,"overThreshold":1,"datas":[{}]})", 0, 0, 1, 0},
        {R"({"ret":0,"totalCounts":{},"overThreshold":1,"datas":[{}]})", 0, 0, 1, 0},
        {R"({"ret":0,"totalCounts":[57],"overThreshold":0,"datas":[{}]})", 0, 0, 0, 0},
        {R"({"ret":0,"totalCounts":true,"datas":[{}]})", 0, 0, 33, 1},
        {R"({"ret":0,"totalCounts":null,"overThreshold":1,"datas":[{}]})", 0, 0, 1, 0},
        {"{}", 11, 0, 33, 0},
        {"[]", 11, 0, 33, 0},
        {"null", 11, 0, 33, 0},
        {"57", 11, 0, 33, 0},
        {"\"ret\"", 11, 0, 33, 0},
        {"", 11, 0, 33, 0},
        {"\xff\xfe{}", 11, 0, 33, 0},
        {R"({"ret":0,"totalCounts":57,"datas":[{})", 11, 0, 33, 0},
        {R"({"ret":5 "totalCounts":57})", 11, 0, 33, 0},
    };
    for (const auto& c : cases) {
        const reading seen = codec::read(c.reply);
        EXPECT_EQ(seen.ret, c.ret) << c.reply;
        EXPECT_EQ(seen.total, c.total) << c.reply;
        EXPECT_EQ(seen.over, c.over) << c.reply;
        EXPECT_EQ(seen.records.size(), c.count) << c.reply;
    }
    EXPECT_EQ(debug_log_texts(), log_texts());
}

TEST_F(human_reply, without_a_ret_has_nothing_when_the_caller_says_so)
{
    reading before;
    before.ret = -101;
    const reading seen = codec::read(R"({"totalCounts":57,"overThreshold":1,"datas":[{}]})", before);
    EXPECT_EQ(seen.ret, -101);
    EXPECT_EQ(seen.total, 22);
    EXPECT_EQ(seen.over, 33);
    EXPECT_TRUE(seen.records.empty());
}

TEST_F(human_reply, with_a_ret_does_not_ask_what_the_caller_had)
{
    reading before;
    before.ret = -101;
    EXPECT_EQ(codec::read(R"({"ret":0,"totalCounts":57,"datas":[{}]})", before).records.size(), 1U);
}

TEST_F(human_reply, is_appended_to_the_records_that_are_there)
{
    reading before;
    before.records.resize(2);
    set(before.records[0].app_id, "kept");
    before.records[1].positions = {vertex("0.1", "0.2")};
    const reading seen =
        codec::read(R"({"ret":0,"totalCounts":2,"datas":[{"app_id":"first"},{"app_id":"second"}]})", before);
    ASSERT_EQ(seen.records.size(), 4U);
    EXPECT_STREQ(seen.records[0].app_id, "kept");
    EXPECT_EQ(vertices_of(seen.records[1].positions), "(0.1 0.2)");
    EXPECT_STREQ(seen.records[2].app_id, "first");
    EXPECT_STREQ(seen.records[3].app_id, "second");
    EXPECT_TRUE(seen.records[3].positions.empty());
}

TEST_F(human_reply, fills_every_field_but_the_kinds_name)
{
    const record seen =
        codec::read_one(R"({"app_id":"a","app_name":"n","model":"m","brand":"b","func_name":"HumanDetection",
        "timestamp":"1712345678901","version":"v","task_name":"t","description":"d","channel_sid":"c","stream_id":3,
        "loc":[[0.5,0.25],[1,0]]})");
    EXPECT_STREQ(seen.app_id, "a");
    EXPECT_STREQ(seen.app_name, "n");
    EXPECT_STREQ(seen.model, "m");
    EXPECT_STREQ(seen.brand, "b");
    EXPECT_EQ(seen.timestamp, 1712345678901);
    EXPECT_STREQ(seen.func_name, "");
    EXPECT_STREQ(seen.version, "v");
    EXPECT_STREQ(seen.task_name, "t");
    EXPECT_STREQ(seen.description, "d");
    EXPECT_STREQ(seen.channel_sid, "c");
    EXPECT_EQ(seen.stream_id, 3);
    EXPECT_EQ(vertices_of(seen.positions), "(0.500000 0.250000)(1.000000 0.000000)");
}

TEST_F(human_reply, leaves_a_record_cleared_where_it_says_nothing)
{
    for (const char* element :
         {"{}", "null", "5", "[]", R"({"app_id":null,"stream_id":null,"loc":null,"x":1})"}) {
        record seen = codec::read_one(element);
        EXPECT_EQ(seen.stream_id, -1) << element;
        EXPECT_EQ(codec::written(seen), "}") << element;
    }
}

TEST_F(human_reply, converts_scalars)
{
    const struct {
        const char* element;
        const char* text; ///< as the record is written
    } cases[] = {
        {R"({"timestamp":1712345678901})", R"({"timestamp":"1712345678901"})"},
        {R"({"timestamp":"17 ms"})", R"({"timestamp":"17"})"},
        {R"({"timestamp":"noon"})", "}"},
        {R"({"timestamp":"-9223372036854775809"})", R"({"timestamp":"-9223372036854775808"})"},
        {R"({"timestamp":99999999999999999999})", R"({"timestamp":"9223372036854775807"})"},
        {R"({"stream_id":"5"})", R"({"stream_id":5})"},
        {R"({"stream_id":"main"})", R"({"stream_id":0})"},
        {R"({"stream_id":-1})", "}"},
        {R"({"stream_id":true})", R"({"stream_id":1})"},
        {R"({"stream_id":9999999999})", R"({"stream_id":2147483647})"},
        {R"({"app_id":7,"model":2.50,"brand":true,"version":[1]})",
         R"({"app_id":"7","model":"2.50","brand":"true","version":"[ 1 ]"})"},
        {R"({"channel_sid":"ab\u0000cd"})", R"({"channel_sid":"ab"})"},
        {R"({"app_id":"first","app_id":"last"})", R"({"app_id":"last"})"},
        {R"({"description":"\u00fc \ud83d\udeb6"})", "{\"description\":\"\xc3\xbc \xf0\x9f\x9a\xb6\"}"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(codec::written(codec::read_one(c.element)), c.text) << c.element;
    }
}

TEST_F(human_reply, cuts_long_texts_to_their_fields)
{
    for (const std::size_t over : {0U, 1U, 2U, 9000U}) {
        const auto member = [&](const char* name, std::size_t limit) {
            return '"' + std::string(name) + "\":\"" + times(limit + over, "x") + '"';
        };
        const record seen = codec::read_one(
            "{" + member("app_id", 127) + "," + member("app_name", 63) + "," + member("model", 63) + "," +
            member("brand", 127) + "," + member("version", 127) + "," + member("task_name", 63) + "," +
            member("description", 127) + "," + member("channel_sid", 32) + "}");
        EXPECT_EQ(seen.app_id, times(127, "x")) << over;
        EXPECT_EQ(seen.app_name, times(63, "x")) << over;
        EXPECT_EQ(seen.model, times(63, "x")) << over;
        EXPECT_EQ(seen.brand, times(127, "x")) << over;
        EXPECT_STREQ(seen.func_name, "") << over;
        EXPECT_EQ(seen.version, times(127, "x")) << over;
        EXPECT_EQ(seen.task_name, times(63, "x")) << over;
        EXPECT_EQ(seen.description, times(127, "x")) << over;
        EXPECT_EQ(seen.channel_sid, times(32, "x")) << over;
        EXPECT_EQ(seen.timestamp, 0) << over;
        EXPECT_EQ(seen.stream_id, -1) << over;
    }
}

TEST_F(human_reply, cuts_between_letters)
{
    const std::string two = "\xc3\xbc";
    const std::string three = "\xe9\x96\x80";
    const std::string four = "\xf0\x9f\x9a\xb6";
    const struct {
        std::string given;
        std::string kept; ///< of at most 32 bytes
    } cases[] = {
        {times(16, two), times(16, two)},
        {"x" + times(16, two), "x" + times(15, two)},
        {times(11, three), times(10, three)},
        {"xx" + times(10, three), "xx" + times(10, three)},
        {"xxx" + times(10, three), "xxx" + times(9, three)},
        {times(9, four), times(8, four)},
        {"x" + times(8, four), "x" + times(7, four)},
        {"xxx" + times(8, four), "xxx" + times(7, four)},
        // What is not UTF-8 is cut where the field ends.
        {times(31, "x") + "y\xa0" + "zz", times(31, "x") + "y"},
        {times(31, "x") + "\xa0\xa0" + "zz", times(31, "x") + "\xa0"},
        {times(40, "\xa0"), times(32, "\xa0")},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(codec::read_one("{\"channel_sid\":\"" + c.given + "\"}").channel_sid, c.kept) << c.given;
    }
}

TEST_F(human_reply, reads_vertices)
{
    const struct {
        const char* loc;
        const char* vertices;
    } cases[] = {
        {"[[0.5,0.25]]", "(0.500000 0.250000)"},
        {"[[0.5]]", "(0.500000 )"},
        {"[[null,0.5]]", "( 0.500000)"},
        {"[[]]", "( )"},
        {"[[],[1,2]]", "( )(1.000000 2.000000)"},
        {"[[1,2,3,4]]", "(1.000000 2.000000)"},
        {"[[-1,1e3]]", "(-1.000000 1000.000000)"},
        {"[[0.00000049,0.0000005001]]", "(0.000000 0.000001)"},
        {R"([["0.5","x"],[true,false]])", "(0.500000 0.000000)(1.000000 0.000000)"},
        {"[[[1],{\"x\":1}]]", "(0.000000 0.000000)"},
        {"[1,null,\"x\",{}]", "( )( )( )( )"},
        {"[[10, 20.25]]", "(10.000000 20.250000)"},
        // Six decimals of the largest numbers do not fit in 32 characters.
        {"[[1e24,1e25]]", "(999999999999999983222784.000000 10000000000000000905969664.00000)"},
        {"[[1e308,-1e308]]", "(10000000000000000109790636294404 -1000000000000000010979063629440)"},
        {"[[1e999,-1e999]]", "(inf -inf)"},
        {"[[NaN,0]]", "(nan 0.000000)"},
        {"[[-0.0,0.0]]", "(-0.000000 0.000000)"},
        {"[]", ""},
        {"{}", ""},
        {"\"[[1,2]]\"", ""},
        {"5", ""},
        {"null", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(vertices_of(codec::read_one(std::string("{\"loc\":") + c.loc + "}").positions), c.vertices)
            << c.loc;
    }
}

TEST_F(human_reply, rounds_coordinates_as_printf_does)
{
    std::vector<double> values{0.0,        1.0,       1e-7,       4.9999999e-7, 5.0000001e-7, 0.9999995,
                               0.99999949, 0.9999999, 999.999999, 999.9999995,  999.9999999,  1000.0,
                               1000.25,    -0.5,      -1e-9,      1234567.8};
    for (int i = 0; i < 128 * 2; ++i) {
        values.push_back(i / 128.0); // in the middle between two texts, exactly
        values.push_back(std::nextafter(i / 128.0, 0.0));
        values.push_back(std::nextafter(i / 128.0, 2000.0));
    }
    std::mt19937_64 random(1);
    for (int i = 0; i < 100'000; ++i) {
        values.push_back(std::uniform_real_distribution<>(0.0, i % 2 == 0 ? 1.0 : 1100.0)(random));
        values.push_back(static_cast<double>(random() % 1'000'000) / 1e6);
        values.push_back((static_cast<double>(random() % 1'000'000) + 0.5) / 1e6);
    }
    std::string vertices;
    std::string expected;
    for (const double value : values) {
        std::array<char, 64> text;
        std::snprintf(text.data(), text.size(), "[%.17g,0],", value);
        vertices += text.data();
        std::snprintf(text.data(), text.size(), "(%f 0.000000)", value);
        expected += text.data();
    }
    vertices.pop_back();
    EXPECT_EQ(vertices_of(codec::read_one(R"({"loc":[)" + vertices + "]}").positions), expected);
}

TEST_F(human_reply, reads_points_in_a_host_with_a_decimal_comma)
{
    const decimal_comma host;
    EXPECT_EQ(vertices_of(codec::read_one(R"({"loc":[[0.5,"0.25"]]})").positions), "(0.500000 0.250000)");
}

/// An object that holds a list that holds an object ..., so deep in all.
std::string nested(std::size_t depth)
{
    std::string open;
    std::string close;
    for (std::size_t level = 0; level < depth; ++level) {
        open.append(level % 2 == 0 ? R"({"k":)" : "[");
        close.insert(close.begin(), level % 2 == 0 ? '}' : ']');
    }
    return open + "7" + close;
}

TEST_F(human_reply, may_be_as_deep_as_json_c_takes_it)
{
    constexpr std::size_t deepest = 30; // and the reply's own level, and one for what it holds
    const int unset = reading().ret;
    for (std::size_t depth = 0; depth <= deepest + 10; ++depth) {
        const std::string reply = R"({"k":)" + nested(depth) + R"(,"ret":7})";
        const int read = depth <= deepest ? 7 : unset;
        ASSERT_EQ(is_json_object(reply), depth <= deepest) << depth;
        EXPECT_EQ(codec::read(reply).ret, read) << depth;
        EXPECT_EQ(codec::read(reply + ",").ret, read) << depth << ", text behind it";
        EXPECT_EQ(codec::read(reply.substr(0, reply.size() - 1)).ret, unset) << depth << ", cut";
    }
}

TEST_F(human_reply, reads_hundreds_of_records_of_hundreds_of_vertices)
{
    const std::string element = "{\"timestamp\":1,\"loc\":[" + times(199, "[0.5,0.5],") + "[0.25,0.75]]}";
    const reading seen = codec::read("{\"ret\":0,\"totalCounts\":200,\"datas\":[" +
                                     times(199, element + ",") + element + "]}");
    ASSERT_EQ(seen.records.size(), 200U);
    ASSERT_EQ(seen.records[199].positions.size(), 200U);
    EXPECT_STREQ(seen.records[199].positions[199].y, "0.750000");
}

TEST_F(human_reply, gives_back_what_was_written)
{
    record first;
    set(first.app_id, times(127, "a"));
    set(first.app_name, "n");
    set(first.model, times(63, "m"));
    set(first.brand, "b");
    first.timestamp = LLONG_MAX;
    set(first.version, "2.0");
    set(first.task_name, "t");
    set(first.description, "T\xc3\xbcr / Halle");
    set(first.channel_sid, times(32, "c"));
    first.stream_id = INT_MIN;
    first.positions = {vertex("0.123457", "1.000000"), vertex("0.000000", "0.999999")};
    record second;
    second.stream_id = 0;
    second.timestamp = -5;

    const reading seen = codec::read("{\"ret\":0,\"totalCounts\":2,\"datas\":[" + codec::written(first) +
                                     "," + codec::written(second) + "]}");
    ASSERT_EQ(seen.records.size(), 2U);
    EXPECT_EQ(codec::written(seen.records[0]), codec::written(first));
    EXPECT_EQ(codec::written(seen.records[1]), codec::written(second));
}

} // namespace

} // namespace korvane::test
