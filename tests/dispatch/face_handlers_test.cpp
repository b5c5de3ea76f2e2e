// The face handlers and the list of persons called directly, for what no wire case passes on to them.
#include "dispatch/kinds.h"

#include "tests/dispatch/calls.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"
#include "tests/support/time_zone.h"
#include "tests/util/parsed_json.h"

#include <korvane/ai_metadata.h>

#include <cstdlib>
#include <set>

namespace korvane::test {

namespace {

using texts = std::vector<std::string>;

const char* const report = R"({"channel_sid":"door","results":[{"function_results":{"tubes":[{}]}}]})";
const char* const question = R"({"metadata":{"end_time":5}})";
const char* const started = "query_face_metadata(1506)- [korvane] query face library start ";

int add(const char* request, std::string kind_name = "FaceRecognition", std::string timestamp = "1")
{
    return add_face_metadata(parsed(request).get(), kind_name.data(), timestamp.data());
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
    const unsigned int code = query_face_metadata(tree.get(), filled);
    EXPECT_EQ(filled, answer.get()) << "the caller's object was exchanged";
    return {code, json_object_to_json_string(answer.get())};
}

class face_ingest_handler : public sandbox_test {
protected:
    scripted_store store_;
};

class face_query_handler : public face_ingest_handler {};
class face_group_list : public face_ingest_handler {};

TEST_F(face_ingest_handler, refuses_null_pointers)
{
    const auto request = parsed(report);
    std::string kind_name = "FaceRecognition";
    std::string timestamp = "1";
    EXPECT_EQ(add_face_metadata(nullptr, kind_name.data(), timestamp.data()), code(result_null_request));
    EXPECT_EQ(add_face_metadata(request.get(), nullptr, timestamp.data()), code(result_null_request));
    EXPECT_EQ(add_face_metadata(request.get(), kind_name.data(), nullptr), code(result_null_request));
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(face_ingest_handler, tells_what_is_missing_by_the_lines_that_log_readers_know)
{
    const struct {
        const char* request;
        const char* message;
    } cases[] = {
        {"{}", "add_face_metadata(554)- [korvane] get channel_sid failed "},
        {"[]", "add_face_metadata(554)- [korvane] get channel_sid failed "},
        {"5", "add_face_metadata(554)- [korvane] get channel_sid failed "},
        {R"({"channel_sid":null,"results":[]})", "add_face_metadata(554)- [korvane] get channel_sid failed "},
        {R"({"channel_sid":"door"})", "add_face_metadata(571)- [korvane] get results failed "},
        {R"({"channel_sid":"door","results":null})", "add_face_metadata(571)- [korvane] get results failed "},
        {R"({"channel_sid":"door","results":{}})", "add_face_metadata(571)- [korvane] get results failed "},
        {R"({"channel_sid":"door","results":"x"})", "add_face_metadata(571)- [korvane] get results failed "},
        {R"({"channel_sid":"door","results":[null]})",
         "add_face_metadata(588)- [korvane] get function_results failed "},
        {R"({"channel_sid":"door","results":[[]]})",
         "add_face_metadata(588)- [korvane] get function_results failed "},
        {R"({"channel_sid":"door","results":[5]})",
         "add_face_metadata(588)- [korvane] get function_results failed "},
        {R"({"channel_sid":"door","results":[{"function_results":{}}]})",
         "add_face_metadata(596)- [korvane] get tubes failed "},
    };
    for (const auto& c : cases) {
        clear_debug_log();
        EXPECT_EQ(add(c.request), code(result_bad_request)) << c.request;
        EXPECT_EQ(debug_log_messages(), texts{c.message}) << c.request;
    }
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(face_ingest_handler, stores_what_it_is_told_of_kind_and_time)
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
        const texts requests = store_.requests();
        EXPECT_EQ(body_of(requests.at(requests.size() - 2)),
                  c.head + R"("channel_sid":"door","confidence":-1.000000,"registered":false})");
        EXPECT_EQ(line_of(requests.back()), "POST /third_party/check_face_threshold");
    }
}

TEST_F(face_ingest_handler, refuses_a_kinds_name_that_does_not_fit)
{
    EXPECT_EQ(add(report, std::string(128, 'k')), code(result_bad_request));
    EXPECT_EQ(debug_log_texts(), texts{"add_face_metadata(#)- [korvane] function_name has 128 characters, "
                                       "at most 127 are allowed"});
    EXPECT_EQ(store_.requests(), texts());
}

/// A report whose texts are all too long, but for those named.
std::string overlong_report(const std::set<std::string>& short_texts)
{
    const auto members = [&](const std::vector<std::string>& names) {
        std::string text;
        for (const std::string& name : names) {
            text +=
                "\"" + name + "\":\"" + (short_texts.count(name) ? "short" : std::string(600, 'x')) + "\",";
        }
        return text;
    };
    return "{" + members({"app_id", "app_name", "brand", "model", "channel_sid", "provider_id"}) +
           R"("results":[{)" + members({"model_version", "task_name"}) + R"("function_results":{"tubes":[{)" +
           members({"status", "person_id", "stranger_id", "group_name", "gender"}) +
           R"("registered":true}]}}]})";
}

TEST_F(face_ingest_handler, names_the_first_of_several_texts_that_do_not_fit)
{
    std::set<std::string> short_texts;
    for (const char* name :
         {"app_id", "app_name", "brand", "model", "function_name", "channel_sid", "model_version",
          "task_name", "provider_id", "status", "person_id", "stranger_id", "group_name", "gender"}) {
        clear_debug_log();
        const std::string kind_name(short_texts.count("function_name") ? 5 : 600, 'k');
        EXPECT_EQ(add(overlong_report(short_texts).c_str(), kind_name), code(result_bad_request));
        const std::string line =
            "add_face_metadata(#)- [korvane] " + std::string(name) + " has 600 characters";
        EXPECT_EQ(debug_log_texts().at(0).substr(0, line.size()), line);
        short_texts.insert(name);
    }
    EXPECT_EQ(add(overlong_report(short_texts).c_str()), 0);
}

TEST_F(face_ingest_handler, tells_the_threshold_once_after_each_of_a_hundred_faces)
{
    std::string tubes;
    for (int i = 0; i < 100; ++i) {
        tubes += (i == 0 ? "" : ",") + (R"({"person_name":")" + std::to_string(i)) + "\"}";
    }
    const std::string many =
        R"({"channel_sid":"door","results":[{"function_results":{"tubes":[)" + tubes + "]}}]}";
    EXPECT_EQ(add(many.c_str()), 0);
    const texts requests = store_.requests();
    ASSERT_EQ(requests.size(), 200U);
    for (std::size_t i = 0; i < 100; ++i) {
        EXPECT_NE(body_of(requests[2 * i]).find(R"("person_name":")" + std::to_string(i) + "\","),
                  std::string::npos);
        EXPECT_EQ(line_of(requests[2 * i]), "POST /third_party/face_recognition");
        EXPECT_EQ(line_of(requests[2 * i + 1]), "POST /third_party/check_face_threshold");
        EXPECT_EQ(body_of(requests[2 * i + 1]), R"({"threshold":"500000"})");
    }
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(face_query_handler, refuses_null_pointers)
{
    const auto request = parsed(question);
    const auto answer = parsed("{}");
    json_object* filled = answer.get();
    json_object* none = nullptr;
    EXPECT_EQ(query_face_metadata(nullptr, filled), result_null_request);
    EXPECT_EQ(query_face_metadata(request.get(), none), result_null_request);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(json_object_object_length(answer.get()), 0);
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(face_query_handler, leaves_the_answer_as_it_was_without_metadata)
{
    for (const char* request : {"{}", "[]", "5", R"({"metadata":null})", R"({"Metadata":{}})",
                                R"({"metadata":[]})", R"({"metadata":5})", R"({"metadata":"x"})"}) {
        clear_debug_log();
        const query_result result = ask(request, R"({"kept":1})");
        EXPECT_EQ(result.code, result_bad_request) << request;
        EXPECT_EQ(result.answer, R"({ "kept": 1 })") << request;
        EXPECT_EQ(debug_log_messages(),
                  (texts{started, "query_face_metadata(1511)- [korvane] get metadata failed "}))
            << request;
    }
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(face_query_handler, leaves_the_answer_as_it_was_when_the_store_fails)
{
    const struct {
        scripted_reply reply;
        unsigned int code;
    } cases[] = {
        {http_reply(500, R"({"ret":0,"totalCounts":1,"datas":[{}]})"), 0xFFFFFFFFU},
        {json_reply(R"({"ret":5,"totalCounts":1,"datas":[{}]})"), 5},
        {json_reply(R"({"ret":-101})"), 0xFFFFFF9BU},
    };
    for (const auto& c : cases) {
        clear_debug_log();
        store_.reply_with(c.reply);
        const query_result result = ask(question, R"({"kept":1})");
        EXPECT_EQ(result.code, c.code);
        EXPECT_EQ(result.answer, R"({ "kept": 1 })");
        EXPECT_EQ(debug_log_messages(),
                  (texts{started, "[korvane](query_face_metadata:1763) get face metadata failed"}));
    }
}

TEST_F(face_query_handler, adds_to_the_answer_that_is_there)
{
    store_.reply_with(json_reply(R"({"ret":0,"totalCounts":7,"overThreshold":2,"datas":[]})"));
    const query_result result = ask(question, R"({"kept":1})");
    EXPECT_EQ(result.code, result_ok);
    EXPECT_EQ(result.answer, R"({ "kept": 1, "over": 2, "count": 7, "metadatalist": [ ] })");
}

TEST_F(face_query_handler, does_not_look_at_the_kinds_name)
{
    EXPECT_EQ(ask(R"({"metadata":{"function_name":"HumanDetection","end_time":5}})").code, result_ok);
    EXPECT_EQ(line_of(store_.requests().at(0)),
              "GET /third_party/face_recognition?partial_query=false&start_time=0&end_time=5&sort_dir=-1&"
              "skip=0&limit=10");
}

TEST_F(face_query_handler, without_filters_asks_for_the_newest_ten_until_now)
{
    const time_since_now asked;
    EXPECT_EQ(ask(R"({"metadata":{}})").code, result_ok);
    EXPECT_EQ(asked.marked_in(line_of(last_request(store_))),
              "GET /third_party/face_recognition?partial_query=false&start_time=0&end_time=now&sort_dir=-1&"
              "skip=0&limit=10");
}

TEST_F(face_query_handler, gives_each_of_thousands_of_rows_its_server_time)
{
    std::string rows;
    for (int i = 0; i < 3000; ++i) {
        rows += (i == 0 ? "" : ",") + (R"({"timestamp":)" + std::to_string(i * 1000)) + "}";
    }
    store_.reply_with(json_reply(R"({"ret":0,"totalCounts":3000,"datas":[)" + rows + "]}"));
    set_time_zone("CST-8");
    const query_result result = ask(question);
    EXPECT_EQ(result.code, result_ok);
    const auto answer = parsed(result.answer);
    json_object* list = nullptr;
    ASSERT_TRUE(json_object_object_get_ex(answer.get(), "metadatalist", &list));
    ASSERT_EQ(json_object_array_length(list), 3000U);
    for (int i = 0; i < 3000; ++i) {
        json_object* time = nullptr;
        json_object_object_get_ex(json_object_array_get_idx(list, static_cast<std::size_t>(i)), "server_time",
                                  &time);
        ASSERT_STREQ(json_object_get_string(time), std::to_string(28'800'000 + i * 1000).c_str());
    }
}

TEST_F(face_group_list, refuses_null_pointers)
{
    std::string text = question;
    char untouched = 0;
    void* answer = &untouched;
    EXPECT_EQ(query_ai_face_metadata_list_group(nullptr, &answer), code(result_null_request));
    EXPECT_EQ(query_ai_face_metadata_list_group(text.data(), nullptr), code(result_null_request));
    EXPECT_EQ(query_ai_face_metadata_list_group(nullptr, nullptr), code(result_null_request));
    EXPECT_EQ(answer, &untouched);
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(face_group_list, without_filters_asks_for_all_until_now)
{
    store_.reply_with(json_reply(R"({"ret":0,"totalItems":0,"datas":[]})"));
    std::string text = R"({"metadata":{}})";
    void* answer = nullptr;
    const time_since_now asked;
    EXPECT_EQ(query_ai_face_metadata_list_group(text.data(), &answer), code(result_no_group));
    EXPECT_EQ(asked.marked_in(line_of(last_request(store_))),
              "GET /third_party/face_group_list?start_time=0&end_time=now");
}

TEST_F(face_group_list, leaves_the_answer_pointer_of_a_failure_as_it_was)
{
    const struct {
        const char* reply;
        int code;
    } cases[] = {
        {R"({"ret":0,"totalItems":0,"datas":["Ann"]})", code(result_no_group)},
        {R"({"ret":-101})", -101},
        {R"({"ret":5,"totalItems":1,"datas":["Ann"]})", 5},
        {"", -1},
    };
    for (const auto& c : cases) {
        store_.reply_with(json_reply(c.reply));
        std::string text = question;
        char untouched = 0;
        void* answer = &untouched;
        EXPECT_EQ(query_ai_face_metadata_list_group(text.data(), &answer), c.code) << c.reply;
        EXPECT_EQ(answer, &untouched) << c.reply;
    }
}

TEST_F(face_group_list, gives_a_block_for_free_of_its_own_for_each_call)
{
    std::string text = question;
    void* first = nullptr;
    void* second = nullptr;
    store_.reply_with(json_reply(R"({"ret":0,"totalItems":1,"datas":["Ann"]})"));
    store_.reply_with(json_reply(R"({"ret":0,"totalItems":1,"datas":["Bob"]})"));
    EXPECT_EQ(query_ai_face_metadata_list_group(text.data(), &first), 0);
    EXPECT_EQ(query_ai_face_metadata_list_group(text.data(), &second), 0);
    EXPECT_STREQ(static_cast<char*>(first), R"({ "count": 1, "person_name_list": [ "Ann" ] })");
    EXPECT_STREQ(static_cast<char*>(second), R"({ "count": 1, "person_name_list": [ "Bob" ] })");
    std::free(first);
    std::free(second);
}

} // namespace

} // namespace korvane::test
