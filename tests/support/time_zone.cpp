#include "tests/support/time_zone.h"

#include <cstdlib>
#include <ctime>

namespace korvane::test {

void set_time_zone(const std::string& zone)
{
    setenv("TZ", zone.c_str(), 1);
    tzset();
}

} // namespace korvane::test
