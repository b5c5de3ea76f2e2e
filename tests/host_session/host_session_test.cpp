#include "store/send_restful_req.h"
#include "tests/host_session/scripted_session.h"
#include "tests/support/sandbox_test.h"

#include <korvane/ai_metadata.h>

#include <cstdlib>

namespace korvane::test {

namespace {

class host_session : public sandbox_test {
protected:
    void SetUp() override
    {
        sandbox_test::SetUp();
        script() = session_script();
        record() = session_record();
    }

    /// A reply's head, and its body in these pieces, behind the replies that are there.
    static void add_answer(std::size_t length, const std::vector<scripted_receive>& body)
    {
        const std::string head[] = {"HTTP/1.1 200 OK\r\n",
                                    "Content-Length: " + std::to_string(length) + "\r\n", "\r\n"};
        script().lines.insert(script().lines.end(), std::begin(head), std::end(head));
        script().receives.insert(script().receives.end(), body.begin(), body.end());
    }

    /// The same as the only reply.
    static void answer(std::size_t length, const std::vector<scripted_receive>& body)
    {
        script().lines.clear();
        script().receives.clear();
        add_answer(length, body);
    }

    int exchange(std::string body = {})
    {
        reply_ = "earlier reply";
        std::string head = "GET /path";
        return send_RESTful_req(10158, head.data(), body, reply_, 300);
    }

    static scripted_receive bytes(std::size_t count, char c = 'a') { return {std::string(count, c), 0}; }
    static scripted_receive nothing() { return {{}, 0}; }

    std::string reply_;
};

TEST_F(host_session, is_constructed_with_host_port_and_time_out)
{
    exchange();
    ASSERT_EQ(record().constructed.size(), 1U);
    const session_arguments& arguments = record().constructed[0];
    EXPECT_EQ(arguments.host, "127.0.0.1");
    EXPECT_EQ(arguments.port, 10158);
    EXPECT_TRUE(arguments.first_flag);
    EXPECT_EQ(arguments.timeout, 300);
    EXPECT_TRUE(arguments.second_flag);
    EXPECT_TRUE(arguments.text_is_null);
    EXPECT_EQ(arguments.number, -1);
}

int insert(const std::string& kind, const std::string& found)
{
    std::string text =
        R"({"timestamp":1,"channel_sid":"door","results":[{"function_name":")" + kind + "\"," + found + "}]}";
    return insert_ai_metadata(text.data());
}

template <int (*function)(void*, void**)>
int ask(const std::string& filters)
{
    std::string text = R"({"metadata":{)" + filters + "}}";
    void* answer = nullptr;
    const int code = function(text.data(), &answer);
    std::free(answer);
    return code;
}

int query(const std::string& kind)
{
    return ask<query_ai_metadata>(R"("query_type":"hour","start_time":"5","function_name":")" + kind + '"');
}

int latest(const std::string& kind)
{
    std::string text = R"({"last_metadata":{"funcName":")" + kind + "\"}}";
    char answer[128];
    return get_latest_metadata(text.data(), answer);
}

const char* const objects = R"("objects":[[{"people_count_in":1,"people_count_out":2,"position":[]}]])";

/// Calls of every entry point, and the beginnings of the requests that each makes.
const struct {
    int (*call)();
    std::vector<std::string> requests;
} calls[] = {
    {[] { return insert("HumanDetection", objects); }, {"POST /third_party/human_detect"}},
    {[] { return insert("FaceRecognition", R"("function_results":{"tubes":[{}]})"); },
     {"POST /third_party/face_recognition", "POST /third_party/check_face_threshold"}},
    {[] { return insert("ObjectDetection", objects); }, {"POST /third_party/model_importer"}},
    {[] { return insert("PeopleCounting", objects); }, {"POST /third_party/people_counting"}},
    {[] { return query("HumanDetection"); }, {"GET /third_party/human_detect?"}},
    {[] { return query("FaceRecognition"); }, {"GET /third_party/face_recognition?"}},
    {[] { return query("ObjectDetection"); }, {"GET /third_party/model_importer?"}},
    {[] { return query("PeopleCounting"); }, {"GET /third_party/people_counting?"}},
    {[] { return ask<query_ai_face_metadata_list_group>(""); }, {"GET /third_party/face_group_list?"}},
    {[] { return latest("HumanDetection"); }, {"GET /third_party/human_detect?"}},
    {[] { return latest("FaceRecognition"); }, {"GET /third_party/face_recognition?"}},
    {[] { return latest("ObjectDetection"); }, {"GET /third_party/model_importer?"}},
    {[] {
         char id[256];
         return get_IVA_vault_id(id);
     },
     {"GET /third_party/device?vault_name=IVA HTTP/1.1"}},
    {[] {
         char time[] = "1712345678901";
         return delete_people_counting(time);
     },
     {"DELETE /third_party/people_counting?"}},
};

