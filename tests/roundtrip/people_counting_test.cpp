#include "tests/dispatch/calls.h"
#include "tests/roundtrip/answers.h"
#include "tests/roundtrip/roundtrip_test.h"
#include "tests/support/debug_log.h"
#include "tests/support/time_zone.h"

#include <korvane/ai_metadata.h>

#include <algorithm>
#include <climits>
#include <ctime>
#include <random>
#include <set>

namespace korvane::test {

namespace {

using texts = std::vector<std::string>;

constexpr long long hour_ms = 3'600'000;
constexpr long long day_ms = 24 * hour_ms;
constexpr long long midnight = 1'712'275'200'000; ///< 5 April 2024, UTC

const std::string kind = R"("function_name":"PeopleCounting")";

/// What went through one line of a channel.
struct counted {
    std::string channel;
    long long time;
    int in;
    int out;
};

/// As members of a report's object, or of a bucket in an answer.
struct sums {
    long long in = 0;
    long long out = 0;

    sums& operator+=(const sums& more)
    {
        in += more.in;
        out += more.out;
        return *this;
    }
    bool operator==(const sums& other) const { return in == other.in && out == other.out; }
};

std::ostream& operator<<(std::ostream& stream, const sums& shown)
{
    return stream << shown.in << " in, " << shown.out << " out";
}

/// Reports counts, each object of `objects` an {"people_count_in",...} without its position.
void report(const std::string& channel, long long time, const std::string& objects)
{
    const std::string text = R"({"timestamp":)" + std::to_string(time) + R"(,"channel_sid":")" + channel +
                             R"(","results":[{)" + kind + R"(,"objects":[[)" + objects + "]]}]}";
    ASSERT_EQ(insert(text), 0) << text;
}

std::string object(int in, int out)
{
    return R"({"people_count_in":)" + std::to_string(in) + R"(,"people_count_out":)" + std::to_string(out) +
           R"(,"position":[{"x":0,"y":0.5},{"x":1,"y":0.5}]})";
}

void report(const counted& one)
{
    report(one.channel, one.time, object(one.in, one.out));
}

std::string filters(const char* query_type, long long time, const std::string& more = {})
{
    return kind + R"(,"query_type":")" + query_type + R"(","start_time":")" + std::to_string(time) + '"' +
           more;
}

struct bucket {
    std::string channel;
    long long start;
    sums sum;
};

/// One channel's series.
std::vector<bucket> series(const char* query_type, long long time, const std::string& channel)
{
    const answered answer(filters(query_type, time, R"(,"channel_sid":")" + channel + '"'));
    const texts starts = answer.each("start_time");
    const texts in = answer.each("sum_in");
    const texts out = answer.each("sum_out");
    std::vector<bucket> buckets;
    for (std::size_t i = 0; i < starts.size(); ++i) {
        buckets.push_back({channel, std::stoll(starts[i]), {std::stoll(in[i]), std::stoll(out[i])}});
    }
    return buckets;
}

/// The series of several channels, one behind the other.
std::vector<bucket> all_series(const char* query_type, long long time, const texts& channels)
{
    std::vector<bucket> all;
    for (const std::string& channel : channels) {
        const std::vector<bucket> one = series(query_type, time, channel);
        all.insert(all.end(), one.begin(), one.end());
    }
    return all;
}

/// The date over a bucket in an answer of all channels, which takes the bucket's time without its sign.
std::string shown_date(long long start)
{
    const auto seconds = static_cast<std::time_t>(static_cast<unsigned long long>(start) / 1000);
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d", &local);
    return text;
}

/// The rows of an answer of all channels as they follow from the channels' series: groups of seven buckets under the
/// channel of the first, a rest left out.
texts groups_of(const std::vector<bucket>& buckets)
{
    constexpr std::size_t group_size = 7;
    texts groups;
    for (std::size_t first = 0; first + group_size <= buckets.size(); first += group_size) {
        std::string data;
        for (std::size_t i = first; i < first + group_size; ++i) {
            data += std::string(i == first ? "" : ", ") + R"({ "date": ")" + shown_date(buckets[i].start) +
                    R"(", "sum_in": )" + std::to_string(buckets[i].sum.in) + R"(, "sum_out": )" +
                    std::to_string(buckets[i].sum.out) + " }";
        }
        groups.push_back(R"({ "channel_sid": ")" + buckets[first].channel + R"(", "data": [ )" + data +
                         " ] }");
    }
    return groups;
}

