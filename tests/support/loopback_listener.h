// A listening TCP socket on 127.0.0.1, for whatever plays the store.
#pragma once

#include <vector>

namespace korvane::test {

class loopback_listener {
public:
    /// `port` 0 takes a free one; one connection more than `backlog` may wait to be accepted. Throws std::runtime_error
    /// when it cannot listen.
    loopback_listener(int port, int backlog);
    ~loopback_listener();
    loopback_listener(const loopback_listener&) = delete;
    loopback_listener& operator=(const loopback_listener&) = delete;

    int handle() const { return handle_; }
    int port() const { return port_; }

    /// From now on, with a backlog of 0, a connection is not even answered.
    void fill_queue();

    /// Those that fill it end.
    void empty_queue();

private:
    int handle_;
    int port_;
    std::vector<int> queue_;
};

} // namespace korvane::test
