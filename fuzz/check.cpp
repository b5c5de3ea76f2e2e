#include "fuzz/check.h"

#include <unistd.h>

#include <cstdio>

namespace korvane::fuzz {

void fail(const char* what, std::string_view detail)
{
    // Not by stderr: during a call of the library that is the target's own.
    dprintf(STDERR_FILENO, "\n== fuzz: %s\n%.*s\n", what, static_cast<int>(detail.size()), detail.data());
    __builtin_trap();
}

} // namespace korvane::fuzz
