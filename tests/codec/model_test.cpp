#include "codec/model.h"

#include "tests/codec/record_fields.h"
#include "tests/support/debug_log.h"
#include "tests/support/decimal_comma.h"
#include "tests/support/sandbox_test.h"

#include <array>
#include <cfloat>
#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <new>

namespace korvane::test {

namespace {

using codec = codec_under_test<model_importer_metadata_information, trans_model_metadata_info_to_string,
                               trans_string_to_model_metadata_info>;
using record = codec::record;
using reading = codec::reading;
using log_texts = std::vector<std::string>;

class model_text : public sandbox_test {};
class model_reply : public sandbox_test {};

TEST(model_record, is_cleared_when_made)
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
    EXPECT_TRUE(all_zero(made->object_name));
    EXPECT_EQ(made->confidence, 0.0);
    EXPECT_TRUE(made->positions.empty());
    made->~record();
}

TEST(model_record, copies_own_their_vertices)
{
    record first;
    first.positions = {vertex("0.1", "0.2")};
    const record copy = first;
    first.positions[0].x[0] = '9';
    EXPECT_EQ(vertices_of(copy.positions), "(0.1 0.2)");
}

TEST_F(model_text, has_each_member_only_when_it_is_set)
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
        {[](record& r) { set(r.object_name, "o"); }, R"({"object_name":"o"})"},
        {[](record& r) { r.confidence = 0.0; }, "}"},
        {[](record& r) { r.confidence = -0.0; }, "}"},
        {[](record& r) { r.confidence = 99.9; }, R"({"confidence":99.900000})"},
        {[](record& r) { r.confidence = 87.5; }, R"({"confidence":87.500000})"},
        {[](record& r) { r.confidence = 100; }, R"({"confidence":100.000000})"},
        // A record is written as it is: the bounds are the report's business.
        {[](record& r) { r.confidence = -2.0; }, R"({"confidence":-2.000000})"},
        {[](record& r) { r.confidence = 150.5; }, R"({"confidence":150.500000})"},
        {[](record& r) { r.confidence = 1e-9; }, R"({"confidence":0.000000})"},
        {[](record& r) { r.confidence = 0.0000005; }, R"({"confidence":0.000000})"}, // just below one half
        {[](record& r) { r.confidence = 0.0000015; }, R"({"confidence":0.000002})"}, // just above
        {[](record& r) { r.confidence = std::numeric_limits<double>::infinity(); }, R"({"confidence":inf})"},
        {[](record& r) { r.confidence = std::numeric_limits<double>::quiet_NaN(); }, R"({"confidence":nan})"},
        {[](record& r) { r.positions = {vertex("1.500000", "2.500000")}; },
         R"({"loc":[[1.500000,2.500000]]})"},
        {[](record& r) {
             r.positions = {vertex("0", "1"), vertex("1", "0"), vertex("0.5", "x")};
         },
         R"({"loc":[[0,1],[1,0],[0.5,x]]})"},
        {[](record& r) { r.positions = {vertex("", "")}; }, R"({"loc":[[,]]})"},
        // A first byte of zero is an empty text, whatever stands behind it.
        {[](record& r) { r.object_name[1] = 'x'; }, "}"},
        // Nothing is escaped.
        {[](record& r) { set(r.object_name, "a \"b\" \\ /\n%s"); }, "{\"object_name\":\"a \"b\" \\ /\n%s\"}"},
        {[](record& r) { set(r.object_name, "\xc3\xbc\xff"); }, "{\"object_name\":\"\xc3\xbc\xff\"}"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(codec::written_with(c.change), c.text);
    }
    EXPECT_EQ(debug_log_texts(), log_texts());
}

TEST_F(model_text, has_its_members_in_the_order_of_the_wire)
{
    const auto all = [](record& r) {
        r.positions = {vertex("0.1", "0.2")};
        r.confidence = 50;
        set(r.object_name, "o");
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
        R"("task_name":"t","description":"d","channel_sid":"c","stream_id":3,"object_name":"o",)"
        R"("confidence":50.000000,"loc":[[0.1,0.2]]})");
}

