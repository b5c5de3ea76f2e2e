// The people counting handlers called directly, for what the entry points never pass on to them.
#include "dispatch/kinds.h"

#include "tests/dispatch/calls.h"
#include "tests/support/child_process.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"
#include "tests/util/parsed_json.h"

#include <korvane/ai_metadata.h>

namespace korvane::test {

namespace {

using texts = std::vector<std::string>;

const char* const report = R"({"channel_sid":"door","results":[{"objects":[[
    {"people_count_in":3,"people_count_out":1,"position":[]}]]}]})";
const char* const question = R"({"metadata":{"query_type":"hour","start_time":"5"}})";

int add(const char* request, std::string kind_name = "PeopleCounting", std::string timestamp = "1")
{
    return add_people_counting_metadata(parsed(request).get(), kind_name.data(), timestamp.data());
}

struct query_result {
    unsigned int code = 0;
    std::string answer;
};

/// What a query makes of an answer that held `before`.
query_result ask(const char* request, const char* before = "{}")
{
    const auto tree = parsed(request);
    const auto answer = parsed(before);
    json_object* filled = answer.get();
    const unsigned int code = query_people_counting_metadata(tree.get(), filled);
    EXPECT_EQ(filled, answer.get()) << "the caller's object was exchanged";
    return {code, json_object_to_json_string(answer.get())};
}

class people_counting_ingest_handler : public sandbox_test {
protected:
    scripted_store store_;
};

class people_counting_query_handler : public people_counting_ingest_handler {};
class people_counting_delete : public people_counting_ingest_handler {};

