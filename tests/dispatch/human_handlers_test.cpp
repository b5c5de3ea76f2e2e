// The human handlers called directly, for what the entry points never pass on to them.
#include "dispatch/kinds.h"

#include "tests/dispatch/calls.h"
#include "tests/support/child_process.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"
#include "tests/util/parsed_json.h"

#include <korvane/ai_metadata.h>

#include <cstdlib>

namespace korvane::test {

namespace {

using texts = std::vector<std::string>;

const std::string report = R"({"channel_sid":"door","results":[{"objects":[[{}]]}]})";
const std::string question = R"({"metadata":{"end_time":5}})";

int add(const std::string& request, std::string kind_name = "HumanDetection", std::string timestamp = "1")
{
    return add_human_metadata(parsed(request).get(), kind_name.data(), timestamp.data());
}

/// The text of an answer that held `before` and was handed to a query.
struct query_result {
    unsigned int code = 0;
    std::string answer;
    bool same_object = false;
};

query_result ask(const std::string& request, const std::string& before = "{}")
{
    const auto tree = parsed(request);
    const auto answer = parsed(before);
    json_object* filled = answer.get();
    query_result result;
    result.code = query_human_metadata(tree.get(), filled);
    result.same_object = filled == answer.get();
    result.answer = json_object_to_json_string(answer.get());
    return result;
}

class human_ingest_handler : public sandbox_test {
protected:
    scripted_store store_;
};

class human_query_handler : public human_ingest_handler {};

TEST_F(human_ingest_handler, refuses_null_pointers)
{
    const auto request = parsed(report);
    std::string kind_name = "HumanDetection";
    std::string timestamp = "1";
    EXPECT_EQ(add_human_metadata(nullptr, kind_name.data(), timestamp.data()), code(result_null_request));
    EXPECT_EQ(add_human_metadata(request.get(), nullptr, timestamp.data()), code(result_null_request));
    EXPECT_EQ(add_human_metadata(request.get(), kind_name.data(), nullptr), code(result_null_request));
    EXPECT_EQ(add_human_metadata(nullptr, nullptr, nullptr), code(result_null_request));
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(human_ingest_handler, tells_what_is_missing_at_the_top)
{
    const struct {
        const char* request;
        const char* message;
    } cases[] = {
        {"{}", "add_human_metadata(#)- [korvane] get channel_sid failed "},
        {"[]", "add_human_metadata(#)- [korvane] get channel_sid failed "},
        {"5", "add_human_metadata(#)- [korvane] get channel_sid failed "},
        {R"({"channel_sid":null,"results":[]})", "add_human_metadata(#)- [korvane] get channel_sid failed "},
        {R"({"channel_sid":"door"})", "add_human_metadata(#)- [korvane] get results failed "},
        {R"({"channel_sid":"door","results":null})", "add_human_metadata(#)- [korvane] get results failed "},
        {R"({"channel_sid":"door","results":{}})", "add_human_metadata(#)- [korvane] get results failed "},
        {R"({"channel_sid":"door","results":"x"})", "add_human_metadata(#)- [korvane] get results failed "},
        {R"({"channel_sid":"door","results":[null]})",
         "add_human_metadata(#)- [korvane] get objects failed "},
        {R"({"channel_sid":"door","results":[[]]})", "add_human_metadata(#)- [korvane] get objects failed "},
    };
    for (const auto& c : cases) {
        clear_debug_log();
        EXPECT_EQ(add(c.request), code(result_bad_request)) << c.request;
        EXPECT_EQ(debug_log_texts(), texts{c.message}) << c.request;
    }
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(human_ingest_handler, stores_what_it_is_told_of_kind_and_time)
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
        {"k", "99999999999999999999999999", R"({"func_name":"k","timestamp":"9223372036854775807",)"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(add(report, c.kind_name, c.timestamp), 0);
        EXPECT_EQ(body_of(last_request(store_)), c.head + R"("channel_sid":"door"})");
    }
}

TEST_F(human_ingest_handler, ends_the_process_on_a_kinds_name_that_does_not_fit)
{
    const child_end end = run_in_child([] { return add(report, std::string(128, 'k')); });
    EXPECT_TRUE(end.aborted()) << end.describe();
    EXPECT_EQ(end.error_output, "libkorvane: \"function_name\" has 128 characters, at most 127 are allowed: "
                                "ending the process\n");
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(human_query_handler, refuses_null_pointers)
{
    const auto request = parsed(question);
    const auto answer = parsed("{}");
    json_object* filled = answer.get();
    json_object* none = nullptr;
    EXPECT_EQ(query_human_metadata(nullptr, filled), result_null_request);
    EXPECT_EQ(query_human_metadata(request.get(), none), result_null_request);
    EXPECT_EQ(query_human_metadata(nullptr, none), result_null_request);
    EXPECT_EQ(json_object_object_length(answer.get()), 0);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(human_query_handler, leaves_the_answer_as_it_was_without_metadata)
{
    for (const char* request : {"{}", "[]", "5", R"({"metadata":null})", R"({"Metadata":{}})",
                                R"({"metadata":[]})", R"({"metadata":5})", R"({"metadata":"x"})"}) {
        clear_debug_log();
        const query_result result = ask(request, R"({"kept":1})");
        EXPECT_EQ(result.code, result_bad_request) << request;
        EXPECT_EQ(result.answer, R"({ "kept": 1 })") << request;
        EXPECT_EQ(debug_log_texts(), texts{"query_human_metadata(#)- [korvane] get metadata failed "})
            << request;
    }
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(human_query_handler, leaves_the_answer_as_it_was_when_the_store_fails)
{
    store_.reply_with(http_reply(500, R"({"ret":0,"totalCounts":1,"datas":[{}]})"));
    const query_result result = ask(question, R"({"kept":1})");
    EXPECT_EQ(result.code, 0xFFFFFFFFU);
    EXPECT_EQ(result.answer, R"({ "kept": 1 })");
    EXPECT_EQ(debug_log_texts(), texts{"[korvane](query_human_metadata:#) get human metadata failed"});
}

TEST_F(human_query_handler, adds_to_the_answer_that_is_there)
{
    store_.reply_with(json_reply(R"({"ret":0,"totalCounts":7,"overThreshold":2,"datas":[]})"));
    const query_result result = ask(question, R"({"kept":1})");
    EXPECT_EQ(result.code, result_ok);
    EXPECT_TRUE(result.same_object);
    EXPECT_EQ(result.answer, R"({ "kept": 1, "over": 2, "count": 7, "metadatalist": [ ] })");
}

json_object* member(json_object* object, const char* key)
{
    json_object* value = nullptr;
    json_object_object_get_ex(object, key, &value);
    return value;
}

TEST_F(human_query_handler, answers_in_objects_that_have_the_entry_points_text)
{
    const std::string reply =
        R"({"ret":0,"totalCounts":2,"datas":[{"app_name":"Doors","loc":[[0.25,1],[-2.5,0.1]]},{"channel_sid":"a"}]})";
    store_.reply_with(json_reply(reply));
    store_.reply_with(json_reply(reply));
    const auto request = parsed(R"({"metadata":{"function_name":"HumanDetection","end_time":5}})");
    const auto answer = parsed("{}");
    json_object* filled = answer.get();
    ASSERT_EQ(query_human_metadata(request.get(), filled), result_ok);

    json_object* rows = member(filled, "metadatalist");
    ASSERT_EQ(json_object_array_length(rows), 2U);
    json_object* first = json_object_array_get_idx(rows, 0);
    EXPECT_STREQ(json_object_get_string(member(first, "appName")), "Doors");
    json_object* position = member(first, "position");
    ASSERT_EQ(json_object_array_length(position), 2U);
    EXPECT_EQ(json_object_get_double(member(json_object_array_get_idx(position, 0), "x")), 0.25);
    EXPECT_EQ(json_object_get_double(member(json_object_array_get_idx(position, 0), "y")), 1.0);
    EXPECT_EQ(json_object_get_double(member(json_object_array_get_idx(position, 1), "x")), -2.5);
    EXPECT_EQ(json_object_get_double(member(json_object_array_get_idx(position, 1), "y")), 0.1);

    std::string text = R"({"metadata":{"function_name":"HumanDetection","end_time":5}})";
    void* told = nullptr;
    ASSERT_EQ(query_ai_metadata(text.data(), &told), 0);
    EXPECT_EQ(std::string(static_cast<char*>(told)), json_object_to_json_string(filled));
    std::free(told);
}

TEST_F(human_query_handler, does_not_look_at_the_kinds_name)
{
    EXPECT_EQ(ask(R"({"metadata":{"function_name":"FaceRecognition","end_time":5}})").code, result_ok);
    EXPECT_EQ(line_of(last_request(store_)),
              "GET /third_party/human_detect?start_time=0&end_time=5&sort_dir=-1&skip=0&limit=10");
}

TEST_F(human_query_handler, without_filters_asks_for_the_newest_ten_until_now)
{
    const time_since_now asked;
    EXPECT_EQ(ask(R"({"metadata":{}})").code, result_ok);
    EXPECT_EQ(asked.marked_in(line_of(last_request(store_))),
              "GET /third_party/human_detect?start_time=0&end_time=now&sort_dir=-1&skip=0&limit=10");
}

} // namespace

} // namespace korvane::test
