#include "bench/fail.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace korvane::bench {

void fail(const std::string& what)
{
    std::fprintf(stderr, "\nbenchmark: %s\n", what.c_str());
    // Not exit: the peer's thread may still be at work.
    std::_Exit(EXIT_FAILURE);
}

void fail_call(const char* system_call)
{
    fail(std::string(system_call) + ": " + std::generic_category().message(errno));
}

void require_same(const std::string& what, std::string_view expected, std::string_view actual)
{
    if (expected == actual) {
        return;
    }
    const auto ends = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
    const auto at = static_cast<std::size_t>(ends.first - expected.begin());
    fail(what + ": the bytes differ from byte " + std::to_string(at) + " on, expected \"" +
         std::string(expected.substr(at, 40)) + "\", got \"" + std::string(actual.substr(at, 40)) + "\"");
}

} // namespace korvane::bench
