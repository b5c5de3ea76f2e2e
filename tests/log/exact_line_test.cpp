// A line to the byte, on a machine whose clock and process number are the test's own.
#include "tests/log/log_call.h"
#include "tests/support/debug_log.h"
#include "tests/support/files.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/time_zone.h"

#include <sys/time.h>
#include <unistd.h>

namespace {

timeval wall_clock{};
pid_t process_number = 0;

} // namespace

// In this program the library finds these before the C library's.
extern "C" int gettimeofday(timeval* now, void* /*zone*/) noexcept
{
    *now = wall_clock;
    return 0;
}

extern "C" pid_t getpid() noexcept
{
    return process_number;
}

namespace korvane::test {

namespace {

class exact_line : public sandbox_test {};

TEST_F(exact_line, has_time_process_and_message)
{
    constexpr std::time_t fourth_of_march = 1709528767; // 2024, 05:06:07 UTC
    const struct {
        const char* zone;
        timeval time;
        pid_t process;
        const char* prefix;
    } cases[] = {
        {"UTC0", {fourth_of_march, 89}, 42, "2024/03/04 05:06:07:000089  [   42] "},
        {"UTC0", {fourth_of_march, 0}, 1, "2024/03/04 05:06:07:000000  [    1] "},
        {"UTC0", {fourth_of_march, 999'999}, 12345, "2024/03/04 05:06:07:999999  [12345] "},
        {"UTC0", {fourth_of_march, 100'000}, 4194304, "2024/03/04 05:06:07:100000  [4194304] "},
        {"CST-8", {fourth_of_march, 89}, 42, "2024/03/04 13:06:07:000089  [   42] "},
        {"EST5:30", {fourth_of_march, 89}, 42, "2024/03/03 23:36:07:000089  [   42] "},
        {"UTC0", {0, 5}, 99999, "1970/01/01 00:00:00:000005  [99999] "},
        {"UTC0", {1735689599, 0}, 42, "2024/12/31 23:59:59:000000  [   42] "},
    };
    for (const auto& c : cases) {
        clear_debug_log();
        set_time_zone(c.zone);
        wall_clock = c.time;
        process_number = c.process;
        log("%s(%d)- [korvane] get %s failed ", "f", 7, "x");
        log("[korvane](%s:%d) %s", "g", 12345, "");
        EXPECT_EQ(read_file(log_file(0)), std::string(c.prefix) + "f(7)- [korvane] get x failed \n" +
                                              c.prefix + "[korvane](g:12345) \n");
    }
}

} // namespace

} // namespace korvane::test
