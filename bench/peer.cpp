#include "bench/peer.h"

#include "bench/fail.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace korvane::bench {

namespace {

int listen_on_store_port()
{
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener < 0) {
        fail_call("socket");
    }
    // Connections take these over, so that none costs a call of its own. The reset that the abrupt close
    // sends to a client that has already closed keeps thousands of dead connections from piling up in the
    // client's port range.
    const int on = 1;
    const linger abrupt{1, 0};
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    setsockopt(listener, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    setsockopt(listener, SOL_SOCKET, SO_LINGER, &abrupt, sizeof abrupt);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(store_port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail_call("bind to 127.0.0.1:10158");
    }
    if (listen(listener, SOMAXCONN) != 0) {
        fail_call("listen");
    }
    return listener;
}

/// True when the head has come and as much body as it announces.
bool is_whole(std::string_view request)
{
    constexpr std::string_view blank_line = "\r\n\r\n";
    constexpr std::string_view announced = "Content-Length: ";
    const std::size_t head_end = request.find(blank_line);
    if (head_end == std::string_view::npos) {
        return false;
    }
    const std::size_t length_at = request.substr(0, head_end).find(announced);
    const std::size_t body_size =
        length_at == std::string_view::npos
            ? 0
            : std::strtoul(request.data() + length_at + announced.size(), nullptr, 10);
    return request.size() >= head_end + blank_line.size() + body_size;
}

} // namespace

std::string make_http_answer(const std::string& body)
{
    return "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

peer::peer(std::size_t threads)
    : listener_(listen_on_store_port())
{
    for (std::size_t i = 0; i < threads; ++i) {
        threads_.emplace_back([this] { serve(); });
    }
}

peer::~peer()
{
    shutdown(listener_, SHUT_RDWR); // every accept returns
    for (std::thread& thread : threads_) {
        thread.join();
    }
    close(listener_);
}

void peer::answer_with(const std::string& body)
{
    const std::lock_guard<std::shared_mutex> locked(lock_);
    answer_ = make_http_answer(body);
}

std::size_t peer::answer_size()
{
    const std::shared_lock<std::shared_mutex> locked(lock_);
    return answer_.size();
}

std::vector<std::string> peer::set_recording(bool recording)
{
    const std::lock_guard<std::shared_mutex> locked(lock_);
    recording_ = recording;
    return std::exchange(requests_, {});
}

void peer::serve()
{
    for (int socket = accept(listener_, nullptr, nullptr); socket >= 0;
         socket = accept(listener_, nullptr, nullptr)) {
        serve_connection(socket);
        close(socket);
    }
}

void peer::serve_connection(int socket)
{
    std::array<char, 16'384> buffer;
    std::size_t size = 0;
    while (!is_whole({buffer.data(), size})) {
        const ssize_t count = recv(socket, buffer.data() + size, buffer.size() - size, 0);
        if (count <= 0) {
            fail("the peer got no whole request, but \"" + std::string(buffer.data(), size) + "\"");
        }
        size += static_cast<std::size_t>(count);
    }
    keep({buffer.data(), size});
    answer(socket);
    recv(socket, buffer.data(), buffer.size(), 0); // until the client closes
}

void peer::keep(std::string_view request)
{
    if (recording_) {
        const std::lock_guard<std::shared_mutex> locked(lock_);
        requests_.emplace_back(request);
    }
}

void peer::answer(int socket)
{
    const std::shared_lock<std::shared_mutex> locked(lock_);
    if (send(socket, answer_.data(), answer_.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(answer_.size())) {
        fail_call("the peer's send");
    }
}

} // namespace korvane::bench
