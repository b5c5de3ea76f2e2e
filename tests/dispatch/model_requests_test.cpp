// The metadata store's client called directly, for what the object handlers never pass on to it.
#include "store/ai_CDataBaseComm.h"

#include "tests/dispatch/calls.h"
#include "tests/dispatch/client_requests.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

#include <korvane/ai_metadata.h>

#include <climits>
#include <cstring>
#include <optional>

namespace korvane::test {

namespace {

using record = model_importer_metadata_information;
using texts = std::vector<std::string>;

const std::string path = "/third_party/model_importer";
const std::string plain_tail = "start_time=0&end_time=5&sort_dir=-1&skip=0&limit=10";
const std::string two_rows =
    R"({"ret":0,"totalCounts":57,"overThreshold":1,"datas":[{"object_name":"a"},{"confidence":50}]})";

/// A request's arguments, the outputs filled so that a change shows.
struct request {
    int sort_dir = -1;
    int skip = 0;
    int limit = 10;
    std::vector<std::string> channels;
    std::optional<std::string> object_name;
    unsigned long long start_time = 0;
    unsigned long long end_time = 5;
    int start_confidence = -1;
    int end_confidence = -1;
    std::vector<Tposition_xy> polygon;
    std::vector<record> records{1};
    long long total = 22;
    int over = 33;

    int send()
    {
        return ai_CDataBaseComm().get_model_metadata(
            sort_dir, skip, limit, channels, object_name ? object_name->data() : nullptr, start_time,
            end_time, start_confidence, end_confidence, polygon, records, total, over);
    }

    bool untouched() const { return records.size() == 1 && total == 22 && over == 33; }
};

class model_requests : public sandbox_test {
protected:
    std::string last_query()
    {
        const std::string line = line_of(store_.requests().back());
        EXPECT_EQ(line.rfind("GET " + path + "?", 0), 0U) << line;
        return line.substr(line.find('?') + 1);
    }

    scripted_store store_;
};

TEST_F(model_requests, send_numbers_as_they_are_but_a_direction_of_0)
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
        EXPECT_EQ(last_query(), c.query);
    }
}

TEST_F(model_requests, send_a_confidence_range_unless_one_bound_is_minus_1)
{
    const struct {
        int start;
        int end;
        const char* query;
    } cases[] = {
        {-1, -1, ""},
        {-1, 90, ""},
        {50, -1, ""},
        // Whatever else a caller gives goes out: the handler has the bounds.
        {0, 0, "start_confidence=0&end_confidence=0&"},
        {50, 90, "start_confidence=50&end_confidence=90&"},
        {-2, -2, "start_confidence=-2&end_confidence=-2&"},
        {INT_MIN, INT_MAX, "start_confidence=-2147483648&end_confidence=2147483647&"},
    };
    for (const auto& c : cases) {
        request asked;
        asked.start_confidence = c.start;
        asked.end_confidence = c.end;
        EXPECT_EQ(asked.send(), 0);
        EXPECT_EQ(last_query(), c.query + plain_tail);
    }
}

TEST_F(model_requests, send_an_object_name_of_any_length_as_it_is)
{
    const std::string head = "GET " + path + "?object_name=";
    for (const std::string& name : {std::string(), std::string("red car&x=1"), std::string(129, 'o'),
                                    std::string(8191 - head.size() - 1 - plain_tail.size(), 'o')}) {
        request asked;
        asked.object_name = name;
        EXPECT_EQ(asked.send(), 0) << name.size();
        EXPECT_EQ(last_query(), "object_name=" + name + "&" + plain_tail);
    }
    const std::size_t sent = store_.requests().size();
    request asked;
    asked.object_name = std::string(8192 - head.size() - 1 - plain_tail.size(), 'o');
    EXPECT_EQ(asked.send(), code(result_bad_request));
    EXPECT_TRUE(asked.untouched());
    EXPECT_EQ(store_.requests().size(), sent);
    EXPECT_EQ(debug_log_texts(), texts{not_sent + "it is too long"});
}

TEST_F(model_requests, send_all_filters_in_their_order)
{
    request asked;
    asked.limit = 1;
    asked.polygon = corners(5); // only four go out
    asked.channels = {"a", "", "b c"};
    asked.object_name = "car";
    asked.start_confidence = 1;
    asked.end_confidence = 2;
    EXPECT_EQ(asked.send(), 0);
    EXPECT_EQ(last_query(),
              "x1=1&y1=a&x2=2&y2=b&x3=3&y3=c&x4=4&y4=d&channel_sid=[\"a\",\"\",\"b c\"]&object_name=car&"
              "start_confidence=1&end_confidence=2&start_time=0&end_time=5&sort_dir=-1&skip=0&limit=1");
}

