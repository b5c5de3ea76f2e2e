// Replies that are cut, lie, go on for ever or hold what no reply holds: each ends in its code, keeps what came, leaves nothing
// behind, and the next request works. What is expected is worked out for every byte by reply_rules.h.
#include "tests/faults/faults_test.h"
#include "tests/faults/peer_process.h"
#include "tests/faults/reply_rules.h"
#include "tests/support/debug_log.h"
#include "tests/support/heap.h"
#include "tests/support/sanitized.h"
#include "tests/transport/exchange_test.h"

#include <vector>

namespace korvane::test {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds at_once{1000}; // nobody waits for anything, on a busy machine either

const std::string ok_line = "HTTP/1.1 200 OK\r\n";

std::string header_lines(int count)
{
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += "X-Line: " + std::to_string(i) + "\r\n";
    }
    return all;
}

class reply_faults : public faults_test {
protected:
    /// Sends one request for each of `broken`, and one that is answered well after each.
    void expect_ends(const std::vector<scripted_reply>& broken)
    {
        std::vector<scripted_reply> script;
        for (const scripted_reply& reply : broken) {
            script.push_back(reply);
            script.push_back(json_reply("{}"));
        }
        const peer_process peer(script);
        expect_faults(broken.size());
        for (std::size_t i = 0; i < broken.size() && !HasFailure(); ++i) {
            const std::string told = "reply " + std::to_string(i) + ": " + broken[i].bytes.substr(0, 300);
            count_faults(1);
            expect_exchange(peer, end_of_exchange(broken[i].bytes, earlier_reply), told);
            expect_exchange(peer, {0, "{}"}, "the request after " + told);
        }
    }

    /// The same replies, each also ended by a reset, and each also a byte at a time.
    void expect_ends_however_they_come(const std::vector<std::string>& replies)
    {
        std::vector<scripted_reply> broken;
        for (const std::string& bytes : replies) {
            broken.push_back(raw_reply(bytes));
            broken.push_back(reset_after(bytes));
            broken.push_back(in_pieces(raw_reply(bytes), 1));
        }
        expect_ends(broken);
    }

    static void expect_exchange(const peer_process& peer, const exchange_end& end, const std::string& told)
    {
        exchange_end got;
        milliseconds took{};
        const witnessed seen = with_faults({}, [&] {
            exchanged result = exchange_with(peer.port(), "GET /path");
            got.code = result.code;
            took = result.took;
            // What does not fit a text in place would count as a block left behind.
            equal_ = result.reply == end.reply;
        });
        EXPECT_EQ(got.code, end.code) << told;
        EXPECT_TRUE(equal_) << told;
        EXPECT_LT(took, at_once) << told;
        expect_nothing_left(seen, told);
    }

private:
    static inline bool equal_ = false;
};

TEST_F(reply_faults, that_are_cuts_at_every_byte_end_in_what_came)
{
    const std::string whole = json_reply(R"({"ret":0,"datas":[]})").bytes;
    std::vector<std::string> cut;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        cut.push_back(whole.substr(0, length));
    }
    expect_ends_however_they_come(cut);
}

TEST_F(reply_faults, that_are_zero_bytes_end_no_line_and_cut_their_chunk)
{
    const std::string whole = json_reply(R"({"ret":0,"datas":[]})").bytes;
    std::vector<std::string> broken;
    for (std::size_t place = 0; place < whole.size(); ++place) {
        broken.push_back(whole);
        broken.back()[place] = '\0';
    }
    broken.emplace_back(whole.size(), '\0');
    broken.push_back(json_reply(std::string(5000, '\0')).bytes);
    expect_ends_however_they_come(broken);
}

TEST_F(reply_faults, that_are_bytes_of_any_value_at_any_place_end_in_a_stated_code)
{
    const std::string whole = "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{\"ret\":0}";
    std::vector<scripted_reply> broken;
    for (std::size_t place = 0; place < whole.size(); ++place) {
        for (const char byte : {'\0', '\n', '\r', ' ', ':', '0', '9', '-', '\xff'}) {
            std::string bytes = whole;
            bytes[place] = byte;
            broken.push_back(raw_reply(bytes));
        }
    }
    expect_ends(broken);
}

TEST_F(reply_faults, that_are_lengths_which_lie_end_in_what_came)
{
    const char* const lengths[] = {"",
                                   " ",
                                   "0",
                                   "-1",
                                   "-0",
                                   "+5",
                                   "4",
                                   "5",
                                   "6",
                                   "1023",
                                   "1024",
                                   "65536",
                                   "005",
                                   "0x5",
                                   "5.9",
                                   "5 5",
                                   "5,5",
                                   "five",
                                   "5five",
                                   "2147483647",
                                   "2147483648",
                                   "4294967295",
                                   "4294967296",
                                   "4294967301",
                                   "-2147483649",
                                   "9223372036854775807",
                                   "9223372036854775808",
                                   "-9223372036854775808",
                                   "-9223372036854775809",
                                   "18446744073709551621",
                                   "99999999999999999999999999999999"};
    std::vector<std::string> replies;
    for (const char* first : lengths) {
        const std::string header = std::string("Content-Length: ") + first + "\r\n";
        for (const char* body : {"", "hello", "hello world"}) {
            replies.push_back(ok_line + header + "\r\n" + body);
            replies.push_back(ok_line + header.substr(0, 15) + first + "\r\n\r\n" +
                              body); // no blank: a digit is lost
        }
        for (const char* second : lengths) {
            replies.push_back(ok_line + header + "content-length: " + second + "\r\n\r\nhello");
        }
    }
    expect_ends_however_they_come(replies);
}

