#include "codec/face.h"

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

using codec = codec_under_test<face_recognition_metadata_information, trans_face_metadata_info_to_string,
                               trans_string_to_face_metadata_info>;
using record = codec::record;
using reading = codec::reading;
using log_texts = std::vector<std::string>;

reading read_groups(const std::string& reply, reading before = {})
{
    EXPECT_EQ(trans_string_to_face_group_list_metadata_info(reply, before.records, before.ret, before.total),
              0)
        << reply;
    return before;
}

/// A ring of `count` vertices, each "[0.500000,0.250000]" on the wire, and its closing one.
std::string ring_of(std::size_t count)
{
    return R"("loc":{"type":"Polygon","coordinates":[[)" + times(count, "[0.500000,0.250000],") +
           "[0.500000,0.250000]]]}";
}

class face_text : public sandbox_test {};
class face_reply : public sandbox_test {};
class face_group_reply : public sandbox_test {};

TEST(face_record, is_cleared_when_made)
{
    alignas(record) std::array<unsigned char, sizeof(record)> dirty;
    dirty.fill(0xff);
    auto* made = new (dirty.data()) record();
    EXPECT_TRUE(all_zero(made->app_id) && all_zero(made->app_name) && all_zero(made->model) &&
                all_zero(made->brand) && all_zero(made->provider_id));
    EXPECT_EQ(made->timestamp, 0);
    EXPECT_TRUE(all_zero(made->func_name) && all_zero(made->version) && all_zero(made->task_name) &&
                all_zero(made->description) && all_zero(made->channel_sid));
    EXPECT_EQ(made->stream_id, -1);
    EXPECT_TRUE(all_zero(made->status) && all_zero(made->person_id) && all_zero(made->stranger_id) &&
                all_zero(made->person_key) && all_zero(made->person_name) && all_zero(made->group_name) &&
                all_zero(made->gender));
    EXPECT_EQ(made->confidence, -2.0);
    EXPECT_EQ(made->age, -2.0);
    EXPECT_FALSE(made->registered);
    EXPECT_TRUE(all_zero(made->resultId));
    EXPECT_TRUE(made->positions.empty());
    made->~record();
}

TEST(face_record, copies_own_their_vertices)
{
    record first;
    first.positions = {vertex("0.1", "0.2")};
    const record copy = first;
    first.positions[0].x[0] = '9';
    EXPECT_EQ(vertices_of(copy.positions), "(0.1 0.2)");
}

