#include "bench/bare_exchange.h"

#include "bench/fail.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace korvane::bench {

namespace {

void send_all(int socket, const std::string& bytes)
{
    if (send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) {
        fail_call("send");
    }
}

} // namespace

bare_exchanges::bare_exchanges(const std::vector<std::string>& recorded, peer& peer)
    : answer_(peer.answer_size())
{
    for (const std::string& bytes : recorded) {
        const std::size_t body_at = bytes.find("\r\n\r\n") + 4;
        requests_.push_back({bytes.substr(0, body_at), bytes.substr(body_at)});
    }
}

void bare_exchanges::operator()()
{
    for (const request& request : requests_) {
        exchange(request);
    }
}

void bare_exchanges::exchange(const request& request)
{
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connection < 0) {
        fail_call("socket");
    }
    const int on = 1;
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(store_port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail_call("connect");
    }
    send_all(connection, request.head);
    if (!request.body.empty()) {
        send_all(connection, request.body);
    }
    for (std::size_t size = 0; size < answer_.size();) {
        const ssize_t count = recv(connection, answer_.data() + size, answer_.size() - size, 0);
        if (count <= 0) {
            fail_call("recv");
        }
        size += static_cast<std::size_t>(count);
    }
    close(connection);
}

} // namespace korvane::bench
