// The metadata store's client called directly, for what the human handlers never pass on to it.
#include "store/ai_CDataBaseComm.h"

#include "tests/dispatch/calls.h"
#include "tests/dispatch/client_requests.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

#include <korvane/ai_metadata.h>

#include <climits>
#include <cstring>

namespace korvane::test {

namespace {

using record = human_detection_metadata_information;
using texts = std::vector<std::string>;

const std::string two_rows =
    R"({"ret":0,"totalCounts":57,"overThreshold":1,"datas":[{"app_id":"a"},{"app_id":"b"}]})";

/// A request's arguments, the outputs filled so that a change shows.
struct request {
    int sort_dir = -1;
    int skip = 0;
    int limit = 10;
    std::vector<std::string> channels;
    unsigned long long start_time = 0;
    unsigned long long end_time = 5;
    std::vector<Tposition_xy> polygon;
    std::vector<record> records{1};
    long long total = 22;
    int over = 33;

    int send()
    {
        return ai_CDataBaseComm().get_human_metadata(sort_dir, skip, limit, channels, start_time, end_time,
                                                     polygon, records, total, over);
    }

    bool untouched() const { return records.size() == 1 && total == 22 && over == 33; }
};

class human_requests : public sandbox_test {
protected:
    std::string last_line() { return line_of(last_request(store_)); }

    scripted_store store_;
};

TEST_F(human_requests, send_numbers_as_they_are_but_a_direction_of_0)
{
    const struct {
        int sort_dir;
        int skip;
        int limit;
        unsigned long long start_time;
        unsigned long long end_time;
        const char* query;
    } cases[] = {
        {0, 0, 0, 0, 0, "start_time=0&end_time=0&sort_dir=-1&skip=0&limit=0"},
        {1, 2, 3, 4, 5, "start_time=4&end_time=5&sort_dir=1&skip=2&limit=3"},
        {-1, -2, -3, 5, 4, "start_time=5&end_time=4&sort_dir=-1&skip=-2&limit=-3"},
        {7, INT_MAX, INT_MIN, ULLONG_MAX, ULLONG_MAX,
         "start_time=18446744073709551615&end_time=18446744073709551615&sort_dir=7&skip=2147483647"
         "&limit=-2147483648"},
    };
    for (const auto& c : cases) {
        request asked;
        asked.sort_dir = c.sort_dir;
        asked.skip = c.skip;
        asked.limit = c.limit;
        asked.start_time = c.start_time;
        asked.end_time = c.end_time;
        EXPECT_EQ(asked.send(), 0);
        EXPECT_EQ(last_line(), std::string("GET /third_party/human_detect?") + c.query);
    }
}

TEST_F(human_requests, send_the_first_four_vertices)
{
    const std::string area = "x1=1&y1=a&x2=2&y2=b&x3=3&y3=c&x4=4&y4=d&";
    for (const int count : {4, 5, 100}) {
        request asked;
        asked.polygon = corners(count);
        EXPECT_EQ(asked.send(), 0);
        EXPECT_EQ(last_line(), "GET /third_party/human_detect?" + area +
                                   "start_time=0&end_time=5&sort_dir=-1&skip=0&limit=10");
    }
}

TEST_F(human_requests, read_a_full_coordinate_to_its_end_and_no_further)
{
    request asked;
    asked.polygon = corners(4);
    std::memset(asked.polygon[0].x, '7', sizeof asked.polygon[0].x);
    EXPECT_EQ(asked.send(), 0);
    EXPECT_EQ(last_line(), "GET /third_party/human_detect?x1=" + std::string(33, '7') +
                               "&y1=a&x2=2&y2=b&x3=3&y3=c&x4=4&y4=d&"
                               "start_time=0&end_time=5&sort_dir=-1&skip=0&limit=10");
}

TEST_F(human_requests, with_one_to_three_vertices_are_refused_unsent)
{
    for (const int count : {1, 2, 3}) {
        request asked;
        asked.polygon = corners(count);
        EXPECT_EQ(asked.send(), code(result_bad_request)) << count;
        EXPECT_TRUE(asked.untouched()) << count;
    }
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts(3, not_sent + "an area needs four corners"));
}

TEST_F(human_requests, send_channels_of_any_length_as_they_are)
{
    request asked;
    asked.channels = {"a", "", "b c\"d", std::string(200, 'e')};
    EXPECT_EQ(asked.send(), 0);
    EXPECT_EQ(last_line(), "GET /third_party/human_detect?channel_sid=[\"a\",\"\",\"b c\"d\",\"" +
                               std::string(200, 'e') +
                               "\"]&start_time=0&end_time=5&sort_dir=-1&skip=0&limit=10");
}

TEST_F(human_requests, are_refused_when_a_value_would_split_them)
{
    for (const char control : {'\n', '\r', '\t', '\x01', '\x1f', '\x7f', '\0'}) {
        request with_channel;
        with_channel.channels = {"good", std::string("a") + control + "b"};
        EXPECT_EQ(with_channel.send(), code(result_bad_request)) << static_cast<int>(control);
        EXPECT_TRUE(with_channel.untouched());
    }
    for (const char control : {'\n', '\r', '\t', '\x01', '\x1f', '\x7f'}) {
        request with_corner;
        with_corner.polygon = corners(4);
        with_corner.polygon[3].y[0] = control;
        EXPECT_EQ(with_corner.send(), code(result_bad_request)) << static_cast<int>(control);
        EXPECT_TRUE(with_corner.untouched());
    }
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts(7 + 6, not_sent + "a value holds a control character"));
}

