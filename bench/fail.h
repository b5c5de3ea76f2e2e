// A benchmark whose sides do different work measures nothing: it ends at once.
#pragma once

#include <string>
#include <string_view>

namespace korvane::bench {

/// Tells what is wrong, and errno where a system call failed, and ends the process with status 1.
[[noreturn]] void fail(const std::string& what);
[[noreturn]] void fail_call(const char* system_call);

/// Fails, showing the first difference, unless both texts are the same bytes.
void require_same(const std::string& what, std::string_view expected, std::string_view actual);

} // namespace korvane::bench
