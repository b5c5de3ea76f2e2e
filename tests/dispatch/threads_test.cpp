// Calls from many threads at once do not know of each other.
#include "store/ai_CDataBaseComm.h"
#include "tests/dispatch/calls.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"
#include "tests/support/time_zone.h"

#include <korvane/ai_metadata.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <thread>
#include <utility>

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

/// What a call gave: its code and, where it has one, its answer.
using outcome = std::pair<int, std::optional<std::string>>;

/// A call of its own for each id.
struct job {
    const char* name;
    bool logs; ///< even on success
    outcome (*run)(const std::string& id);
};

std::string report(const std::string& kind, const std::string& id, const std::string& found)
{
    return R"({"timestamp":1712345678901,"channel_sid":"door","results":[{"function_name":")" + kind +
           R"(","task_name":")" + id + "\"," + found + "}]}";
}

std::string objects_of(const std::string& members)
{
    return R"("objects":[[{)" + members + R"("position":[{"x":0.5,"y":0.5}]}]])";
}

std::string question(const std::string& kind, const std::string& id, const std::string& filters = {})
{
    return R"({"metadata":{"function_name":")" + kind + R"(","start_time":5,"end_time":)" + id + filters +
           "}}";
}

outcome insert_outcome(const std::string& text)
{
    return {insert(text), std::nullopt};
}

outcome query_outcome_of(const std::string& text)
{
    const query_outcome asked = query(text);
    return {asked.code, asked.answer};
}

outcome groups_outcome(std::string text)
{
    void* answer = nullptr;
    const int code = query_ai_face_metadata_list_group(text.data(), &answer);
    outcome seen{code, std::nullopt};
    if (answer != nullptr) {
        seen.second = static_cast<char*>(answer);
        std::free(answer);
    }
    return seen;
}

outcome latest_outcome(const std::string& kind)
{
    std::string text = R"({"last_metadata":{"funcName":")" + kind + "\"}}";
    char answer[128] = {};
    const int code = get_latest_metadata(text.data(), answer);
    return {code, answer};
}

/// The list of persons without its entry point's log, so that values are encoded at the same time.
outcome client_outcome(const std::string& id)
{
    std::vector<face_recognition_metadata_information> records;
    long long total = 0;
    const int code = ai_CDataBaseComm().get_face_metadata_group_list(
        {}, nullptr, 0, 5, {"A B", id}, {"k/1", id}, {}, -2, -2, -2, -2, {}, {}, -1, {}, records, total);
    return {code, records.empty() ? std::string() : records.front().person_name};
}

constexpr const char* names = R"(,"person_name":["A B"])";

