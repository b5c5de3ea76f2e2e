// The fixture of every test that reaches port 10158 or the library's files.
#pragma once

#include <gtest/gtest.h>

namespace korvane::test {

/// Fails, before anything is touched, outside of the sandbox; inside, every test begins in zone UTC0 with an
/// existing /Vdbglog, no log, no lock and no failure marker.
class sandbox_test : public ::testing::Test {
protected:
    void SetUp() override;
};

inline constexpr const char* log_lock = "/var/.korvane_log_lock";
inline constexpr const char* log_failure_marker = "/tmp/log_korvane_fail";

} // namespace korvane::test
