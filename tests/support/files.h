// Whole files as texts.
#pragma once

#include <ctime>
#include <string>

namespace korvane::test {

/// The file's bytes; empty when there is none.
std::string read_file(const std::string& path);

/// Makes or replaces the file; throws std::runtime_error when that fails.
void write_file(const std::string& path, const std::string& bytes);

bool exists(const std::string& path);

/// Sets when the file was last modified, seconds and nanoseconds since the epoch.
void set_modified(const std::string& path, std::time_t seconds, long nanoseconds = 0);

/// How many descriptors this process has open.
int open_descriptors();

} // namespace korvane::test
