#include "tests/log/log_call.h"
#include "tests/support/debug_log.h"
#include "tests/support/files.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/time_zone.h"

#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <regex>

namespace korvane::test {

namespace {

class log_lines : public sandbox_test {};

/// Now, `hours_ahead` of UTC, as the log writes it.
std::string log_time(int hours_ahead)
{
    timeval now{};
    gettimeofday(&now, nullptr);
    const std::time_t local = now.tv_sec + hours_ahead * 3600;
    std::tm parts{};
    gmtime_r(&local, &parts);
    char text[64];
    std::size_t length = std::strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S:", &parts);
    length += static_cast<std::size_t>(
        std::snprintf(text + length, sizeof text - length, "%06d", static_cast<int>(now.tv_usec)));
    return {text, length};
}

TEST_F(log_lines, have_time_process_and_message)
{
    log("f(%d)- [korvane] message", 7);
    const std::string bytes = read_file(log_file(0));
    EXPECT_TRUE(std::regex_match(
        bytes,
        std::regex(R"(\d{4}/\d\d/\d\d \d\d:\d\d:\d\d:\d{6}  \[[ \d]{5,}\] f\(7\)- \[korvane\] message\n)")))
        << bytes;
    char process[32];
    std::snprintf(process, sizeof process, "  [%5d] ", static_cast<int>(getpid()));
    EXPECT_EQ(bytes.substr(26, std::string(process).size()), process) << bytes;
}

TEST_F(log_lines, tell_the_local_time_to_the_microsecond)
{
    const struct {
        const char* zone;
        int hours_ahead;
    } zones[] = {{"UTC0", 0}, {"CST-8", 8}, {"EST5", -5}, {"LINT-14", 14}};
    for (const auto& zone : zones) {
        set_time_zone(zone.zone);
        clear_debug_log();
        const std::string before = log_time(zone.hours_ahead);
        log("message");
        const std::string after = log_time(zone.hours_ahead);
        const std::vector<log_line> lines = debug_log_lines();
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_LE(before, lines[0].time) << zone.zone;
        EXPECT_GE(after, lines[0].time) << zone.zone;
        EXPECT_EQ(lines[0].process, getpid());
    }
}

TEST_F(log_lines, are_appended_in_order)
{
    for (int i = 0; i < 5; ++i) {
        log("line %d", i);
    }
    EXPECT_EQ(debug_log_messages(),
              (std::vector<std::string>{"line 0", "line 1", "line 2", "line 3", "line 4"}));
}

TEST_F(log_lines, are_formatted_as_printf_does)
{
    log("%s(%d)- [korvane] %5.2f|%-4d|%04x|%c|%lld|%%|%.3s", "f", 12, 3.14159, 7, 0xab, 'z', -5000000000LL,
        "abcdef");
    EXPECT_EQ(debug_log_messages(),
              std::vector<std::string>{"f(12)- [korvane]  3.14|7   |00ab|z|-5000000000|%|abc"});
}

TEST_F(log_lines, keep_the_percent_signs_of_their_arguments)
{
    log("%s", "100%s %n %d");
    EXPECT_EQ(debug_log_messages(), std::vector<std::string>{"100%s %n %d"});
}

TEST_F(log_lines, may_be_empty)
{
    log("%s", "");
    EXPECT_EQ(debug_log_messages(), std::vector<std::string>{""});
}

TEST_F(log_lines, keep_trailing_blanks_and_bytes_that_are_no_utf_8)
{
    log("%s", "\xff\xc3 text  ");
    EXPECT_EQ(debug_log_messages(), std::vector<std::string>{"\xff\xc3 text  "});
}

TEST_F(log_lines, are_complete_at_every_length_around_a_kibibyte)
{
    for (std::size_t length = 850; length < 1100; ++length) {
        clear_debug_log();
        const std::string message = std::string(length - 1, 'm') + '!';
        log("%s", message.c_str());
        ASSERT_EQ(debug_log_messages(), std::vector<std::string>{message}) << length;
    }
}

TEST_F(log_lines, are_complete_however_long)
{
    for (const std::size_t length : {4096U, 65535U, 65536U, 65537U, 200'000U, 3'000'000U}) {
        clear_debug_log();
        const std::string message = std::string(length - 1, 'm') + '!';
        log("%s", message.c_str());
        const std::vector<std::string> messages = debug_log_messages();
        ASSERT_EQ(messages.size(), 1U) << length;
        EXPECT_TRUE(messages[0] == message) << length << " gave " << messages[0].size();
    }
}

TEST_F(log_lines, without_a_format_are_none)
{
    korvane_log_debug(nullptr);
    EXPECT_FALSE(exists(log_folder));
}

TEST_F(log_lines, leave_errno_the_lock_and_the_descriptors_as_they_were)
{
    const int descriptors = open_descriptors();
    errno = EDOM;
    log("message");
    EXPECT_EQ(errno, EDOM);
    EXPECT_FALSE(exists(log_lock));
    EXPECT_FALSE(exists(log_failure_marker));
    EXPECT_EQ(open_descriptors(), descriptors);
}

class log_and_lock : public log_lines {
protected:
    static std::chrono::milliseconds time_of_a_line()
    {
        const auto start = std::chrono::steady_clock::now();
        log("message");
        EXPECT_EQ(debug_log_messages(), std::vector<std::string>{"message"});
        EXPECT_FALSE(exists(log_lock));
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                     start);
    }
};

TEST_F(log_and_lock, a_crashed_writers_fresh_lock_delays_the_next_line_by_three_seconds)
{
    write_file(log_lock, "");
    const auto took = time_of_a_line();
    EXPECT_GE(took, std::chrono::milliseconds(2900));
    EXPECT_LT(took, std::chrono::milliseconds(3700));
}

TEST_F(log_and_lock, a_crashed_writers_old_lock_delays_nothing)
{
    write_file(log_lock, "");
    set_modified(log_lock, std::time(nullptr) - 5);
    EXPECT_LT(time_of_a_line(), std::chrono::milliseconds(500));
}

} // namespace

} // namespace korvane::test
