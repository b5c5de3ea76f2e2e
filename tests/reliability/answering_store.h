// A metadata store that answers every request of the library, many connections at once, by its path.
#pragma once

#include "tests/support/loopback_listener.h"

#include <sys/types.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace korvane::test {

/// Listens on 127.0.0.1:10158 and serves on threads of its own, in which all signals are blocked: they are
/// the callers'. Takes nothing from the heap while it serves, unless it records.
///
/// POST and DELETE are answered {"ret":0}; GET with two rows, names, counts or vaults, as the path wants.
/// Rows and names hold the request's "start_time", so that an answer given to the wrong caller shows.
class answering_store {
public:
    enum class recording { no, yes };

    explicit answering_store(recording recorded = recording::no);
    ~answering_store();
    answering_store(const answering_store&) = delete;
    answering_store& operator=(const answering_store&) = delete;

    /// How many whole requests were answered.
    long long answered() const { return answered_; }

    /// Requests with this "start_time" are not answered until release(), each keeping one thread of the store; there are
    /// two more threads than this number of them.
    static constexpr std::string_view held_time = "99999999";
    static constexpr int most_held = 3;
    int held() const { return held_; }
    void release() { released_ = true; }

    /// "POST /path" or "GET /path?query" and the body of every request so far, sorted. Only when recording.
    std::vector<std::string> requests();

private:
    struct canned_reply {
        std::string_view begin; ///< of the request line
        std::string bytes;
        std::size_t mark_at; ///< where the mark goes; npos: nowhere
    };

    static std::vector<canned_reply> canned_replies();
    void start();
    void serve();
    bool serve_connection(int connection);
    void hold_back();
    bool send_reply(int connection, std::string_view head) const;
    void record(std::string_view head, const std::string& body);

    const std::vector<canned_reply> replies_;
    const bool recording_;
    std::optional<loopback_listener> listener_;
    std::vector<std::thread> threads_;
    std::atomic<long long> answered_{0};
    std::atomic<int> held_{0};
    std::atomic<bool> released_{false};
    std::mutex mutex_;
    std::vector<std::string> requests_;
};

/// An answering_store in a process of its own, which leaves the memory and the descriptors of the caller's alone.
class answering_process {
public:
    answering_process();
    ~answering_process();
    answering_process(const answering_process&) = delete;
    answering_process& operator=(const answering_process&) = delete;

private:
    pid_t process_;
};

} // namespace korvane::test
