// The floor of a call: its exchanges with the peer, and nothing else.
#pragma once

#include "bench/peer.h"

#include <string>
#include <vector>

namespace korvane::bench {

/// Sends requests that a call of the library made, byte for byte and each on a connection of its own, by bare
/// system calls: socket, no-delay, connect, send of the head, send of the body, recv until the answer is
/// whole, close.
class bare_exchanges {
public:
    /// `recorded`: the requests as the peer got them. The peer's answer must stay as it is now.
    bare_exchanges(const std::vector<std::string>& recorded, peer& peer);

    void operator()();

private:
    struct request {
        std::string head;
        std::string body;
    };

    void exchange(const request& request);

    std::vector<request> requests_;
    std::vector<char> answer_;
};

} // namespace korvane::bench
