// What a request makes of the bytes that come back, written down a second time: what the tests of cut, lying and broken replies
// expect, at every byte.
#pragma once

#include <string>
#include <string_view>

namespace korvane::test {

struct exchange_end {
    int code = 0;
    std::string reply; ///< what the caller's text holds
};

/// The end of an exchange in which `bytes` come and then no more. `earlier` is what the caller's text held before.
exchange_end end_of_exchange(std::string_view bytes, const std::string& earlier);

} // namespace korvane::test