TEST_F(face_text, has_each_member_only_when_it_is_set)
{
    const struct {
        std::function<void(record&)> change;
        std::string text;
    } cases[] = {
        {[](record&) {}, R"({"registered":false})"},
        {[](record& r) { set(r.app_id, "a"); }, R"({"app_id":"a","registered":false})"},
        {[](record& r) { set(r.app_name, "n"); }, R"({"app_name":"n","registered":false})"},
        {[](record& r) { set(r.model, "m"); }, R"({"model":"m","registered":false})"},
        {[](record& r) { set(r.brand, "b"); }, R"({"brand":"b","registered":false})"},
        {[](record& r) { set(r.provider_id, "p"); }, R"({"provider_id":"p","registered":false})"},
        {[](record& r) { set(r.func_name, "f"); }, R"({"func_name":"f","registered":false})"},
        {[](record& r) { r.timestamp = 1; }, R"({"timestamp":"1","registered":false})"},
        {[](record& r) { r.timestamp = -1; }, R"({"timestamp":"-1","registered":false})"},
        {[](record& r) { r.timestamp = LLONG_MAX; },
         R"({"timestamp":"9223372036854775807","registered":false})"},
        {[](record& r) { r.timestamp = LLONG_MIN; },
         R"({"timestamp":"-9223372036854775808","registered":false})"},
        {[](record& r) { set(r.version, "v"); }, R"({"version":"v","registered":false})"},
        {[](record& r) { set(r.task_name, "t"); }, R"({"task_name":"t","registered":false})"},
        {[](record& r) { set(r.channel_sid, "c"); }, R"({"channel_sid":"c","registered":false})"},
        {[](record& r) { r.stream_id = -1; }, R"({"registered":false})"},
        {[](record& r) { r.stream_id = 0; }, R"({"stream_id":0,"registered":false})"},
        {[](record& r) { r.stream_id = INT_MIN; }, R"({"stream_id":-2147483648,"registered":false})"},
        {[](record& r) { set(r.description, "d"); }, R"({"description":"d","registered":false})"},
        {[](record& r) { set(r.status, "s"); }, R"({"status":"s","registered":false})"},
        {[](record& r) { set(r.person_id, "i"); }, R"({"person_id":"i","registered":false})"},
        {[](record& r) { set(r.stranger_id, "x"); }, R"({"stranger_id":"x","registered":false})"},
        {[](record& r) { set(r.person_key, "k"); }, R"({"person_key":"k","registered":false})"},
        {[](record& r) { set(r.person_name, "N"); }, R"({"person_name":"N","registered":false})"},
        {[](record& r) { set(r.group_name, "g"); }, R"({"group_name":"g","registered":false})"},
        {[](record& r) { set(r.gender, "f"); }, R"({"gender":"f","registered":false})"},
        {[](record& r) { r.registered = true; }, R"({"registered":true})"},
        {[](record& r) { set(r.resultId, "r"); }, R"({"registered":false,"resultId":"r"})"},
        {[](record& r) { r.positions = {vertex("0.1", "0.2")}; },
         R"({"registered":false,"loc":{"type":"Polygon","coordinates":[[[0.1,0.2],[0.1,0.2]]]}})"},
        {[](record& r) {
             r.positions = {vertex("0", "1"), vertex("", "x"), vertex("0.5", "0")};
         },
         R"({"registered":false,"loc":{"type":"Polygon","coordinates":[[[0,1],[,x],[0.5,0],[0,1]]]}})"},
        // A first byte of zero is an empty text, whatever stands behind it.
        {[](record& r) {
             set(r.person_name, "N");
             r.person_name[0] = 0;
             r.person_name[1] = 'x';
         },
         R"({"registered":false})"},
        // Nothing is escaped.
        {[](record& r) { set(r.person_name, "a \"b\" \\ /\n%s"); },
         "{\"person_name\":\"a \"b\" \\ /\n%s\",\"registered\":false}"},
        {[](record& r) { set(r.person_name, "\xc3\xbc\xf0\x9f\x91\xa4\xff"); },
         "{\"person_name\":\"\xc3\xbc\xf0\x9f\x91\xa4\xff\",\"registered\":false}"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(codec::written_with(c.change), c.text);
    }
    EXPECT_EQ(debug_log_texts(), log_texts());
}

TEST_F(face_text, has_an_age_from_minus_1_upward_and_any_confidence_but_minus_2)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    const struct {
        double value;
        const char* age; ///< as sent; empty: left out
        const char* confidence;
    } cases[] = {
        {-1.0, "-1.000000", "-1.000000"},
        {std::nextafter(-1.0, -2.0), "", "-1.000000"},
        {-1.5, "", "-1.500000"},
        {-2.0, "", ""},
        {std::nextafter(-2.0, -1.0), "", "-2.000000"},
        {std::nextafter(-2.0, -3.0), "", "-2.000000"},
        {-3.0, "", "-3.000000"},
        {0.0, "0.000000", "0.000000"},
        {-0.0, "-0.000000", "-0.000000"},
        {33.0, "33.000000", "33.000000"},
        {87.5, "87.500000", "87.500000"},
        {0.0000005001, "0.000001", "0.000001"},
        {nan, "", "nan"},
        {infinite, "inf", "inf"},
        {-infinite, "", "-inf"},
    };
    for (const auto& c : cases) {
        const std::string age = codec::written_with([&](record& r) { r.age = c.value; });
        const std::string confidence = codec::written_with([&](record& r) { r.confidence = c.value; });
        const auto member = [](const char* name, const std::string& value) {
            return '{' + (value.empty() ? "" : std::string(name) + value + ',') + R"("registered":false})";
        };
        EXPECT_EQ(age, member(R"("age":)", c.age)) << c.value;
        EXPECT_EQ(confidence, member(R"("confidence":)", c.confidence)) << c.value;
    }
}