TEST_F(model_requests, with_one_to_three_vertices_are_refused_unsent)
{
    for (const int count : {1, 2, 3}) {
        clear_debug_log();
        request asked;
        asked.polygon = corners(count);
        EXPECT_EQ(asked.send(), code(result_bad_request)) << count;
        EXPECT_TRUE(asked.untouched()) << count;
        EXPECT_EQ(debug_log_texts(), texts{not_sent + "an area needs four corners"}) << count;
    }
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(model_requests, are_refused_when_a_value_would_split_them)
{
    for (const char control : {'\n', '\r', '\t', '\x01', '\x1f', '\x7f'}) {
        clear_debug_log();
        request with_name;
        with_name.object_name = std::string("a") + control + "b";
        EXPECT_EQ(with_name.send(), code(result_bad_request)) << static_cast<int>(control);
        EXPECT_TRUE(with_name.untouched());
        request with_channel;
        with_channel.channels = {"good", std::string("a") + control};
        EXPECT_EQ(with_channel.send(), code(result_bad_request)) << static_cast<int>(control);
        request with_corner;
        with_corner.polygon = corners(4);
        with_corner.polygon[3].y[0] = control;
        EXPECT_EQ(with_corner.send(), code(result_bad_request)) << static_cast<int>(control);
        EXPECT_EQ(debug_log_texts(), texts(3, not_sent + "a value holds a control character"));
    }
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(model_requests, tell_of_several_faults_the_one_that_comes_first)
{
    request asked;
    asked.polygon = corners(3);
    asked.channels = {"a\n"};
    asked.object_name = std::string(9000, 'o');
    EXPECT_EQ(asked.send(), code(result_bad_request));
    asked.polygon.clear();
    EXPECT_EQ(asked.send(), code(result_bad_request));
    EXPECT_EQ(debug_log_texts(), (texts{not_sent + "an area needs four corners",
                                        not_sent + "a value holds a control character"}));
}

TEST_F(model_requests, leave_the_outputs_as_they_were_without_a_reply_body)
{
    const scripted_reply replies[] = {
        json_reply(""),
        http_reply(500, two_rows),
        raw_reply(""),
        raw_reply("HTTP/1.1 200 OK\r\n\r\n" + two_rows),
        raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n"),
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

TEST_F(model_requests, append_the_records_and_return_the_transports_result)
{
    const std::pair<scripted_reply, int> cases[] = {
        {json_reply(two_rows), 0},
        // A reply that ends early is still decoded, and is a failure.
        {raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 999\r\n\r\n" + two_rows), -5},
    };
    for (const auto& [reply, result] : cases) {
        store_.reply_with(reply);
        request asked;
        EXPECT_EQ(asked.send(), result);
        EXPECT_EQ(asked.total, 57);
        EXPECT_EQ(asked.over, 1);
        ASSERT_EQ(asked.records.size(), 3U);
        EXPECT_STREQ(asked.records[1].object_name, "a");
        EXPECT_EQ(asked.records[2].confidence, 50.0);
    }
}

TEST_F(model_requests, do_not_make_the_stores_ret_theirs)
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

TEST_F(model_requests, store_a_record_and_leave_it_as_it_was)
{
    record stored;
    std::strcpy(stored.object_name, "car");
    stored.confidence = 150; // the bounds are the report's business
    stored.positions = corners(2);
    EXPECT_EQ(ai_CDataBaseComm().add_model_metadata(stored), 0);
    const texts requests = store_.requests();
    EXPECT_EQ(line_of(requests.back()), "POST " + path);
    EXPECT_EQ(body_of(requests.back()),
              R"({"object_name":"car","confidence":150.000000,"loc":[[1,a],[2,b]]})");
    EXPECT_STREQ(stored.object_name, "car");
    EXPECT_EQ(stored.positions.size(), 2U);
}

TEST_F(model_requests, store_with_the_stores_ret_else_the_transports_result)
{
    const std::pair<scripted_reply, int> cases[] = {
        {json_reply(R"({"ret":5})"), 5},
        {json_reply(R"({"ret":-101})"), -101},
        {json_reply("{}"), 0},
        {json_reply("no JSON"), 0},
        {json_reply(""), -1},
        {http_reply(500, R"({"ret":0})"), -1},
        {raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n{\"re"), -5},
        {reset_unread(), -1},
    };
    for (const auto& [reply, result] : cases) {
        store_.reply_with(reply);
        record stored;
        EXPECT_EQ(ai_CDataBaseComm().add_model_metadata(stored), result) << reply.bytes;
    }
    EXPECT_EQ(debug_log_texts(), texts()); // the caller tells
}

} // namespace

} // namespace korvane::test
