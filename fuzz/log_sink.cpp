// The library's log without its files: each line is formatted and looked at. Linked in the place of log/korvane_log.cpp
// by all targets but log_fuzzer.
#include "log/korvane_log.h"

#include "fuzz/check.h"

#include <cstdarg>
#include <cstdio>
#include <string_view>

namespace {

/// "[korvane](function:line) ..." or "function(line)- [korvane] ..."
bool names_its_place(std::string_view line)
{
    constexpr std::string_view tag = "[korvane]";
    if (line.substr(0, tag.size() + 1) == "[korvane](") {
        return line.find(") ") < line.size();
    }
    const std::size_t tag_at = line.find(")- [korvane] ");
    return tag_at != std::string_view::npos && line.find('(') < tag_at;
}

void take_line(const char* format, va_list arguments)
{
    char text[2048]; // what is longer has been formatted all the same
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    korvane::fuzz::require(length > 0, "a log line could not be formatted", format);
    const std::string_view line = text;
    korvane::fuzz::require(names_its_place(line), "a log line does not say where it comes from", line);
    korvane::fuzz::require(line.find('\n') == std::string_view::npos, "a log message has several lines",
                           line);
}

} // namespace

void korvane_log_debug(char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    take_line(format, arguments);
    va_end(arguments);
}

void korvane::log_debug(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    take_line(format, arguments);
    va_end(arguments);
}