TEST_F(human_requests, are_refused_when_the_line_grows_over_8191_characters)
{
    const std::string rest = "\"]&start_time=0&end_time=5&sort_dir=-1&skip=0&limit=10";
    const std::string head = "GET /third_party/human_detect?channel_sid=[\"";
    request asked;
    asked.channels = {std::string(8191 - head.size() - rest.size(), 'c')};
    EXPECT_EQ(asked.send(), 0);
    EXPECT_EQ(last_line(), head + asked.channels[0] + rest);

    asked = request();
    asked.channels = {std::string(8192 - head.size() - rest.size(), 'c')};
    EXPECT_EQ(asked.send(), code(result_bad_request));
    EXPECT_TRUE(asked.untouched());
    EXPECT_EQ(store_.requests().size(), 1U);
    EXPECT_EQ(debug_log_texts(), texts{not_sent + "it is too long"});
}

TEST_F(human_requests, that_cannot_be_sent_for_several_reasons_tell_the_first)
{
    request asked;
    asked.polygon = corners(1);
    asked.channels = {"\n", std::string(9000, 'c')};
    EXPECT_EQ(asked.send(), code(result_bad_request));
    asked.polygon.clear();
    EXPECT_EQ(asked.send(), code(result_bad_request));
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), (texts{not_sent + "an area needs four corners",
                                        not_sent + "a value holds a control character"}));
}

TEST_F(human_requests, leave_the_outputs_as_they_were_without_a_reply_body)
{
    const scripted_reply replies[] = {
        json_reply(""),
        http_reply(500, two_rows),
        http_reply(404, ""),
        raw_reply(""),
        raw_reply("HTTP/1.1 200 OK\r\n\r\n" + two_rows),
        raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n"),
        reset_after("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n"),
        reset_unread(),
    };
    for (const scripted_reply& reply : replies) {
        store_.reply_with(reply);
        request asked;
        EXPECT_EQ(asked.send(), -1) << reply.bytes;
        EXPECT_TRUE(asked.untouched()) << reply.bytes;
    }
    store_.stop();
    request asked;
    EXPECT_EQ(asked.send(), -1);
    EXPECT_TRUE(asked.untouched());
}

TEST_F(human_requests, append_the_records_and_return_the_transports_result)
{
    const struct {
        scripted_reply reply;
        int result;
    } cases[] = {
        {json_reply(two_rows), 0},
        {in_pieces(json_reply(two_rows), 7), 0},
        // A reply that ends early is still decoded, and is a failure.
        {raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 999\r\n\r\n" + two_rows), -5},
    };
    for (const auto& c : cases) {
        store_.reply_with(c.reply);
        request asked;
        EXPECT_EQ(asked.send(), c.result);
        EXPECT_EQ(asked.total, 57);
        EXPECT_EQ(asked.over, 1);
        ASSERT_EQ(asked.records.size(), 3U);
        EXPECT_STREQ(asked.records[1].app_id, "a");
        EXPECT_STREQ(asked.records[2].app_id, "b");
    }
}

TEST_F(human_requests, do_not_make_the_stores_ret_theirs)
{
    store_.reply_with(json_reply(R"({"ret":5,"totalCounts":1,"datas":[{}]})"));
    request asked;
    EXPECT_EQ(asked.send(), 0);
    EXPECT_EQ(asked.total, 1);

    store_.reply_with(json_reply(R"({"ret":-101,"totalCounts":1,"datas":[{}]})"));
    request nothing;
    EXPECT_EQ(nothing.send(), 0);
    EXPECT_TRUE(nothing.untouched());
}

TEST_F(human_requests, store_a_record_and_leave_it_as_it_was)
{
    record stored;
    std::strcpy(stored.channel_sid, "door");
    stored.positions = corners(2);
    EXPECT_EQ(ai_CDataBaseComm().add_human_metadata(stored), 0);
    const std::string request = last_request(store_);
    EXPECT_EQ(line_of(request), "POST /third_party/human_detect");
    EXPECT_EQ(body_of(request), R"({"channel_sid":"door","loc":[[1,a],[2,b]]})");
    EXPECT_STREQ(stored.channel_sid, "door");
    EXPECT_EQ(stored.positions.size(), 2U);
}

TEST_F(human_requests, store_a_record_with_nothing_set_as_a_lone_brace)
{
    record nothing;
    EXPECT_EQ(ai_CDataBaseComm().add_human_metadata(nothing), 0);
    EXPECT_EQ(body_of(last_request(store_)), "}");
}

TEST_F(human_requests, store_with_the_stores_ret_else_the_transports_result)
{
    const struct {
        scripted_reply reply;
        int result;
    } cases[] = {
        {json_reply(R"({"ret":5})"), 5},
        {json_reply(R"({"ret":-101})"), -101},
        {json_reply("{}"), 0},
        {json_reply("no JSON"), 0},
        {json_reply(""), -1},
        {http_reply(500, R"({"ret":0})"), -1},
        {raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n{\"re"), -5},
        {raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n{\"ret\":0}"), 0},
        {reset_unread(), -1},
    };
    for (const auto& c : cases) {
        store_.reply_with(c.reply);
        record stored;
        EXPECT_EQ(ai_CDataBaseComm().add_human_metadata(stored), c.result) << c.reply.bytes;
    }
    EXPECT_EQ(debug_log_texts(), texts()); // the caller tells
}

} // namespace

} // namespace korvane::test
