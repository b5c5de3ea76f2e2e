#include "tests/support/scripted_store.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <string_view>

namespace korvane::test {

namespace {

constexpr std::string_view head_end = "\r\n\r\n";

/// How long the request in `bytes` is by its own account; npos while its head is not complete.
std::size_t request_length(const std::string& bytes)
{
    const std::size_t end = bytes.find(head_end);
    if (end == std::string::npos) {
        return std::string::npos;
    }
    constexpr std::string_view length_header = "\r\nContent-Length: ";
    std::size_t body_length = 0;
    const std::size_t header = bytes.find(length_header);
    if (header < end) {
        std::from_chars(bytes.data() + header + length_header.size(), bytes.data() + end, body_length);
    }
    return end + head_end.size() + body_length;
}

void close_with_reset(int connection)
{
    const linger at_once{1, 0};
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    close(connection);
}

} // namespace

scripted_reply http_reply(int status, const std::string& body)
{
    return raw_reply("HTTP/1.1 " + std::to_string(status) + (status == 200 ? " OK" : " Refused") +
                     "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
                     "\r\n\r\n" + body);
}

scripted_reply json_reply(const std::string& body)
{
    return http_reply(200, body);
}

scripted_reply raw_reply(std::string bytes)
{
    scripted_reply reply;
    reply.bytes = std::move(bytes);
    return reply;
}

scripted_reply in_pieces(scripted_reply reply, std::size_t piece_size, std::chrono::milliseconds pause)
{
    reply.piece_size = piece_size;
    reply.pause = pause;
    return reply;
}

scripted_reply reset_after(std::string bytes)
{
    scripted_reply reply = raw_reply(std::move(bytes));
    reply.end = scripted_reply::ending::reset;
    return reply;
}

scripted_reply silence_after(std::string bytes)
{
    scripted_reply reply = raw_reply(std::move(bytes));
    reply.end = scripted_reply::ending::stay_silent;
    return reply;
}

scripted_reply reset_unread(scripted_reply::ending end)
{
    scripted_reply reply;
    reply.end = end;
    reply.read = scripted_reply::reading::nothing;
    return reply;
}

scripted_reply reset_while_sending(scripted_reply::ending end)
{
    scripted_reply reply;
    reply.end = end;
    reply.read = scripted_reply::reading::beginning;
    return reply;
}

scripted_store::scripted_store(int port)
    : port_(port)
{
    start();
}

scripted_store::~scripted_store()
{
    stop();
}

void scripted_store::start()
{
    listener_.emplace(port_, 63);
    port_ = listener_->port();
    stop_event_ = eventfd(0, EFD_CLOEXEC);
    thread_ = std::thread([this] { serve(); });
}

void scripted_store::stop()
{
    if (!thread_.joinable()) {
        return;
    }
    eventfd_write(stop_event_, 1);
    thread_.join();
    listener_.reset();
    close(stop_event_);
}

void scripted_store::reply_with(scripted_reply reply)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    script_.push_back(std::move(reply));
}

std::vector<std::string> scripted_store::requests()
{
    std::unique_lock<std::mutex> lock(mutex_);
    wait_until_idle(lock);
    return requests_;
}

void scripted_store::wait_until_idle(std::unique_lock<std::mutex>& lock)
{
    // A connection whose other side is done already may still wait to be accepted: then the listener is
    // readable.
    pollfd waiting{listener_ ? listener_->handle() : -1, POLLIN, 0};
    while (listener_ && (busy_ || poll(&waiting, 1, 0) > 0)) {
        idle_.wait_for(lock, std::chrono::milliseconds(1));
    }
}

/// True when `socket` has something to read or has ended, false when the store is to stop.
bool scripted_store::wait_readable(int socket) const
{
    pollfd waiting[2] = {{socket, POLLIN, 0}, {stop_event_, POLLIN, 0}};
    while (poll(waiting, 2, -1) < 0 && errno == EINTR) {
    }
    return waiting[1].revents == 0;
}

void scripted_store::serve()
{
    while (wait_readable(listener_->handle())) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            busy_ = true; // before accept, so that a waiting requests() never misses the connection
        }
        const int connection = accept4(listener_->handle(), nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) {
            serve_connection(connection);
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        busy_ = false;
        idle_.notify_all();
    }
}

void scripted_store::serve_connection(int connection)
{
    const int no_delay = 1; // a piece of a reply travels alone
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &no_delay, sizeof no_delay);
    const scripted_reply reply = next_reply();
    std::string request;
    if (reply.read == scripted_reply::reading::whole_request) {
        request = receive_request(connection);
    } else if (reply.read == scripted_reply::reading::beginning) {
        wait_readable(connection);
    }
    const bool sent = send_pieces(connection, reply);
    if (reply.end == scripted_reply::ending::reset || reply.end == scripted_reply::ending::shut_reset) {
        if (reply.end == scripted_reply::ending::shut_reset) {
            shutdown(connection, SHUT_WR);
        }
        close_with_reset(connection);
    } else {
        if (sent && reply.end == scripted_reply::ending::close) {
            shutdown(connection, SHUT_WR);
        }
        request += receive_rest(connection);
        close(connection);
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    requests_.push_back(std::move(request));
}

scripted_reply scripted_store::next_reply()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (script_.empty()) {
        return json_reply(R"({"ret":0})");
    }
    scripted_reply reply = std::move(script_.front());
    script_.pop_front();
    return reply;
}

std::string scripted_store::receive_request(int connection) const
{
    std::string request;
    char part[64 * 1024];
    while (request.size() < request_length(request) && wait_readable(connection)) {
        const ssize_t count = recv(connection, part, sizeof part, 0);
        if (count <= 0) {
            break;
        }
        request.append(part, static_cast<std::size_t>(count));
    }
    return request;
}

/// False when the other side did not take them all.
bool scripted_store::send_pieces(int connection, const scripted_reply& reply) const
{
    const std::size_t piece_size = reply.piece_size > 0 ? reply.piece_size : reply.bytes.size();
    std::string_view left = reply.bytes;
    while (!left.empty()) {
        const std::string_view piece = left.substr(0, piece_size);
        const ssize_t count = send(connection, piece.data(), piece.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        left.remove_prefix(static_cast<std::size_t>(count));
        if (!left.empty() && reply.pause.count() > 0) {
            pollfd stopping{stop_event_, POLLIN, 0};
            poll(&stopping, 1, static_cast<int>(reply.pause.count()));
        }
    }
    return true;
}

/// What comes until the other side closes.
std::string scripted_store::receive_rest(int connection) const
{
    std::string rest;
    char part[4096];
    while (wait_readable(connection)) {
        const ssize_t count = recv(connection, part, sizeof part, 0);
        if (count <= 0) {
            break;
        }
        rest.append(part, static_cast<std::size_t>(count));
    }
    return rest;
}

} // namespace korvane::test