TEST_F(model_text, reads_a_full_field_to_its_end_and_no_further)
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
        fill(r.object_name, 'o');
        r.positions = {vertex(times(33, "1"), times(33, "2")), vertex("3", "4")};
    };
    EXPECT_EQ(codec::written_with(full),
              "{\"app_id\":\"" + times(128, "a") + "\",\"app_name\":\"" + times(64, "n") + "\",\"model\":\"" +
                  times(64, "m") + "\",\"brand\":\"" + times(128, "b") + "\",\"func_name\":\"" +
                  times(128, "f") + "\",\"timestamp\":\"1\",\"version\":\"" + times(128, "v") +
                  "\",\"task_name\":\"" + times(64, "t") + "\",\"description\":\"" + times(128, "d") +
                  "\",\"channel_sid\":\"" + times(33, "c") + "\",\"stream_id\":1,\"object_name\":\"" +
                  times(128, "o") + "\",\"loc\":[[" + times(33, "1") + "," + times(33, "2") + "],[3,4]]}");
}

TEST_F(model_text, has_points_in_a_host_with_a_decimal_comma)
{
    const decimal_comma host;
    record r;
    r.confidence = 87.5;
    r.positions = {vertex("0.5", "0.25")};
    EXPECT_EQ(codec::written(r), R"({"confidence":87.500000,"loc":[[0.5,0.25]]})");
}

TEST_F(model_text, holds_the_largest_and_smallest_confidence)
{
    for (const double value : {DBL_MAX, -DBL_MAX, DBL_MIN, std::nextafter(0.0, 1.0)}) {
        const std::string text = codec::written_with([value](record& r) { r.confidence = value; });
        EXPECT_EQ(text, "{\"confidence\":" + std::to_string(value) + "}");
    }
}

/// What is left of a polygon of 20 characters a vertex, the first of them `longer`, in a text of 8191: of
/// {"confidence":1.000000,"loc":[...]} 30 characters stand before the vertices and two behind the last, in
/// the place of its comma.
TEST_F(model_text, holds_a_polygon_up_to_8191_characters)
{
    const std::string head = R"({"confidence":1.000000,"loc":[)";
    const struct {
        std::size_t vertices;
        std::size_t longer;
        std::size_t kept;
    } cases[] = {{408, 0, 408}, {408, 1, 407}, {409, 0, 408}, {5000, 0, 408}};
    for (const auto& c : cases) {
        clear_debug_log();
        record r;
        r.confidence = 1;
        r.positions.assign(c.vertices, vertex("0.500000", "0.250000"));
        r.positions[0] = vertex("0.500000" + times(c.longer, "0"), "0.250000");
        const std::string text = codec::written(r);
        EXPECT_EQ(text, head + "[0.500000" + times(c.longer, "0") + ",0.250000]" +
                            times(c.kept - 1, ",[0.500000,0.250000]") + "]}");
        EXPECT_LE(text.size(), 8191U);
        EXPECT_TRUE(is_json_object(text));
        const log_texts told{"[korvane](trans_model_metadata_info_to_string:#) loc holds " +
                             std::to_string(c.kept) + " of " + std::to_string(c.vertices) +
                             " vertices, the others do not fit"};
        EXPECT_EQ(debug_log_texts(), c.kept < c.vertices ? told : log_texts());
    }
}

