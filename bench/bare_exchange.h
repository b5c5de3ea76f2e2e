// The floor of a call: its exchanges with the peer, and nothing else.
#pragma once

#include "bench/bare_calls.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::bench {

/// A request as the peer got it, in two: its head with the empty line, and its body.
struct split_request {
    explicit split_request(const std::string& bytes)
        : head(bytes.substr(0, bytes.find("\r\n\r\n") + 4))
        , body(bytes.substr(head.size()))
    {
    }

    std::string head;
    std::string body;
};

/// Sends requests that a call of the library made, byte for byte and each on a connection of its own, by bare
/// system calls: socket, connect, send of the head, send of the body, recv until the answer is whole, close.
class bare_exchanges {
public:
    /// `recorded`: the requests as the peer got them. Each answer has `answer_size` bytes and is received with at most
    /// `most_at_once` of them a call.
    bare_exchanges(const std::vector<std::string>& recorded, std::size_t answer_size,
                   std::size_t most_at_once = ~std::size_t{0});

    void operator()();

    /// The last answer, head and body; a zero byte stands behind it.
    std::string_view answer() const { return {answer_.data(), answer_.size() - 1}; }

private:
    std::vector<split_request> requests_;
    std::vector<char> answer_;
    std::size_t most_at_once_;
};

} // namespace korvane::bench
