// A metadata store that answers what a test tells it to, and remembers every byte it was sent.
#pragma once

#include "tests/support/loopback_listener.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace korvane::test {

/// What the store does with one connection.
struct scripted_reply {
    enum class reading {
        whole_request,
        nothing,   ///< not even waiting for it: the client's connect may not have returned yet
        beginning, ///< waiting for the request's first byte, but reading none
    };
    enum class ending {
        close,       ///< after the bytes, as a server does
        reset,       ///< after the bytes, with a TCP reset
        shut_reset,  ///< the same, but its own direction is closed first: a peer that is still sending gets
                     ///< EPIPE
        stay_silent, ///< never: waits until the other side gives up
    };

    std::string bytes;                  ///< what is sent
    std::size_t piece_size = 0;         ///< bytes in one send; 0: all
    std::chrono::milliseconds pause{0}; ///< before each piece but the first
    ending end = ending::close;
    reading read = reading::whole_request;
};

/// An HTTP/1.1 answer with "Content-Length" and `body`.
scripted_reply http_reply(int status, const std::string& body);

/// http_reply(200, body).
scripted_reply json_reply(const std::string& body);

/// Exactly these bytes, then the connection is closed.
scripted_reply raw_reply(std::string bytes);

/// The same reply in pieces of `piece_size` bytes, with a pause between them.
scripted_reply in_pieces(scripted_reply reply, std::size_t piece_size,
                         std::chrono::milliseconds pause = std::chrono::milliseconds(0));

/// These bytes, then a TCP reset.
scripted_reply reset_after(std::string bytes);

/// These bytes, then nothing more, the connection staying open.
scripted_reply silence_after(std::string bytes);

/// A TCP reset without reading anything, at any moment from connecting on.
scripted_reply reset_unread(scripted_reply::ending end = scripted_reply::ending::reset);

/// The same, but not before the client begins to send.
scripted_reply reset_while_sending(scripted_reply::ending end = scripted_reply::ending::reset);

/// Listens on 127.0.0.1 and serves one connection after the other on a thread of its own; connections that
/// come at the same time wait their turn. Each takes the next scripted reply, or {"ret":0} when there is
/// none.
class scripted_store {
public:
    static constexpr int default_port = 10158;

    /// Starts to listen; `port` 0 takes a free one. Throws std::runtime_error when it cannot.
    explicit scripted_store(int port = default_port);
    ~scripted_store();
    scripted_store(const scripted_store&) = delete;
    scripted_store& operator=(const scripted_store&) = delete;

    int port() const { return port_; }

    /// Adds to the end of the script.
    void reply_with(scripted_reply reply);

    /// Every connection's bytes, in order: head and as much body as "Content-Length" announces, and whatever
    /// else came until the other side closed. Waits until the connections made so far are over.
    std::vector<std::string> requests();

    /// Stops listening and breaks off what is under way; start() listens again on the same port.
    void stop();
    void start();

private:
    void serve();
    void serve_connection(int connection);
    bool wait_readable(int socket) const;
    std::string receive_request(int connection) const;
    bool send_pieces(int connection, const scripted_reply& reply) const;
    std::string receive_rest(int connection) const;
    scripted_reply next_reply();
    void wait_until_idle(std::unique_lock<std::mutex>& lock);

    int port_;
    std::optional<loopback_listener> listener_; // while it listens
    int stop_event_ = -1;
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable idle_;
    bool busy_ = false; // guarded by mutex_, as all below
    std::deque<scripted_reply> script_;
    std::vector<std::string> requests_;
};

} // namespace korvane::test
