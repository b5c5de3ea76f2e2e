#include "tests/support/loopback_listener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

namespace korvane::test {

namespace {

sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

} // namespace

loopback_listener::loopback_listener(int port, int backlog)
    : handle_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const int reuse = 1;
    setsockopt(handle_, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    sockaddr_in address = loopback(port);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    if (bind(handle_, generic, size) != 0 || listen(handle_, backlog) != 0 ||
        getsockname(handle_, generic, &size) != 0) {
        const std::string reason = std::strerror(errno);
        close(handle_);
        throw std::runtime_error("cannot listen on 127.0.0.1:" + std::to_string(port) + ": " + reason);
    }
    port_ = ntohs(address.sin_port);
}

loopback_listener::~loopback_listener()
{
    for (const int client : queue_) {
        close(client);
    }
    close(handle_);
}

void loopback_listener::fill_queue()
{
    const sockaddr_in address = loopback(port_);
    for (int i = 0; i < 4; ++i) {
        queue_.push_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        static_cast<void>(
            connect(queue_.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
    }
}

void loopback_listener::empty_queue()
{
    for (const int client : queue_) {
        shutdown(client, SHUT_RDWR);
    }
}

} // namespace korvane::test
