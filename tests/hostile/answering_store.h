// A store that gives every request the same answer, of any size, and looks at each request as it comes.
#pragma once

#include "tests/support/loopback_listener.h"

#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace korvane::test {

/// A reply's body: `begin`, `count` times `unit`, `end`. It is sent as it is made: a large one is never held whole.
struct answered_body {
    std::string begin;
    std::string unit;
    std::size_t count = 0;
    std::string end;

    std::size_t size() const { return begin.size() + unit.size() * count + end.size(); }
};

/// Listens on the store's port, one connection after the other.
class answering_store {
public:
    answering_store();
    ~answering_store();
    answering_store(const answering_store&) = delete;
    answering_store& operator=(const answering_store&) = delete;

    /// From now on this is the answer.
    void answer_with(const std::string& body) { answer_with(answered_body{body, {}, 0, {}}); }
    void answer_with(answered_body body);

    /// Ends it.
    void stop();

    /// What was wrong with requests; complete once it has stopped, as is their number.
    const std::vector<std::string>& complaints() const { return complaints_; }
    std::size_t requests() const { return requests_; }

private:
    void serve();
    void serve_connection(int connection);

    loopback_listener listener_;
    std::mutex mutex_;
    answered_body body_; // guarded by mutex_
    std::vector<std::string> complaints_;
    std::size_t requests_ = 0;
    std::thread thread_;
};

/// What is wrong with a request on the wire; empty: nothing. A request line without a control character, the headers that every
/// request carries and no other, as much body as they say.
std::string wrong_with_request(const std::string& request);

} // namespace korvane::test
