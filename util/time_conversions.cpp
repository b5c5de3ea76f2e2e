#include "util/time_conversions.h"

#include "platform/local_time.h"

#include <sys/time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace korvane {

namespace {

void format_local(std::time_t seconds, const char* format, char (&out)[date_size])
{
    const std::tm local = local_time(seconds);
    if (std::strftime(out, sizeof out, format, &local) == 0) {
        out[0] = '\0';
    }
}

} // namespace

void write_date(long long ms, char (&out)[date_size])
{
    format_local(ms / 1000, "%Y-%m-%d %X", out);
}

void write_day(long long ms, char (&out)[date_size])
{
    format_local(static_cast<std::time_t>(static_cast<unsigned long long>(ms) / 1000), "%Y-%m-%d", out);
}

unsigned long long wall_clock_ms()
{
    timeval now{};
    gettimeofday(&now, nullptr);
    return static_cast<unsigned long long>(now.tv_sec) * 1000 +
           static_cast<unsigned long long>(now.tv_usec) / 1000;
}

namespace {

long second_of_day(const std::tm& parts)
{
    return parts.tm_hour * 3600L + parts.tm_min * 60L + parts.tm_sec;
}

bool same_day(const std::tm& a, const std::tm& b)
{
    return a.tm_yday == b.tm_yday && a.tm_year == b.tm_year;
}

/// The first second of the local day that holds `seconds`. Without mktime: of a midnight that comes twice, as
/// where the clocks go back from 01:00, it gives the one or the other, depending on what it was asked before.
std::time_t start_of_day(std::time_t seconds)
{
    const std::tm day = local_time(seconds);
    std::time_t start = seconds - second_of_day(day);
    const std::tm reached = local_time(start);
    if (!same_day(reached, day)) { // too early: the clocks have skipped something since midnight
        constexpr long day_s = 86'400;
        start += day_s - second_of_day(reached);
    }
    // Too late: they have gone back.
    for (std::tm before = local_time(start - 1); same_day(before, day); before = local_time(start - 1)) {
        start -= 1 + second_of_day(before);
    }
    return start;
}

/// The start of the local hour. It keeps the daylight saving of `seconds`, so that the hour that comes twice
/// stays two hours.
std::time_t start_of_hour(std::time_t seconds)
{
    std::tm start = local_time(seconds);
    start.tm_sec = 0;
    start.tm_min = 0;
    return std::mktime(&start);
}

} // namespace

} // namespace korvane

void timestamp_to_date(long long ms, char* out)
{
    if (out == nullptr) {
        return;
    }
    tzset();
    char date[korvane::date_size];
    korvane::write_date(ms, date);
    std::memcpy(out, date, std::strlen(date) + 1);
}

long get_timezone_diff()
{
    tzset();
    return korvane::local_time(std::time(nullptr)).tm_gmtoff;
}

void trans_timestamp_to_timepoint(char* unit, char* ms_text, char* out)
{
    if (unit == nullptr || ms_text == nullptr || out == nullptr) {
        return;
    }
    const bool day = std::strcmp(unit, "day") == 0;
    if (!day && std::strcmp(unit, "hour") != 0) {
        return;
    }
    tzset();
    const std::time_t seconds = std::strtoll(ms_text, nullptr, 10) / 1000;
    const std::time_t start = day ? korvane::start_of_day(seconds) : korvane::start_of_hour(seconds);
    std::snprintf(out, 24, "%ld000", static_cast<long>(start));
}
