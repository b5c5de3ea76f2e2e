// A scripted store in a process of its own, so that descriptors and heap of the test's process are the library's alone.
#pragma once

#include "tests/support/scripted_store.h"

#include <functional>
#include <vector>

#include <sys/types.h>

namespace korvane::test {

class peer_process {
public:
    /// Each connection takes the next of `replies`, {"ret":0} when there are no more. `port` 0 takes a free one.
    explicit peer_process(std::vector<scripted_reply> replies = {}, int port = 0);
    ~peer_process();
    peer_process(const peer_process&) = delete;
    peer_process& operator=(const peer_process&) = delete;

    int port() const { return port_; }

private:
    pid_t child_ = -1;
    int lifeline_ = -1; ///< the child ends when this is closed
    int port_ = 0;
};

} // namespace korvane::test
