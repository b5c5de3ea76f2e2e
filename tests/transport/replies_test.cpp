#include "tests/transport/exchange_test.h"

#include <sys/time.h>

#include <csignal>

namespace korvane::test {

namespace {

using std::chrono::milliseconds;

class transport_replies : public exchange_test {
protected:
    void expect_body(const scripted_reply& reply, const std::string& body)
    {
        const exchanged result = get(reply);
        EXPECT_EQ(result.code, 0) << reply.bytes.substr(0, 200);
        EXPECT_TRUE(result.reply == body)
            << reply.bytes.substr(0, 200) << "\ngave: " << result.reply.substr(0, 200) << " ("
            << result.reply.size() << " bytes)";
    }
};

const std::string ok_line = "HTTP/1.1 200 OK\r\n";

/// `count` bytes that tell their place.
std::string counted_bytes(std::size_t count)
{
    std::string bytes;
    while (bytes.size() < count) {
        bytes += std::to_string(bytes.size()) + ',';
    }
    return bytes.substr(0, count);
}

TEST_F(transport_replies, pass_by_the_three_characters_of_the_status)
{
    for (const char* status : {"HTTP/1.1 200 OK", "HTTP/1.0 200 OK", "HTTP/1.1 200", "http/1.1 200 fine",
                               "HTTP/1.1 2000", "nine of 9200"}) {
        expect_body(raw_reply(std::string(status) + "\r\nContent-Length: 2\r\n\r\nok"), "ok");
    }
}

TEST_F(transport_replies, with_another_status_fail_and_keep_the_earlier_reply)
{
    for (const char* status :
         {"HTTP/1.1 404 Not Found", "HTTP/1.1 500 Internal Server Error", "HTTP/1.1 201 Created",
          "HTTP/1.1 204 No Content", "HTTP/1.1 100 Continue", "HTTP/1.1 302 Found", "HTTP/2 200",
          "HTTP/1.1  200 OK", "HTTP/1.1 20", "HTTP/1.1 ", "200 OK", "HTTP/1.1\t2 00", ""}) {
        const exchanged result = get(raw_reply(std::string(status) + "\r\nContent-Length: 2\r\n\r\nno"));
        EXPECT_EQ(result.code, -4) << status;
        EXPECT_EQ(result.reply, earlier_reply) << status;
    }
}

TEST_F(transport_replies, with_a_status_line_shorter_than_the_status_fail)
{
    for (std::size_t length = 1; length < 12; ++length) {
        const exchanged result = get(raw_reply(std::string("HTTP/1.1 200").substr(0, length)));
        EXPECT_EQ(result.code, -4) << length;
    }
    EXPECT_EQ(get(raw_reply("HTTP/1.1 200")).code, 0);
}

TEST_F(transport_replies, take_the_body_length_from_its_header)
{
    const struct {
        const char* headers;
        const char* body;
    } cases[] = {
        {"Content-Length: 12\r\n", "hello world!"},
        {"content-length: 12\r\n", "hello world!"},
        {"CONTENT-LENGTH: 5\r\n", "hello"},
        {"cOnTeNt-LeNgTh: 5\r\n", "hello"},
        {"Content-Length:  5\r\n", "hello"},
        {"Content-Length:     5   \r\n", "hello"},
        {"Content-Length: +5\r\n", "hello"},
        {"Content-Length: 005\r\n", "hello"},
        {"Content-Length: 5 bytes\r\n", "hello"},
        {"Content-Length: 5.9\r\n", "hello"},
        {"Content-Length= 5\r\n", "hello"},
        {"Server: x\r\nContent-Length: 5\r\nDate: y\r\n", "hello"},
        {"Transfer-Encoding: chunked\r\nContent-Length: 5\r\n", "hello"},
        // The value is what stands from the 17th character on: without a blank a digit is lost, with a longer
        // name it fits.
        {"content-length:12\r\n", "he"},
        {"Content-Length:5\r\n", ""},
        {"Content-Lengthy: 5\r\n", "hello"},
        // The last one wins.
        {"Content-Length: 3\r\nContent-Length: 5\r\n", "hello"},
        {"Content-Length: 5\r\nContent-Length: 3\r\n", "hel"},
        {"Content-Length: 5\r\nContent-Length: 0\r\n", ""},
        {"Content-Length: 5\r\nContent-Length: none\r\n", ""},
    };
    for (const auto& c : cases) {
        expect_body(raw_reply(ok_line + c.headers + "\r\nhello world!"), c.body);
    }
}

TEST_F(transport_replies, without_a_positive_length_have_no_body)
{
    for (const char* headers :
         {"", "Server: x\r\n", "Content-Length: 0\r\n", "Content-Length: -5\r\n", "Content-Length: five\r\n",
          "Content-Length: \r\n", "Content-Length\r\n", "Content-Length:\r\n", " Content-Length: 5\r\n",
          "X-Content-Length: 5\r\n", "ContentLength: 5\r\n", "Content-Lengt: 5\r\n",
          "Content-Length: -99999999999999999999999\r\n", "Transfer-Encoding: chunked\r\n"}) {
        expect_body(raw_reply(ok_line + headers + "\r\nhello world!"), "");
    }
}

TEST_F(transport_replies, may_end_their_lines_with_a_line_feed_alone)
{
    expect_body(raw_reply("HTTP/1.1 200 OK\nContent-Length: 5\n\nhello"), "hello");
}

TEST_F(transport_replies, end_their_headers_with_any_line_that_begins_with_a_line_end)
{
    expect_body(raw_reply(ok_line + "Content-Length: 5\r\n\rrest of the line\nhello"), "hello");
}

TEST_F(transport_replies, may_end_with_their_headers)
{
    expect_body(raw_reply(ok_line), "");
    expect_body(raw_reply(ok_line + "Server: x\r\n"), "");
    expect_body(raw_reply(ok_line + "Server: x"), "");
}

TEST_F(transport_replies, have_a_hundred_header_lines_at_most)
{
    const auto lines = [](int count) {
        std::string all;
        for (int i = 0; i < count; ++i) {
            all += "X-Line: " + std::to_string(i) + "\r\n";
        }
        return all;
    };
    const std::string length = "Content-Length: 5\r\n";
    // The 100th line is still a header, be it the empty one.
    expect_body(raw_reply(ok_line + length + lines(98) + "\r\nhello"), "hello");
    expect_body(raw_reply(ok_line + lines(98) + length + "\r\nhello"), "hello");
    // After it the body begins wherever the stream stands.
    expect_body(raw_reply(ok_line + length + lines(99) + "hello"), "hello");
    expect_body(raw_reply(ok_line + lines(99) + length + "\r\nhello"), "\r\nhel");
    expect_body(raw_reply(ok_line + length + lines(99) + "X-Line: 100\r\n\r\nhello"), "X-Lin");
    // A length in the 101st line is not seen.
    expect_body(raw_reply(ok_line + lines(100) + length + "\r\nhello"), "");
}

TEST_F(transport_replies, have_lines_of_1023_bytes_and_the_rest_is_the_next_line)
{
    const std::string longest(1023, 'X');
    expect_body(
        raw_reply(ok_line + "X-Long: " + std::string(2000, 'x') + "\r\nContent-Length: 5\r\n\r\nhello"),
        "hello");
    expect_body(raw_reply("HTTP/1.1 200 " + std::string(2000, 'x') + "\r\nContent-Length: 5\r\n\r\nhello"),
                "hello");
    expect_body(raw_reply(ok_line + longest + "Content-Length: 5\r\n\r\nhello"), "hello");
    // What is left of this line is its end, which ends the headers.
    expect_body(raw_reply(ok_line + "Content-Length: 5\r\n" + longest + "\r\nhello"), "hello");
}

TEST_F(transport_replies, are_read_whole_whatever_their_size)
{
    for (const std::size_t size : {1U, 1022U, 1023U, 1024U, 2046U, 2047U, 3000U, 65536U, 1'000'000U}) {
        const std::string body = counted_bytes(size);
        expect_body(json_reply(body), body);
    }
}

TEST_F(transport_replies, may_come_byte_by_byte)
{
    const std::string body = counted_bytes(60);
    expect_body(in_pieces(json_reply(body), 1, milliseconds(2)), body);
}

TEST_F(transport_replies, may_come_in_pieces_that_cut_lines_and_chunks)
{
    const std::string body = counted_bytes(3000);
    for (const std::size_t piece : {1U, 7U, 16U, 17U, 1000U, 1023U, 1024U}) {
        expect_body(in_pieces(json_reply(body), piece), body);
    }
}

TEST_F(transport_replies, are_not_read_beyond_their_length)
{
    expect_body(raw_reply(ok_line + "Content-Length: 5\r\n\r\nhello world"), "hello");
}

TEST_F(transport_replies, may_hold_any_byte_but_zero)
{
    std::string body;
    for (int byte = 1; byte < 256; ++byte) {
        body += static_cast<char>(byte);
    }
    expect_body(json_reply(body), body);
}

TEST_F(transport_replies, lose_the_rest_of_a_chunk_from_its_first_zero_byte)
{
    using namespace std::string_literals;
    const std::string chunk = counted_bytes(1023);
    const std::string cut_chunk = chunk.substr(0, 10) + '\0' + chunk.substr(11);
    const struct {
        std::string body;
        std::string reply;
    } cases[] = {
        {"ab\0cd"s, "ab"},
        {"\0abcd"s, ""},
        {"abcd\0"s, "abcd"},
        {"a\0b\0c"s, "a"},
        {cut_chunk + "tail", chunk.substr(0, 10) + "tail"},
        {chunk + "\0tail"s, chunk},
        {cut_chunk + cut_chunk + chunk, chunk.substr(0, 10) + chunk.substr(0, 10) + chunk},
    };
    for (const auto& c : cases) {
        expect_body(json_reply(c.body), c.reply);
        expect_body(in_pieces(json_reply(c.body), 5), c.reply);
    }
}

TEST_F(transport_replies, replace_the_earlier_reply)
{
    expect_body(json_reply("new"), "new");
    expect_body(json_reply(""), "");
}

TEST_F(transport_replies, survive_signals)
{
    struct sigaction action {};
    action.sa_handler = [](int) {}; // no SA_RESTART: system calls are broken off
    struct sigaction before {};
    sigaction(SIGALRM, &action, &before);
    const itimerval every_half_ms{{0, 500}, {0, 500}};
    setitimer(ITIMER_REAL, &every_half_ms, nullptr);

    const std::string body = counted_bytes(3000);
    expect_body(in_pieces(json_reply(body), 100, milliseconds(3)), body);

    const itimerval off{};
    setitimer(ITIMER_REAL, &off, nullptr);
    sigaction(SIGALRM, &before, nullptr);
}

} // namespace

} // namespace korvane::test
