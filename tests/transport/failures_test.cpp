#include "tests/support/files.h"
#include "tests/support/loopback_listener.h"
#include "tests/transport/exchange_test.h"

#include <csignal>
#include <functional>

namespace korvane::test {

namespace {

using std::chrono::milliseconds;

/// More than the buffers of two sockets hold, so that sending it fails when nobody reads.
const std::size_t unsendable_size = 64U * 1024 * 1024;

class transport_failures : public exchange_test {
protected:
    static void expect_failure(const exchanged& result, int code)
    {
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(result.reply, earlier_reply) << "the reply is to be kept";
    }

    static void expect_time_out_of_one_second(const exchanged& result)
    {
        EXPECT_GE(result.took, milliseconds(900));
        EXPECT_LT(result.took, milliseconds(2500));
    }
};

TEST_F(transport_failures, a_refused_connection_is_minus_1)
{
    store_.stop();
    expect_failure(exchange_with(store_.port(), "GET /path"), -1);
}

TEST_F(transport_failures, a_connection_that_nobody_answers_is_minus_1_after_the_time_out)
{
    loopback_listener listener(0, 0);
    listener.fill_queue();
    const exchanged result = exchange_with(listener.port(), "GET /path", {}, 1);
    expect_failure(result, -1);
    expect_time_out_of_one_second(result);
}

TEST_F(transport_failures, a_head_that_cannot_be_sent_is_minus_2)
{
    store_.reply_with(reset_while_sending());
    expect_failure(exchange_with(store_.port(), "GET /path?" + std::string(unsendable_size, 'a')), -2);
}

TEST_F(transport_failures, a_body_that_cannot_be_sent_is_minus_2)
{
    store_.reply_with(reset_while_sending());
    expect_failure(exchange_with(store_.port(), "POST /path", std::string(unsendable_size, 'a')), -2);
}

TEST_F(transport_failures, a_body_that_nobody_takes_is_minus_2_after_the_time_out)
{
    const loopback_listener listener(0, 0);
    const exchanged result =
        exchange_with(listener.port(), "POST /path", std::string(unsendable_size, 'a'), 1);
    expect_failure(result, -2);
    expect_time_out_of_one_second(result);
}

TEST_F(transport_failures, a_connection_closed_without_a_reply_is_minus_3)
{
    expect_failure(get(raw_reply("")), -3);
}

TEST_F(transport_failures, a_connection_reset_after_the_request_is_minus_3)
{
    expect_failure(get(reset_after("")), -3);
}

TEST_F(transport_failures, a_store_that_never_answers_is_minus_3_after_the_time_out)
{
    const exchanged result = get(silence_after(""), 1);
    expect_failure(result, -3);
    expect_time_out_of_one_second(result);
}

TEST_F(transport_failures, a_status_other_than_200_is_minus_4)
{
    expect_failure(get(http_reply(404, "not found")), -4);
}

TEST_F(transport_failures, a_body_that_ends_early_is_minus_5_and_what_came_stays)
{
    const std::string announced = "HTTP/1.1 200 OK\r\nContent-Length: 2000\r\n\r\n";
    for (const std::size_t came : {0U, 1U, 1022U, 1023U, 1024U, 1999U}) {
        const std::string part(came, 'a');
        for (const scripted_reply& reply : {raw_reply(announced + part), reset_after(announced + part),
                                            in_pieces(raw_reply(announced + part), 100)}) {
            const exchanged result = get(reply);
            EXPECT_EQ(result.code, -5) << came;
            EXPECT_EQ(result.reply, part);
        }
    }
}

TEST_F(transport_failures, a_body_that_stops_coming_is_minus_5_after_the_time_out)
{
    const exchanged result = get(silence_after("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabcd"), 1);
    EXPECT_EQ(result.code, -5);
    EXPECT_EQ(result.reply, "abcd");
    EXPECT_GE(result.took, milliseconds(900));
    EXPECT_LT(result.took, milliseconds(3500));
}

TEST_F(transport_failures, a_body_that_trickles_in_ends_with_the_time_out)
{
    // Every byte comes in time, the announced body does not.
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 800\r\n\r\n";
    const exchanged result =
        get(in_pieces(raw_reply(head + std::string(800, 'a')), head.size(), milliseconds(400)), 1);
    EXPECT_EQ(result.code, -5);
    EXPECT_LT(result.took, milliseconds(3500));
}

TEST_F(transport_failures, without_a_time_out_a_slow_store_is_waited_for)
{
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\n";
    struct pieces {
        std::size_t size;
        milliseconds pause;
    };
    for (const int timeout_s : {0, -1}) {
        for (const pieces& cut : {pieces{head.size(), milliseconds(1200)}, pieces{8, milliseconds(300)}}) {
            const exchanged result = get(in_pieces(raw_reply(head + "abc"), cut.size, cut.pause), timeout_s);
            EXPECT_EQ(result.code, 0) << timeout_s << ", " << cut.size;
            EXPECT_EQ(result.reply, "abc") << timeout_s << ", " << cut.size;
            EXPECT_GE(result.took, milliseconds(1100)) << timeout_s << ", " << cut.size;
        }
    }
}

TEST_F(transport_failures, a_length_beyond_all_bounds_is_minus_5_and_what_came_stays)
{
    for (const char* length : {"4294967301", "9223372036854775807", "99999999999999999999999"}) {
        const exchanged result =
            get(raw_reply("HTTP/1.1 200 OK\r\nContent-Length: " + std::string(length) + "\r\n\r\nhello"));
        EXPECT_EQ(result.code, -5) << length;
        EXPECT_EQ(result.reply, "hello") << length;
    }
}

TEST_F(transport_failures, a_null_head_touches_nothing)
{
    std::string body = "body";
    std::string reply = earlier_reply;
    EXPECT_EQ(static_cast<unsigned>(send_RESTful_req(store_.port(), nullptr, body, reply, 20)), 0xC4080003U);
    EXPECT_EQ(reply, earlier_reply);
    EXPECT_TRUE(store_.requests().empty());
}

volatile std::sig_atomic_t pipe_signals = 0;

TEST_F(transport_failures, raise_no_sigpipe)
{
    struct sigaction action {};
    action.sa_handler = [](int) { pipe_signals = pipe_signals + 1; };
    struct sigaction before {};
    sigaction(SIGPIPE, &action, &before);
    for (int i = 0; i < 5; ++i) {
        store_.reply_with(reset_while_sending(scripted_reply::ending::shut_reset));
        EXPECT_EQ(exchange_with(store_.port(), "POST /path", std::string(unsendable_size, 'a')).code, -2);
    }
    sigaction(SIGPIPE, &before, nullptr);
    EXPECT_EQ(pipe_signals, 0);
}

TEST_F(transport_failures, leave_no_descriptor_open)
{
    loopback_listener mute(0, 0);
    scripted_store down(0);
    down.stop();
    const std::string big(unsendable_size, 'a');
    const auto get_from_store = [&](scripted_reply reply) { return [this, reply] { return get(reply, 1); }; };
    const struct {
        int code;
        std::function<exchanged()> call;
    } outcomes[] = {
        {0, get_from_store(json_reply("{}"))},
        {-1, [&] { return exchange_with(down.port(), "GET /path"); }},
        {-2, [&] { return exchange_with(mute.port(), "POST /path", big, 1); }},
        {-3, get_from_store(raw_reply(""))},
        {-3, get_from_store(reset_after(""))},
        {-4, get_from_store(http_reply(500, "{}"))},
        {-5, get_from_store(raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabcd"))},
    };
    for (const auto& outcome : outcomes) {
        store_.requests(); // the store has closed its own side
        const int before = open_descriptors();
        EXPECT_EQ(outcome.call().code, outcome.code);
        store_.requests();
        EXPECT_EQ(open_descriptors(), before) << "after a result of " << outcome.code;
    }
}

TEST_F(transport_failures, are_not_logged)
{
    EXPECT_EQ(get(json_reply("{}")).code, 0);
    store_.reply_with(reset_while_sending());
    EXPECT_EQ(exchange_with(store_.port(), "POST /path", std::string(unsendable_size, 'a')).code, -2);
    EXPECT_EQ(get(raw_reply("")).code, -3);
    EXPECT_EQ(get(http_reply(500, "{}")).code, -4);
    EXPECT_EQ(get(raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabcd")).code, -5);
    store_.stop();
    EXPECT_EQ(exchange_with(store_.port(), "GET /path").code, -1);
    EXPECT_FALSE(exists("/Vdbglog/.zymux_log"));
}

} // namespace

} // namespace korvane::test
