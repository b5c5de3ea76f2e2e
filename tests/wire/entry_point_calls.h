// The calls that a case can make, by name.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace korvane::test {

struct call_outcome {
    int code = 0;
    std::optional<std::string> answer; ///< what the call stored for its caller, if it stored something
    std::string fault;                 ///< what no call may do, such as changing its input; empty: nothing
};

struct entry_point_call {
    const char* name;
    call_outcome (*run)(char* input); ///< `input` may be null
};

/// Null when there is none of this name.
const entry_point_call* find_call(std::string_view name);

/// "insert, query, ...", for messages.
std::string call_names();

} // namespace korvane::test
