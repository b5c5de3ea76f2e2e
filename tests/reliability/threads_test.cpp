// Sixteen threads in all entry points at once get what one thread gets, and the store and the log, too.
#include "tests/reliability/answering_store.h"
#include "tests/reliability/sample_calls.h"
#include "tests/reliability/test_length.h"
#include "tests/support/debug_log.h"
#include "tests/support/files.h"
#include "tests/support/sandbox_test.h"
#include "util/url_encode.h"

#include <atomic>
#include <csignal>
#include <thread>

namespace korvane::test {

namespace {

constexpr int thread_count = 16;

struct run_record {
    std::vector<std::vector<call_result>> results; ///< of each thread, in the order of its calls
    std::vector<std::string> requests;             ///< sorted
    std::vector<std::string> log;                  ///< sorted
};

/// What one thread does: the silent calls in every round, each thread beginning with another one; the others
/// once, for writers of the log wait for each other a second at a time.
std::vector<call_result> thread_work(int number, int rounds)
{
    const entry_points library = linked_entry_points();
    const std::vector<sample_call>& calls = sample_calls();
    std::vector<call_result> results;
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < calls.size(); ++i) {
            const sample_call& call = calls[(i + static_cast<std::size_t>(number)) % calls.size()];
            if (call.lines == sample_call::log::silent || round == number % rounds) {
                results.push_back(make_call(library, call, number));
            }
        }
    }
    return results;
}

/// All threads' work, at the same time or one after the other, on a fresh log.
run_record run_work(int rounds, bool at_the_same_time)
{
    clear_debug_log();
    run_record record;
    record.results.resize(thread_count);
    answering_store store(answering_store::recording::yes);
    std::vector<std::thread> threads;
    for (int number = 0; number < thread_count; ++number) {
        std::vector<call_result>& results = record.results[static_cast<std::size_t>(number)];
        threads.emplace_back([&results, number, rounds] { results = thread_work(number, rounds); });
        if (!at_the_same_time) {
            threads.back().join();
        }
    }
    for (std::thread& thread : threads) {
        if (thread.joinable()) {
            thread.join();
        }
    }
    record.requests = store.requests();
    record.log = debug_log_texts();
    std::sort(record.log.begin(), record.log.end());
    return record;
}

class reliability_threads : public sandbox_test {};

TEST_F(reliability_threads, get_the_answers_that_one_thread_gets)
{
    const int rounds = by_length(20, 1000);
    const run_record alone = run_work(rounds, false);
    const int descriptors = open_descriptors();
    const run_record together = run_work(rounds, true);
    ASSERT_GT(alone.requests.size(), static_cast<std::size_t>(thread_count * rounds * 10));
    EXPECT_EQ(together.requests, alone.requests);
    EXPECT_EQ(together.log, alone.log);
    EXPECT_EQ(open_descriptors(), descriptors);
    for (std::size_t number = 0; number < thread_count; ++number) {
        EXPECT_TRUE(together.results[number] == alone.results[number]) << "thread " << number;
    }
}

/// Which calls work at all is looked at once, so that the comparison above compares answers.
TEST_F(reliability_threads, get_the_answers_that_are_expected)
{
    const answering_store store;
    const auto results = make_all_calls(linked_entry_points(), 7);
    const std::vector<sample_call>& calls = sample_calls();
    ASSERT_EQ(results.size(), calls.size());
    for (std::size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE(describe(calls[i], results[i]));
        const bool fails =
            std::string("unknown_kind dotless_kind out_of_picture no_json").find(calls[i].name) !=
            std::string::npos;
        EXPECT_EQ(results[i].code != 0, fails);
        const bool answers = !fails && calls[i].where != sample_call::entry::insert &&
                             calls[i].where != sample_call::entry::delete_counts;
        EXPECT_EQ(!results[i].answer.empty(), answers);
        const bool has_mark =
            std::string("human_query object_query face_query face_groups").find(calls[i].name) !=
            std::string::npos;
        EXPECT_EQ(results[i].answer.find("10000007") != std::string::npos, has_mark);
    }
}

volatile std::sig_atomic_t pipe_signals = 0;

/// Percent-encoding goes through another library, which must not meddle with the host's signals.
TEST_F(reliability_threads, leave_the_hosts_way_with_SIGPIPE_alone)
{
    struct sigaction handled {};
    handled.sa_handler = [](int) { pipe_signals = pipe_signals + 1; };
    struct sigaction before {};
    sigaction(SIGPIPE, &handled, &before);
    std::atomic<bool> ended{false};
    int meddled = 0;
    std::thread watcher([&] {
        while (!ended) {
            struct sigaction now {};
            sigaction(SIGPIPE, nullptr, &now);
            meddled += now.sa_handler != handled.sa_handler;
        }
    });
    std::vector<std::thread> threads;
    for (int number = 0; number < thread_count; ++number) {
        threads.emplace_back([] {
            for (int i = 0; i < by_length(300, 20'000); ++i) {
                url_encode("Iğdır & Ann");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    ended = true;
    watcher.join();
    struct sigaction now {};
    sigaction(SIGPIPE, &before, &now);
    EXPECT_EQ(now.sa_handler, handled.sa_handler) << "SIGPIPE is no longer the host's";
    EXPECT_EQ(meddled, 0) << "SIGPIPE was another's for a while";
    EXPECT_EQ(pipe_signals, 0);
}

} // namespace

} // namespace korvane::test
