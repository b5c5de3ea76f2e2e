// The entry points with a sample of what goes in and what the store answers.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace korvane::test {

/// What came of a call.
struct call_result {
    int code = 0;
    std::optional<std::string> answer; ///< none: what the caller gave to be filled is as it was
    std::string fault;                 ///< what was written where it should not; empty: nothing
    long long blocks_left = 0;         ///< of the heap, the answer given back; 0 under a sanitizer
};

struct target {
    std::string name;
    call_result (*call)(const std::string& request);
    std::string request;
    std::string reply;          ///< of the store
    bool keeps_request = false; ///< when it succeeds, by contract
    bool fills = false;         ///< something of the caller's, when it succeeds
    bool fills_json = false;
    std::set<std::string> ending =
        {}; ///< the members of the request, or the reply, whose long texts end the process
};

/// Every entry point, for every kind that it takes.
const std::vector<target>& targets();

std::vector<target> targets_that(bool (*wanted)(const target& each));

bool are_asked_in_json(const target& each);

} // namespace korvane::test
