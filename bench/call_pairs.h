// Pairs of whole calls: what a rival sends must be what the library sends, byte for byte.
#pragma once

#include "bench/fail.h"
#include "bench/pairs.h"
#include "bench/peer.h"

#include <functional>

namespace korvane::bench {

/// A call of the library, which makes its exchanges with the peer.
struct timed_call {
    std::string work;
    std::string unit;
    std::size_t units;
    std::string answer; ///< the peer's, to each request
    std::function<void()> run;
    std::vector<std::string> requests; ///< what it sends
};

/// Records what the call sends; fails unless it makes so many requests.
inline void record_requests(timed_call& call, peer& peer, std::size_t expected)
{
    peer.answer_with(call.answer);
    call.requests = peer.record(call.run);
    if (call.requests.size() != expected) {
        fail(call.work + ": the library made " + std::to_string(call.requests.size()) + " requests");
    }
}

/// Registers the call against a rival, having made sure that the rival sends the same.
template <class Rival>
void add_call_pair(const timed_call& call, const std::string& rival_name, peer& peer, Rival rival)
{
    peer.answer_with(call.answer);
    const std::vector<std::string> sent = peer.record(std::ref(rival));
    if (sent.size() != call.requests.size()) {
        fail(call.work + ": " + rival_name + " made " + std::to_string(sent.size()) + " requests");
    }
    for (std::size_t i = 0; i < sent.size(); ++i) {
        require_same(call.work + ", " + rival_name, call.requests[i], sent[i]);
    }
    add_pair(call.work, rival_name, call.unit, call.units, call.run, rival,
             [&peer, answer = call.answer] { peer.answer_with(answer); });
}

} // namespace korvane::bench