sums total(const std::vector<bucket>& buckets)
{
    sums all;
    for (const bucket& one : buckets) {
        all += one.sum;
    }
    return all;
}

/// "2:3/1 5:0/9": the buckets that are not zero, by their numbers.
std::string filled(const std::vector<bucket>& buckets)
{
    std::string text;
    for (std::size_t i = 0; i < buckets.size(); ++i) {
        if (!(buckets[i].sum == sums())) {
            text += (text.empty() ? "" : " ") + std::to_string(i) + ":" + std::to_string(buckets[i].sum.in) +
                    "/" + std::to_string(buckets[i].sum.out);
        }
    }
    return text;
}

int delete_before_the_week_of(long long time)
{
    std::string text = std::to_string(time);
    return delete_people_counting(text.data());
}

class people_counting_roundtrip : public roundtrip_test {};

TEST_F(people_counting_roundtrip, adds_up_what_was_reported_by_its_time)
{
    report({"door", midnight, 1, 2});
    report({"door", midnight + hour_ms / 4 - 1, 3, 4});
    report({"door", midnight + hour_ms / 4, 5, 6});
    report({"door", midnight + day_ms - 1, 7, 8});
    EXPECT_EQ(filled(series("15-min", midnight, "door")), "0:4/6 1:5/6 95:7/8");
    EXPECT_EQ(filled(series("hour", midnight, "door")), "0:9/12 23:7/8");
    EXPECT_EQ(filled(series("day", midnight, "door")), "6:16/20");
    EXPECT_EQ(filled(series("day", midnight + 6 * day_ms, "door")), "0:16/20");
    EXPECT_EQ(filled(series("day", midnight + 7 * day_ms, "door")), "");
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(people_counting_roundtrip, adds_up_the_objects_of_one_report)
{
    report("door", midnight, object(1, 2) + "," + object(3, 4) + "," + object(0, 0));
    EXPECT_EQ(filled(series("hour", midnight, "door")), "0:4/6");
    // Two results of the kind: the report is stored twice.
    const std::string result = "{" + kind + R"(,"objects":[[)" + object(10, 20) + "]]}";
    ASSERT_EQ(insert(R"({"timestamp":")" + std::to_string(midnight) +
                     R"(","channel_sid":"gate","results":[)" + result + "," + result + "]}"),
              0);
    EXPECT_EQ(filled(series("hour", midnight, "gate")), "0:40/80");
}

TEST_F(people_counting_roundtrip, shows_the_day_and_the_week_that_are_asked_for_only)
{
    for (const long long time : {midnight - 6 * day_ms - 1, midnight - 6 * day_ms, midnight - 1, midnight,
                                 midnight + day_ms - 1, midnight + day_ms}) {
        report({"door", time, 1, 10});
    }
    EXPECT_EQ(filled(series("15-min", midnight + 5 * hour_ms, "door")), "0:1/10 95:1/10");
    EXPECT_EQ(filled(series("hour", midnight + day_ms - 1, "door")), "0:1/10 23:1/10");
    EXPECT_EQ(filled(series("day", midnight, "door")), "0:1/10 5:1/10 6:2/20");
}

