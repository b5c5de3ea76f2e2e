#include "util/time_conversions.h"

#include "platform/local_time.h"

#include <sys/time.h>

#include <climits>
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

/// The place of a local day in the order of days.
long day_number(const std::tm& parts)
{
    constexpr long longest_year = 366;
    return parts.tm_year * longest_year + parts.tm_yday;
}

/// The first second of the local day that holds `seconds`. Without mktime: of a midnight that comes twice, as
/// where the clocks go back from 01:00, it gives the one or the other, depending on what it was asked before.
std::time_t start_of_day(std::time_t seconds)
{
    constexpr long longest_day = 30 * 3600L; // and more than any clock change adds
    const long day = day_number(local_time(seconds));
    std::time_t before = seconds - longest_day;
    std::time_t start = seconds;
    while (start - before > 1) {
        const std::time_t middle = before + (start - before) / 2;
        (day_number(local_time(middle)) < day ? before : start) = middle;
    }
    // Where the clocks go back from just behind midnight, the day begins, is left again, and begins anew.
    const long gone_back = local_time(before - 4 * 3600L).tm_gmtoff - local_time(start).tm_gmtoff;
    return gone_back > 0 && day_number(local_time(start - gone_back)) == day ? start - gone_back : start;
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

void write_date(long long ms, char (&out)[date_size])
{
    format_local(ms / 1000, "%Y-%m-%d %X", out);
}

void write_day(long long ms, char (&out)[date_size])
{
    format_local(static_cast<std::time_t>(static_cast<unsigned long long>(ms) / 1000), "%Y-%m-%d", out);
}

long long start_of_day_ms(long long ms)
{
    tzset();
    const std::time_t start = start_of_day(ms / 1000);
    long long start_ms = 0;
    if (__builtin_mul_overflow(static_cast<long long>(start), 1000LL, &start_ms)) {
        return start < 0 ? LLONG_MIN : LLONG_MAX;
    }
    return start_ms;
}

unsigned long long wall_clock_ms()
{
    timeval now{};
    gettimeofday(&now, nullptr);
    return static_cast<unsigned long long>(now.tv_sec) * 1000 +
           static_cast<unsigned long long>(now.tv_usec) / 1000;
}

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