TEST_F(face_text, holds_the_largest_numbers_whole)
{
    const std::string text = codec::written_with([](record& r) { r.age = r.confidence = DBL_MAX; });
    EXPECT_TRUE(is_json_object(text));
    const std::size_t digits = DBL_MAX_10_EXP + 1 + std::string(".000000").size();
    EXPECT_EQ(text.size(), std::string(R"({"age":,"confidence":,"registered":false})").size() + 2 * digits);
}

TEST_F(face_text, has_points_in_a_host_with_a_decimal_comma)
{
    const decimal_comma host;
    const auto both = [](record& r) {
        r.age = 33.5;
        r.confidence = 87.25;
    };
    EXPECT_EQ(codec::written_with(both), R"({"age":33.500000,"confidence":87.250000,"registered":false})");
}

void set_all(record& r)
{
    r.positions = {vertex("0.1", "0.2"), vertex("0.3", "0.4")};
    set(r.resultId, "r");
    r.registered = true;
    r.confidence = 87.5;
    r.age = 33;
    set(r.gender, "f");
    set(r.group_name, "g");
    set(r.person_name, "N");
    set(r.person_key, "k");
    set(r.stranger_id, "x");
    set(r.person_id, "i");
    set(r.status, "s");
    set(r.description, "d");
    r.stream_id = 3;
    set(r.channel_sid, "c");
    set(r.task_name, "t");
    set(r.version, "v");
    r.timestamp = 5;
    set(r.func_name, "F");
    set(r.provider_id, "p");
    set(r.brand, "b");
    set(r.model, "m");
    set(r.app_name, "n");
    set(r.app_id, "a");
}

TEST_F(face_text, has_its_members_in_the_order_of_the_wire)
{
    EXPECT_EQ(codec::written_with(set_all),
              R"({"app_id":"a","app_name":"n","model":"m","brand":"b","provider_id":"p","func_name":"F",)"
              R"("timestamp":"5","version":"v","task_name":"t","channel_sid":"c","stream_id":3,)"
              R"("description":"d","status":"s","person_id":"i","stranger_id":"x","person_key":"k",)"
              R"("person_name":"N","group_name":"g","gender":"f","age":33.000000,"confidence":87.500000,)"
              R"("registered":true,"resultId":"r",)"
              R"("loc":{"type":"Polygon","coordinates":[[[0.1,0.2],[0.3,0.4],[0.1,0.2]]]}})");
}

TEST_F(face_text, reads_a_full_field_to_its_end_and_no_further)
{
    const auto full = [](record& r) {
        fill(r.app_id, 'a');
        fill(r.app_name, 'n');
        fill(r.model, 'm');
        fill(r.brand, 'b');
        fill(r.provider_id, 'p');
        fill(r.func_name, 'F');
        fill(r.version, 'v');
        fill(r.task_name, 't');
        fill(r.description, 'd');
        fill(r.channel_sid, 'c');
        fill(r.status, 's');
        fill(r.person_id, 'i');
        fill(r.stranger_id, 'x');
        fill(r.person_key, 'k');
        fill(r.person_name, 'N');
        fill(r.group_name, 'g');
        fill(r.gender, 'f');
        fill(r.resultId, 'r');
        r.positions = {vertex(times(33, "1"), times(33, "2"))};
    };
    const std::string corner = "[" + times(33, "1") + "," + times(33, "2") + "]";
    const auto member = [](const char* name, std::size_t size, const char* letter) {
        return '"' + std::string(name) + "\":\"" + times(size, letter) + "\",";
    };
    EXPECT_EQ(codec::written_with(full),
              "{" + member("app_id", 128, "a") + member("app_name", 64, "n") + member("model", 64, "m") +
                  member("brand", 128, "b") + member("provider_id", 64, "p") + member("func_name", 128, "F") +
                  member("version", 128, "v") + member("task_name", 64, "t") +
                  member("channel_sid", 33, "c") + member("description", 512, "d") +
                  member("status", 32, "s") + member("person_id", 128, "i") +
                  member("stranger_id", 128, "x") + member("person_key", 512, "k") +
                  member("person_name", 256, "N") + member("group_name", 256, "g") +
                  member("gender", 24, "f") + "\"registered\":false," + member("resultId", 64, "r") +
                  R"("loc":{"type":"Polygon","coordinates":[[)" + corner + "," + corner + "]]}}");
}

