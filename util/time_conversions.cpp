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

/// Seconds since the epoch of a local time whose daylight saving is not known.
std::time_t seconds_of_local(std::tm parts)
{
    parts.tm_isdst = -1;
    return std::mktime(&parts);
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
    const std::time_t now = std::time(nullptr);
    tzset();
    std::tm utc{};
    gmtime_r(&now, &utc);
    return korvane::seconds_of_local(korvane::local_time(now)) - korvane::seconds_of_local(utc);
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
    std::tm start = korvane::local_time(std::strtoll(ms_text, nullptr, 10) / 1000);
    start.tm_sec = 0;
    start.tm_min = 0;
    if (day) {
        // The day may have begun before the clocks were changed. An hour keeps its daylight saving, so that
        // the one that comes twice stays two hours.
        start.tm_hour = 0;
        start.tm_isdst = -1;
    }
    std::snprintf(out, 24, "%ld000", static_cast<long>(std::mktime(&start)));
}