TEST_F(host_session, carries_every_entry_points_requests)
{
    // One reply serves every request.
    const std::string reply = R"({"ret":0,"totalCounts":1,"totalItems":1,"datas":[{"vault_id":"v"}]})";
    for (const auto& c : calls) {
        const std::string& what = c.requests.front();
        script() = session_script();
        record() = session_record();
        for (std::size_t i = 0; i < c.requests.size(); ++i) {
            add_answer(reply.size(), {{reply, 0}});
        }
        EXPECT_EQ(c.call(), 0) << what;

        EXPECT_EQ(record().constructed.size(), c.requests.size()) << what;
        EXPECT_EQ(record().destroyed, static_cast<int>(c.requests.size())) << what;
        for (const session_arguments& arguments : record().constructed) {
            EXPECT_EQ(arguments.host, "127.0.0.1") << what;
            EXPECT_EQ(arguments.port, 10158) << what;
            EXPECT_EQ(arguments.timeout, 300) << what;
        }
        std::vector<std::string> begun; // each packet, as far as it is told here
        for (const std::string& request : c.requests) {
            begun.push_back(request);
            if (request.rfind("POST ", 0) == 0) {
                begun.emplace_back("{");
            }
        }
        ASSERT_EQ(record().sent.size(), begun.size()) << what;
        for (std::size_t i = 0; i < begun.size(); ++i) {
            EXPECT_EQ(record().sent[i].substr(0, begun[i].size()), begun[i]) << what;
        }
    }
}

TEST_F(host_session, sends_a_request_without_a_body_in_one_packet)
{
    exchange();
    EXPECT_EQ(record().sent, std::vector<std::string>{"GET /path HTTP/1.1\r\nHost: 127.0.0.1:10158\r\n"
                                                      "User-Agent: Zym\r\nAccept: */*\r\n\r\n"});
}

