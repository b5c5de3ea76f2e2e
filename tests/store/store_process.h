#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

struct http_reply {
    std::string head; ///< status line and headers, up to and with the empty line
    std::string body; ///< what followed, as far as Content-Length says
};

/// A command run to its end.
struct finished_command {
    int status; ///< exit status, or 128 + the signal that ended it
    std::string output;
    std::string errors;
};

/// Runs korvane-store with arguments that make it end by itself.
finished_command run_store(const std::vector<std::string>& arguments);

/// A korvane-store of its own, on a free loopback port unless the arguments name one. It must end well: the
/// destructor stops it and, under a sanitizer, its findings fail the test.
class store_process {
public:
    explicit store_process(std::vector<std::string> arguments = {});
    ~store_process();
    store_process(const store_process&) = delete;
    store_process& operator=(const store_process&) = delete;

    /// Sends bytes over a fresh connection and reads one reply.
    http_reply exchange(const std::string& bytes) const;

    // One request with the headers of a real client; the target follows "/third_party/" as it is. The body of
    // the reply, which must have the status 200.
    std::string get(const std::string& target) const;
    std::string remove(const std::string& target) const;
    std::string post(const std::string& target, const std::string& body) const;

    /// A connected socket; the caller closes it.
    int connect() const;

    /// Ends it with a signal, once. SIGKILL ends it without a chance to tidy up.
    finished_command stop(int signal_number);

    std::uint16_t port() const { return port_; }
    const std::string& ready_line() const { return ready_line_; }

private:
    pid_t process_ = -1;
    int output_ = -1;
    int errors_ = -1;
    std::uint16_t port_ = 0;
    std::string ready_line_;
};

/// The reply to a request that stores or deletes.
inline constexpr char ok[] = R"({"ret":0})";

/// The text of a reply to a query.
std::string listing(int total, const std::vector<std::string>& rows);

/// The "ret" number of a reply.
int ret_of(const std::string& body);
