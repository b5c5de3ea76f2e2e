// What the library wrote to its debug log.
#pragma once

#include <string>
#include <vector>

namespace korvane::test {

inline constexpr const char* log_base_folder = "/Vdbglog";
inline constexpr const char* log_folder = "/Vdbglog/.zymux_log";

/// The path of log file `index`, 0 to 4.
std::string log_file(int index);

/// One line, split: "2024/03/04 05:06:07:000089  [   42] message".
struct log_line {
    std::string time; ///< "2024/03/04 05:06:07:000089"
    int process = 0;
    std::string message; ///< without the line feed
};

/// The lines of files 0 to 4, in this order. A line that is not of the log's format, or has no line feed, is
/// a failure of the running test and left out.
std::vector<log_line> debug_log_lines();

/// Only their messages.
std::vector<std::string> debug_log_messages();

/// A message with the source line behind the function's name, the one part that may change from build to
/// build, written as "#": "f(12)- [korvane] x" gives "f(#)- [korvane] x", "[korvane](f:12) x" gives
/// "[korvane](f:#) x".
std::string without_line_number(const std::string& message);

/// debug_log_messages(), each without_line_number().
std::vector<std::string> debug_log_texts();

/// Removes the log folder with all it holds; makes the parent folder if it is missing.
void clear_debug_log();

} // namespace korvane::test