const job jobs[] = {
    {"insert people", false,
     [](const std::string& id) { return insert_outcome(report("HumanDetection", id, objects_of(""))); }},
    {"insert faces", false,
     [](const std::string& id) {
         return insert_outcome(
             report("FaceRecognition", id, R"("function_results":{"tubes":[{"person_name":"A B"},{}]})"));
     }},
    {"insert objects", false,
     [](const std::string& id) {
         return insert_outcome(report("ObjectDetection", id, objects_of(R"("object_name":"car",)")));
     }},
    {"insert counts", false,
     [](const std::string& id) {
         return insert_outcome(
             report("PeopleCounting", id, objects_of(R"("people_count_in":1,"people_count_out":2,)")));
     }},
    {"query people", false,
     [](const std::string& id) { return query_outcome_of(question("HumanDetection", id)); }},
    {"query faces", true,
     [](const std::string& id) { return query_outcome_of(question("FaceRecognition", id, names)); }},
    {"query objects", false,
     [](const std::string& id) { return query_outcome_of(question("ObjectDetection", id)); }},
    {"query counts", false,
     [](const std::string& id) {
         return query_outcome_of(
             question("PeopleCounting", id, R"(,"query_type":"hour","channel_sid":"c)" + id + '"'));
     }},
    {"list persons", true, [](const std::string& id) { return groups_outcome(question("", id, names)); }},
    {"list persons by the client", false, client_outcome},
    {"latest", false, [](const std::string&) { return latest_outcome("HumanDetection"); }},
    {"vault", false,
     [](const std::string&) {
         char id[256] = {};
         const int code = get_IVA_vault_id(id);
         return outcome{code, id};
     }},
    {"delete counts", false,
     [](const std::string& id) {
         std::string text = id + "00000000";
         return outcome{delete_people_counting(text.data()), std::nullopt};
     }},
};

/// What came of many calls: the outcome of each, what was sent and what was logged, each in some order.
struct observation {
    std::map<std::string, outcome> outcomes;
    std::multiset<std::string> requests;
    std::multiset<std::string> log;
};

class calls_in_threads : public sandbox_test {
protected:
    static constexpr int thread_count = 8;
    static constexpr int rounds = 20;

    /// A thread's calls. Those that log are made once: writers wait for each other a second at a time.
    static void call_all(int number, std::map<std::string, outcome>& outcomes)
    {
        for (int round = 0; round < rounds; ++round) {
            for (const job& job : jobs) {
                if (round == 0 || !job.logs) {
                    const std::string id = std::to_string(1000 + number * rounds + round);
                    outcomes[job.name + (' ' + id)] = job.run(id);
                }
            }
        }
    }

    /// `spread` calls call_all for each thread's number, in threads or not.
    static observation observe(const std::function<void(const std::function<void(int)>&)>& spread)
    {
        clear_debug_log();
        // One reply serves every request.
        const scripted_reply reply = json_reply(
            R"({"ret":0,"totalCounts":1,"totalItems":1,"datas":[{"timestamp":1712345678901,"channel_sid":"c",)"
            R"("loc":[[0.5,0.25]],"confidence":50,"vault_id":"v","_id":{"channel_sid":"c","timestamp":0},"sum_in":3}]})");
        scripted_store store;
        for (std::size_t i = 0; i < 2 * std::size(jobs) * thread_count * rounds; ++i) {
            store.reply_with(reply);
        }
        std::vector<std::map<std::string, outcome>> outcomes(thread_count);
        spread([&](int number) { call_all(number, outcomes[static_cast<std::size_t>(number)]); });

        observation seen;
        for (const auto& of_one : outcomes) {
            seen.outcomes.insert(of_one.begin(), of_one.end());
        }
        for (const std::string& request : store.requests()) {
            seen.requests.insert(line_of(request) + body_of(request));
        }
        const std::vector<std::string> log = debug_log_texts();
        seen.log.insert(log.begin(), log.end());
        return seen;
    }
};

TEST_F(calls_in_threads, do_what_calls_alone_do)
{
    set_time_zone("CET-1CEST,M3.5.0,M10.5.0/3");
    const observation alone = observe([](const auto& work) {
        for (int number = 0; number < thread_count; ++number) {
            work(number);
        }
    });
    for (const auto& [call, outcome] : alone.outcomes) {
        EXPECT_EQ(outcome.first, 0) << call;
    }
    EXPECT_EQ(alone.outcomes.at("query people 1000").second,
              R"({ "count": 1, "metadatalist": [ { "date": "2024-04-05 21:34:38", )"
              R"("timestamp": "1712345678901", "channel_sid": "c", )"
              R"("position": [ { "x": 0.500000, "y": 0.250000 } ] } ] })");
    EXPECT_EQ(alone.requests.count("GET /third_party/face_group_list?person_name=A%20B|1000&"
                                   "person_key=[\"k%2F1\",\"1000\"]&start_time=0&end_time=5"),
              1U);

    const observation together = observe([](const auto& work) { in_threads(thread_count, work); });
    EXPECT_EQ(together.outcomes, alone.outcomes);
    EXPECT_EQ(together.requests, alone.requests);
    EXPECT_EQ(together.log, alone.log);
}

TEST_F(calls_in_threads, tell_every_failure)
{
    // Writers wait for each other a second at a time, so these are few.
    constexpr int few = 4;
    in_threads(few, [](int number) {
        const std::string text = R"({"metadata":{"function_name":"unknown)" + std::to_string(number) + "\"}}";
        EXPECT_EQ(query(text).code, code(result_unknown_kind));
        EXPECT_EQ(insert("{}"), code(result_bad_request));
    });
    std::vector<std::string> told = debug_log_texts();
    std::sort(told.begin(), told.end());
    std::vector<std::string> expected(few, "insert_ai_metadata(#)- [korvane] get timestamp failed ");
    expected.insert(expected.end(), few, "query_ai_metadata(#)- [korvane] invalid funcName ");
    EXPECT_EQ(told, expected);
}

} // namespace

} // namespace korvane::test
