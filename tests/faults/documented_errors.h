// What the manual says of each system call that the library makes.
#pragma once

#include <string_view>
#include <vector>

namespace korvane::test {

struct call_facts {
    std::string_view name;
    std::vector<long> numbers; ///< the kernel's own for it: which of them it is depends on the C library
    std::vector<int>
        errors; ///< each once, as section 2 of Linux's manual documents them (for sockets also tcp(7), ip(7))
};

/// Throws std::out_of_range for a function that is not in the table.
const call_facts& facts_of(std::string_view name);

bool is_documented(std::string_view name, int error);

/// "ECONNRESET"
std::string_view error_name(int error);

} // namespace korvane::test
