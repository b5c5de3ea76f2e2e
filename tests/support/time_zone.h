#pragma once

#include <string>

namespace korvane::test {

/// Sets this process's time zone: a POSIX text such as "UTC0" or "CST-8", which needs no zone files.
void set_time_zone(const std::string& zone);

} // namespace korvane::test