TEST_F(face_text, holds_as_many_vertices_as_fit_and_says_how_many_did_not)
{
    const std::string message = "[korvane](trans_face_metadata_info_to_string:#) loc holds ";
    const struct {
        std::size_t vertices;
        std::size_t name; ///< characters in the name, "person_name":"", takes 17 besides
        std::size_t kept;
        std::size_t length;
    } cases[] = {
        {404, 0, 404, 8163},  {405, 0, 405, 8183},  {406, 0, 405, 8183},  {5000, 0, 405, 8183},
        {404, 10, 404, 8190}, {404, 11, 404, 8191}, {404, 12, 403, 8172}, {405, 11, 404, 8191},
    };
    for (const auto& c : cases) {
        clear_debug_log();
        record r;
        set(r.person_name, times(c.name, "N"));
        r.positions.assign(c.vertices, vertex("0.500000", "0.250000"));
        const std::string text = codec::written(r);
        const std::string name = c.name == 0 ? "" : R"("person_name":")" + times(c.name, "N") + "\",";
        EXPECT_EQ(text, "{" + name + R"("registered":false,)" + ring_of(c.kept) + "}");
        EXPECT_EQ(text.size(), c.length);
        EXPECT_TRUE(is_json_object(text));
        const log_texts told{message + std::to_string(c.kept) + " of " + std::to_string(c.vertices) +
                             " vertices, the others do not fit"};
        EXPECT_EQ(debug_log_texts(), c.kept < c.vertices ? told : log_texts());
    }
}

TEST_F(face_text, stays_json_when_full_fields_leave_less_room_for_the_polygon)
{
    record r;
    set_all(r);
    set(r.description, times(511, "d"));
    set(r.person_key, times(511, "k"));
    set(r.person_name, times(255, "N"));
    set(r.group_name, times(255, "g"));
    r.positions.assign(1000, vertex(times(32, "1"), times(32, "2")));
    const std::string text = codec::written(r);
    EXPECT_TRUE(is_json_object(text)) << text.substr(0, 300);
    EXPECT_LE(text.size(), 8191U);
    EXPECT_GT(text.size(), 8191U - 68U);
    EXPECT_EQ(debug_log_texts().size(), 1U);
}

TEST_F(face_reply, sets_what_it_has_and_keeps_the_rest)
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
        {R"({"ret":"7","totalCounts":57,"datas":[{}]})", 7, 57, 33, 1},
        {R"({"ret":0,"totalCounts":"9223372036854775807","datas":[]})", 0, LLONG_MAX, 33, 0},
        {R"({"ret":0,"totalCounts":-1,"datas":[]})", 0, -1, 33, 0},
        {R"({"ret":0,"totalCounts":57})", 0, 57, 33, 0},
        {R"({"ret":0,"totalCounts":57,"datas":{}})", 0, 57, 33, 0},
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
        {R"({"ret":0,"totalCounts":null,"datas":[{}]})", 0, 0, 33, 0},
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

TEST_F(face_reply, without_a_ret_has_nothing_when_the_caller_says_so)
{
    reading before;
    before.ret = -101;
    const reading seen = codec::read(R"({"totalCounts":57,"overThreshold":1,"datas":[{}]})", before);
    EXPECT_EQ(seen.total, 22);
    EXPECT_EQ(seen.over, 33);
    EXPECT_TRUE(seen.records.empty());
    EXPECT_EQ(codec::read(R"({"ret":0,"totalCounts":57,"datas":[{}]})", before).records.size(), 1U);
}

TEST_F(face_reply, is_appended_to_the_records_that_are_there)
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

