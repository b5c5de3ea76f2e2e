#include "store/send_restful_req.h"

#include "platform/ttcp_session.h"
#include "util/guarded.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

enum outcome : int {
    ok = 0,
    not_connected = -1,
    not_sent = -2,
    no_status_line = -3,
    bad_status = -4,
    body_incomplete = -5,
};

constexpr char loopback[] = "127.0.0.1"; // a number, so that nothing is resolved
constexpr int max_header_lines = 100;
constexpr int max_empty_receives = 100;

/// Lines and body chunks pass through here, always terminated.
struct line_buffer {
    static constexpr int max_length = 1023;
    std::array<unsigned char, max_length + 1> bytes;

    void clear() { std::memset(bytes.data(), 0, bytes.size()); } // bytes.fill is five times as slow
    const char* text() const { return reinterpret_cast<const char*>(bytes.data()); }
};

bool connected(const TTCPSession& session)
{
    return session.KORVANE_SESSION_SOCKET >= 0;
}

unsigned char* as_bytes(std::string& text)
{
    return reinterpret_cast<unsigned char*>(text.data());
}

std::string make_request(std::string_view request_head, int port, std::size_t body_size)
{
    constexpr std::size_t headers_size = 160; // and some to spare
    std::string request;
    request.reserve(request_head.size() + headers_size);
    request.append(request_head).append(" HTTP/1.1\r\nHost: ").append(loopback).append(":");
    request.append(std::to_string(port));
    if (body_size == 0) {
        return request.append("\r\nUser-Agent: Zym\r\nAccept: */*\r\n\r\n");
    }
    request.append("\r\nUser-Agent: Zym\r\nAccept: */*\r\nContent-Type: text/plain\r\nContent-Length: ");
    return request.append(std::to_string(body_size)).append("\r\n\r\n");
}

bool send(TTCPSession& session, std::string& bytes)
{
    if (bytes.size() > INT_MAX) {
        return false;
    }
    session.SendPacket(as_bytes(bytes), static_cast<int>(bytes.size()));
    return connected(session);
}

int read_status(TTCPSession& session, line_buffer& line)
{
    line.clear();
    if (session.ReadLine(line.bytes.data(), line_buffer::max_length) <= 0) {
        return no_status_line;
    }
    constexpr int status_at = 9; // behind "HTTP/1.1 "
    return std::memcmp(line.text() + status_at, "200", 3) == 0 ? ok : bad_status;
}

/// Without regard to letter case and to the host's locale.
bool begins_with(const char* text, std::string_view lower_case_name)
{
    return std::equal(lower_case_name.begin(), lower_case_name.end(), text, [](char expected, char actual) {
        return expected == (actual >= 'A' && actual <= 'Z' ? static_cast<char>(actual - 'A' + 'a') : actual);
    });
}

/// Reads the headers; the length of the body is what the last Content-Length says, 0 without one.
long read_headers(TTCPSession& session, line_buffer& line)
{
    constexpr std::string_view content_length = "content-length";
    constexpr int value_at = 16; // behind the name, a colon and a blank; without the blank a digit is lost
    long length = 0;
    for (int count = 0; count < max_header_lines; ++count) {
        line.clear();
        if (session.ReadLine(line.bytes.data(), line_buffer::max_length) < 0) {
            break;
        }
        if (begins_with(line.text(), content_length)) {
            length = std::strtol(line.text() + value_at, nullptr, 10);
        }
        if (line.bytes[0] == '\n' || line.bytes[0] == '\r') {
            break;
        }
    }
    return length;
}

/// Appends the body in chunks; of a chunk that holds a zero byte, what stands before it.
int read_body(TTCPSession& session, line_buffer& chunk, long length, std::string& reply)
{
    int empty_receives = 0;
    while (length > 0) {
        const int wanted = static_cast<int>(std::min<long>(length, line_buffer::max_length));
        const int received = session.RecvPacket(chunk.bytes.data(), wanted, true);
        if (received < 0 || received > wanted || (received == 0 && ++empty_receives > max_empty_receives)) {
            return body_incomplete;
        }
        if (received > 0) {
            empty_receives = 0;
        }
        chunk.bytes[static_cast<std::size_t>(received)] = 0;
        reply.append(chunk.text());
        length -= received;
    }
    return ok;
}

int exchange(int port, const char* request_head, std::string& body, std::string& reply, int timeout,
             korvane::json_owner& spent)
{
    std::string request = make_request(request_head, port, body.size());
    char host[sizeof loopback]; // the session's class is not ours: it may write to its host text
    std::memcpy(host, loopback, sizeof host);
    TTCPSession session(host, port, true, timeout, true, nullptr, -1);
    if (!connected(session)) {
        return not_connected;
    }
    if (!send(session, request) || (!body.empty() && !send(session, body))) {
        return not_sent;
    }
    spent.reset();
    line_buffer line;
    if (const int failure = read_status(session, line)) {
        return failure;
    }
    const long length = read_headers(session, line);
    reply.clear();
    return read_body(session, line, length, reply);
}

} // namespace

int send_RESTful_req(int port, char* request_head, std::string& body, std::string& reply, int timeout)
{
    if (request_head == nullptr) {
        return korvane::as_int(korvane::result_null_request);
    }
    return korvane::send_and_release(port, request_head, body, reply, timeout, nullptr);
}

int korvane::send_and_release(int port, const char* request_head, std::string& body, std::string& reply,
                              int timeout, json_owner spent)
{
    return guarded("send_RESTful_req",
                   [&] { return exchange(port, request_head, body, reply, timeout, spent); });
}
