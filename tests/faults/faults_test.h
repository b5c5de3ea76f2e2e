// The fixture of the fault sweeps: counts what was injected, and looks for what was left behind.
#pragma once

#include "tests/faults/system_call_faults.h"
#include "tests/support/sandbox_test.h"

#include <string>

namespace korvane::test {

class faults_test : public sandbox_test {
protected:
    /// Prints and records how many faults were met; none, or fewer than were expected, is a failure.
    void TearDown() override;

    /// Called before faults are tried: how many the matrix has, so that a sweep that stops early shows.
    void expect_faults(std::size_t count) { expected_ += count; }

    /// Called after they were tried: how many of them were really met.
    void count_faults(std::size_t count) { met_ += count; }

    static void expect_nothing_left(const witnessed& seen, const std::string& what);

private:
    std::size_t expected_ = 0;
    std::size_t met_ = 0;
};

} // namespace korvane::test
