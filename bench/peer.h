// The metadata store's stand-in on 127.0.0.1:10158: threads that do as little as an HTTP peer can.
#pragma once

#include <atomic>
#include <cstddef>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace korvane::bench {

constexpr int store_port = 10158;

/// An answer with status 200, head and body.
std::string make_http_answer(const std::string& body);

/// Answers every request with status 200 and the same body, as many connections at a time as it has threads. Requests
/// are kept only while recorded. Fails (fail.h) when the port is taken.
class peer {
public:
    explicit peer(std::size_t threads = 1);
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
    void keep(std::string_view request);
    void answer(int socket);
    std::vector<std::string> set_recording(bool recording);

    int listener_;
    std::shared_mutex lock_; ///< of the next two; held alone only between exchanges and while recording
    std::string answer_;
    std::vector<std::string> requests_;
    std::atomic<bool> recording_ = false;
    std::vector<std::thread> threads_;
};

} // namespace korvane::bench
