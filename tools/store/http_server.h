#pragma once

#include "request.h"

#include <cstdint>
#include <memory>
#include <string>

/// The longest body that is taken, in bytes; a longer one is answered with status 413.
constexpr std::size_t longest_body = 1'048'576;

/// Refuses every address but a loopback one (127.0.0.0/8 or ::1), with a sentence that says so; empty if
/// fine.
std::string check_loopback_address(const std::string& address);

/// An HTTP/1.1 server on a loopback address, with everything on the thread that calls run(): connections,
/// handler and signals.
///
/// It takes request lines that break the rules for URIs, as the clients of this store send them: with raw
/// blanks, quotes, brackets and bytes above 127.
class http_server {
public:
    /// Starts to listen; port 0 picks a free one. Throws std::system_error with the cause (a busy port).
    http_server(const std::string& address, std::uint16_t port, request_handler handler);
    ~http_server();
    http_server(const http_server&) = delete;
    http_server& operator=(const http_server&) = delete;

    /// Where it listens, like 127.0.0.1:10158 or [::1]:10158.
    std::string place() const;

    /// Serves until SIGTERM or SIGINT, and finishes the request in hand.
    void run();

private:
    struct parts;
    std::unique_ptr<parts> parts_;
};
