#include "store_process.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr char end_of_head[] = " HTTP/1.1\r\nHost: localhost:10158\r\n\r\n";

std::string status_of(const http_reply& reply)
{
    return reply.head.substr(0, reply.head.find("\r\n"));
}

struct http_test : testing::Test {
    store_process store;
};

TEST_F(http_test, the_length_header_is_written_for_simple_readers)
{
    const http_reply reply =
        store.exchange(std::string("GET /third_party/human_detect?limit=1") + end_of_head);
    EXPECT_EQ("HTTP/1.1 200 OK", status_of(reply));
    EXPECT_NE(std::string::npos,
              reply.head.find("\r\nContent-Length: " + std::to_string(reply.body.size()) + "\r\n"))
        << reply.head;
    EXPECT_EQ(listing(0, {}), reply.body);
}

TEST_F(http_test, a_refusal_has_status_200_so_that_clients_read_it)
{
    const http_reply reply =
        store.exchange(std::string("GET /third_party/human_detect?limit=x") + end_of_head);
    EXPECT_EQ("HTTP/1.1 200 OK", status_of(reply));
    EXPECT_EQ(1006, ret_of(reply.body));
}

TEST_F(http_test, unknown_paths_are_404)
{
    for (const char* path :
         {"/", "/third_party/", "/third_party/humans", "/third_party/human_detect/", "/other"}) {
        const http_reply reply = store.exchange("GET " + std::string(path) + end_of_head);
        EXPECT_EQ("HTTP/1.1 404 Not Found", status_of(reply)) << path;
        EXPECT_EQ(R"({"ret":1008,"reason":"no such path: \")" + std::string(path) + "\\\"\"}", reply.body);
    }
}

TEST_F(http_test, wrong_methods_are_405_and_say_which_are_right)
{
    struct wrong_method {
        const char* line;
        const char* allow;
        const char* reason;
    };
    const wrong_method cases[] = {
        {"DELETE /third_party/human_detect", "POST, GET",
         R"({"ret":1009,"reason":"/third_party/human_detect has no DELETE, expected POST, GET"})"},
        {"GET /third_party/check_face_threshold", "POST",
         R"({"ret":1009,"reason":"/third_party/check_face_threshold has no GET, expected POST"})"},
        {"PATCH /third_party/people_counting", "POST, GET, DELETE",
         R"({"ret":1009,"reason":"/third_party/people_counting has no PATCH, expected POST, GET, DELETE"})"},
        {"DELETE /third_party/device?", "GET",
         R"({"ret":1009,"reason":"/third_party/device has no DELETE, expected GET"})"},
    };
    for (const wrong_method& each : cases) {
        const http_reply reply = store.exchange(std::string(each.line) + end_of_head);
        EXPECT_EQ("HTTP/1.1 405 Method Not Allowed", status_of(reply)) << each.line;
        EXPECT_NE(std::string::npos, reply.head.find("\r\nAllow: " + std::string(each.allow) + "\r\n"))
            << reply.head;
        EXPECT_EQ(each.reason, reply.body);
    }
}

TEST_F(http_test, raw_request_lines_are_taken_as_they_are)
{
    const std::string body = R"({"provider_id":"x y","gender":"a b","timestamp":"1","registered":true})";
    const std::string odd =
        R"({"provider_id":"\"%41+[é]\",","resultId":"1&2#3?=4","timestamp":"2","registered":false})";
    ASSERT_EQ(ok, store.post("face_recognition", body));
    ASSERT_EQ(ok, store.post("face_recognition", odd));
    EXPECT_EQ(listing(1, {body}), store.get("face_recognition?gender=a b&provider_id=[\"x "
                                            "y\"]&start_time=0&end_time=0&sort_dir=-1&skip=0&limit=10"));
    EXPECT_EQ(listing(1, {odd}),
              store.get("face_recognition?provider_id=[\"\"%41+[é]\",\"]&start_time=0&end_time=0"));
    EXPECT_EQ(listing(1, {odd}),
              store.get("face_recognition?resultId=[\"1&2#3?=4\"]&start_time=0&end_time=0"));
    EXPECT_EQ(listing(0, {}), store.get("face_recognition?provider_id=[\"x+y\",\"x%20y\"]&limit=1"));
    EXPECT_EQ(listing(0, {}), store.get("face_recognition?gender=HTTP/1.1 b HTTP/1.1&limit=1"));
    EXPECT_EQ(listing(0, {}), store.get("face_recognition?gender=\xff\xfe&limit=1"));
}

