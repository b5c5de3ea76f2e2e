#include "tests/hostile/answering_store.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace korvane::test {

namespace {

constexpr int store_port = 10158;
constexpr std::string_view line_end = "\r\n";
constexpr std::string_view head_end = "\r\n\r\n";
constexpr std::string_view announced = "Content-Type: text/plain\r\nContent-Length: ";

bool is_control(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

bool begins_with(std::string_view text, std::string_view beginning)
{
    return text.substr(0, beginning.size()) == beginning;
}

bool is_request_line(std::string_view line)
{
    constexpr std::string_view version = " HTTP/1.1";
    const bool method = begins_with(line, "GET /third_party/") || begins_with(line, "POST /third_party/") ||
                        begins_with(line, "DELETE /third_party/");
    return method && line.size() > version.size() && line.substr(line.size() - version.size()) == version &&
           std::none_of(line.begin(), line.end(), is_control);
}

/// By the request's own account; 0 when it does not say.
std::size_t body_size(std::string_view headers)
{
    const std::size_t at = headers.find(announced);
    return at == std::string_view::npos ? 0
                                        : std::strtoul(headers.data() + at + announced.size(), nullptr, 10);
}

/// Head and body; what came until the connection ended, if it was less.
std::string receive_request(int connection)
{
    std::string request;
    char part[16 * 1024];
    for (std::size_t wanted = std::string::npos; request.size() < wanted;) {
        const ssize_t count = recv(connection, part, sizeof part, 0);
        if (count <= 0) {
            break;
        }
        request.append(part, static_cast<std::size_t>(count));
        const std::size_t end = request.find(head_end);
        if (end != std::string::npos) {
            wanted = end + head_end.size() + body_size(std::string_view(request).substr(0, end));
        }
    }
    return request;
}

bool send_all(int connection, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

void send_answer(int connection, const answered_body& body)
{
    const std::string head =
        "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + std::string(head_end);
    bool taken = send_all(connection, head + body.begin);
    for (std::size_t i = 0; i < body.count && taken; ++i) {
        taken = send_all(connection, body.unit);
    }
    if (taken) {
        send_all(connection, body.end);
    }
}

} // namespace

std::string wrong_with_request(const std::string& request)
{
    constexpr std::string_view usual = "Host: 127.0.0.1:10158\r\nUser-Agent: Zym\r\nAccept: */*\r\n";
    const std::string_view all = request;
    const std::size_t line = all.find(line_end);
    const std::size_t end = all.find(head_end);
    if (end == std::string_view::npos || !is_request_line(all.substr(0, line))) {
        return "no request line: " + request;
    }
    const std::string_view headers = all.substr(line + line_end.size(), end - line);
    if (!begins_with(headers, usual)) {
        return "not the usual headers: " + request;
    }
    const std::size_t size = body_size(headers);
    const std::string more =
        size > 0 ? std::string(announced) + std::to_string(size) + std::string(line_end) : std::string();
    if (headers.substr(usual.size()) != more) {
        return "more headers: " + request;
    }
    return all.size() == end + head_end.size() + size ? "" : "more or less body than announced: " + request;
}

answering_store::answering_store()
    : listener_(store_port, 16)
    , thread_([this] { serve(); })
{
}

answering_store::~answering_store()
{
    stop();
}

void answering_store::answer_with(answered_body body)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    body_ = std::move(body);
}

void answering_store::stop()
{
    if (thread_.joinable()) {
        shutdown(listener_.handle(), SHUT_RDWR); // wakes accept
        thread_.join();
    }
}

void answering_store::serve()
{
    for (;;) {
        const int connection = accept4(listener_.handle(), nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) {
            serve_connection(connection);
            close(connection);
        } else if (errno != EINTR) {
            return;
        }
    }
}

void answering_store::serve_connection(int connection)
{
    const int no_delay = 1;
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &no_delay, sizeof no_delay);
    const std::string wrong = wrong_with_request(receive_request(connection));
    constexpr std::size_t enough = 20;
    if (!wrong.empty() && complaints_.size() < enough) {
        complaints_.push_back(wrong);
    }
    ++requests_;
    const std::lock_guard<std::mutex> lock(mutex_);
    send_answer(connection, body_);
}

} // namespace korvane::test
