// Head and body of a request leave together, so that the store is woken once for both.
#include "tests/faults/faults_test.h"
#include "tests/faults/system_call_faults.h"
#include "tests/support/loopback_listener.h"
#include "tests/transport/exchange_test.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <thread>

namespace korvane::test {

namespace {

/// Serves connections one at a time and tells what its first recv got.
class watching_peer {
public:
    watching_peer()
    {
        const timeval limit{10, 0}; // for accept: a client that fails does not come
        setsockopt(listener_.handle(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    }

    int port() const { return listener_.port(); }

    std::string serve() const
    {
        const int connection = accept(listener_.handle(), nullptr, nullptr);
        std::array<char, 8192> bytes;
        const ssize_t count = recv(connection, bytes.data(), bytes.size(), 0);
        const std::string reply = json_reply("{}").bytes;
        EXPECT_EQ(send(connection, reply.data(), reply.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(reply.size()));
        close(connection);
        return {bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
    }

private:
    loopback_listener listener_{0, 1};
};

class request_parts : public faults_test {};

TEST_F(request_parts, leave_together_however_long_the_second_takes)
{
    constexpr int tries = 20;
    const std::string body(500, 'b');
    fault_script signals; // between head and body: a peer that had the head would have been woken long before
    signals.only = "send";
    signals.at = 1;
    signals.times = 5000;
    signals.error = EINTR;
    const watching_peer peer;
    int whole = 0;
    for (int i = 0; i < tries; ++i) {
        std::string first;
        std::thread serving([&] { first = peer.serve(); });
        exchanged result;
        expect_faults(1);
        const witnessed seen =
            with_faults(signals, [&] { result = exchange_with(peer.port(), "POST /path", body); });
        count_faults(seen.injected == signals.times);
        serving.join();
        EXPECT_EQ(result.code, 0);
        whole += first.find("\r\n\r\n" + body) != std::string::npos ? 1 : 0;
    }
    // The kernel waits a fifth of a second for the second part: a machine that is busy enough may take longer.
    EXPECT_GT(whole, tries / 2);
}

} // namespace

} // namespace korvane::test