TEST_F(model_reply, sets_what_it_has_and_keeps_the_rest)
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
        {R"({"ret":7,"totalCounts":57,"datas":[{}]})", 7, 57, 33, 1},
        {R"({"ret":0,"totalCounts":"99999999999999999999","datas":[]})", 0, LLONG_MAX, 33, 0},
        {R"({"ret":0,"totalCounts":-1,"datas":[]})", 0, -1, 33, 0},
        {R"({"ret":0,"totalCounts":2147483648,"datas":[]})", 0, 2147483648, 33, 0},
        {R"({"ret":0,"totalCounts":"none","datas":[{}]})", 0, 0, 33, 1},
        {R"({"ret":0,"totalCounts":57,"overThreshold":true,"datas":[]})", 0, 57, 1, 0},
        {R"({"ret":0,"totalCounts":57,"overThreshold":"3","datas":[]})", 0, 57, 3, 0},
        {R"({"ret":0,"totalCounts":57})", 0, 57, 33, 0},
        {R"({"ret":0,"totalCounts":57,"datas":{}})", 0, 57, 33, 0},
        {R"({"ret":0,"totalCounts":57,"datas":[null,1,"x",[],{}]})", 0, 57, 33, 5},
        // The store has nothing.
        {R"({"ret":-101})", -101, 22, 33, 0},
        {R"({"ret":"-101","totalCounts":57,"overThreshold":1,"datas":[{}]})", -101, 22, 33, 0},
        {R"({"ret":-101,"totalCounts":57,"overThreshold":1,"datas":[{}]})", -101, 22, 33, 0},
        // A store that does not count, or does not speak JSON, has no records.
        {R"({"ret":0,"overThreshold":1,"datas":[{}]})", 0, 0, 1, 0},
        {R"({"ret":0,"totalCounts":null,"datas":[{}]})", 0, 0, 33, 0},
        {R"({"ret":0,"totalCounts":[],"datas":[{}]})", 0, 0, 33, 0},
        {R"({"ret":0,"totalCounts":{},"datas":[{}]})", 0, 0, 33, 0},
        {"{}", 11, 0, 33, 0},
        {"[]", 11, 0, 33, 0},
        {"null", 11, 0, 33, 0},
        {"", 11, 0, 33, 0},
        {"\xff\xfe{}", 11, 0, 33, 0},
        {R"({"ret":0,"totalCounts":57,"datas":[{})", 11, 0, 33, 0},
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

TEST_F(model_reply, without_a_ret_has_nothing_when_the_caller_says_so)
{
    reading before;
    before.ret = -101;
    const reading seen = codec::read(R"({"totalCounts":57,"overThreshold":1,"datas":[{}]})", before);
    EXPECT_EQ(seen.ret, -101);
    EXPECT_EQ(seen.total, 22);
    EXPECT_EQ(seen.over, 33);
    EXPECT_TRUE(seen.records.empty());
    EXPECT_EQ(codec::read(R"({"ret":0,"totalCounts":57,"datas":[{}]})", before).records.size(), 1U);
}

TEST_F(model_reply, is_appended_to_the_records_that_are_there)
{
    reading before;
    before.records.resize(1);
    set(before.records[0].object_name, "kept");
    before.records[0].positions = {vertex("0.1", "0.2")};
    const reading seen = codec::read(
        R"({"ret":0,"totalCounts":2,"datas":[{"object_name":"first"},{"app_id":"second"}]})", before);
    ASSERT_EQ(seen.records.size(), 3U);
    EXPECT_STREQ(seen.records[0].object_name, "kept");
    EXPECT_EQ(vertices_of(seen.records[0].positions), "(0.1 0.2)");
    EXPECT_STREQ(seen.records[1].object_name, "first");
    EXPECT_STREQ(seen.records[2].object_name, "");
    EXPECT_STREQ(seen.records[2].app_id, "second");
}

TEST_F(model_reply, fills_every_field_but_the_kinds_name)
{
    const record seen =
        codec::read_one(R"({"app_id":"a","app_name":"n","model":"m","brand":"b","func_name":"ObjectDetection",
        "timestamp":"1712345678901","version":"v","task_name":"t","description":"d","channel_sid":"c","stream_id":3,
        "object_name":"o","confidence":87.5,"loc":[[0.5,0.25],[1,0]]})");
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
    EXPECT_STREQ(seen.object_name, "o");
    EXPECT_EQ(seen.confidence, 87.5);
    EXPECT_EQ(vertices_of(seen.positions), "(0.500000 0.250000)(1.000000 0.000000)");
}

TEST_F(model_reply, leaves_a_cleared_field_for_each_member_it_lacks)
{
    for (const char* element :
         {"{}", "null", "5", "[]",
          R"({"app_id":null,"app_name":null,"model":null,"brand":null,"timestamp":null,"version":null,
              "task_name":null,"description":null,"channel_sid":null,"stream_id":null,"object_name":null,
              "confidence":null,"loc":null})"}) {
        const record seen = codec::read_one(element);
        EXPECT_EQ(codec::written(seen), "}") << element;
        EXPECT_EQ(seen.stream_id, -1) << element;
        EXPECT_EQ(seen.confidence, 0.0) << element;
    }
}

