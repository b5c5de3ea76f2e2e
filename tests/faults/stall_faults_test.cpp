// A store that stops in the middle, at every byte and at every stage, all at the same time: nobody waits longer than the
// time-out, which is two seconds here.
#include "tests/faults/faults_test.h"
#include "tests/faults/peer_process.h"
#include "tests/faults/reply_rules.h"
#include "tests/support/files.h"
#include "tests/support/loopback_listener.h"
#include "tests/transport/exchange_test.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <thread>

namespace korvane::test {

namespace {

using std::chrono::milliseconds;

constexpr int time_out_s = 2;
constexpr milliseconds late_byte_after{1500};
constexpr milliseconds longest{3000}; // the time-out, and some for a busy machine; stretched it would be 3500
const std::string whole_reply = json_reply(R"({"ret":0})").bytes;

/// Listens; in a process of its own it serves requests for "/N": N bytes of the reply, then nothing more, ever. For "/N/late"
/// one byte more comes when most of the time-out is over.
class stalling_peer {
public:
    explicit stalling_peer(bool serving)
        : listener_(0, serving ? 1000 : 0)
    {
        if (serving) {
            server_ = fork();
            if (server_ == 0) {
                serve();
            }
        }
    }

    ~stalling_peer()
    {
        if (server_ > 0) {
            kill(server_, SIGKILL);
            waitpid(server_, nullptr, 0);
        }
    }

    stalling_peer(const stalling_peer&) = delete;
    stalling_peer& operator=(const stalling_peer&) = delete;

    int port() const { return listener_.port(); }

private:
    [[noreturn]] void serve() const
    {
        for (;;) {
            const int connection = accept(listener_.handle(), nullptr, nullptr);
            char request[1024] = {};
            if (recv(connection, request, sizeof request - 1, 0) > 0) {
                std::thread([=, text = std::string(request)] { answer(connection, text); }).detach();
            }
        }
    }

    static void answer(int connection, const std::string& request)
    {
        const int no_delay = 1;
        setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &no_delay, sizeof no_delay);
        const auto came = static_cast<std::size_t>(std::stoi(request.substr(request.find('/') + 1)));
        static_cast<void>(send(connection, whole_reply.data(), came, MSG_NOSIGNAL));
        if (request.find("/late") != std::string::npos) {
            std::this_thread::sleep_for(late_byte_after);
            static_cast<void>(send(connection, whole_reply.data() + came, 1, MSG_NOSIGNAL));
        }
    }

    loopback_listener listener_;
    pid_t server_ = -1;
};

class stalls : public faults_test {
protected:
    struct stalled {
        std::string told;
        std::function<exchanged()> call;
        exchange_end end;
        fault_script script;
    };

    /// Makes all calls at once, a thread each.
    void expect_time_outs(const std::vector<stalled>& all)
    {
        const int descriptors_before = open_descriptors();
        std::vector<exchanged> ends(all.size());
        std::vector<witnessed> seen(all.size());
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < all.size(); ++i) {
            threads.emplace_back(
                [&, i] { seen[i] = with_faults(all[i].script, [&] { ends[i] = all[i].call(); }); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        expect_faults(all.size());
        for (std::size_t i = 0; i < all.size(); ++i) {
            EXPECT_EQ(ends[i].code, all[i].end.code) << all[i].told;
            EXPECT_EQ(ends[i].reply, all[i].end.reply) << all[i].told;
            EXPECT_LT(ends[i].took, longest) << all[i].told;
            EXPECT_EQ(seen[i].blocks_left, 0) << all[i].told;
            count_faults(ends[i].took >= milliseconds(1950));
        }
        EXPECT_EQ(open_descriptors(), descriptors_before);
        const peer_process peer;
        EXPECT_EQ(exchange_with(peer.port(), "GET /path").code, 0) << "after the stalls";
    }
};

std::string path_of(std::size_t came, const char* more = "")
{
    return "GET /" + std::to_string(came) + more;
}

TEST_F(stalls, at_every_byte_of_a_reply_end_with_the_time_out)
{
    const stalling_peer peer(true);
    std::vector<stalled> all;
    for (std::size_t came = 0; came < whole_reply.size(); ++came) {
        all.push_back({std::to_string(came) + " bytes came",
                       [&, came] { return exchange_with(peer.port(), path_of(came), {}, time_out_s); },
                       end_of_exchange(whole_reply.substr(0, came), earlier_reply),
                       {}});
    }
    expect_time_outs(all);
}

TEST_F(stalls, at_every_byte_are_not_stretched_by_a_byte_that_comes_late)
{
    const stalling_peer peer(true);
    std::vector<stalled> all;
    for (std::size_t came = 0; came < whole_reply.size() - 1; ++came) {
        // A byte that ends its line ends a step, and the next one has its own time.
        if (whole_reply[came] != '\n') {
            all.push_back(
                {std::to_string(came) + " bytes came, and one late",
                 [&, came] { return exchange_with(peer.port(), path_of(came, "/late"), {}, time_out_s); },
                 end_of_exchange(whole_reply.substr(0, came + 1), earlier_reply),
                 {}});
        }
    }
    expect_time_outs(all);
}

TEST_F(stalls, before_the_reply_end_with_the_time_out)
{
    const std::string too_much(16U * 1024 * 1024, 'x'); // more than two sockets hold
    const stalling_peer mute(false);
    loopback_listener unanswering(0, 0);
    unanswering.fill_queue();
    expect_time_outs({
        {"connecting",
         [&] { return exchange_with(unanswering.port(), "GET /", {}, time_out_s); },
         {-1, earlier_reply},
         {}},
        {"sending the head",
         [&] { return exchange_with(mute.port(), "GET /" + too_much, {}, time_out_s); },
         {-2, earlier_reply},
         {}},
    });
    const stalling_peer also_mute(false);
    expect_time_outs({
        {"sending the body",
         [&] { return exchange_with(also_mute.port(), "POST /", too_much, time_out_s); },
         {-2, earlier_reply},
         {}},
    });
}

TEST_F(stalls, end_with_the_time_out_though_the_socket_takes_no_options)
{
    const std::string too_much(16U * 1024 * 1024, 'x');
    const stalling_peer peer(true);
    const stalling_peer mute(false);
    fault_script no_options;
    no_options.at = 0;
    no_options.times = no_limit;
    no_options.only = "setsockopt";
    no_options.error = EINVAL;
    expect_time_outs({
        {"sending",
         [&] { return exchange_with(mute.port(), "POST /", too_much, time_out_s); },
         {-2, earlier_reply},
         no_options},
        {"the status",
         [&] { return exchange_with(peer.port(), path_of(0), {}, time_out_s); },
         {-3, earlier_reply},
         no_options},
        {"the body",
         [&] { return exchange_with(peer.port(), path_of(whole_reply.size() - 1), {}, time_out_s); },
         end_of_exchange(whole_reply.substr(0, whole_reply.size() - 1), earlier_reply), no_options},
    });
}

} // namespace

} // namespace korvane::test
