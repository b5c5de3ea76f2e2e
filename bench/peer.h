// The metadata store's stand-in on 127.0.0.1:10158: a thread that does as little as an HTTP peer can.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace korvane::bench {

constexpr int store_port = 10158;

/// Answers every request with status 200 and the same body, one connection at a time. Requests are kept only
/// while recorded. Fails (fail.h) when the port is taken.
class peer {
public:
    peer();
    ~peer();
    peer(const peer&) = delete;
    peer& operator=(const peer&) = delete;

    /// Of every later request. Only between exchanges, like the next two.
    void answer_with(const std::string& body);

    /// The size of an answer, head and body.
    std::size_t answer_size();

    /// The requests, head and body, that `calls` makes here.
    template <class Calls>
    std::vector<std::string> record(Calls calls)
    {
        set_recording(true);
        calls();
        return set_recording(false);
    }

private:
    void serve();
    void serve_connection(int socket);
    std::vector<std::string> set_recording(bool recording);

    int listener_;
    std::mutex lock_; ///< never contended: this side acts only between exchanges
    std::string answer_;
    std::vector<std::string> requests_;
    bool recording_ = false;
    std::thread thread_;
};

} // namespace korvane::bench