TEST_F(model_reply, converts_confidences_as_json_does)
{
    const std::pair<const char*, double> cases[] = {
        {"87.5", 87.5},         {"100", 100},     {"-3", -3},  {"1e300", 1e300},
        {"\"50.5\"", 50.5},     {"\"x\"", 0},     {"\"\"", 0}, {"true", 1},
        {"false", 0},           {"[7]", 0},       {"{}", 0},   {"-0.0", 0},
        {"0.000001", 0.000001}, {"\"1e999\"", 0},
    };
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(codec::read_one(std::string(R"({"confidence":)") + text + "}").confidence, value) << text;
    }
    const decimal_comma host;
    EXPECT_EQ(codec::read_one(R"({"confidence":87.5})").confidence, 87.5);
    EXPECT_EQ(codec::read_one(R"({"confidence":"87.5"})").confidence, 87.5);
}

TEST_F(model_reply, reads_vertices_as_numbers)
{
    const struct {
        const char* loc;
        const char* vertices;
    } cases[] = {
        {"[[10, 20.25]]", "(10.000000 20.250000)"},
        {"[[0.5,0.25,7],[1,0]]", "(0.500000 0.250000)(1.000000 0.000000)"},
        {"[]", ""},
        {"{}", ""},
        {"\"x\"", ""},
        {"5", ""},
        {"[[0.5]]", "(0.500000 )"},
        {"[[]]", "( )"},
        {"[null,5,{}]", "( )( )( )"},
        {"[[null,1]]", "( 1.000000)"},
        {R"([["0.5","left"]])", "(0.500000 0.000000)"},
        {"[[1e20,-1]]", "(100000000000000000000.000000 -1.000000)"},
        {"[[1e40,1]]", "(10000000000000000303786028427003 1.000000)"}, // 32 characters of it
    };
    for (const auto& c : cases) {
        EXPECT_EQ(vertices_of(codec::read_one(std::string(R"({"loc":)") + c.loc + "}").positions), c.vertices)
            << c.loc;
    }
}

TEST_F(model_reply, fills_each_field_to_its_last_byte_and_cuts_what_is_longer)
{
    const struct {
        const char* name;
        std::size_t longest;
        std::function<const char*(const record&)> field;
    } cases[] = {
        {"app_id", 127, [](const record& r) { return r.app_id; }},
        {"app_name", 63, [](const record& r) { return r.app_name; }},
        {"model", 63, [](const record& r) { return r.model; }},
        {"brand", 127, [](const record& r) { return r.brand; }},
        {"version", 127, [](const record& r) { return r.version; }},
        {"task_name", 63, [](const record& r) { return r.task_name; }},
        {"description", 127, [](const record& r) { return r.description; }},
        {"channel_sid", 32, [](const record& r) { return r.channel_sid; }},
        {"object_name", 127, [](const record& r) { return r.object_name; }},
    };
    for (const auto& c : cases) {
        for (const std::size_t length : {c.longest, c.longest + 1, std::size_t{5000}}) {
            const record seen =
                codec::read_one(std::string("{\"") + c.name + "\":\"" + times(length, "z") + "\"}");
            EXPECT_EQ(c.field(seen), times(c.longest, "z")) << c.name << ' ' << length;
            // Nothing but this one field.
            EXPECT_EQ(codec::written(seen),
                      std::string("{\"") + c.name + "\":\"" + times(c.longest, "z") + "\"}");
        }
        const std::string letters = times(64, "\xc3\xbc");
        EXPECT_EQ(c.field(codec::read_one(std::string("{\"") + c.name + "\":\"" + letters + "\"}")),
                  letters.substr(0, c.longest / 2 * 2))
            << c.name << ": no letter is split";
    }
}

TEST_F(model_reply, gives_back_what_was_written)
{
    record first;
    set(first.app_id, "a");
    set(first.object_name, "T\xc3\xbcr");
    first.timestamp = LLONG_MIN;
    first.stream_id = 0;
    first.confidence = 99.9;
    first.positions = {vertex("0.500000", "0.250000"), vertex("1.000000", "0.000000")};
    set(first.channel_sid, times(32, "c"));
    const std::string text = codec::written(first);
    EXPECT_EQ(codec::written(codec::read_one(text)), text);
}

} // namespace

} // namespace korvane::test
