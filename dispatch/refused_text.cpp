#include "dispatch/refused_text.h"

#include "log/korvane_log.h"
#include "util/result.h"

namespace korvane {

int refused_text(const char* function, int line, const refuse_if_long& copy)
{
    log_debug("%s(%d)- [korvane] %s has %zu characters, at most %zu are allowed", function, line,
              copy.refused(), copy.length(), copy.limit());
    return as_int(result_bad_request);
}

} // namespace korvane
