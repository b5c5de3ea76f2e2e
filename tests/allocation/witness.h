// What a child saw of the call that it made; in memory that it shares with its parent.
#pragma once

#include <cstddef>
#include <string>

namespace korvane::test {

/// The return addresses above a place in the program, the innermost first.
struct call_stack {
    static constexpr int max_depth = 48;
    void* frames[max_depth];
    int depth = 0;

    /// Allocates nothing once it has been called.
    void take();
};

struct witness {
    std::size_t failures = 0; ///< allocations that failed
    call_stack first_failure;
    call_stack first_json_c_failure; ///< of an allocation that json-c asked for; depth 0: none
    call_stack last_json_c_failure;
    call_stack crash; ///< depth 0: none
    int signal = 0;

    bool returned = false; ///< from the call that was hindered
    bool threw = false;
    int code = 0;
    long long blocks_left = 0;
    std::size_t outcome_size = 0;
    char outcome[64 * 1024];

    bool repeated = false; ///< returned from the call after it, which was not
    bool repeated_well = false;
};

/// The library that a stack came from: that of the innermost frame outside of the C and C++ libraries and of this program.
/// "this program" when there is none.
std::string library_of(const call_stack& stack);

/// "json_tokener_parse_ex ... json_object_object_add_ex: strdup": the outermost of json-c's functions in a stack, its innermost,
/// and what that one called. json-c's static functions have no name; the exported one that they belong to stands for them.
std::string json_c_place_of(const call_stack& stack);

/// True when json-c's code is in a stack. Allocates nothing.
bool is_in_json_c(const call_stack& stack);

} // namespace korvane::test
