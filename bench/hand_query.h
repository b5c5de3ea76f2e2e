// The query's stand-in: the same answer by the plain means of json-c.
#pragma once

#include "bench/bare_exchange.h"

#include <string>
#include <string_view>

namespace korvane::bench {

/// Makes the answer to a query of human detection from the store's reply: parses it, builds the answer's tree from the
/// reply's with json_object_object_add, json_object_new_string and json_object_new_double_s, has json-c write it, and
/// copies the text. The reply must list records that have every member.
std::string answer_by_hand(const char* reply);

/// The whole query: the exchange by bare system calls, then the answer.
class hand_query {
public:
    explicit hand_query(bare_exchanges exchange)
        : exchange_(std::move(exchange))
    {
    }

    std::string operator()();

private:
    bare_exchanges exchange_;
};

} // namespace korvane::bench