TEST_F(reply_faults, that_are_too_many_header_lines_shift_the_body)
{
    std::vector<std::string> replies;
    for (int count = 95; count <= 105; ++count) {
        for (const std::string body : {"", "hello", "hello world"}) {
            replies.push_back(ok_line + "Content-Length: 5\r\n" + header_lines(count) + "\r\n" + body);
            replies.push_back(ok_line + header_lines(count) + "Content-Length: 5\r\n\r\n" + body);
            replies.push_back(ok_line + header_lines(count) + body);
        }
    }
    expect_ends_however_they_come(replies);
}

TEST_F(reply_faults, that_are_lines_around_the_longest_are_read_in_parts)
{
    std::vector<std::string> replies;
    for (const std::size_t size : {1000U, 1021U, 1022U, 1023U, 1024U, 1025U, 2045U, 2046U, 2047U, 5000U}) {
        const std::string part(size, 'x');
        replies.push_back("HTTP/1.1 200 " + part + "\r\nContent-Length: 5\r\n\r\nhello");
        replies.push_back(ok_line + "X-Long: " + part + "\r\nContent-Length: 5\r\n\r\nhello");
        replies.push_back(ok_line + "Content-Length: 5\r\nX-Long: " + part + "\r\n\r\nhello");
        replies.push_back(ok_line + part + "Content-Length: 5\r\n\r\nhello");
        replies.push_back(part);
    }
    expect_ends_however_they_come(replies);
}

TEST_F(reply_faults, that_are_floods_end_where_the_limits_are)
{
    constexpr std::size_t flood = 8U * 1024 * 1024;
    const std::string endless(flood, 'x');
    std::string lines = ok_line + "Content-Length: 5\r\n";
    while (lines.size() < flood) {
        lines += "X-Line: and another one\r\n";
    }
    expect_ends({raw_reply(endless), raw_reply("HTTP/1.1 200 " + endless),
                 raw_reply(ok_line + "X-Long: " + endless), raw_reply(lines),
                 raw_reply(ok_line + "Content-Length: 5\r\n\r\n" + endless),
                 raw_reply(ok_line + "\r\n" + endless), raw_reply(std::string(flood, '\n')),
                 raw_reply("HTTP/1.1 404 Not Found\r\nContent-Length: 5\r\n\r\n" + endless)});
}

TEST_F(reply_faults, that_are_bodies_without_an_end_are_kept_as_far_as_they_came)
{
    const std::string body(32U * 1024 * 1024, 'x');
    expect_ends({raw_reply(ok_line + "Content-Length: 9223372036854775807\r\n\r\n" + body),
                 raw_reply(ok_line + "Content-Length: 33554433\r\n\r\n" + body)});
}

TEST_F(reply_faults, that_are_resets_before_the_request_is_read_fail_to_connect_send_or_read)
{
    // Whether the reset comes before connect returns, before all is sent or later is a race; not so, the first of these,
    // in the second half.
    constexpr int tries = 100;
    std::vector<scripted_reply> script;
    for (int i = 0; i < tries; ++i) {
        const auto end = i % 2 == 0 ? scripted_reply::ending::reset : scripted_reply::ending::shut_reset;
        script.push_back(i < tries / 2 ? reset_unread(end) : reset_while_sending(end));
        script.push_back(json_reply("{}"));
    }
    const peer_process peer(script);
    expect_faults(tries);
    for (int i = 0; i < tries; ++i) {
        exchanged result;
        const witnessed seen =
            with_faults({}, [&] { result = exchange_with(peer.port(), "POST /path", "body"); });
        EXPECT_GE(result.code, -3);
        EXPECT_LE(result.code, i < tries / 2 ? -1 : -2);
        EXPECT_EQ(result.reply, earlier_reply);
        count_faults(result.code < 0);
        expect_nothing_left(seen, "a reset");
        expect_exchange(peer, {0, "{}"}, "the request after a reset");
    }
}

// A sanitizer's allocator cannot be stood in front of, and ends the process when it has nothing more.
#if !defined(KORVANE_ADDRESS_SANITIZER) && !defined(KORVANE_THREAD_SANITIZER)

TEST_F(reply_faults, that_are_bodies_larger_than_the_memory_are_refused_and_logged)
{
    const peer_process peer({raw_reply(ok_line + "Content-Length: 9223372036854775807\r\n\r\n" +
                                       std::string(8U * 1024 * 1024, 'x')),
                             json_reply("{}")});
    expect_faults(1);
    int code = 0;
    const witnessed seen = with_faults({}, [&] {
        fail_allocations({1, true, 1024U * 1024, nullptr});
        code = exchange_with(peer.port(), "GET /path").code;
        stop_failing_allocations();
    });
    count_faults(code != 0);
    EXPECT_EQ(static_cast<unsigned>(code), 0xC4080001U);
    EXPECT_EQ(debug_log_texts(), std::vector<std::string>{"[korvane](send_RESTful_req:#) std::bad_alloc"});
    expect_nothing_left(seen, "a body larger than the memory");
    expect_exchange(peer, {0, "{}"}, "the request after a body larger than the memory");
}

#endif

} // namespace

} // namespace korvane::test
