// The entry points called with texts, and the requests that came of it taken apart.
#pragma once

#include "tests/support/scripted_store.h"

#include <optional>
#include <string>

namespace korvane::test {

/// result_code as the entry points return it.
constexpr int code(unsigned int result)
{
    return static_cast<int>(result);
}

int insert(std::string text);

struct query_outcome {
    int code = 0;
    std::optional<std::string> answer; ///< none: the caller's pointer was left as it was
};

/// Asks, copies the answer and releases it.
query_outcome query(std::string text);

/// "POST /path" or "GET /path?query" of a request on the wire.
std::string line_of(const std::string& request);

/// What stands behind the request's headers.
std::string body_of(const std::string& request);

/// The moments from its making on.
class time_since_now {
public:
    time_since_now();

    /// `line` with its "end_time", which must be one of these moments, written as "now".
    std::string marked_in(const std::string& line) const;

private:
    long long begin_ms_;
};

/// The last request that a store got; empty when it got none.
std::string last_request(scripted_store& store);

} // namespace korvane::test
