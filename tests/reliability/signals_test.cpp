// A host with signals of its own: a timer that interrupts every system call, and its own way with SIGPIPE.
#include "store/send_restful_req.h"
#include "tests/reliability/answering_store.h"
#include "tests/reliability/sample_calls.h"
#include "tests/reliability/test_length.h"
#include "tests/support/child_process.h"
#include "tests/support/debug_log.h"
#include "tests/support/loopback_listener.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <memory>
#include <thread>

namespace korvane::test {

namespace {

volatile std::sig_atomic_t alarms = 0;

/// While it lives, SIGALRM comes a thousand times a second, and its handler has no SA_RESTART: a system call
/// that waits returns EINTR.
class interrupted_host {
public:
    interrupted_host()
    {
        alarms = 0;
        struct sigaction action {};
        action.sa_handler = [](int) { alarms = alarms + 1; };
        sigaction(SIGALRM, &action, &before_);
        set_timer(1000);
    }
    ~interrupted_host()
    {
        set_timer(0);
        sigaction(SIGALRM, &before_, nullptr);
    }
    interrupted_host(const interrupted_host&) = delete;
    interrupted_host& operator=(const interrupted_host&) = delete;

private:
    static void set_timer(int microseconds)
    {
        const itimerval timer{{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }

    struct sigaction before_ {};
};

/// Threads that are started while it lives get no signals.
class signals_blocked {
public:
    signals_blocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~signals_blocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    signals_blocked(const signals_blocked&) = delete;
    signals_blocked& operator=(const signals_blocked&) = delete;

private:
    sigset_t before_{};
};

std::unique_ptr<scripted_store> undisturbed_store()
{
    const signals_blocked blocked;
    return std::make_unique<scripted_store>();
}

const std::string report =
    R"({"timestamp":"1","channel_sid":"door","results":[{"function_name":"HumanDetection",)"
    R"("objects":[[{"position":[{"x":0.5,"y":0.25}]}]]}]})";

/// A body that no socket holds at once: sending it waits for the store. The reports' own are shorter.
int post_four_megabytes()
{
    std::string head = "POST /third_party/human_detect";
    std::string body;
    for (int i = 0; i < 400'000; ++i) {
        body += std::to_string(1'000'000'000 + i);
    }
    std::string reply;
    return send_RESTful_req(scripted_store::default_port, head.data(), body, reply, 300);
}

int insert(std::string text)
{
    return insert_ai_metadata(text.data());
}

/// A listener on the store's port whose queue is full: who connects waits. It answers {"ret":0} to everything once `serve`
/// is called.
class crowded_store {
public:
    crowded_store() { listener_.fill_queue(); }

    /// Serves until one request has been answered.
    void serve_one()
    {
        listener_.empty_queue();
        for (bool answered = false; !answered;) {
            const int connection = accept4(listener_.handle(), nullptr, nullptr, SOCK_CLOEXEC);
            char request[4096];
            if (recv(connection, request, sizeof request, 0) > 0) {
                const std::string reply = json_reply(R"({"ret":0})").bytes;
                answered = send(connection, reply.data(), reply.size(), MSG_NOSIGNAL) > 0;
                while (recv(connection, request, sizeof request, 0) > 0) {
                }
            }
            close(connection);
        }
    }

private:
    loopback_listener listener_{scripted_store::default_port, 0};
};

class reliability_signals : public sandbox_test {};

TEST_F(reliability_signals, a_thousand_a_second_change_no_answer_and_lose_nothing)
{
    const int rounds = by_length(300, 20'000);
    const entry_points library = linked_entry_points();
    answering_store store(answering_store::recording::yes);
    const std::vector<call_result> expected = make_all_calls(library, 2);
    const std::vector<std::string> requests_of_a_round = store.requests();
    const std::vector<std::string> log_of_a_round = debug_log_texts();
    clear_debug_log();
    {
        const interrupted_host host;
        for (int i = 0; i < rounds; ++i) {
            ASSERT_EQ(differences(expected, make_all_calls(library, 2)), "");
        }
        EXPECT_GT(alarms, rounds / 4);
    }
    const std::vector<std::string> requests = store.requests();
    ASSERT_EQ(requests.size(), requests_of_a_round.size() * static_cast<std::size_t>(rounds + 1));
    for (std::size_t i = 0; i < requests.size(); ++i) {
        ASSERT_EQ(requests[i], requests_of_a_round[i / static_cast<std::size_t>(rounds + 1)]);
    }
    if (!long_form()) { // a longer log has gone round
        EXPECT_EQ(debug_log_texts().size(), log_of_a_round.size() * static_cast<std::size_t>(rounds));
    }
}

TEST_F(reliability_signals, that_come_while_a_reply_is_awaited_end_no_wait)
{
    const auto store = undisturbed_store();
    const std::string body = R"({"ret":0,"totalCounts":1,"datas":[{"timestamp":"5","channel_sid":"c"}]})";
    for (int i = 0; i < 3; ++i) {
        store->reply_with(in_pieces(json_reply(body), 20, std::chrono::milliseconds(30)));
    }
    const interrupted_host host;
    std::string text = R"({"metadata":{"function_name":"HumanDetection","start_time":0,"end_time":5}})";
    for (int i = 0; i < 3; ++i) {
        void* answer = nullptr;
        ASSERT_EQ(query_ai_metadata(text.data(), &answer), 0);
        EXPECT_STREQ(static_cast<char*>(answer),
                     R"({ "count": 1, "metadatalist": [ { "date": "1970-01-01 00:00:00", "timestamp": "5", )"
                     R"("channel_sid": "c" } ] })");
        std::free(answer);
    }
    EXPECT_GT(alarms, 200);
}

TEST_F(reliability_signals, that_come_while_a_large_body_is_sent_tear_nothing)
{
    const auto store = undisturbed_store();
    EXPECT_EQ(post_four_megabytes(), 0);
    {
        const interrupted_host host;
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(post_four_megabytes(), 0);
        }
        EXPECT_GT(alarms, 0);
    }
    const std::vector<std::string> requests = store->requests();
    ASSERT_EQ(requests.size(), 6U);
    ASSERT_GT(requests[0].size(), 4'000'000U);
    for (const std::string& request : requests) {
        EXPECT_TRUE(request == requests[0]);
    }
}

TEST_F(reliability_signals, that_come_while_the_connection_is_made_end_no_wait)
{
    crowded_store store;
    std::thread server;
    {
        const signals_blocked blocked;
        server = std::thread([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            store.serve_one();
        });
    }
    const interrupted_host host;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(insert(report), 0);
    // The kernel tries again after a second; the store alone would answer after 300 ms.
    EXPECT_GT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(900))
        << "the connection was made at once";
    EXPECT_GT(alarms, 20); // a thousand, where the machine has time for them
    server.join();
}

// --- SIGPIPE ---

volatile std::sig_atomic_t pipe_signals = 0;

void count_pipe_signal(int)
{
    pipe_signals = pipe_signals + 1;
}

/// Calls a store that goes away at every moment: before, while and after it is sent to.
void call_one_that_goes_away(scripted_store& store)
{
    for (const auto end : {scripted_reply::ending::reset, scripted_reply::ending::shut_reset}) {
        store.reply_with(reset_unread(end));
        EXPECT_EQ(insert(report), -1);
        store.reply_with(reset_while_sending(end));
        const int sent = post_four_megabytes();
        EXPECT_TRUE(sent == -2 || sent == -3) << sent;
        store.reply_with(reset_unread(end));
        std::string question =
            R"({"metadata":{"function_name":"FaceRecognition","person_name":["a b"],"end_time":1}})";
        void* answer = nullptr;
        EXPECT_EQ(query_ai_metadata(question.data(), &answer), -1);
        EXPECT_EQ(answer, nullptr);
        store.reply_with(reset_while_sending(end));
        std::string time = "1712345678901";
        const int code = delete_people_counting(time.data());
        EXPECT_TRUE(code == -2 || code == -3) << code;
    }
    store.stop();
    EXPECT_EQ(insert(report), -1);
}

/// The child's status: what went wrong with this disposition of SIGPIPE.
int live_with_sigpipe(void (*disposition)(int), bool blocked)
{
    scripted_store store;
    struct sigaction wanted {};
    wanted.sa_handler = disposition;
    wanted.sa_flags = SA_ONSTACK;
    sigaction(SIGPIPE, &wanted, nullptr);
    sigset_t pipe_only;
    sigemptyset(&pipe_only);
    sigaddset(&pipe_only, SIGPIPE);
    pthread_sigmask(blocked ? SIG_BLOCK : SIG_UNBLOCK, &pipe_only, nullptr);

    call_one_that_goes_away(store);

    struct sigaction now {};
    sigaction(SIGPIPE, nullptr, &now);
    EXPECT_EQ(now.sa_handler, disposition);
    EXPECT_EQ(now.sa_flags & SA_ONSTACK, SA_ONSTACK);
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0) << "a SIGPIPE waits for the host to unblock it";
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_EQ(sigismember(&mask, SIGPIPE), blocked ? 1 : 0);
    EXPECT_EQ(pipe_signals, 0);
    return ::testing::Test::HasFailure() ? 1 : 0;
}

class reliability_sigpipe : public sandbox_test {
protected:
    static void in_a_host_with(void (*disposition)(int), bool blocked)
    {
        const child_end end = run_in_child([=] { return live_with_sigpipe(disposition, blocked); });
        EXPECT_TRUE(end.exited && end.status == 0) << end.describe() << "\n" << end.error_output;
    }
};

TEST_F(reliability_sigpipe, never_ends_a_host_that_leaves_it_at_default)
{
    in_a_host_with(SIG_DFL, false);
}

TEST_F(reliability_sigpipe, is_never_raised_in_a_host_that_handles_it)
{
    in_a_host_with(count_pipe_signal, false);
}

TEST_F(reliability_sigpipe, stays_ignored_in_a_host_that_ignores_it)
{
    in_a_host_with(SIG_IGN, false);
}

TEST_F(reliability_sigpipe, is_not_left_pending_in_a_host_that_blocks_it)
{
    in_a_host_with(SIG_DFL, true);
}

/// That the tests above could see a SIGPIPE at all.
TEST_F(reliability_sigpipe, would_be_seen)
{
    const child_end end = run_in_child([] {
        std::signal(SIGPIPE, SIG_DFL);
        std::raise(SIGPIPE);
        return 0;
    });
    EXPECT_EQ(end.signal, SIGPIPE) << end.describe();
}

} // namespace

} // namespace korvane::test
