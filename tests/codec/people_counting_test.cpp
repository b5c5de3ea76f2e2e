#include "codec/people_counting.h"

#include "tests/codec/record_fields.h"
#include "tests/support/debug_log.h"
#include "tests/support/decimal_comma.h"
#include "tests/support/sandbox_test.h"

#include <array>
#include <climits>
#include <functional>
#include <new>

namespace korvane::test {

namespace {

using record = people_counting_metadata_information;
using log_texts = std::vector<std::string>;

std::string written(const record& wanted)
{
    std::string text = "what stood here before";
    EXPECT_EQ(trans_people_counting_metadata_info_to_string(wanted, text), 0);
    return text;
}

/// A record of which nothing is written: counts are, from 0 up.
record nothing_to_write()
{
    record r;
    r.people_count_in = -1;
    r.people_count_out = -1;
    return r;
}

/// The text of a record in which only `change` has set something.
std::string written_with(const std::function<void(record&)>& change)
{
    record changed = nothing_to_write();
    change(changed);
    return written(changed);
}

class people_counting_text : public sandbox_test {};

TEST(people_counting_record, is_cleared_when_made)
{
    alignas(record) std::array<unsigned char, sizeof(record)> dirty;
    dirty.fill(0xff);
    auto* made = new (dirty.data()) record();
    EXPECT_TRUE(all_zero(made->app_id) && all_zero(made->app_name) && all_zero(made->model) &&
                all_zero(made->brand) && all_zero(made->type));
    EXPECT_EQ(made->timestamp, 0);
    EXPECT_EQ(made->end_time, 0);
    EXPECT_TRUE(all_zero(made->func_name) && all_zero(made->version) && all_zero(made->task_name) &&
                all_zero(made->description) && all_zero(made->channel_sid));
    EXPECT_EQ(made->stream_id, -1);
    EXPECT_EQ(made->people_count_in, 0);
    EXPECT_EQ(made->people_count_out, 0);
    EXPECT_TRUE(made->positions.empty());
    made->~record();
}

TEST(people_counting_record, copies_own_their_vertices)
{
    record first;
    first.positions = {vertex("0.1", "0.2")};
    record copy = first;
    std::vector<record> list(3, first);
    first.positions[0].x[0] = '9';
    list[0].positions.clear();
    EXPECT_EQ(vertices_of(copy.positions), "(0.1 0.2)");
    EXPECT_EQ(vertices_of(list[2].positions), "(0.1 0.2)");
    copy = list[0];
    EXPECT_EQ(vertices_of(copy.positions), "");
}

TEST_F(people_counting_text, has_each_member_only_when_it_is_set)
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
        {[](record& r) { set(r.type, "line"); }, R"({"type":"line"})"},
        {[](record& r) { r.timestamp = 0; }, "}"},
        {[](record& r) { r.timestamp = 1; }, R"({"timestamp":"1"})"},
        {[](record& r) { r.timestamp = -1; }, R"({"timestamp":"-1"})"},
        {[](record& r) { r.timestamp = LLONG_MAX; }, R"({"timestamp":"9223372036854775807"})"},
        {[](record& r) { r.timestamp = LLONG_MIN; }, R"({"timestamp":"-9223372036854775808"})"},
        {[](record& r) { r.end_time = 0; }, "}"},
        {[](record& r) { r.end_time = 1; }, R"({"end_time":"1"})"},
        {[](record& r) { r.end_time = -1; }, R"({"end_time":"-1"})"},
        {[](record& r) { r.end_time = LLONG_MAX; }, R"({"end_time":"9223372036854775807"})"},
        {[](record& r) { r.end_time = LLONG_MIN; }, R"({"end_time":"-9223372036854775808"})"},
        {[](record& r) { set(r.version, "v"); }, R"({"version":"v"})"},
        {[](record& r) { set(r.task_name, "t"); }, R"({"task_name":"t"})"},
        {[](record& r) { set(r.description, "d"); }, R"({"description":"d"})"},
        {[](record& r) { set(r.channel_sid, "c"); }, R"({"channel_sid":"c"})"},
        {[](record& r) { r.stream_id = -1; }, "}"},
        {[](record& r) { r.stream_id = 0; }, R"({"stream_id":0})"},
        {[](record& r) { r.stream_id = -2; }, R"({"stream_id":-2})"},
        {[](record& r) { r.stream_id = INT_MAX; }, R"({"stream_id":2147483647})"},
        {[](record& r) { r.stream_id = INT_MIN; }, R"({"stream_id":-2147483648})"},
        {[](record& r) { r.people_count_in = 0; }, R"({"people_count_in":0})"},
        {[](record& r) { r.people_count_in = INT_MAX; }, R"({"people_count_in":2147483647})"},
        {[](record& r) { r.people_count_in = INT_MIN; }, "}"},
        {[](record& r) { r.people_count_out = 0; }, R"({"people_count_out":0})"},
        {[](record& r) { r.people_count_out = INT_MAX; }, R"({"people_count_out":2147483647})"},
        {[](record& r) { r.people_count_out = INT_MIN; }, "}"},
        {[](record& r) { r.positions = {vertex("0.500000", "0.250000")}; },
         R"({"loc":[[0.500000,0.250000]]})"},
        {[](record& r) {
             r.positions = {vertex("0", "1"), vertex("1", "0"), vertex("0.5", "x")};
         },
         R"({"loc":[[0,1],[1,0],[0.5,x]]})"},
        {[](record& r) { r.positions = {vertex("", "")}; }, R"({"loc":[[,]]})"},
        // A first byte of zero is an empty text, whatever stands behind it.
        {[](record& r) { r.type[1] = 'x'; }, "}"},
        // Nothing is escaped.
        {[](record& r) { set(r.description, "a \"b\" \\ /\n%s"); }, "{\"description\":\"a \"b\" \\ /\n%s\"}"},
        {[](record& r) { set(r.type, "\xc3\xbc\xff"); }, "{\"type\":\"\xc3\xbc\xff\"}"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(written_with(c.change), c.text);
    }
    EXPECT_EQ(written(record()), R"({"people_count_in":0,"people_count_out":0})");
    EXPECT_EQ(debug_log_texts(), log_texts());
}

/// The type and the end stand elsewhere on the wire than in the record.
TEST_F(people_counting_text, has_its_members_in_the_order_of_the_wire)
{
    const auto all = [](record& r) {
        r.positions = {vertex("0.1", "0.2"), vertex("0.3", "0.4")};
        r.people_count_out = 8;
        r.people_count_in = 7;
        r.stream_id = 3;
        set(r.channel_sid, "c");
        set(r.description, "d");
        set(r.task_name, "t");
        set(r.version, "v");
        set(r.func_name, "f");
        r.end_time = 6;
        r.timestamp = 5;
        set(r.type, "y");
        set(r.brand, "b");
        set(r.model, "m");
        set(r.app_name, "n");
        set(r.app_id, "a");
    };
    EXPECT_EQ(written_with(all),
              R"({"app_id":"a","app_name":"n","model":"m","brand":"b","func_name":"f","type":"y",)"
              R"("timestamp":"5","end_time":"6","version":"v","task_name":"t","description":"d",)"
              R"("channel_sid":"c","stream_id":3,"people_count_in":7,"people_count_out":8,)"
              R"("loc":[[0.1,0.2],[0.3,0.4]]})");
}

TEST_F(people_counting_text, is_that_of_a_whole_report)
{
    record r;
    set(r.app_id, "a1");
    set(r.func_name, "PeopleCounting");
    r.timestamp = 1600000000000;
    set(r.channel_sid, "c1");
    r.stream_id = 0;
    r.people_count_in = 3;
    r.people_count_out = 1;
    r.positions = {vertex("0.100000", "0.200000"), vertex("0.300000", "0.400000")};
    EXPECT_EQ(written(r),
              R"({"app_id":"a1","func_name":"PeopleCounting","timestamp":"1600000000000","channel_sid":"c1",)"
              R"("stream_id":0,"people_count_in":3,"people_count_out":1,)"
              R"("loc":[[0.100000,0.200000],[0.300000,0.400000]]})");
}

TEST_F(people_counting_text, leaves_out_each_negative_count_alone)
{
    record r;
    r.people_count_in = -1;
    EXPECT_EQ(written(r), R"({"people_count_out":0})");
    r.people_count_in = 0;
    r.people_count_out = -1;
    EXPECT_EQ(written(r), R"({"people_count_in":0})");
}

TEST_F(people_counting_text, reads_a_full_field_to_its_end_and_no_further)
{
    const auto full = [](record& r) {
        fill(r.app_id, 'a');
        fill(r.app_name, 'n');
        fill(r.model, 'm');
        fill(r.brand, 'b');
        fill(r.func_name, 'f');
        fill(r.type, 'y');
        r.timestamp = 1;
        fill(r.version, 'v');
        fill(r.task_name, 't');
        fill(r.description, 'd');
        fill(r.channel_sid, 'c');
        r.positions = {vertex(times(33, "1"), times(33, "2")), vertex("3", "4")};
    };
    EXPECT_EQ(written_with(full),
              "{\"app_id\":\"" + times(128, "a") + "\",\"app_name\":\"" + times(64, "n") + "\",\"model\":\"" +
                  times(64, "m") + "\",\"brand\":\"" + times(128, "b") + "\",\"func_name\":\"" +
                  times(128, "f") + "\",\"type\":\"" + times(32, "y") +
                  "\",\"timestamp\":\"1\",\"version\":\"" + times(128, "v") + "\",\"task_name\":\"" +
                  times(64, "t") + "\",\"description\":\"" + times(128, "d") + "\",\"channel_sid\":\"" +
                  times(33, "c") + "\",\"loc\":[[" + times(33, "1") + "," + times(33, "2") + "],[3,4]]}");
}

TEST_F(people_counting_text, writes_texts_at_their_limits_in_full)
{
    EXPECT_EQ(written_with([](record& r) { set(r.app_id, times(127, "a")); }),
              "{\"app_id\":\"" + times(127, "a") + "\"}");
    EXPECT_EQ(written_with([](record& r) { set(r.type, times(31, "y")); }),
              "{\"type\":\"" + times(31, "y") + "\"}");
    EXPECT_EQ(written_with([](record& r) { set(r.channel_sid, times(32, "c")); }),
              "{\"channel_sid\":\"" + times(32, "c") + "\"}");
}

TEST_F(people_counting_text, has_points_in_a_host_with_a_decimal_comma)
{
    const decimal_comma host;
    record r;
    r.timestamp = 1712345678901;
    r.people_count_in = 1234567;
    r.positions = {vertex("0.5", "0.25")};
    EXPECT_EQ(
        written(r),
        R"({"timestamp":"1712345678901","people_count_in":1234567,"people_count_out":0,"loc":[[0.5,0.25]]})");
}

/// What is left of a polygon of 20 characters a vertex, the first of them `longer`, in a text of 8191: of
/// {"loc":[...]} eight characters stand before the vertices and one behind them.
TEST_F(people_counting_text, holds_a_polygon_up_to_8191_characters)
{
    const std::string message = "[korvane](trans_people_counting_metadata_info_to_string:#) loc holds ";
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
        record r = nothing_to_write();
        r.positions.assign(c.vertices, vertex("0.500000", "0.250000"));
        r.positions[0] = vertex("0.500000" + times(c.longer, "0"), "0.250000");
        const std::string text = written(r);
        EXPECT_EQ(text, "{\"loc\":[[0.500000" + times(c.longer, "0") + ",0.250000]" +
                            times(c.kept - 1, ",[0.500000,0.250000]") + "]}");
        EXPECT_EQ(text.size(), c.length);
        EXPECT_TRUE(is_json_object(text));
        const log_texts told{message + std::to_string(c.kept) + " of " + std::to_string(c.vertices) + behind};
        EXPECT_EQ(debug_log_texts(), c.kept < c.vertices ? told : log_texts());
    }
}

TEST_F(people_counting_text, stays_json_when_full_fields_leave_less_room_for_the_polygon)
{
    record r;
    set(r.app_id, times(127, "a"));
    set(r.brand, times(127, "b"));
    set(r.type, times(31, "y"));
    set(r.description, times(127, "d"));
    r.positions.assign(1000, vertex("0.500000", "0.250000"));
    const std::string text = written(r);
    EXPECT_TRUE(is_json_object(text)) << text.substr(0, 500);
    EXPECT_LE(text.size(), 8191U);
    EXPECT_GT(text.size(), 8191U - 20U);
    EXPECT_EQ(debug_log_texts().size(), 1U);
}

} // namespace

} // namespace korvane::test
