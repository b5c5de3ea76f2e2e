// The object handlers called directly, for what the entry points never pass on to them.
#include "dispatch/kinds.h"

#include "tests/dispatch/calls.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"
#include "tests/util/parsed_json.h"

#include <korvane/ai_metadata.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <type_traits>

namespace korvane::test {

namespace {

using texts = std::vector<std::string>;

const char* const report = R"({"channel_sid":"door","results":[{"objects":[[{"position":[]}]]}]})";
const char* const question = R"({"metadata":{"end_time":5}})";

unsigned int add(const char* request, std::string kind_name = "ObjectDetection", std::string timestamp = "1")
{
    return add_model_metadata(parsed(request).get(), kind_name.data(), timestamp.data());
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
    const unsigned int code = query_model_metadata(tree.get(), filled);
    EXPECT_EQ(filled, answer.get()) << "the caller's object was exchanged";
    return {code, json_object_to_json_string(answer.get())};
}

class model_ingest_handler : public sandbox_test {
protected:
    scripted_store store_;
};

class model_query_handler : public model_ingest_handler {};

TEST_F(model_ingest_handler, refuses_null_pointers)
{
    const auto request = parsed(report);
    std::string kind_name = "ObjectDetection";
    std::string timestamp = "1";
    EXPECT_EQ(add_model_metadata(nullptr, kind_name.data(), timestamp.data()), result_null_request);
    EXPECT_EQ(add_model_metadata(request.get(), nullptr, timestamp.data()), result_null_request);
    EXPECT_EQ(add_model_metadata(request.get(), kind_name.data(), nullptr), result_null_request);
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(model_ingest_handler, tells_what_is_missing_at_the_top)
{
    const std::pair<const char*, const char*> cases[] = {
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
        {R"({"channel_sid":"door","results":[5]})", "objects"},
    };
    for (const auto& [request, missing] : cases) {
        clear_debug_log();
        EXPECT_EQ(add(request), result_bad_request) << request;
        EXPECT_EQ(debug_log_texts(),
                  texts{std::string("add_model_metadata(#)- [korvane] get ") + missing + " failed "})
            << request;
    }
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(model_ingest_handler, stores_what_it_is_told_of_kind_and_time)
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
        EXPECT_EQ(add(report, c.kind_name, c.timestamp), 0U);
        EXPECT_EQ(body_of(store_.requests().back()), c.head + R"("channel_sid":"door"})");
    }
}

TEST_F(model_ingest_handler, refuses_a_kinds_name_that_does_not_fit)
{
    EXPECT_EQ(add(report, std::string(128, 'k')), result_bad_request);
    EXPECT_EQ(debug_log_texts(), texts{"add_model_metadata(#)- [korvane] function_name has 128 characters, "
                                       "at most 127 are allowed"});
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(model_ingest_handler, returns_codes_as_unsigned_numbers)
{
    static_assert(std::is_same_v<decltype(add_model_metadata(nullptr, nullptr, nullptr)), unsigned int>);
    store_.reply_with(json_reply(R"({"ret":-7})"));
    EXPECT_EQ(add(report), 0xFFFFFFF9U);
    store_.reply_with(json_reply(""));
    EXPECT_EQ(add(report), 0xFFFFFFFFU);
}

TEST_F(model_query_handler, refuses_null_pointers)
{
    const auto request = parsed(question);
    const auto answer = parsed("{}");
    json_object* filled = answer.get();
    json_object* none = nullptr;
    EXPECT_EQ(query_model_metadata(nullptr, filled), result_null_request);
    EXPECT_EQ(query_model_metadata(request.get(), none), result_null_request);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(json_object_object_length(answer.get()), 0);
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(model_query_handler, leaves_the_answer_as_it_was_without_metadata)
{
    for (const char* request : {"{}", "[]", "5", R"({"metadata":null})", R"({"Metadata":{}})",
                                R"({"metadata":[]})", R"({"metadata":5})", R"({"metadata":"x"})"}) {
        clear_debug_log();
        const query_result result = ask(request, R"({"kept":1})");
        EXPECT_EQ(result.code, result_bad_request) << request;
        EXPECT_EQ(result.answer, R"({ "kept": 1 })") << request;
        EXPECT_EQ(debug_log_texts(), texts{"query_model_metadata(#)- [korvane] get metadata failed "})
            << request;
    }
    EXPECT_EQ(store_.requests(), texts());
}

TEST_F(model_query_handler, leaves_the_answer_as_it_was_when_the_store_fails)
{
    store_.reply_with(http_reply(500, R"({"ret":0,"totalCounts":1,"datas":[{}]})"));
    const query_result result = ask(question, R"({"kept":1})");
    EXPECT_EQ(result.code, 0xFFFFFFFFU);
    EXPECT_EQ(result.answer, R"({ "kept": 1 })");
    EXPECT_EQ(debug_log_texts(), texts{"[korvane](query_model_metadata:#) get model metadata failed"});
}

std::vector<double> real_numbers()
{
    std::vector<double> values{0.1,  1,      100,  87.5, -1,   99.9,   2 / 3.0, 1e15,
                               1e16, 123e15, 1e17, 1e-4, 1e-5, 5e-324, -1e300,  1.7976931348623157e308};
    std::mt19937_64 random(1);
    while (values.size() < 1000) {
        const std::uint64_t bits = random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value)) {
            values.push_back(value);
        }
    }
    return values;
}

TEST_F(model_query_handler, writes_real_numbers_as_the_json_library_does)
{
    std::string rows;
    texts expected;
    for (const double value : real_numbers()) {
        char text[40];
        std::snprintf(text, sizeof text, "%.17g", value);
        rows.append(rows.empty() ? "" : ",").append(R"({"confidence":)").append(text).append("}");
        const korvane::json_owner number(json_object_new_double(value));
        expected.emplace_back(json_object_to_json_string(number.get()));
    }
    store_.reply_with(json_reply(R"({"ret":0,"totalCounts":1,"datas":[)" + rows + "]}"));
    const query_result result = ask(question);
    texts written;
    const std::string member = R"("confidence": )";
    for (std::size_t at = 0; (at = result.answer.find(member, at)) != std::string::npos;) {
        at += member.size();
        written.push_back(result.answer.substr(at, result.answer.find_first_of(" ,}", at) - at));
    }
    EXPECT_EQ(written, expected);
}

TEST_F(model_query_handler, adds_to_the_answer_that_is_there)
{
    store_.reply_with(json_reply(R"({"ret":0,"totalCounts":7,"overThreshold":2,"datas":[]})"));
    const query_result result = ask(question, R"({"kept":1})");
    EXPECT_EQ(result.code, result_ok);
    EXPECT_EQ(result.answer, R"({ "kept": 1, "over": 2, "count": 7, "metadatalist": [ ] })");
}

TEST_F(model_query_handler, does_not_look_at_the_kinds_name)
{
    EXPECT_EQ(ask(R"({"metadata":{"function_name":"FaceRecognition","end_time":5}})").code, result_ok);
    EXPECT_EQ(line_of(store_.requests().at(0)),
              "GET /third_party/model_importer?start_time=0&end_time=5&sort_dir=-1&skip=0&limit=10");
}

TEST_F(model_query_handler, without_filters_asks_for_the_newest_ten_until_now)
{
    const time_since_now asked;
    EXPECT_EQ(ask(R"({"metadata":{}})").code, result_ok);
    EXPECT_EQ(asked.marked_in(line_of(last_request(store_))),
              "GET /third_party/model_importer?start_time=0&end_time=now&sort_dir=-1&skip=0&limit=10");
}

} // namespace

} // namespace korvane::test
