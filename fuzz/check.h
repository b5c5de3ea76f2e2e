// What the targets assert: a failure tells what does not hold and ends the run, so that the input is kept.
#pragma once

#include <cstddef>
#include <string_view>

namespace korvane::fuzz {

[[noreturn]] void fail(const char* what, std::string_view detail = {});

inline void require(bool holds, const char* what, std::string_view detail = {})
{
    if (!holds) {
        fail(what, detail);
    }
}

/// A record's text field has its terminator.
template <std::size_t size>
void require_terminated(const char (&field)[size], const char* name)
{
    require(std::string_view(field, size).find('\0') != std::string_view::npos, "a field has no terminator",
            name);
}

} // namespace korvane::fuzz
