// The metadata store's client called directly, for what the people counting handlers never pass on to it.
#include "store/ai_CDataBaseComm.h"

#include "tests/dispatch/calls.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

#include <korvane/ai_metadata.h>

#include <climits>
#include <cstring>
#include <optional>

namespace korvane::test {

namespace {

using record = people_counting_metadata_information;
using texts = std::vector<std::string>;

const std::string path = "/third_party/people_counting";
const std::string one_row =
    R"({"ret":0,"datas":[{"_id":{"channel_sid":"a","timestamp":4},"sum_in":3,"sum_out":1}]})";

const std::string holds_a_control_character =
    "[korvane](ai_CDataBaseComm:#) request not sent: a value holds a control character";
const texts too_long{"[korvane](ai_CDataBaseComm:#) request not sent: it is too long"};

/// A request's arguments; one bucket is there before, so that a change shows.
struct request {
    std::string query_type = "hour";
    std::optional<std::string> channel_sid;
    unsigned long long interval = 4;
    unsigned long long start = 0;
    unsigned long long end = 11;
    std::vector<record> rows{1};

    int send(char* reserved = nullptr)
    {
        return ai_CDataBaseComm().get_people_counting_metadata(query_type.data(),
                                                               channel_sid ? channel_sid->data() : nullptr,
                                                               interval, start, end, rows, reserved);
    }

    bool untouched() const { return rows.size() == 1; }
};

request with_channel(const std::string& channel)
{
    request asked;
    asked.channel_sid = channel;
    return asked;
}

class people_counting_requests : public sandbox_test {
protected:
    std::string last_query()
    {
        const std::string line = line_of(store_.requests().back());
        EXPECT_EQ(line.rfind("GET " + path + "?", 0), 0U) << line;
        return line.substr(line.find('?') + 1);
    }

