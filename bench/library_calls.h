// The two general entry points, for benchmarks: what fails ends the process.
#pragma once

#include <cstdlib>
#include <memory>
#include <string>

namespace korvane::bench {

/// Fails (fail.h), naming the call, unless `code` is 0.
void require_done(const char* call, int code);

void insert(std::string& report);

struct free_block {
    void operator()(char* block) const { std::free(block); }
};
using answer_owner = std::unique_ptr<char, free_block>;

answer_owner query(std::string& request);

} // namespace korvane::bench
