#include "util/time_conversions.h"

#include "tests/support/time_zone.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <ctime>
#include <string>

namespace korvane::test {

namespace {

constexpr const char* middle_europe = "CET-1CEST,M3.5.0,M10.5.0/3";

std::string date_of(long long ms)
{
    std::string out(200, '#');
    timestamp_to_date(ms, out.data());
    const std::string date = out.c_str();
    EXPECT_EQ(out.find_first_not_of('#', 128), std::string::npos) << "more than 128 bytes were written";
    return date;
}

TEST(timestamp_to_date, is_local_date_and_time)
{
    const struct {
        const char* zone;
        long long ms;
        const char* date;
    } cases[] = {
        {"UTC0", 0, "1970-01-01 00:00:00"},
        {"UTC0", 1712345678901, "2024-04-05 19:34:38"},
        {"CST-8", 1712345678901, "2024-04-06 03:34:38"},
        {"EST5", 1712345678901, "2024-04-05 14:34:38"},
        {"IST-5:30", 1712345678901, "2024-04-06 01:04:38"},
        {middle_europe, 1711846799999, "2024-03-31 01:59:59"}, // the last second before the clocks go forward
        {middle_europe, 1711846800000, "2024-03-31 03:00:00"},
        // Milliseconds are cut toward zero.
        {"UTC0", 999, "1970-01-01 00:00:00"},
        {"UTC0", 1000, "1970-01-01 00:00:01"},
        {"UTC0", -1, "1970-01-01 00:00:00"},
        {"UTC0", -999, "1970-01-01 00:00:00"},
        {"UTC0", -1000, "1969-12-31 23:59:59"},
        {"UTC0", -1999, "1969-12-31 23:59:59"},
        // Beyond four digits of a year, and the largest and smallest there are.
        {"UTC0", 253402300800000, "10000-01-01 00:00:00"},
        {"UTC0", LLONG_MAX, "292278994-08-17 07:12:55"},
        {"UTC0", LLONG_MIN, "-292275055-05-16 16:47:05"},
    };
    for (const auto& c : cases) {
        set_time_zone(c.zone);
        EXPECT_EQ(date_of(c.ms), c.date) << c.zone << ' ' << c.ms;
    }
}

TEST(timestamp_to_date, without_a_buffer_writes_nothing)
{
    timestamp_to_date(0, nullptr); // and ends nothing
}

TEST(timestamp_to_date, follows_a_change_of_the_processes_zone)
{
    setenv("TZ", "UTC0", 1);
    EXPECT_EQ(date_of(0), "1970-01-01 00:00:00");
    setenv("TZ", "CST-8", 1);
    EXPECT_EQ(date_of(0), "1970-01-01 08:00:00");
}

TEST(get_timezone_diff, is_the_seconds_ahead_of_utc)
{
    const struct {
        const char* zone;
        long seconds;
    } cases[] = {
        {"UTC0", 0},
        {"CST-8", 8 * 3600},
        {"EST5", -5 * 3600},
        {"IST-5:30", 5 * 3600 + 1800},
        {"NST3:30", -(3 * 3600 + 1800)},
        {"LINT-14", 14 * 3600},
        {"AAA12", -12 * 3600},
        {"LMT-0:19:32", 19 * 60 + 32},
        // Summer time all year long.
        {"STD-1SUM-2,0/0,J365/25", 2 * 3600},
        {"STD5SUM4,0/0,J365/25", -4 * 3600},
        {"STD-10:30SUM-11,0/0,J365/25", 11 * 3600},
    };
    for (const auto& c : cases) {
        set_time_zone(c.zone);
        EXPECT_EQ(get_timezone_diff(), c.seconds) << c.zone;
    }
}

/// A zone an hour ahead of UTC whose clocks went to `summer` (else: back from it) half an hour ago.
std::string zone_that_changed_half_an_hour_ago(bool to_summer)
{
    const std::time_t wall_before = std::time(nullptr) - 1800 + (to_summer ? 3600 : 7200);
    std::tm parts{};
    gmtime_r(&wall_before, &parts);
    char change[32];
    std::snprintf(change, sizeof change, "%d/%d:%02d:%02d", parts.tm_yday, parts.tm_hour, parts.tm_min,
                  parts.tm_sec);
    const std::string half_a_year_away = std::to_string((parts.tm_yday + 180) % 365) + "/0";
    return std::string("STD-1SUM-2,") +
           (to_summer ? change + (',' + half_a_year_away) : half_a_year_away + ',' + change);
}

TEST(get_timezone_diff, is_true_right_after_the_clocks_changed)
{
    set_time_zone(zone_that_changed_half_an_hour_ago(true));
    EXPECT_EQ(get_timezone_diff(), 2 * 3600) << std::getenv("TZ");
    set_time_zone(zone_that_changed_half_an_hour_ago(false));
    EXPECT_EQ(get_timezone_diff(), 3600) << std::getenv("TZ");
}

std::string start_of(std::string unit, std::string ms_text)
{
    char out[64] = "untouched";
    trans_timestamp_to_timepoint(unit.data(), ms_text.data(), out);
    return out;
}

TEST(trans_timestamp_to_timepoint, goes_back_to_the_start_of_the_local_hour_or_day)
{
    const struct {
        const char* zone;
        const char* unit;
        const char* ms;
        const char* start;
    } cases[] = {
        {"UTC0", "day", "1712324710123", "1712275200000"}, // 13:45:10 gives 00:00:00
        {"UTC0", "hour", "1712324710123", "1712322000000"},
        {"CST-8", "day", "1712324710123", "1712246400000"},
        {"CST-8", "hour", "1712324710123", "1712322000000"},
        {"EST5", "day", "1712280000000", "1712206800000"}, // still the day before there
        {"IST-5:30", "hour", "1712324710123", "1712323800000"},
        {"IST-5:30", "day", "1712324710123", "1712255400000"},
        // The start itself stays, a millisecond before it belongs to the one before.
        {"UTC0", "day", "1712275200000", "1712275200000"},
        {"UTC0", "day", "1712275199999", "1712188800000"},
        {"UTC0", "hour", "1712322000000", "1712322000000"},
        {"UTC0", "hour", "1712321999999", "1712318400000"},
        // Seconds with three zeros behind them, whatever they are.
        {"UTC0", "day", "5", "0000"},
        {"UTC0", "hour", "-1000", "-3600000"},
        {"UTC0", "day", "-1000", "-86400000"},
        {"CST-8", "day", "0", "-28800000"},
        // Text that is no number is 0, text behind a number is not looked at.
        {"UTC0", "day", "", "0000"},
        {"UTC0", "day", "noon", "0000"},
        {"UTC0", "hour", " 1712324710123 ms", "1712322000000"},
        {"UTC0", "hour", "0x10", "0000"},
    };
    for (const auto& c : cases) {
        set_time_zone(c.zone);
        EXPECT_EQ(start_of(c.unit, c.ms), c.start) << c.zone << ' ' << c.unit << ' ' << c.ms;
    }
}

TEST(trans_timestamp_to_timepoint, knows_the_days_on_which_the_clocks_change)
{
    const struct {
        const char* zone;
        const char* unit;
        const char* ms;
        const char* start;
    } cases[] = {
        // 31 March 2024, 02:00 became 03:00; midnight was still in winter time.
        {middle_europe, "day", "1711879200000", "1711839600000"},
        {middle_europe, "hour", "1711847700000", "1711846800000"},
        // 27 October 2024, 03:00 became 02:00; midnight was still in summer time.
        {middle_europe, "day", "1730026800000", "1729980000000"},
        // The hour from 02:00 comes twice, and both are hours of their own.
        {middle_europe, "hour", "1729989000000", "1729987200000"},
        {middle_europe, "hour", "1729992600000", "1729990800000"},
    };
    for (const auto& c : cases) {
        set_time_zone(c.zone);
        EXPECT_EQ(start_of(c.unit, c.ms), c.start) << c.unit << ' ' << c.ms;
    }
}

TEST(trans_timestamp_to_timepoint, knows_the_days_on_which_the_clocks_change_elsewhere)
{
    const char* sydney = "AEST-10AEDT,M10.1.0,M4.1.0/3";
    const char* lord_howe = "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0"; // by half an hour
    const char* santiago = "<-04>4<-03>,M9.1.6/24,M4.1.6/24";       // at midnight
    const char* azores = "<-01>1<+00>,M3.5.0/0,M10.5.0/1";          // at midnight, and back to it
    const struct {
        const char* zone;
        const char* ms;
        const char* start;
    } cases[] = {
        {sydney, "1728174600000", "1728136800000"}, // 6 October 2024, forward
        {sydney, "1712455200000", "1712408400000"}, // 7 April 2024, back
        {lord_howe, "1728174600000", "1728135000000"},
        {lord_howe, "1712455200000", "1712408400000"},
        // 8 September 2024 has no midnight: it begins at 01:00.
        {santiago, "1725768000000", "1725768000000"},
        {santiago, "1725767999999", "1725681600000"},
        {santiago, "1725804000000", "1725768000000"},
        // The last hour of 6 April 2024 comes twice.
        {santiago, "1712460600000", "1712372400000"},
        {santiago, "1712457000000", "1712372400000"},
        {santiago, "1712462400000", "1712462400000"},
        // 31 March 2024 begins at 01:00; the first hour of 27 October 2024 comes twice.
        {azores, "1711882800000", "1711846800000"},
        {azores, "1729987200000", "1729987200000"},
        {azores, "1729989000000", "1729987200000"},
        {azores, "1729992600000", "1729987200000"},
        {azores, "1730044800000", "1729987200000"},
        {azores, "1729987199999", "1729900800000"},
    };
    for (const auto& c : cases) {
        set_time_zone(c.zone);
        EXPECT_EQ(start_of("day", c.ms), c.start) << c.zone << ' ' << c.ms;
    }
}

TEST(trans_timestamp_to_timepoint, knows_days_that_begin_without_their_midnight_or_twice)
{
    const char* split = "NST3:30NDT,M4.1.0/0:01,M11.1.0/0:01"; // back an hour from 00:01
    const char* skipped = "AAA0BBB,M3.5.6/23:30,M10.5.0/3";    // forward from 23:30 to 00:30
    const struct {
        const char* zone;
        const char* ms;
        const char* start;
    } cases[] = {
        // 3 November 2024 begins, is left after a minute and begins anew an hour later: one day, begun at first.
        {split, "1730601000000", "1730601000000"},
        {split, "1730601059999", "1730601000000"},
        {split, "1730604600000", "1730601000000"},
        {split, "1730640000000", "1730601000000"},
        {split, "1730690999999", "1730601000000"},
        {split, "1730691000000", "1730691000000"},
        // The hour between belongs to the day before.
        {split, "1730600999999", "1730514600000"},
        {split, "1730601060000", "1730514600000"},
        {split, "1730604599999", "1730514600000"},
        // 31 March 2024 begins at 00:30, which is the second after 23:29:59.
        {skipped, "1711841399999", "1711756800000"},
        {skipped, "1711841400000", "1711841400000"},
        {skipped, "1711882800000", "1711841400000"},
        {skipped, "1711925999999", "1711841400000"},
        {skipped, "1711926000000", "1711926000000"},
    };
    for (const auto& c : cases) {
        set_time_zone(c.zone);
        EXPECT_EQ(start_of("day", c.ms), c.start) << c.zone << ' ' << c.ms;
    }
}

/// On 7 April 2024 02:00 became 01:30: the full hour is that of the offset in force.
TEST(trans_timestamp_to_timepoint, goes_back_to_the_full_hour_where_half_an_hour_comes_twice)
{
    const struct {
        const char* ms;
        const char* start;
    } cases[] = {
        {"1712414700000", "1712412000000"}, // 01:45 in summer time: 01:00 in summer time
        {"1712416500000", "1712413800000"}, // 01:45 in winter time: 01:00 in winter time
        {"1712418300000", "1712417400000"}, // 02:15
    };
    set_time_zone("<+1030>-10:30<+11>-11,M10.1.0,M4.1.0");
    for (const auto& c : cases) {
        EXPECT_EQ(start_of("hour", c.ms), c.start) << c.ms;
    }
}

TEST(trans_timestamp_to_timepoint, reaches_to_the_ends_of_64_bits)
{
    const std::string largest = std::to_string(LLONG_MAX);
    const std::string smallest = std::to_string(LLONG_MIN);
    const struct {
        const char* zone;
        const char* unit;
        std::string ms;
        const char* start;
    } cases[] = {
        {"UTC0", "day", largest, "9223372036828800000"},    {"CST-8", "day", largest, "9223372036800000000"},
        {"UTC0", "hour", largest, "9223372036854000000"},   {"UTC0", "day", smallest, "-9223372036915200000"},
        {"CST-8", "day", smallest, "-9223372036857600000"}, {"EST5", "day", smallest, "-9223372036897200000"},
        {"UTC0", "hour", smallest, "-9223372036857600000"},
    };
    for (const auto& c : cases) {
        set_time_zone(c.zone);
        EXPECT_EQ(start_of(c.unit, c.ms), c.start) << c.zone << ' ' << c.unit << ' ' << c.ms;
        EXPECT_EQ(start_of(c.unit, c.ms + "9"), c.start) << "beyond 64 bits";
    }
}

/// Of a local time that comes twice, mktime gives the one or the other by what it was asked before.
TEST(trans_timestamp_to_timepoint, does_not_depend_on_conversions_before_it)
{
    set_time_zone("<-01>1<+00>,M3.5.0/0,M10.5.0/1");
    for (const std::time_t before : {1709287200, 1719828000, 1733047200}) { // March, July, December
        std::tm parts{};
        localtime_r(&before, &parts);
        parts.tm_isdst = -1;
        ASSERT_EQ(std::mktime(&parts), before);
        EXPECT_EQ(start_of("day", "1730044800000"), "1729987200000") << before;
    }
}

TEST(trans_timestamp_to_timepoint, with_a_null_argument_writes_nothing)
{
    char unit[] = "day";
    char ms[] = "1712324710123";
    char out[32] = "untouched";
    trans_timestamp_to_timepoint(nullptr, ms, out);
    EXPECT_STREQ(out, "untouched");
    trans_timestamp_to_timepoint(unit, nullptr, out);
    EXPECT_STREQ(out, "untouched");
    trans_timestamp_to_timepoint(unit, ms, nullptr);
    EXPECT_STREQ(unit, "day");
    EXPECT_STREQ(ms, "1712324710123");
}

TEST(trans_timestamp_to_timepoint, with_any_other_unit_writes_nothing)
{
    set_time_zone("UTC0");
    for (const char* unit : {"", "Day", "DAY", "days", "day ", "hou", "Hour", "minute", "15-min", "month"}) {
        EXPECT_EQ(start_of(unit, "1712324710123"), "untouched") << unit;
    }
}

} // namespace

} // namespace korvane::test
