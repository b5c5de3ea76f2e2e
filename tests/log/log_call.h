// Calling the exported log function, whose format is a char*.
#pragma once

#include "log/korvane_log.h"

#include <string>

namespace korvane::test {

template <class... Arguments>
void log(std::string format, Arguments... arguments)
{
    korvane_log_debug(format.data(), arguments...);
}

} // namespace korvane::test