TEST_F(people_counting_roundtrip, shows_the_channel_that_is_asked_for_only)
{
    const texts channels{"door", "doo", "door ", "Door", "a&b=c", "100%20", "門", std::string(32, 'c')};
    int in = 0;
    for (const std::string& channel : channels) {
        report({channel, midnight, ++in, 0});
    }
    in = 0;
    for (const std::string& channel : channels) {
        EXPECT_EQ(filled(series("hour", midnight, channel)), "0:" + std::to_string(++in) + "/0") << channel;
    }
    EXPECT_EQ(filled(series("hour", midnight, "nobody")), "");
    EXPECT_EQ(answered(filters("day", midnight)).count(), static_cast<int>(channels.size()));
}

TEST_F(people_counting_roundtrip, has_zeros_for_a_channel_and_no_groups_when_nothing_is_stored)
{
    const std::pair<const char*, std::size_t> types[] = {{"15-min", 96}, {"hour", 24}, {"day", 7}};
    for (const auto& [query_type, buckets] : types) {
        const std::vector<bucket> empty = series(query_type, midnight, "door");
        EXPECT_EQ(empty.size(), buckets);
        EXPECT_EQ(total(empty), sums());
        const answered all(filters(query_type, midnight));
        EXPECT_EQ(all.count(), 0);
        EXPECT_EQ(all.rows(), texts());
    }
}

TEST_F(people_counting_roundtrip, counts_from_0_up)
{
    report({"door", midnight, 0, 0});
    report({"door", midnight, -5, 3});
    report({"door", midnight, INT_MIN, INT_MIN});
    EXPECT_EQ(filled(series("hour", midnight, "door")), "0:0/3");
}

TEST_F(people_counting_roundtrip, stops_at_the_largest_sum_that_an_answer_holds)
{
    report({"door", midnight, INT_MAX, INT_MAX - 1});
    report({"door", midnight, INT_MAX, 1});
    EXPECT_EQ(filled(series("hour", midnight, "door")), "0:2147483647/2147483647");
}

TEST_F(people_counting_roundtrip, keeps_counts_without_a_channel_apart)
{
    report({"", midnight, 5, 0});
    report({"door", midnight, 1, 0});
    const answered all(filters("day", midnight));
    EXPECT_EQ(all.count(), 2);
    EXPECT_EQ(all.each("channel_sid"), (texts{"", "door"}));
    EXPECT_EQ(filled(series("day", midnight, "door")), "6:1/0");
}

TEST_F(people_counting_roundtrip, reaches_before_the_epoch)
{
    report({"door", -1000, 1, 0});
    report({"door", -6 * day_ms, 2, 0});
    report({"door", -10 * day_ms, 4, 0});
    EXPECT_EQ(filled(series("hour", -5000, "door")), "23:1/0");
    EXPECT_EQ(filled(series("day", 5, "door")), "0:2/0 5:1/0");
    EXPECT_EQ(filled(series("day", -10 * day_ms + 5, "door")), "6:4/0");
    EXPECT_EQ(series("day", 5, "nobody").size(), 7U);
    EXPECT_EQ(series("day", 5, "nobody").front().start, -6 * day_ms);
}

