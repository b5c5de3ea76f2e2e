#include "tests/support/sandbox_test.h"

#include "tests/support/debug_log.h"
#include "tests/support/time_zone.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace korvane::test {

void sandbox_test::SetUp()
{
    const char* where = std::getenv("KORVANE_SANDBOX");
    if (where == nullptr || std::string_view(where) != "inside") {
        GTEST_FATAL_FAILURE_("this test uses port 10158, /Vdbglog, /var and /tmp and must not touch yours: "
                             "run it as  tools/sandbox.sh PROGRAM [--gtest_filter=...]  or through ctest");
    }
    set_time_zone("UTC0");
    clear_debug_log();
    unlink(log_lock);
    unlink(log_failure_marker);
}

} // namespace korvane::test
