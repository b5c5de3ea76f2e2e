// What the transport must make of a reply's bytes, worked out from all of them at once and not as they come.
#pragma once

#include <string>
#include <string_view>

namespace korvane::fuzz {

struct exchange_result {
    int code = 0;
    std::string reply; ///< meaningful for 0 and -5
};

/// The peer sends `bytes` and closes, and the body is received in chunks of 1023 bytes: a zero byte hides what is left of
/// its chunk.
exchange_result expected_result(std::string_view bytes);

} // namespace korvane::fuzz
