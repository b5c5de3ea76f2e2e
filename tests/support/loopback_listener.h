// A listening TCP socket on 127.0.0.1, for whatever plays the store.
#pragma once

#include <vector>

namespace korvane::test {

class loopback_listener {
public:
    /// `port` 0 takes a free one; `waiting` connections more than one may wait to be accepted. Throws std::runtime_error
    /// when it cannot listen.
    loopback_listener(int port, int waiting);
    ~loopback_listener();
    loopback_listener(const loopback_listener&) = delete;
    loopback_listener& operator=(const loopback_listener&) = delete;

    int handle() const { return handle_; }
    int port() const { return port_; }

    /// From now on, where none may wait, a connection is not even answered.
    void fill_queue();

    /// Those that fill it end.
    void empty_queue();

private:
    int handle_;
    int port_;
    std::vector<int> queue_;
};

} // namespace korvane::test
