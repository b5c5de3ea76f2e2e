#include "tests/transport/exchange_test.h"

namespace korvane::test {

namespace {

class transport_requests : public exchange_test {
protected:
    std::string sent(const std::string& head, const std::string& body)
    {
        const exchanged result = exchange_with(store_.port(), head, body);
        EXPECT_EQ(result.code, 0);
        const std::vector<std::string> requests = store_.requests();
        EXPECT_EQ(requests.size(), 1U);
        return requests.empty() ? "" : requests[0];
    }

    std::string host() const { return "Host: 127.0.0.1:" + std::to_string(store_.port()) + "\r\n"; }
};

TEST_F(transport_requests, without_a_body_have_no_content_headers)
{
    EXPECT_EQ(sent("GET /third_party/device?vault_name=IVA", ""),
              "GET /third_party/device?vault_name=IVA HTTP/1.1\r\n" + host() +
                  "User-Agent: Zym\r\nAccept: */*\r\n\r\n");
}

TEST_F(transport_requests, with_a_body_tell_its_length_and_call_it_plain_text)
{
    EXPECT_EQ(sent("POST /third_party/human_detect", "{\"\":\""),
              "POST /third_party/human_detect HTTP/1.1\r\n" + host() +
                  "User-Agent: Zym\r\nAccept: */*\r\nContent-Type: text/plain\r\nContent-Length: "
                  "5\r\n\r\n{\"\":\"");
}

TEST_F(transport_requests, carry_every_byte_of_a_body)
{
    std::string body;
    for (int i = 0; i < 1'000'000; ++i) {
        body += static_cast<char>(i % 251);
    }
    const std::string request = sent("POST /p", body);
    EXPECT_NE(request.find("\r\nContent-Length: 1000000\r\n"), std::string::npos);
    EXPECT_TRUE(request.size() > body.size() && request.substr(request.size() - body.size()) == body);
}

TEST_F(transport_requests, carry_a_head_of_any_length)
{
    const std::string head = "GET /p?" + std::string(8000, 'a');
    EXPECT_EQ(sent(head, "").substr(0, head.size() + 11), head + " HTTP/1.1\r\n");
}

TEST_F(transport_requests, take_the_head_as_it_is)
{
    EXPECT_EQ(sent("GET /p?a=[\"b c\"]", "").substr(0, 27), "GET /p?a=[\"b c\"] HTTP/1.1\r\n");
}

TEST_F(transport_requests, with_an_empty_head_are_sent_all_the_same)
{
    EXPECT_EQ(sent("", "").substr(0, 17), " HTTP/1.1\r\nHost: ");
}

TEST_F(transport_requests, leave_the_callers_texts_as_they_were)
{
    std::string head = "POST /p";
    std::string body = "body";
    std::string reply;
    EXPECT_EQ(send_RESTful_req(store_.port(), head.data(), body, reply, 20), 0);
    EXPECT_EQ(head, "POST /p");
    EXPECT_EQ(body, "body");
}

TEST_F(transport_requests, each_take_a_connection_of_their_own)
{
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(exchange_with(store_.port(), "GET /" + std::to_string(i)).code, 0);
    }
    const std::vector<std::string> requests = store_.requests();
    ASSERT_EQ(requests.size(), 3U);
    EXPECT_EQ(requests[2].substr(0, 7), "GET /2 ");
}

/// Neither a head that is held back nor a tail waits for a timer of the kernel's, the shortest of which is 40 ms.
TEST_F(transport_requests, wait_for_no_timer)
{
    constexpr int tries = 10; // the quickest tells
    constexpr std::chrono::milliseconds timer{40};
    const auto quickest = [&](const std::string& head, const std::string& body) {
        std::chrono::milliseconds took = std::chrono::hours(1);
        for (int i = 0; i < tries; ++i) {
            const exchanged result = exchange_with(store_.port(), head, body);
            EXPECT_EQ(result.code, 0);
            took = std::min(took, result.took);
        }
        return took;
    };
    for (const std::size_t size : {10U, 2000U, 16'300U, 16'400U, 66'000U}) {
        EXPECT_LT(quickest("GET /" + std::string(size, 'h'), ""), timer) << "a head of " << size;
    }
    for (const std::size_t size : {1U, 500U, 1300U, 5000U, 16'200U, 16'400U, 33'000U, 66'000U, 1'000'000U}) {
        EXPECT_LT(quickest("POST /", std::string(size, 'b')), timer) << "a body of " << size;
    }
}

} // namespace

} // namespace korvane::test
