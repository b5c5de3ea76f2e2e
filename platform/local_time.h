// Local time without the C library's shared static storage.
#pragma once

#include <ctime>

namespace korvane {

/// Broken-down local time; safe in any number of threads. Callers refresh the zone with tzset() once per call
/// into the library, not once per conversion: it asks for the zone file's status.
inline std::tm local_time(std::time_t seconds)
{
    std::tm parts{};
    localtime_r(&seconds, &parts);
    return parts;
}

} // namespace korvane