TEST_F(http_test, lines_of_8_kib_are_taken)
{
    std::string channels = "[";
    while (channels.size() < 8000)
        channels += "\"" + std::string(32, 'c') + "\",";
    channels.back() = ']';
    EXPECT_EQ(listing(0, {}), store.get("human_detect?channel_sid=" + channels + "&start_time=0&end_time=0"));
    EXPECT_EQ(listing(0, {}), store.get("face_recognition?gender=" + std::string(8100, '&') + "&limit=1"));
    std::string names;
    while (names.size() < 8000)
        names += "a%09";
    EXPECT_EQ(listing(0, {}), store.get("face_recognition?person_name=" + names + "&partial_query=true"));
}

TEST_F(http_test, what_is_no_http_is_refused_and_the_store_goes_on)
{
    EXPECT_EQ("HTTP/1.1 400 Bad Request", status_of(store.exchange("GARBAGE\r\n\r\n")));
    EXPECT_EQ("HTTP/1.1 400 Bad Request",
              status_of(store.exchange("GET /third_party/device?" + std::string(100000, 'x') + end_of_head)));
    EXPECT_EQ(
        "HTTP/1.1 400 Bad Request",
        status_of(store.exchange("POST /third_party/human_detect HTTP/1.1\r\nContent-Length: -5\r\n\r\n")));
    store.exchange(std::string("\0\0\0\r\n\r\n", 7));
    EXPECT_EQ(listing(0, {}), store.get("human_detect?"));
}

TEST_F(http_test, a_body_of_1_mib_is_taken_and_a_longer_one_refused)
{
    constexpr std::size_t longest = 1024 * 1024;
    const std::string frame = R"({"note":""})";
    const auto body = [&](std::size_t size) {
        return R"({"note":")" + std::string(size - frame.size(), 'x') + "\"}";
    };
    EXPECT_EQ(ok, store.post("human_detect", body(longest)));
    const http_reply reply = store.exchange("POST /third_party/human_detect HTTP/1.1\r\nContent-Length: " +
                                            std::to_string(longest + 1) + "\r\n\r\n");
    EXPECT_EQ("HTTP/1.1 413 Request Entity Too Large", status_of(reply));
    EXPECT_EQ(listing(1, {body(longest)}), store.get("human_detect?"));
}

TEST_F(http_test, clients_that_go_away_early_leave_nothing)
{
    for (const char* part :
         {"", "GET /third",
          "POST /third_party/human_detect HTTP/1.1\r\nContent-Length: 50\r\n\r\n{\"app_id\""}) {
        const int connection = store.connect();
        send(connection, part, std::strlen(part), MSG_NOSIGNAL);
        close(connection);
    }
    EXPECT_EQ(listing(0, {}), store.get("human_detect?"));
}

TEST_F(http_test, many_clients_at_once_lose_nothing)
{
    constexpr int clients = 16;
    constexpr int each = 50;
    std::vector<std::thread> threads;
    std::vector<int> stored(clients, 0);
    for (int client = 0; client < clients; ++client)
        threads.emplace_back([&, client] {
            for (int at = 0; at < each; ++at)
                stored[static_cast<std::size_t>(client)] +=
                    store.post("human_detect",
                               R"({"timestamp":"1","channel_sid":"c)" + std::to_string(client) + "\"}") == ok;
        });
    std::vector<int> idle; // connections that say nothing must not keep the others waiting
    for (int at = 0; at < 100; ++at)
        idle.push_back(store.connect());
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(std::vector<int>(clients, each), stored);
    EXPECT_EQ(listing(clients * each, {}), store.get("human_detect?limit=0"));
    EXPECT_EQ(listing(each, {}), store.get("human_detect?limit=0&channel_sid=[\"c7\"]"));
    for (const int connection : idle)
        close(connection);
}

TEST_F(http_test, one_connection_may_carry_several_requests)
{
    const int connection = store.connect();
    const std::string line = std::string("GET /third_party/human_detect?") + end_of_head;
    const std::string both = line + line;
    send(connection, both.data(), both.size(), MSG_NOSIGNAL);
    std::string text;
    char piece[4096];
    while (text.find("]}", text.find("]}") + 1) == std::string::npos) {
        const ssize_t size = recv(connection, piece, sizeof(piece), 0);
        ASSERT_GT(size, 0) << text;
        text.append(piece, static_cast<std::size_t>(size));
    }
    close(connection);
}

} // namespace