TEST_F(host_session, sends_a_body_in_a_packet_of_its_own)
{
    const std::string body(100'000, 'b');
    exchange(body);
    EXPECT_EQ(record().sent,
              (std::vector<std::string>{
                  "GET /path HTTP/1.1\r\nHost: 127.0.0.1:10158\r\nUser-Agent: Zym\r\nAccept: */*\r\n"
                  "Content-Type: text/plain\r\nContent-Length: 100000\r\n\r\n",
                  body}));
}

TEST_F(host_session, is_told_by_its_handle_alone_whether_it_sent)
{
    answer(0, {});
    script().send_result = -1;
    EXPECT_EQ(exchange("body"), 0);
}

TEST_F(host_session, is_connected_with_a_handle_of_0)
{
    answer(0, {});
    script().handle = 0;
    EXPECT_EQ(exchange(), 0);
}

TEST_F(host_session, is_asked_for_lines_of_1023_bytes)
{
    answer(0, {});
    EXPECT_EQ(exchange(), 0);
    EXPECT_EQ(record().line_limits, (std::vector<int>{1023, 1023, 1023}));
}

TEST_F(host_session, may_return_lines_of_1023_bytes_without_a_terminator)
{
    answer(2, {bytes(2)});
    script().lines.insert(script().lines.begin() + 1, std::string(1023, 'X'));
    EXPECT_EQ(exchange(), 0);
    EXPECT_EQ(reply_, "aa");
}

TEST_F(host_session, leaves_no_earlier_line_in_the_buffer)
{
    // A digit stands where the next line's value would be, were the buffer not cleared.
    script().lines = {"HTTP/1.1 200 OK\r\n", "X-Header-X-Header: 9\r\n", "0123456789abcdef9\r\n",
                      "Content-Length: ", "\r\n"};
    EXPECT_EQ(exchange(), 0);
    EXPECT_TRUE(record().receive_lengths.empty());
}

TEST_F(host_session, may_return_empty_lines_a_hundred_times)
{
    script().lines = {"HTTP/1.1 200 OK\r\n"};
    script().after_lines = 0;
    EXPECT_EQ(exchange(), 0);
    EXPECT_EQ(record().line_limits.size(), 101U);
    EXPECT_EQ(reply_, "");
}

TEST_F(host_session, ends_the_headers_with_a_negative_line)
{
    script().lines = {"HTTP/1.1 200 OK\r\n", "Content-Length: 2\r\n"};
    script().receives = {bytes(2)};
    EXPECT_EQ(exchange(), 0);
    EXPECT_EQ(record().line_limits.size(), 3U);
    EXPECT_EQ(reply_, "aa");
}

TEST_F(host_session, is_asked_for_what_is_left_of_the_body_at_most_1023_bytes)
{
    answer(3000, {bytes(1023, 'a'), bytes(500, 'b'), bytes(1023, 'c'), bytes(454, 'd')});
    EXPECT_EQ(exchange(), 0);
    EXPECT_EQ(record().receive_lengths, (std::vector<int>{1023, 1023, 1023, 454}));
    EXPECT_TRUE(record().every_receive_flag);
    EXPECT_EQ(reply_, std::string(1023, 'a') + std::string(500, 'b') + std::string(1023, 'c') +
                          std::string(454, 'd'));
}

TEST_F(host_session, that_receives_nothing_is_asked_again_a_hundred_times)
{
    std::vector<scripted_receive> body(100, nothing());
    body.push_back(bytes(5));
    answer(5, body);
    EXPECT_EQ(exchange(), 0);
    EXPECT_EQ(reply_, "aaaaa");
    EXPECT_EQ(record().receive_lengths, std::vector<int>(101, 5));
}

TEST_F(host_session, that_receives_nothing_more_often_is_given_up)
{
    answer(5, {bytes(2)});
    script().after_receives = nothing();
    EXPECT_EQ(exchange(), -5);
    EXPECT_EQ(reply_, "aa");
    EXPECT_EQ(record().receive_lengths.size(), 1U + 101U);
}

TEST_F(host_session, is_given_up_for_receiving_nothing_in_a_row_only)
{
    std::vector<scripted_receive> body;
    for (int i = 0; i < 5; ++i) {
        body.insert(body.end(), 60, nothing());
        body.push_back(bytes(1));
    }
    answer(5, body);
    EXPECT_EQ(exchange(), 0);
    EXPECT_EQ(reply_, "aaaaa");
}

TEST_F(host_session, fails_with_the_code_of_the_step_and_is_asked_for_nothing_more)
{
    const struct {
        const char* what;
        int code;
        void (*set_up)();
        std::size_t sends;
        std::size_t lines;
        std::size_t receives;
        const char* reply;
    } cases[] = {
        {"no connection", -1, [] { script().connects = false; }, 0, 0, 0, "earlier reply"},
        {"head not sent", -2, [] { script().send_that_fails = 0; }, 1, 0, 0, "earlier reply"},
        {"body not sent", -2, [] { script().send_that_fails = 1; }, 2, 0, 0, "earlier reply"},
        {"no status line", -3, [] { script().lines.clear(); }, 2, 1, 0, "earlier reply"},
        {"empty status line", -3,
         [] {
             script().lines.clear();
             script().after_lines = 0;
         },
         2, 1, 0, "earlier reply"},
        {"other status", -4, [] { script().lines.front() = "HTTP/1.1 404 Not Found\r\n"; }, 2, 1, 0,
         "earlier reply"},
        {"body not received", -5, [] { script().receives.clear(); }, 2, 3, 1, ""},
        {"rest not received", -5, [] { script().receives = {bytes(3)}; }, 2, 3, 2, "aaa"},
        {"success", 0, [] {}, 2, 3, 1, "aaaaa"},
    };
    for (const auto& c : cases) {
        script() = session_script();
        record() = session_record();
        answer(5, {bytes(5)});
        c.set_up();
        EXPECT_EQ(exchange("body"), c.code) << c.what;
        EXPECT_EQ(record().constructed.size(), 1U) << c.what;
        EXPECT_EQ(record().destroyed, 1) << c.what;
        EXPECT_EQ(record().sent.size(), c.sends) << c.what;
        EXPECT_EQ(record().line_limits.size(), c.lines) << c.what;
        EXPECT_EQ(record().receive_lengths.size(), c.receives) << c.what;
        EXPECT_EQ(reply_, c.reply) << c.what;
    }
}

} // namespace

} // namespace korvane::test
