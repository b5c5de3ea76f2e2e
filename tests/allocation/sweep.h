// Makes a call in a forked child, once for each of its allocations, which then fails, and looks at what came of it.
#pragma once

#include "tests/allocation/swept_call.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace korvane::test {

/// What one failing allocation did to a call.
enum class effect {
    refused, ///< a code that says so, nothing written, nothing left behind
    whole,   ///< the call did without and did all of its work
    // What follows json-c does, or it is a failure of the test.
    crashed,  ///< in json-c
    silently, ///< another outcome than either of the above: a value that json-c dropped
    leaked,   ///< as it should, but for blocks of json-c's that nobody has any more
};

/// A place where an allocation failed inside json-c, and what came of it.
struct json_c_fault {
    std::string place; ///< json-c's function, the outermost and the innermost
    effect what;

    bool operator<(const json_c_fault& other) const
    {
        return what != other.what ? what < other.what : place < other.place;
    }
};

struct sweep_result {
    std::size_t injected = 0; ///< children in which an allocation failed
    std::map<effect, std::size_t> effects;
    std::map<json_c_fault, std::size_t> json_c_faults;
    std::vector<std::string> complaints; ///< what must not be: each is a failure
};

enum class failing { once, from_there_on };

/// For n = 1, 2, ... until a call passes in which nothing failed.
sweep_result sweep(const swept_call& call, failing how);

} // namespace korvane::test