TEST_F(face_reply, fills_every_field_but_the_kinds_name_and_the_status)
{
    const record seen = codec::read_one(codec::written_with(set_all));
    EXPECT_STREQ(seen.app_id, "a");
    EXPECT_STREQ(seen.app_name, "n");
    EXPECT_STREQ(seen.model, "m");
    EXPECT_STREQ(seen.brand, "b");
    EXPECT_STREQ(seen.provider_id, "p");
    EXPECT_EQ(seen.timestamp, 5);
    EXPECT_STREQ(seen.func_name, "");
    EXPECT_STREQ(seen.version, "v");
    EXPECT_STREQ(seen.task_name, "t");
    EXPECT_STREQ(seen.description, "d");
    EXPECT_STREQ(seen.channel_sid, "c");
    EXPECT_EQ(seen.stream_id, 3);
    EXPECT_STREQ(seen.status, "");
    EXPECT_STREQ(seen.person_id, "i");
    EXPECT_STREQ(seen.stranger_id, "x");
    EXPECT_STREQ(seen.person_key, "k");
    EXPECT_STREQ(seen.person_name, "N");
    EXPECT_STREQ(seen.group_name, "g");
    EXPECT_STREQ(seen.gender, "f");
    EXPECT_EQ(seen.confidence, 87.5);
    EXPECT_EQ(seen.age, 33.0);
    EXPECT_TRUE(seen.registered);
    EXPECT_STREQ(seen.resultId, "r");
    EXPECT_EQ(vertices_of(seen.positions), "(0.100000 0.200000)(0.300000 0.400000)");
}

TEST_F(face_reply, leaves_a_record_cleared_where_it_says_nothing)
{
    for (const char* element : {"{}", "null", "5", "[]",
                                R"({"app_id":null,"stream_id":null,"age":null,"confidence":null,)"
                                R"("registered":null,"timestamp":null,"loc":null,"x":1})"}) {
        const record seen = codec::read_one(element);
        EXPECT_EQ(codec::written(seen), R"({"registered":false})") << element;
        EXPECT_EQ(seen.age, -2.0) << element;
        EXPECT_EQ(seen.confidence, -2.0) << element;
    }
}

