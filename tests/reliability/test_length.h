// Short by default; KORVANE_TESTS_LONG=1 in the environment asks for the long form.
#pragma once

#include <cstdlib>
#include <string_view>

namespace korvane::test {

inline bool long_form()
{
    const char* wanted = std::getenv("KORVANE_TESTS_LONG");
    return wanted != nullptr && std::string_view(wanted) == "1";
}

/// The number for the form that is run.
template <class Number>
Number by_length(Number in_short, Number in_long)
{
    return long_form() ? in_long : in_short;
}

} // namespace korvane::test
