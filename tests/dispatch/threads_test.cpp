// Calls from many threads at once do not know of each other.
#include "tests/dispatch/calls.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

#include <korvane/ai_metadata.h>

#include <functional>
#include <set>
#include <thread>

namespace korvane::test {

namespace {

/// Runs `work`, which gets its thread's number, in `count` threads.
void in_threads(int count, const std::function<void(int)>& work)
{
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number) {
        threads.emplace_back(work, number);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

std::string report_of(const std::string& name)
{
    return R"({"timestamp":1,"channel_sid":"door","results":[{"function_name":"HumanDetection",)"
           R"("objects":[[{"description":")" +
           name + R"(","position":[{"x":0.5,"y":0.5}]}]]}]})";
}

std::string body_stored_of(const std::string& name)
{
    return R"({"func_name":"HumanDetection","timestamp":"1","description":")" + name +
           R"(","channel_sid":"door","loc":[[0.500000,0.500000]]})";
}

class calls_in_threads : public sandbox_test {};

TEST_F(calls_in_threads, store_and_answer_as_calls_alone_do)
{
    constexpr int thread_count = 8;
    constexpr int rounds = 50;
    // One reply serves both: a stored record looks at its "ret" only.
    const scripted_reply reply = json_reply(
        R"({"ret":0,"totalCounts":1,"datas":[{"timestamp":1712345678901,"channel_sid":"c","loc":[[0.5,0.25]]}]})");
    const std::string answer = R"({ "count": 1, "metadatalist": [ { "date": "2024-04-05 19:34:38", )"
                               R"("timestamp": "1712345678901", "channel_sid": "c", )"
                               R"("position": [ { "x": 0.500000, "y": 0.250000 } ] } ] })";
    scripted_store store;
    for (int i = 0; i < 2 * thread_count * rounds; ++i) {
        store.reply_with(reply);
    }
    in_threads(thread_count, [&](int number) {
        for (int round = 0; round < rounds; ++round) {
            const std::string name = std::to_string(number) + "-" + std::to_string(round);
            EXPECT_EQ(insert(report_of(name)), 0) << name;
            const query_outcome outcome =
                query(R"({"metadata":{"function_name":"HumanDetection","start_time":)" +
                      std::to_string(number) + R"(,"end_time":)" + std::to_string(round) + "}}");
            EXPECT_EQ(outcome.code, 0) << name;
            EXPECT_EQ(outcome.answer, answer) << name;
        }
    });

    std::multiset<std::string> expected;
    for (int number = 0; number < thread_count; ++number) {
        for (int round = 0; round < rounds; ++round) {
            expected.insert("POST /third_party/human_detect" +
                            body_stored_of(std::to_string(number) + "-" + std::to_string(round)));
            expected.insert("GET /third_party/human_detect?start_time=" + std::to_string(number) +
                            "&end_time=" + std::to_string(round) + "&sort_dir=-1&skip=0&limit=10");
        }
    }
    std::multiset<std::string> sent;
    for (const std::string& request : store.requests()) {
        sent.insert(line_of(request) + body_of(request));
    }
    EXPECT_EQ(sent, expected);
    EXPECT_EQ(debug_log_texts(), std::vector<std::string>());
}

TEST_F(calls_in_threads, tell_every_failure)
{
    // Writers wait for each other a second at a time, so these are few.
    constexpr int thread_count = 4;
    in_threads(thread_count, [](int number) {
        const std::string text = R"({"metadata":{"function_name":"unknown)" + std::to_string(number) + "\"}}";
        EXPECT_EQ(query(text).code, code(result_unknown_kind));
        EXPECT_EQ(insert("{}"), code(result_bad_request));
    });
    std::vector<std::string> told = debug_log_texts();
    std::sort(told.begin(), told.end());
    std::vector<std::string> expected(thread_count, "insert_ai_metadata(#)- [korvane] get timestamp failed ");
    expected.insert(expected.end(), thread_count, "query_ai_metadata(#)- [korvane] invalid funcName ");
    EXPECT_EQ(told, expected);
}

} // namespace

} // namespace korvane::test