TEST_F(face_reply, converts_scalars)
{
    const struct {
        const char* element;
        const char* text; ///< as the record is written
    } cases[] = {
        {R"({"timestamp":1712345678901})", R"({"timestamp":"1712345678901","registered":false})"},
        {R"({"timestamp":"17 ms"})", R"({"timestamp":"17","registered":false})"},
        {R"({"timestamp":"noon"})", R"({"registered":false})"},
        {R"({"stream_id":"5"})", R"({"stream_id":5,"registered":false})"},
        {R"({"stream_id":9999999999})", R"({"stream_id":2147483647,"registered":false})"},
        {R"({"age":"33.5"})", R"({"age":33.500000,"registered":false})"},
        {R"({"age":"old"})", R"({"age":0.000000,"registered":false})"},
        {R"({"age":-1})", R"({"age":-1.000000,"registered":false})"},
        {R"({"confidence":true})", R"({"confidence":1.000000,"registered":false})"},
        {R"({"confidence":"87.5"})", R"({"confidence":87.500000,"registered":false})"},
        {R"({"confidence":NaN})", R"({"confidence":nan,"registered":false})"},
        {R"({"registered":1})", R"({"registered":true})"},
        {R"({"registered":0})", R"({"registered":false})"},
        {R"({"registered":"false"})", R"({"registered":true})"},
        {R"({"app_id":7,"model":2.50,"person_name":true,"version":[1]})",
         R"({"app_id":"7","model":"2.50","version":"[ 1 ]","person_name":"true","registered":false})"},
        {R"({"person_name":"ab\u0000cd"})", R"({"person_name":"ab","registered":false})"},
        {R"({"person_name":"first","person_name":"last"})", R"({"person_name":"last","registered":false})"},
        {R"({"person_name":"\u00fc \ud83d\udc64"})",
         "{\"person_name\":\"\xc3\xbc \xf0\x9f\x91\xa4\",\"registered\":false}"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(codec::written(codec::read_one(c.element)), c.text) << c.element;
    }
}

/// A text field, its name on the wire and the most characters it takes.
struct text_room {
    const char* name;
    std::size_t limit;
    std::function<std::string(const record&)> value;
};

const text_room rooms[] = {
    {"app_id", 127, [](const record& r) { return std::string(r.app_id); }},
    {"app_name", 63, [](const record& r) { return std::string(r.app_name); }},
    {"model", 63, [](const record& r) { return std::string(r.model); }},
    {"brand", 127, [](const record& r) { return std::string(r.brand); }},
    {"provider_id", 63, [](const record& r) { return std::string(r.provider_id); }},
    {"version", 127, [](const record& r) { return std::string(r.version); }},
    {"task_name", 63, [](const record& r) { return std::string(r.task_name); }},
    {"description", 511, [](const record& r) { return std::string(r.description); }},
    {"channel_sid", 32, [](const record& r) { return std::string(r.channel_sid); }},
    {"person_id", 127, [](const record& r) { return std::string(r.person_id); }},
    {"stranger_id", 127, [](const record& r) { return std::string(r.stranger_id); }},
    {"person_key", 511, [](const record& r) { return std::string(r.person_key); }},
    {"person_name", 255, [](const record& r) { return std::string(r.person_name); }},
    {"group_name", 255, [](const record& r) { return std::string(r.group_name); }},
    {"gender", 23, [](const record& r) { return std::string(r.gender); }},
    {"resultId", 63, [](const record& r) { return std::string(r.resultId); }},
};

TEST_F(face_reply, cuts_long_texts_to_their_fields_between_letters)
{
    const std::string two = "\xc3\xbc";
    const std::string four = "\xf0\x9f\x91\xa4";
    for (const text_room& room : rooms) {
        const struct {
            std::string given;
            std::string kept;
        } cases[] = {
            {times(room.limit, "y"), times(room.limit, "y")},
            {times(room.limit + 1, "y"), times(room.limit, "y")},
            {times(room.limit + 9000, "y"), times(room.limit, "y")},
            {times(room.limit - 2, "y") + two, times(room.limit - 2, "y") + two},
            {times(room.limit - 1, "y") + two, times(room.limit - 1, "y")},
            {times(room.limit - 4, "y") + four, times(room.limit - 4, "y") + four},
            {times(room.limit - 3, "y") + four, times(room.limit - 3, "y")},
            {times(room.limit - 1, "y") + four, times(room.limit - 1, "y")},
        };
        for (const auto& c : cases) {
            record only;
            const record seen = codec::read_one("{\"" + std::string(room.name) + "\":\"" + c.given + "\"}");
            EXPECT_EQ(room.value(seen), c.kept) << room.name << ' ' << c.given.size();
            // Nothing of it reached another field.
            for (const text_room& other : rooms) {
                if (&other != &room) {
                    EXPECT_EQ(other.value(seen), "") << other.name << " beside " << room.name;
                }
            }
            EXPECT_EQ(seen.timestamp, only.timestamp) << room.name;
            EXPECT_EQ(seen.stream_id, only.stream_id) << room.name;
            EXPECT_EQ(seen.age, only.age) << room.name;
            EXPECT_EQ(seen.confidence, only.confidence) << room.name;
            EXPECT_EQ(seen.registered, only.registered) << room.name;
        }
    }
}

TEST_F(face_reply, reads_rings)
{
    const struct {
        const char* loc;
        const char* vertices;
    } cases[] = {
        {R"({"type":"Polygon","coordinates":[[[0.1,0.2],[0.3,0.4],[0.5,0.6],[0.7,0.8],[0.1,0.2]]]})",
         "(0.100000 0.200000)(0.300000 0.400000)(0.500000 0.600000)(0.700000 0.800000)"},
        {R"({"coordinates":[[[0.5,0.25],[0.5,0.25]]]})", "(0.500000 0.250000)"},
        {R"({"coordinates":[[[0.5,0.25]]]})", ""},
        {R"({"coordinates":[[]]})", ""},
        {R"({"coordinates":[]})", ""},
        {R"({"coordinates":[[[0,0],[1,1],[0,0]],[],[[7,8]],[[2,3],[4,5]]]})",
         "(0.000000 0.000000)(1.000000 1.000000)(2.000000 3.000000)"},
        {R"({"coordinates":[[[1,2,3,4],[0,0]]]})", "(1.000000 2.000000)"},
        {R"({"coordinates":[[[0.5],[0,0]]]})", "(0.500000 )"},
        {R"({"coordinates":[[[null,0.5],[0,0]]]})", "( 0.500000)"},
        {R"({"coordinates":[[1,null,"x",{},[0,0]]]})", "( )( )( )( )"},
        {R"({"coordinates":[[["0.5","x"],[true,[1]],[0,0]]]})", "(0.500000 0.000000)(1.000000 0.000000)"},
        {R"({"coordinates":[[[1e24,1e25],[0,0]]]})",
         "(999999999999999983222784.000000 10000000000000000905969664.00000)"},
        {R"({"coordinates":[[[1e308,-1e308],[0,0]]]})",
         "(10000000000000000109790636294404 -1000000000000000010979063629440)"},
        {R"({"coordinates":[[[NaN,1e999],[0,0]]]})", "(nan inf)"},
        {R"({"coordinates":[{"x":1},null,5,"x"]})", ""},
        {R"({"coordinates":{}})", ""},
        {R"({"coordinates":"[[[0,0],[0,0]]]"})", ""},
        {R"({"coordinates":null})", ""},
        {R"({"type":"Polygon"})", ""},
        {"[[0.5,0.25],[0.5,0.25]]", ""},
        {"\"x\"", ""},
        {"5", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(vertices_of(codec::read_one(std::string("{\"loc\":") + c.loc + "}").positions), c.vertices)
            << c.loc;
    }
}

TEST_F(face_reply, reads_points_in_a_host_with_a_decimal_comma)
{
    const decimal_comma host;
    const record seen =
        codec::read_one(R"({"age":"33.5","confidence":87.25,"loc":{"coordinates":[[[0.5,"0.25"],[0,0]]]}})");
    EXPECT_EQ(seen.age, 33.5);
    EXPECT_EQ(seen.confidence, 87.25);
    EXPECT_EQ(vertices_of(seen.positions), "(0.500000 0.250000)");
}

TEST_F(face_reply, reads_thousands_of_records_and_vertices)
{
    const auto element = [](std::size_t vertices) {
        return R"({"timestamp":1,"loc":{"coordinates":[[)" + times(vertices - 1, "[0.5,0.5],") +
               R"([0.25,0.75],[0,0]]]}})";
    };
    const reading seen = codec::read(R"({"ret":0,"totalCounts":2000,"datas":[)" +
                                     times(1999, element(3) + ",") + element(5000) + "]}");
    ASSERT_EQ(seen.records.size(), 2000U);
    ASSERT_EQ(seen.records[1998].positions.size(), 3U);
    EXPECT_STREQ(seen.records[1998].positions[2].y, "0.750000");
    ASSERT_EQ(seen.records[1999].positions.size(), 5000U);
    EXPECT_STREQ(seen.records[1999].positions[4999].y, "0.750000");
}

TEST_F(face_reply, gives_back_what_was_written)
{
    record first;
    set_all(first);
    set(first.status, "");
    set(first.func_name, "");
    set(first.app_id, times(127, "a"));
    set(first.description, times(511, "d"));
    set(first.person_key, times(511, "k"));
    set(first.person_name, "J\xc3\xbcrgen A B|C 100% & \xf0\x9f\x91\xa4");
    set(first.channel_sid, times(32, "c"));
    first.timestamp = LLONG_MAX;
    first.stream_id = INT_MIN;
    first.confidence = 0.0;
    first.age = -1.0;
    first.positions = {vertex("0.123457", "1.000000"), vertex("0.000000", "0.999999")};
    record second;
    second.stream_id = 0;
    second.timestamp = -5;
    second.confidence = -1.0;
    second.registered = true;

    const reading seen = codec::read(R"({"ret":0,"totalCounts":2,"datas":[)" + codec::written(first) + "," +
                                     codec::written(second) + "]}");
    ASSERT_EQ(seen.records.size(), 2U);
    EXPECT_EQ(codec::written(seen.records[0]), codec::written(first));
    EXPECT_EQ(codec::written(seen.records[1]), codec::written(second));
}

std::string names_of(const reading& seen)
{
    std::string names;
    for (const record& one : seen.records) {
        names += "<" + std::string(one.person_name) + ">";
    }
    return names;
}

TEST_F(face_group_reply, sets_what_it_has_and_keeps_the_rest)
{
    const struct {
        const char* reply;
        int ret;
        long long total;
        const char* names;
    } cases[] = {
        {R"({"ret":0,"totalItems":2,"datas":["Ann","Bob"]})", 0, 2, "<Ann><Bob>"},
        {R"({"ret":0,"totalItems":"2","datas":["Ann","Ann"]})", 0, 2, "<Ann><Ann>"},
        {R"({"totalItems":1,"datas":["Ann"]})", 11, 1, "<Ann>"},
        {R"({"ret":5,"totalItems":1,"datas":["Ann"]})", 5, 1, "<Ann>"},
        {R"({"ret":0,"totalItems":0,"datas":[]})", 0, 0, ""},
        {R"({"ret":0,"totalItems":7,"datas":[]})", 0, 7, ""},
        {R"({"ret":0,"totalItems":4294967299,"datas":[]})", 0, INT_MAX, ""},
        {R"({"ret":0,"totalItems":-4294967299,"datas":[]})", 0, INT_MIN, ""},
        {R"({"ret":0,"totalItems":7})", 0, 7, ""},
        {R"({"ret":0,"totalItems":7,"datas":"Ann"})", 0, 7, ""},
        {R"({"ret":0,"totalItems":3,"datas":[null,5,""]})", 0, 3, "<><5><>"},
        {R"({"ret":0,"datas":[]})", 0, 0, ""},
        {R"({"ret":-101,"totalItems":1,"datas":["Ann"]})", -101, 22, ""},
        {"{}", 11, 0, ""},
        {"[]", 11, 0, ""},
        {"", 11, 0, ""},
        {"nobody", 11, 0, ""},
    };
    for (const auto& c : cases) {
        const reading seen = read_groups(c.reply);
        EXPECT_EQ(seen.ret, c.ret) << c.reply;
        EXPECT_EQ(seen.total, c.total) << c.reply;
        EXPECT_EQ(names_of(seen), c.names) << c.reply;
    }
}

TEST_F(face_group_reply, without_a_ret_has_nothing_when_the_caller_says_so)
{
    reading before;
    before.ret = -101;
    const reading seen = read_groups(R"({"totalItems":1,"datas":["Ann"]})", before);
    EXPECT_EQ(seen.total, 22);
    EXPECT_EQ(names_of(seen), "");
}

TEST_F(face_group_reply, sets_only_names_and_keeps_the_records_that_are_there)
{
    reading before;
    before.records.resize(1);
    set(before.records[0].person_name, "Zoe");
    const reading seen = read_groups(R"({"ret":0,"totalItems":1,"datas":["Ann"]})", before);
    ASSERT_EQ(names_of(seen), "<Zoe><Ann>");
    EXPECT_EQ(codec::written(seen.records[1]), R"({"person_name":"Ann","registered":false})");
    EXPECT_EQ(seen.records[1].age, -2.0);
}

TEST_F(face_group_reply, cuts_a_name_to_255_bytes)
{
    const std::string four = "\xf0\x9f\x91\xa4";
    const struct {
        std::string given;
        std::string kept;
    } cases[] = {
        {times(255, "y"), times(255, "y")},
        {times(256, "y"), times(255, "y")},
        {times(100000, "y"), times(255, "y")},
        {times(251, "y") + four, times(251, "y") + four},
        {times(252, "y") + four, times(252, "y") + "\xf0\x9f\x91"},
        {times(254, "y") + four, times(254, "y") + "\xf0"},
    };
    for (const auto& c : cases) {
        const reading seen = read_groups(R"({"ret":0,"totalItems":1,"datas":[")" + c.given + "\"]}");
        ASSERT_EQ(seen.records.size(), 1U);
        EXPECT_EQ(seen.records[0].person_name, c.kept) << c.given.size();
        EXPECT_STREQ(seen.records[0].group_name, "");
    }
}

} // namespace

} // namespace korvane::test
