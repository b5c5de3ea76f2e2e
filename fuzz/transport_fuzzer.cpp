// send_RESTful_req with the carried TTCPSession and a real connection: the bytes that the peer answers with, then, from
// the end, how it cuts them, how it ends the connection and what is sent.
//
// The peer has no thread. The target is linked with another poll, recv and send (-Wl,--wrap): when the session is about to
// wait for bytes or to receive them, the peer first does its next step. So what a receive finds is the input's choice and not the scheduler's, and
// an exchange costs no change of threads.
#include "fuzz/check.h"
#include "fuzz/http_reply.h"
#include "fuzz/library_call.h"
#include "store/send_restful_req.h"

#include <arpa/inet.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string>
#include <utility>

using namespace korvane::fuzz;

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {
ssize_t __real_recv(int socket, void* buffer, size_t size, int flags);
ssize_t __real_send(int socket, const void* bytes, size_t size, int flags);
ssize_t __wrap_recv(int socket, void* buffer, size_t size, int flags);
ssize_t __wrap_send(int socket, const void* bytes, size_t size, int flags);
int __real_poll(pollfd* sockets, nfds_t count, int timeout_ms);
int __wrap_poll(pollfd* sockets, nfds_t count, int timeout_ms);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

/// The reply's first pieces; what is left comes in one.
using cut_sizes = std::array<std::size_t, 8>;

enum class ending : std::uint8_t { close, reset, reset_unread, kMaxValue = reset_unread };

class peer {
public:
    peer()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        socklen_t size = sizeof address;
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        require(bind(listener_, generic, size) == 0 && listen(listener_, 8) == 0 &&
                    getsockname(listener_, generic, &size) == 0,
                "the peer cannot listen on the loopback");
        port_ = ntohs(address.sin_port);
    }

    int port() const { return port_; }

    void begin(std::string_view reply, const cut_sizes& cuts, ending end, std::string_view request)
    {
        left_ = reply;
        cuts_ = cuts;
        next_cut_ = 0;
        end_ = end;
        expected_request_ = request;
        done_ = false;
        waited_for_ = false;
    }

    void before_send()
    {
        if (end_ == ending::reset_unread && connection_ < 0) {
            accept_connection();
            close_connection();
        }
    }

    void before_wait()
    {
        if (!waited_for_) {
            before_receive();
        }
        waited_for_ = true;
    }

    /// Takes the request, sends the next piece of the reply, or ends the connection behind the last.
    void before_receive()
    {
        if (std::exchange(waited_for_, false) || done_) {
            return; // what the session has waited for is there
        }
        if (connection_ < 0) {
            accept_connection();
            check_request();
        }
        const std::string_view piece =
            left_.substr(0, next_cut_ < cuts_.size() ? cuts_[next_cut_++] : left_.size());
        left_.remove_prefix(piece.size());
        if (!piece.empty()) {
            require(__real_send(connection_, piece.data(), piece.size(), MSG_NOSIGNAL) ==
                        static_cast<ssize_t>(piece.size()),
                    "the peer cannot send");
        } else if (end_ == ending::close) {
            shutdown(connection_, SHUT_WR);
            done_ = true;
        } else {
            close_connection();
        }
    }

    void end()
    {
        if (connection_ >= 0) {
            close_connection();
        } else if (!done_) {
            accept_connection();
            close_connection();
        }
    }

private:
    void accept_connection()
    {
        connection_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        require(connection_ >= 0, "the peer cannot accept");
        const int no_delay = 1; // a piece is there when it is sent
        setsockopt(connection_, IPPROTO_TCP, TCP_NODELAY, &no_delay, sizeof no_delay);
    }

    void check_request()
    {
        char bytes[8192];
        const ssize_t count = __real_recv(connection_, bytes, sizeof bytes, MSG_DONTWAIT);
        require(count > 0 && std::string_view(bytes, static_cast<std::size_t>(count)) == expected_request_,
                "the request is not as agreed",
                std::string_view(bytes, count > 0 ? static_cast<std::size_t>(count) : 0));
    }

    /// With a reset: nothing of millions of connections lingers.
    void close_connection()
    {
        const linger at_once{1, 0};
        setsockopt(connection_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
        close(connection_);
        connection_ = -1;
        done_ = true;
    }

    int listener_ = -1;
    int port_ = 0;
    int connection_ = -1;
    std::string_view left_;
    cut_sizes cuts_{};
    std::size_t next_cut_ = 0;
    ending end_ = ending::close;
    std::string_view expected_request_;
    bool done_ = true;
    bool waited_for_ = false;
};

peer& the_peer()
{
    static peer one;
    return one;
}

std::string make_request(const std::string& head, const std::string& body)
{
    std::string request = head + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(the_peer().port()) +
                          "\r\nUser-Agent: Zym\r\nAccept: */*\r\n";
    if (!body.empty()) {
        request += "Content-Type: text/plain\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
    }
    return request + "\r\n" + body;
}

} // namespace

ssize_t __wrap_recv(int socket, void* buffer, size_t size, int flags)
{
    the_peer().before_receive();
    return __real_recv(socket, buffer, size, flags);
}

ssize_t __wrap_send(int socket, const void* bytes, size_t size, int flags)
{
    the_peer().before_send();
    return __real_send(socket, bytes, size, flags);
}

int __wrap_poll(pollfd* sockets, nfds_t count, int timeout_ms)
{
    if ((sockets->events & POLLIN) != 0) {
        the_peer().before_wait();
    }
    return __real_poll(sockets, count, timeout_ms);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const auto end = input.ConsumeEnum<ending>();
    std::string body(input.ConsumeIntegralInRange<std::size_t>(0, 2000), 'b');
    cut_sizes cuts{};
    for (std::size_t& cut : cuts) {
        cut = input.ConsumeIntegralInRange<std::size_t>(1, 2000);
    }
    const std::string bytes = input.ConsumeRemainingBytesAsString();
    std::string head = body.empty() ? "GET /path?query" : "POST /path";
    const std::string request = make_request(head, body);

    the_peer().begin(bytes, cuts, end, request);
    std::string reply = "before";
    int code = 1;
    library_survives([&] { code = send_RESTful_req(the_peer().port(), head.data(), body, reply, 300); });
    the_peer().end();

    require(code <= 0 && code >= -5, "a result that the transport has not");
    require(code > -1 || code < -4 || reply == "before", "a failed exchange changed the reply", reply);
    if (end == ending::close) {
        const exchange_result expected = expected_result(bytes);
        require(code == expected.code, "another result than the bytes give");
        require((code != 0 && code != -5) || reply == expected.reply, "another reply than the bytes give",
                reply);
    }
    return 0;
}