    scripted_store store_;
};

TEST_F(people_counting_requests, send_type_and_numbers_as_they_are)
{
    const struct {
        const char* query_type;
        unsigned long long interval;
        unsigned long long start;
        unsigned long long end;
        const char* query;
    } cases[] = {
        {"hour", 1, 2, 3, "query_type=hour&interval=1&timestamp=2&end_time=3"},
        {"any text & more", 0, 5, 4, "query_type=any text & more&interval=0&timestamp=5&end_time=4"},
        {"", ULLONG_MAX, ULLONG_MAX, ULLONG_MAX,
         "query_type=&interval=18446744073709551615&timestamp=18446744073709551615&end_time="
         "18446744073709551615"},
    };
    for (const auto& c : cases) {
        request asked;
        asked.query_type = c.query_type;
        asked.interval = c.interval;
        asked.start = c.start;
        asked.end = c.end;
        EXPECT_EQ(asked.send(), 0);
        EXPECT_EQ(last_query(), c.query);
    }
}

TEST_F(people_counting_requests, send_a_channel_of_any_length_as_it_is)
{
    const std::string others = "query_type=hour&interval=4&timestamp=0&end_time=11";
    for (const std::string& channel : {std::string("a"), std::string(), std::string("b c\"&=%20"),
                                       std::string(33, 'c'), std::string(5000, 'd')}) {
        EXPECT_EQ(with_channel(channel).send(), 0);
        EXPECT_EQ(last_query(), others + "&channel_sid=" + channel);
    }
    EXPECT_EQ(request().send(), 0);
    EXPECT_EQ(last_query(), others);
}

TEST_F(people_counting_requests, take_no_notice_of_the_reserved_argument)
{
    char reserved[] = "reserved";
    request asked;
    EXPECT_EQ(asked.send(reserved), 0);
    EXPECT_EQ(last_query(), "query_type=hour&interval=4&timestamp=0&end_time=11");
    EXPECT_STREQ(reserved, "reserved");
}

TEST_F(people_counting_requests, fill_8191_characters_and_no_more)
{
    const std::string begin =
        "GET " + path + "?query_type=hour&interval=4&timestamp=0&end_time=11&channel_sid=";
    EXPECT_EQ(with_channel(std::string(8191 - begin.size(), 'c')).send(), 0);
    EXPECT_EQ(line_of(store_.requests().back()).size(), 8191U);

    request over = with_channel(std::string(8192 - begin.size(), 'c'));
    EXPECT_EQ(over.send(), code(result_bad_request));
    EXPECT_TRUE(over.untouched());
    EXPECT_EQ(store_.requests().size(), 1U);
    EXPECT_EQ(debug_log_texts(), too_long);
}

TEST_F(people_counting_requests, are_refused_when_a_value_would_split_them)
{
    for (const char control : {'\n', '\r', '\t', '\x01', '\x1f', '\x7f'}) {
        clear_debug_log();
        request channel = with_channel(std::string("a") + control + "b");
        EXPECT_EQ(channel.send(), code(result_bad_request)) << static_cast<int>(control);
        EXPECT_TRUE(channel.untouched());
        request type;
        type.query_type += control;
        EXPECT_EQ(type.send(), code(result_bad_request)) << static_cast<int>(control);
        EXPECT_TRUE(type.untouched());
        EXPECT_EQ(debug_log_texts(), (texts{holds_a_control_character, holds_a_control_character}));
    }
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(people_counting_requests, tell_of_two_faults_the_one_that_comes_first)
{
    request asked = with_channel("a\n" + std::string(9000, 'b'));
    EXPECT_EQ(asked.send(), code(result_bad_request));
    EXPECT_EQ(debug_log_texts(), texts{holds_a_control_character});
}

TEST_F(people_counting_requests, need_a_query_type)
{
    std::vector<record> rows;
    EXPECT_EQ(ai_CDataBaseComm().get_people_counting_metadata(nullptr, nullptr, 1, 0, 5, rows, nullptr),
              code(result_null_request));
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(people_counting_requests, append_the_series_to_the_rows)
{
    store_.reply_with(json_reply(one_row));
    request asked;
    EXPECT_EQ(asked.send(), 0);
    ASSERT_EQ(asked.rows.size(), 4U);
    EXPECT_EQ(asked.rows[1].timestamp, 0);
    EXPECT_EQ(asked.rows[2].people_count_in, 3);
    EXPECT_EQ(asked.rows[3].timestamp, 8);

    store_.reply_with(json_reply(R"({"ret":0,"datas":[]})"));
    request none = with_channel("a");
    EXPECT_EQ(none.send(), 0);
    EXPECT_EQ(none.rows.size(), 4U) << "zeros for the channel that was asked for";
}

TEST_F(people_counting_requests, return_what_the_reply_says)
{
    const struct {
        scripted_reply reply;
        int result;
        std::size_t rows;
    } cases[] = {
        {json_reply(one_row), 0, 4},
        {json_reply(R"({"ret":5,)" + one_row.substr(std::strlen(R"({"ret":0,)"))), 5, 4},
        {json_reply(R"({"datas":[]})"), 0, 1},
        {json_reply(R"({"ret":-101})"), -101, 1},
        {json_reply(R"({"ret":-101,)" + one_row.substr(std::strlen(R"({"ret":0,)"))), -101, 1},
        {json_reply("no json"), 0, 1},
        {json_reply(""), -1, 1},
        {http_reply(404, one_row), -1, 1},
        {raw_reply(""), -1, 1},
        {reset_unread(), -1, 1},
        // The end is missing, and with it everything; then only the end of the announced bytes.
        {raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 200\r\n\r\n" + one_row.substr(0, 50)), -5, 1},
        {raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 200\r\n\r\n{\"datas\":[]}"), -5, 1},
        {raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 200\r\n\r\n" + one_row), 0, 4},
    };
    for (const auto& c : cases) {
        store_.reply_with(c.reply);
        request asked;
        EXPECT_EQ(asked.send(), c.result) << c.reply.bytes;
        EXPECT_EQ(asked.rows.size(), c.rows) << c.reply.bytes;
    }
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(people_counting_requests, to_store_send_the_record_and_leave_it_as_it_is)
{
    record counted;
    std::strcpy(counted.type, "line");
    counted.timestamp = 5;
    counted.end_time = 6;
    counted.people_count_in = 3;
    counted.positions.resize(1);
    std::strcpy(counted.positions[0].x, "0.5");
    std::strcpy(counted.positions[0].y, "1");
    store_.reply_with(json_reply(R"({"ret":7})"));
    EXPECT_EQ(ai_CDataBaseComm().add_people_counting_metadata(counted), 7);
    EXPECT_EQ(line_of(store_.requests().at(0)), "POST " + path);
    EXPECT_EQ(body_of(store_.requests().at(0)),
              R"({"type":"line","timestamp":"5","end_time":"6","people_count_in":3,"people_count_out":0,)"
              R"("loc":[[0.5,1]]})");
    EXPECT_EQ(counted.positions.size(), 1U);
    EXPECT_EQ(counted.people_count_in, 3);
}

TEST_F(people_counting_requests, to_store_send_a_brace_for_a_record_with_nothing_to_write)
{
    record nothing;
    nothing.people_count_in = nothing.people_count_out = -1;
    EXPECT_EQ(ai_CDataBaseComm().add_people_counting_metadata(nothing), 0);
    EXPECT_EQ(body_of(store_.requests().at(0)), "}");
}

TEST_F(people_counting_requests, to_store_return_minus_1_for_no_reply)
{
    record counted;
    for (const scripted_reply& reply : {http_reply(404, ""), json_reply(""), raw_reply(""), reset_unread()}) {
        store_.reply_with(reply);
        EXPECT_EQ(ai_CDataBaseComm().add_people_counting_metadata(counted), -1);
    }
}

TEST_F(people_counting_requests, to_delete_send_the_cut_off_with_its_sign)
{
    const struct {
        unsigned long long cutoff;
        const char* sent;
    } cases[] = {
        {0, "0"},
        {1711756800000, "1711756800000"},
        {static_cast<unsigned long long>(-518400000LL), "-518400000"},
        {static_cast<unsigned long long>(LLONG_MAX), "9223372036854775807"},
        {static_cast<unsigned long long>(LLONG_MIN), "-9223372036854775808"},
        {ULLONG_MAX, "-1"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ai_CDataBaseComm().delete_people_counting(c.cutoff), 0);
        EXPECT_EQ(line_of(store_.requests().back()), "DELETE " + path + "?timestamp=" + c.sent);
    }
}

TEST_F(people_counting_requests, to_delete_return_only_how_the_exchange_went)
{
    const struct {
        scripted_reply reply;
        int result;
    } cases[] = {
        {json_reply(R"({"ret":0})"), 0},
        {json_reply(R"({"ret":-1})"), 0},
        {json_reply(R"({"ret":-101})"), 0},
        {json_reply("no json"), 0},
        {json_reply(""), 0},
        {http_reply(404, R"({"ret":0})"), -4},
        {raw_reply(""), -3},
        {reset_after(""), -3},
        {raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{\"ret"), -5},
    };
    for (const auto& c : cases) {
        store_.reply_with(c.reply);
        EXPECT_EQ(ai_CDataBaseComm().delete_people_counting(5), c.result) << c.reply.bytes;
    }
    store_.stop();
    EXPECT_EQ(ai_CDataBaseComm().delete_people_counting(5), -1);
    EXPECT_EQ(debug_log_texts(), texts());
}

} // namespace

} // namespace korvane::test