TEST_F(people_counting_ingest_handler, refuses_null_pointers)
{
    const auto request = parsed(report);
    std::string kind_name = "PeopleCounting";
    std::string timestamp = "1";
    const int refused = code(result_null_request);
    EXPECT_EQ(add_people_counting_metadata(nullptr, kind_name.data(), timestamp.data()), refused);
    EXPECT_EQ(add_people_counting_metadata(request.get(), nullptr, timestamp.data()), refused);
    EXPECT_EQ(add_people_counting_metadata(request.get(), kind_name.data(), nullptr), refused);
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(people_counting_ingest_handler, tells_what_is_missing_at_the_top)
{
    const struct {
        const char* request;
        const char* member;
    } cases[] = {
        {"{}", "channel_sid"},
        {"[]", "channel_sid"},
        {"5", "channel_sid"},
        {R"({"channel_sid":null,"results":[]})", "channel_sid"},
        {R"({"channel_sid":"door"})", "results"},
        {R"({"channel_sid":"door","results":null})", "results"},
        {R"({"channel_sid":"door","results":{}})", "results"},
        {R"({"channel_sid":"door","results":"x"})", "results"},
        {R"({"channel_sid":"door","results":[null]})", "objects"},
        {R"({"channel_sid":"door","results":[[]]})", "objects"},
    };
    for (const auto& c : cases) {
        clear_debug_log();
        EXPECT_EQ(add(c.request), code(result_bad_request)) << c.request;
        EXPECT_EQ(debug_log_texts(), texts{"add_people_counting_metadata(#)- [korvane] get " +
                                           std::string(c.member) + " failed "})
            << c.request;
    }
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(people_counting_ingest_handler, stores_nothing_of_empty_results)
{
    EXPECT_EQ(add(R"({"channel_sid":"door","results":[]})"), 0);
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(people_counting_ingest_handler, stores_what_it_is_told_of_kind_and_time)
{
    const struct {
        std::string kind_name;
        std::string timestamp;
        std::string head;
    } cases[] = {
        {"AnyName", "1712345678901", R"({"func_name":"AnyName","timestamp":"1712345678901",)"},
        {std::string(127, 'k'), "-5", R"({"func_name":")" + std::string(127, 'k') + R"(","timestamp":"-5",)"},
        {"", "", "{"},
        {"k", "noon", R"({"func_name":"k",)"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(add(report, c.kind_name, c.timestamp), 0);
        EXPECT_EQ(body_of(store_.requests().back()),
                  c.head + R"("channel_sid":"door","people_count_in":3,"people_count_out":1})");
    }
}

TEST_F(people_counting_ingest_handler, ends_the_process_on_a_kinds_name_that_does_not_fit)
{
    const child_end end = run_in_child([] { return add(report, std::string(128, 'k')); });
    EXPECT_TRUE(end.aborted()) << end.describe();
    EXPECT_EQ(end.error_output, "libkorvane: \"function_name\" has 128 characters, at most 127 are allowed: "
                                "ending the process\n");
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(people_counting_query_handler, refuses_null_pointers)
{
    const auto request = parsed(question);
    const auto answer = parsed("{}");
    json_object* filled = answer.get();
    json_object* none = nullptr;
    EXPECT_EQ(query_people_counting_metadata(nullptr, filled), result_null_request);
    EXPECT_EQ(query_people_counting_metadata(request.get(), none), result_null_request);
    EXPECT_EQ(json_object_object_length(answer.get()), 0);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(people_counting_query_handler, leaves_the_answer_as_it_was_when_it_fails)
{
    const struct {
        const char* request;
        unsigned int code;
        const char* message;
    } cases[] = {
        {"{}", result_bad_request, "get metadata failed "},
        {"[]", result_bad_request, "get metadata failed "},
        {"5", result_bad_request, "get metadata failed "},
        {R"({"metadata":null})", result_bad_request, "get metadata failed "},
        {R"({"metadata":[]})", result_bad_request, "get metadata failed "},
        {R"({"metadata":5})", result_bad_request, "get metadata failed "},
        {R"({"metadata":"x"})", result_bad_request, "get metadata failed "},
        {R"({"metadata":{}})", result_bad_request, "get query_type failed "},
        {R"({"metadata":{"query_type":"hour"}})", result_bad_request, "get start_time failed "},
        {R"({"metadata":{"query_type":"Hour","start_time":"5"}})", result_unknown_query_type,
         "invalid query type "},
    };
    for (const auto& c : cases) {
        clear_debug_log();
        const query_result result = ask(c.request, R"({"kept":1})");
        EXPECT_EQ(result.code, c.code) << c.request;
        EXPECT_EQ(result.answer, R"({ "kept": 1 })") << c.request;
        EXPECT_EQ(debug_log_texts(),
                  texts{"query_people_counting_metadata(#)- [korvane] " + std::string(c.message)})
            << c.request;
    }
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(people_counting_query_handler, leaves_the_answer_as_it_was_when_the_store_fails)
{
    const struct {
        scripted_reply reply;
        int code;
    } cases[] = {
        {http_reply(500, R"({"ret":0,"datas":[]})"), -1},
        {json_reply(R"({"ret":-101})"), -101},
        {json_reply(R"({"ret":5,"datas":[{"_id":{"channel_sid":"a","timestamp":0},"sum_in":1}]})"), 5},
        {json_reply(""), -1},
    };
    for (const auto& c : cases) {
        clear_debug_log();
        store_.reply_with(c.reply);
        const query_result result = ask(question, R"({"kept":1})");
        EXPECT_EQ(static_cast<int>(result.code), c.code);
        EXPECT_EQ(result.answer, R"({ "kept": 1 })");
        EXPECT_EQ(debug_log_texts(), texts{"[korvane](query_people_counting_metadata:#) get people counting "
                                           "metadata failed"});
    }
}

TEST_F(people_counting_query_handler, adds_to_the_answer_that_is_there)
{
    store_.reply_with(json_reply(R"({"ret":0,"datas":[]})"));
    const query_result result = ask(question, R"({"kept":1})");
    EXPECT_EQ(result.code, result_ok);
    EXPECT_EQ(result.answer, R"({ "kept": 1, "count": 0, "metadatalist": [ ] })");
}

TEST_F(people_counting_query_handler, does_not_look_at_the_kinds_name)
{
    const char* other =
        R"({"metadata":{"function_name":"FaceRecognition","query_type":"hour","start_time":"5"}})";
    EXPECT_EQ(ask(other).code, result_ok);
    EXPECT_EQ(
        line_of(store_.requests().at(0)),
        "GET /third_party/people_counting?query_type=hour&interval=3600000&timestamp=0&end_time=86399999");
}

TEST_F(people_counting_delete, refuses_a_null_pointer)
{
    EXPECT_EQ(delete_people_counting(nullptr), code(result_null_request));
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(people_counting_delete, sends_the_same_for_every_time_of_a_day)
{
    std::string first;
    for (const char* time : {"1712275200000", "1712275200999", "1712345678901", "1712361599999"}) {
        std::string text = time;
        EXPECT_EQ(delete_people_counting(text.data()), 0);
        EXPECT_EQ(text, time) << "the caller's text was changed";
        const std::string sent = store_.requests().back();
        first = first.empty() ? sent : first;
        EXPECT_EQ(sent, first);
    }
    EXPECT_EQ(line_of(first), "DELETE /third_party/people_counting?timestamp=1711756800000");
    EXPECT_EQ(body_of(first), "");
}

} // namespace

} // namespace korvane::test