TEST_F(people_counting_roundtrip, counts_what_came_before_a_fault)
{
    EXPECT_EQ(insert(R"({"timestamp":")" + std::to_string(midnight) +
                     R"(","channel_sid":"door","results":[{)" + kind + R"(,"objects":[[)" + object(1, 0) +
                     "," + object(2, 0) + R"(],[{"people_count_in":4,"position":[]},)" + object(8, 0) +
                     "]]}]}"),
              code(result_bad_request));
    EXPECT_EQ(filled(series("hour", midnight, "door")), "0:3/0");
}

TEST_F(people_counting_roundtrip, gives_back_what_the_store_says_to_a_text_that_breaks_the_body)
{
    EXPECT_EQ(insert(R"({"timestamp":1,"channel_sid":"a \"b\"","results":[{)" + kind + R"(,"objects":[[)" +
                     object(1, 0) + "]]}]}"),
              1001);
    EXPECT_EQ(answered(filters("day", 1)).count(), 0);
}

TEST_F(people_counting_roundtrip, fails_without_a_store)
{
    stop_store();
    EXPECT_EQ(query("{\"metadata\":{" + filters("day", midnight) + "}}").code, -1);
    EXPECT_EQ(insert(R"({"timestamp":1,"channel_sid":"a","results":[{)" + kind + R"(,"objects":[[)" +
                     object(1, 0) + "]]}]}"),
              -1);
    EXPECT_EQ(delete_before_the_week_of(midnight), -1);
}

// ------------------------------------------------------------------------------------------------- pages

/// What all pages of `limit` groups show, one after the other; each must tell the same count.
texts all_pages(const char* query_type, int limit, int count)
{
    texts groups;
    for (int skip = 0; skip <= count + limit; skip += limit) {
        const answered page(
            filters(query_type, midnight,
                    R"(,"skip":)" + std::to_string(skip) + R"(,"limit":)" + std::to_string(limit)));
        EXPECT_EQ(page.count(), count);
        const texts shown = page.rows();
        EXPECT_EQ(shown.size(), static_cast<std::size_t>(std::clamp(count - skip, 0, limit)));
        groups.insert(groups.end(), shown.begin(), shown.end());
    }
    return groups;
}

TEST_F(people_counting_roundtrip, shows_each_group_once_on_pages_of_any_size)
{
    constexpr int channels = 13;
    for (int i = 0; i < channels; ++i) {
        report({"channel " + std::to_string(i), midnight + i * hour_ms, 100 + i, i});
    }
    const texts names = answered(filters("day", midnight, R"(,"limit":100)")).each("channel_sid");
    EXPECT_EQ(names.size(), static_cast<std::size_t>(channels));
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size()) << "a channel twice";
    const struct {
        const char* query_type;
        int count;
        std::vector<int> limits;
    } cases[] = {
        {"day", channels, {1, 2, 3, 10, 13, 14}},
        {"hour", channels * 24 / 7, {7, 10}},
        {"15-min", channels * 96 / 7, {50}},
    };
    for (const auto& c : cases) {
        const texts at_once = answered(filters(c.query_type, midnight, R"(,"limit":100000)")).rows();
        EXPECT_EQ(at_once.size(), static_cast<std::size_t>(c.count)) << c.query_type;
        EXPECT_EQ(at_once, groups_of(all_series(c.query_type, midnight, names))) << c.query_type;
        for (const int limit : c.limits) {
            EXPECT_EQ(all_pages(c.query_type, limit, c.count), at_once) << c.query_type << ' ' << limit;
        }
    }
    EXPECT_EQ(answered(filters("day", midnight)).rows().size(), 10U) << "ten, when nothing is said";
}

TEST_F(people_counting_roundtrip, pages_hold_the_same_as_each_channel_alone)
{
    report({"b", midnight - day_ms, 3, 1});
    report({"a", midnight, 5, 0});
    report({"a", midnight - 6 * day_ms, 0, 7});
    EXPECT_EQ(
        answered(filters("day", midnight)).rows(),
        (texts{R"({ "channel_sid": "a", "data": [ { "date": "2024-03-30", "sum_in": 0, "sum_out": 7 }, )"
               R"({ "date": "2024-03-31", "sum_in": 0, "sum_out": 0 }, )"
               R"({ "date": "2024-04-01", "sum_in": 0, "sum_out": 0 }, )"
               R"({ "date": "2024-04-02", "sum_in": 0, "sum_out": 0 }, )"
               R"({ "date": "2024-04-03", "sum_in": 0, "sum_out": 0 }, )"
               R"({ "date": "2024-04-04", "sum_in": 0, "sum_out": 0 }, )"
               R"({ "date": "2024-04-05", "sum_in": 5, "sum_out": 0 } ] })",
               R"({ "channel_sid": "b", "data": [ { "date": "2024-03-30", "sum_in": 0, "sum_out": 0 }, )"
               R"({ "date": "2024-03-31", "sum_in": 0, "sum_out": 0 }, )"
               R"({ "date": "2024-04-01", "sum_in": 0, "sum_out": 0 }, )"
               R"({ "date": "2024-04-02", "sum_in": 0, "sum_out": 0 }, )"
               R"({ "date": "2024-04-03", "sum_in": 0, "sum_out": 0 }, )"
               R"({ "date": "2024-04-04", "sum_in": 3, "sum_out": 1 }, )"
               R"({ "date": "2024-04-05", "sum_in": 0, "sum_out": 0 } ] })"}));
}

// ------------------------------------------------------------------------------------------------ delete

TEST_F(people_counting_roundtrip, deletes_what_is_older_than_the_week_that_is_shown)
{
    const long long cut = midnight - 6 * day_ms;
    for (const long long time : {cut - 7 * day_ms, cut - 1, cut, cut + 1, midnight, midnight + 30 * day_ms}) {
        report({"door", time, 1, 10});
        report({"gate", time, 2, 20});
    }
    const std::string week = filled(series("day", midnight, "door"));
    EXPECT_EQ(week, "0:2/20 6:1/10");
    EXPECT_EQ(filled(series("day", cut - 1, "door")), "0:1/10 6:1/10");

    EXPECT_EQ(delete_before_the_week_of(midnight + 13 * hour_ms), 0);
    EXPECT_EQ(filled(series("day", midnight, "door")), week);
    EXPECT_EQ(filled(series("day", midnight, "gate")), "0:4/40 6:2/20");
    EXPECT_EQ(filled(series("day", midnight + 30 * day_ms, "door")), "6:1/10");
    EXPECT_EQ(filled(series("day", cut - 1, "door")), "");
    EXPECT_EQ(filled(series("day", cut - 7 * day_ms, "gate")), "");
    EXPECT_EQ(delete_before_the_week_of(midnight), 0) << "nothing is left to delete, which is no failure";
    EXPECT_EQ(filled(series("day", midnight, "door")), week);
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(people_counting_roundtrip, deletes_by_the_local_day)
{
    set_time_zone("CST-8");
    const long long local_midnight = midnight - 8 * hour_ms;
    report({"door", local_midnight - 6 * day_ms - 1, 1, 0});
    report({"door", local_midnight - 6 * day_ms, 2, 0});
    EXPECT_EQ(delete_before_the_week_of(local_midnight + day_ms - 1), 0);
    EXPECT_EQ(filled(series("day", local_midnight, "door")), "0:2/0");
    EXPECT_EQ(filled(series("day", local_midnight - day_ms, "door")), "1:2/0");
    EXPECT_EQ(delete_before_the_week_of(local_midnight + day_ms), 0);
    EXPECT_EQ(filled(series("day", local_midnight, "door")), "");
}

TEST_F(people_counting_roundtrip, deletes_nothing_for_a_text_that_is_no_number)
{
    report({"door", 0, 1, 0});
    std::string text = "yesterday";
    EXPECT_EQ(delete_people_counting(text.data()), 0);
    EXPECT_EQ(filled(series("day", 0, "door")), "6:1/0");
}

TEST_F(people_counting_roundtrip, deletes_no_results_of_other_kinds)
{
    ASSERT_EQ(insert(R"({"timestamp":1,"channel_sid":"door","results":[{"function_name":"HumanDetection",
        "objects":[[{}]]}]})"),
              0);
    report({"door", 1, 1, 0});
    EXPECT_EQ(delete_before_the_week_of(midnight), 0);
    EXPECT_EQ(answered(R"("function_name":"HumanDetection")").count(), 1);
    EXPECT_EQ(answered(filters("day", 1)).count(), 0);
}

// ----------------------------------------------------------------------------------------- random weeks

struct zone {
    const char* name;
    const char* posix;
    std::vector<std::tm> last_days; ///< of weeks of its own, besides those at random
};

std::tm day(int year, int month, int day_of_month)
{
    std::tm date{};
    date.tm_year = year - 1900;
    date.tm_mon = month - 1;
    date.tm_mday = day_of_month;
    return date;
}

const std::vector<zone>& zones()
{
    static const std::vector<zone> all{
        {"utc", "UTC0", {day(2024, 2, 29), day(1970, 1, 3), day(1969, 12, 30)}},
        {"northern", "CET-1CEST,M3.5.0,M10.5.0/3", {day(2024, 3, 31), day(2024, 10, 27), day(2024, 11, 1)}},
        {"southern", "AEST-10AEDT,M10.1.0,M4.1.0/3", {day(2024, 10, 6), day(2024, 4, 9)}},
        {"half_hour", "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", {day(2024, 10, 7), day(2024, 4, 7)}},
        {"midnight", "<-04>4<-03>,M9.1.6/24,M4.1.6/24", {day(2024, 9, 8), day(2024, 4, 7)}},
        {"twofold_midnight", "<-01>1<+00>,M3.5.0/0,M10.5.0/1", {day(2024, 3, 31), day(2024, 10, 28)}},
        {"broken_day", "NST3:30NDT,M4.1.0/0:01,M11.1.0/0:01", {day(2024, 11, 3), day(2024, 11, 5)}},
        {"skipped_midnight", "<-04>4<-03>,M9.1.6/23:30,M4.1.6/24", {day(2024, 9, 8), day(2024, 9, 9)}},
    };
    return all;
}

long long noon(std::tm date)
{
    date.tm_hour = 12;
    date.tm_isdst = -1;
    return std::mktime(&date) * 1000LL;
}

std::string date_of(std::tm date)
{
    std::mktime(&date);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d", &date);
    return text;
}

std::tm days_later(std::tm date, int days)
{
    date.tm_mday += days;
    return date;
}

std::pair<int, int> local_day(long long ms)
{
    const std::time_t seconds = ms / 1000;
    std::tm parts{};
    localtime_r(&seconds, &parts);
    return {parts.tm_year, parts.tm_yday};
}

/// The first moment of the local day that holds a time, found without the library: minute by minute, from a
/// time before any day that may hold it.
long long first_moment(long long ms)
{
    constexpr long long minute_ms = 60'000;
    const std::pair<int, int> day = local_day(ms);
    long long first = ms - (ms % minute_ms + minute_ms) % minute_ms - 30 * hour_ms;
    while (local_day(first) != day) {
        first += minute_ms;
    }
    return first;
}

class random_weeks : public roundtrip_test, public ::testing::WithParamInterface<zone> {
protected:
    static constexpr const char* channels[] = {"door", "gate"};
    static constexpr unsigned seeds = 5;

    /// Reports counts of the week that ends with the day of `last_noon`, and of two days around.
    void report_week(long long last_noon)
    {
        sent_.clear();
        const long long from = first_moment(last_noon) - 8 * day_ms;
        for (int i = 0; i < 30; ++i) {
            // On the second, and now and then on the edge of an hour or the last millisecond before it.
            long long time = from + below(10 * 86'400) * 1000LL;
            time -= i % 5 == 0 ? time % hour_ms : 0;
            time -= i % 10 == 0 ? 1 : 0;
            sent_.push_back({channels[below(2)], time, below(50), below(50)});
            report(sent_.back());
        }
    }

    sums sent(const std::string& channel, long long from, long long end) const
    {
        sums all;
        for (const counted& one : sent_) {
            if (one.channel == channel && one.time >= from && one.time < end) {
                all += {one.in, one.out};
            }
        }
        return all;
    }

    /// Every bucket is there, and holds what was sent in its time, no more and no less.
    void expect_exact(const std::vector<bucket>& buckets, const std::string& channel, long long start,
                      long long interval, std::size_t count) const
    {
        ASSERT_EQ(buckets.size(), count);
        for (std::size_t i = 0; i < count; ++i) {
            const long long from = start + static_cast<long long>(i) * interval;
            ASSERT_EQ(buckets[i].start, from);
            ASSERT_EQ(buckets[i].sum, sent(channel, from, from + interval)) << "bucket " << i;
        }
    }

    void check_week(const std::tm& last_day)
    {
        const long long last_start = first_moment(noon(last_day));
        const long long week_start = last_start - 6 * day_ms;
        for (const std::string channel : channels) {
            SCOPED_TRACE(channel);
            const std::vector<bucket> days = series("day", noon(last_day), channel);
            expect_exact(days, channel, week_start, day_ms, 7);
            EXPECT_EQ(total(days), sent(channel, week_start, last_start + day_ms));

            sums of_hours;
            bool clocks_changed = false;
            for (int i = -6; i <= 0; ++i) {
                const long long asked = noon(days_later(last_day, i)) + below(11 * 3600) * 1000LL;
                const long long start = first_moment(asked);
                clocks_changed = clocks_changed || start != last_start + i * day_ms;
                const std::vector<bucket> hours = series("hour", asked, channel);
                const std::vector<bucket> quarters = series("15-min", asked, channel);
                expect_exact(hours, channel, start, hour_ms, 24);
                expect_exact(quarters, channel, start, hour_ms / 4, 96);
                EXPECT_EQ(total(quarters), total(hours));
                of_hours += total(hours);
            }
            // A changed clock leaves an hour out of the single days, or shows one twice; the week's days are
            // 24 hours each.
            if (!clocks_changed) {
                EXPECT_EQ(of_hours, total(days));
            }
            weeks_without_a_change_ += clocks_changed ? 0 : 1;
            weeks_with_a_change_ += clocks_changed ? 1 : 0;
        }
    }

    /// The groups of all channels are the weeks of those that counted anybody.
    void check_all_channels(const std::tm& last_day)
    {
        const long long last_start = first_moment(noon(last_day));
        texts counting;
        for (const std::string channel : channels) {
            if (std::any_of(sent_.begin(), sent_.end(), [&](const counted& one) {
                    return one.channel == channel && one.time >= last_start - 6 * day_ms &&
                           one.time < last_start + day_ms;
                })) {
                counting.push_back(channel);
            }
        }
        const answered all(filters("day", noon(last_day)));
        EXPECT_EQ(all.rows(), groups_of(all_series("day", noon(last_day), counting)));
        EXPECT_EQ(static_cast<std::size_t>(all.count()), counting.size());
    }

    void check(const std::tm& last_day)
    {
        SCOPED_TRACE("week until " + date_of(last_day));
        restart_store();
        report_week(noon(last_day));
        check_week(last_day);
        check_all_channels(last_day);
    }

    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

    std::mt19937 random_;
    std::vector<counted> sent_;
    int weeks_without_a_change_ = 0;
    int weeks_with_a_change_ = 0;
};

TEST_P(random_weeks, have_the_same_sums_by_quarters_hours_and_days_as_were_sent)
{
    set_time_zone(GetParam().posix);
    const std::vector<std::tm>& own = GetParam().last_days;
    ASSERT_LE(own.size(), seeds);
    for (unsigned seed = 1; seed <= seeds; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        random_.seed(seed);
        if (seed <= own.size()) {
            check(own[seed - 1]);
        }
        check(days_later(day(1971 + below(60), 1, 1), below(365)));
        if (HasFatalFailure()) {
            return;
        }
    }
    EXPECT_GT(weeks_without_a_change_, 0);
    EXPECT_EQ(weeks_with_a_change_ > 0, std::string(GetParam().posix) != "UTC0");
    EXPECT_EQ(debug_log_texts(), texts());
}

std::string name_of_zone(const ::testing::TestParamInfo<zone>& tested)
{
    return tested.param.name;
}

INSTANTIATE_TEST_SUITE_P(people_counting, random_weeks, ::testing::ValuesIn(zones()), name_of_zone);

} // namespace

} // namespace korvane::test
