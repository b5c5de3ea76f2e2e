#include "codec/people_counting.h"

#include "tests/codec/record_fields.h"
#include "tests/support/child_process.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"

#include <climits>
#include <map>
#include <random>
#include <set>

namespace korvane::test {

namespace {

using bucket = people_counting_metadata_information;
using log_texts = std::vector<std::string>;

constexpr long long hour_ms = 3'600'000;
constexpr long long day_ms = 24 * hour_ms;
constexpr long long midnight = 1'712'275'200'000;

/// What is asked for: a range, and whether one channel of it.
struct question {
    long long start = midnight;
    long long end = midnight + 4 * hour_ms - 1; ///< the last millisecond
    long long interval = hour_ms;
    bool one_channel = false;

    std::size_t buckets() const { return static_cast<std::size_t>((end - start) / interval + 1); }
};

constexpr question four_hours{};

question for_one_channel(question asked)
{
    asked.one_channel = true;
    return asked;
}

struct series {
    int result = 11;
    std::vector<bucket> buckets;
};

series read(const std::string& reply, const question& asked, series before = {})
{
    std::string channel = "door";
    const auto number = [](long long value) { return static_cast<unsigned long long>(value); };
    EXPECT_EQ(trans_string_to_people_counting_metadata_statistics(
                  reply, asked.one_channel ? channel.data() : nullptr, nullptr, number(asked.interval),
                  number(asked.start), number(asked.end), before.buckets, before.result),
              0)
        << reply.substr(0, 500);
    return before;
}

/// A row as the store sends it; a null channel is none.
std::string row(const char* channel, long long time, int in, int out)
{
    return std::string("{\"_id\":{") +
           (channel ? "\"channel_sid\":\"" + std::string(channel) + "\"," : std::string()) +
           "\"timestamp\":" + std::to_string(time) + "},\"sum_in\":" + std::to_string(in) +
           ",\"sum_out\":" + std::to_string(out) + "}";
}

std::string reply_of(const std::vector<std::string>& rows)
{
    std::string text;
    for (const std::string& one : rows) {
        text += (text.empty() ? "" : ",") + one;
    }
    return R"({"ret":0,"datas":[)" + text + "]}";
}

/// "door 0:1/2 1:0/0 ...": each channel, and by the number of the bucket what went in and out; "|" where a
/// series of buckets begins anew.
std::string sketch(const std::vector<bucket>& buckets, const question& asked)
{
    std::string text;
    std::string channel = "?";
    for (const bucket& one : buckets) {
        const long long index = (one.timestamp - asked.start) / asked.interval;
        EXPECT_EQ(one.timestamp, asked.start + index * asked.interval) << "off the grid";
        text += index == 0 && !text.empty() ? " |" : "";
        if (index == 0 || one.channel_sid != channel) {
            channel = one.channel_sid;
            text += (text.empty() ? "" : " ") + channel;
        }
        text += " " + std::to_string(index) + ":" + std::to_string(one.people_count_in) + "/" +
                std::to_string(one.people_count_out);
    }
    return text;
}

std::string read_sketch(const std::vector<std::string>& rows, const question& asked = four_hours)
{
    return sketch(read(reply_of(rows), asked).buckets, asked);
}

class people_counting_statistics : public sandbox_test {};

TEST_F(people_counting_statistics, fill_the_gaps_between_rows_with_zeros)
{
    const struct {
        std::vector<std::string> rows;
        const char* series;
    } cases[] = {
        {{row("a", midnight, 1, 2)}, "a 0:1/2 1:0/0 2:0/0 3:0/0"},
        {{row("a", midnight + 2 * hour_ms, 5, 0)}, "a 0:0/0 1:0/0 2:5/0 3:0/0"},
        {{row("a", midnight + 3 * hour_ms, 5, 0)}, "a 0:0/0 1:0/0 2:0/0 3:5/0"},
        {{row("a", midnight, 1, 0), row("a", midnight + 2 * hour_ms, 2, 0)}, "a 0:1/0 1:0/0 2:2/0 3:0/0"},
        {{row("a", midnight, 1, 0), row("b", midnight + hour_ms, 2, 0)},
         "a 0:1/0 1:0/0 2:0/0 3:0/0 | b 0:0/0 1:2/0 2:0/0 3:0/0"},
        // The order is the store's.
        {{row("b", midnight, 1, 0), row("a", midnight, 2, 0)},
         "b 0:1/0 1:0/0 2:0/0 3:0/0 | a 0:2/0 1:0/0 2:0/0 3:0/0"},
        // Ids are compared byte by byte and to their ends.
        {{row("a", midnight, 1, 0), row("A", midnight, 2, 0), row("aa", midnight, 3, 0)},
         "a 0:1/0 1:0/0 2:0/0 3:0/0 | A 0:2/0 1:0/0 2:0/0 3:0/0 | aa 0:3/0 1:0/0 2:0/0 3:0/0"},
        {{row("a", midnight, -1, INT_MIN), row("a", midnight + hour_ms, 0, INT_MAX)},
         "a 0:-1/-2147483648 1:0/2147483647 2:0/0 3:0/0"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(read_sketch(c.rows), c.series);
        EXPECT_EQ(read_sketch(c.rows, for_one_channel(four_hours)), c.series) << "for one channel";
    }
    EXPECT_EQ(debug_log_texts(), log_texts());
}

TEST_F(people_counting_statistics, have_a_days_quarters_a_days_hours_and_a_weeks_days)
{
    const struct {
        question asked;
        std::size_t buckets;
    } cases[] = {
        {{midnight, midnight + day_ms - 1, 900'000}, 96},
        {{midnight, midnight + day_ms - 1, hour_ms}, 24},
        {{midnight - 6 * day_ms, midnight + day_ms - 1, day_ms}, 7},
    };
    for (const auto& c : cases) {
        const series two = read(reply_of({row("a", c.asked.start, 1, 0), row("b", midnight, 2, 0)}), c.asked);
        EXPECT_EQ(two.buckets.size(), 2 * c.buckets);
        EXPECT_EQ(two.buckets.front().timestamp, c.asked.start);
        EXPECT_EQ(two.buckets.back().timestamp, c.asked.end + 1 - c.asked.interval);
        EXPECT_EQ(read(reply_of({}), for_one_channel(c.asked)).buckets.size(), c.buckets);
    }
}

TEST_F(people_counting_statistics, without_rows_are_zeros_only_for_a_channel_that_is_asked_for)
{
    EXPECT_EQ(read_sketch({}), "");
    EXPECT_EQ(read_sketch({}, for_one_channel(four_hours)), " 0:0/0 1:0/0 2:0/0 3:0/0");
}

TEST_F(people_counting_statistics, without_rows_stop_short_of_the_end)
{
    const struct {
        long long start;
        long long end;
        long long interval;
        std::size_t buckets;
    } cases[] = {
        {0, day_ms - 1, hour_ms, 24},
        {0, hour_ms - 1, hour_ms, 1},
        {0, hour_ms, hour_ms, 1},
        {0, hour_ms + 1, hour_ms, 2},
        {0, 1, hour_ms, 1},
        {0, 9, 1, 9},
        {0, 0, hour_ms, 0},
        {5, 4, 1, 0},
        {-6 * day_ms, day_ms - 1, day_ms, 7}, // across the epoch
        {-2 * day_ms, -day_ms - 1, hour_ms, 24},
        {0, day_ms - 1, 0, 0}, // an interval that would never get there
        {0, day_ms - 1, LLONG_MAX, 1},
        {LLONG_MAX - 9, LLONG_MAX, 4, 3},
        {LLONG_MIN, LLONG_MIN + 9, 4, 3},
        {LLONG_MIN, -1, LLONG_MAX, 1},
        {LLONG_MAX - 3, LLONG_MIN + 4, 4, 2}, // across the ends of 64 bits
        {LLONG_MAX - 3, LLONG_MIN + 5, 4, 3},
        {LLONG_MIN, LLONG_MAX, LLONG_MAX,
         0}, // longer than a signed number tells: its end is before its start
        {LLONG_MIN, 0, 1, 0},
    };
    for (const auto& c : cases) {
        const series seen = read(reply_of({}), {c.start, c.end, c.interval, true});
        EXPECT_EQ(seen.buckets.size(), c.buckets) << c.start << ".." << c.end << " by " << c.interval;
        for (std::size_t i = 0; i < seen.buckets.size(); ++i) {
            const auto offset =
                static_cast<unsigned long long>(i) * static_cast<unsigned long long>(c.interval);
            const auto expected =
                static_cast<unsigned long long>(c.start) + offset; // two intervals overflow signed
            EXPECT_EQ(static_cast<unsigned long long>(seen.buckets[i].timestamp), expected);
        }
    }
    EXPECT_EQ(debug_log_texts(), log_texts());
}

TEST_F(people_counting_statistics, with_rows_go_to_the_last_millisecond)
{
    EXPECT_EQ(read_sketch({row("a", 9, 5, 0)}, {0, 9, 1}),
              "a 0:0/0 1:0/0 2:0/0 3:0/0 4:0/0 5:0/0 6:0/0 7:0/0 8:0/0 9:5/0");
    EXPECT_EQ(read_sketch({row("a", 3, 5, 0)}, {3, 3, 1}), "a 0:5/0");
    EXPECT_EQ(read_sketch({row("a", 3, 5, 0)}, {0, 3, 4}), "a 0:0/0"); // 3 is not on the grid of 0
    EXPECT_EQ(debug_log_texts().size(), 1U);
}

TEST_F(people_counting_statistics, of_no_range_have_no_buckets_whatever_the_rows_are)
{
    const std::vector<std::string> rows{row("a", 0, 1, 0), row("a", 5, 1, 0), row("b", 5, 1, 0)};
    for (const question& asked : {question{5, 4, 1}, question{0, day_ms - 1, 0}}) {
        EXPECT_TRUE(read(reply_of(rows), asked).buckets.empty());
        EXPECT_TRUE(read(reply_of(rows), for_one_channel(asked)).buckets.empty());
    }
}

TEST_F(people_counting_statistics, of_times_before_the_epoch_are_like_any_other)
{
    const question across{-2 * hour_ms, 2 * hour_ms - 1, hour_ms};
    EXPECT_EQ(read_sketch({row("a", -hour_ms, 1, 2), row("a", 0, 3, 4)}, across),
              "a 0:0/0 1:1/2 2:3/4 3:0/0");
    const question before{-5 * day_ms, -4 * day_ms - 1, 12 * hour_ms};
    EXPECT_EQ(read_sketch({row("a", -5 * day_ms + 12 * hour_ms, 1, 2)}, before), "a 0:0/0 1:1/2");
    EXPECT_EQ(debug_log_texts(), log_texts());
}

TEST_F(people_counting_statistics, across_the_ends_of_64_bits_are_like_any_other)
{
    const question across{LLONG_MAX - 2 * hour_ms + 1, LLONG_MIN + 2 * hour_ms - 1, hour_ms};
    std::vector<bucket> buckets =
        read(reply_of({row("a", LLONG_MAX - hour_ms + 1, 1, 2), row("a", LLONG_MIN + hour_ms, 3, 4)}), across)
            .buckets;
    ASSERT_EQ(buckets.size(), 4U);
    const std::pair<long long, int> expected[] = {
        {LLONG_MAX - 2 * hour_ms + 1, 0},
        {LLONG_MAX - hour_ms + 1, 1},
        {LLONG_MIN, 0},
        {LLONG_MIN + hour_ms, 3},
    };
    for (std::size_t i = 0; i < buckets.size(); ++i) {
        EXPECT_EQ(std::pair(buckets[i].timestamp, buckets[i].people_count_in), expected[i]) << i;
        EXPECT_STREQ(buckets[i].channel_sid, "a") << i;
    }
    EXPECT_EQ(debug_log_texts(), log_texts());
}

TEST_F(people_counting_statistics, without_memory_for_all_buckets_are_refused_and_leave_what_is_there)
{
    constexpr unsigned long long end = 1ULL << 62;
    std::string channel = "door";
    for (const std::string& reply : {reply_of({}), reply_of({row("a", 0, 1, 2), row("b", 5, 3, 4)})}) {
        clear_debug_log();
        std::vector<bucket> buckets(2);
        set(buckets[0].channel_sid, "kept");
        int result = 11;
        EXPECT_EQ(trans_string_to_people_counting_metadata_statistics(reply, channel.data(), nullptr, 1, 0,
                                                                      end, buckets, result),
                  static_cast<int>(0xC4080001));
        ASSERT_EQ(buckets.size(), 2U);
        EXPECT_STREQ(buckets[0].channel_sid, "kept");
        EXPECT_STREQ(buckets[1].channel_sid, "");
        EXPECT_EQ(
            debug_log_texts(),
            log_texts{"[korvane](trans_string_to_people_counting_metadata_statistics:#) std::bad_alloc"});
    }
}

TEST_F(people_counting_statistics, have_cleared_records_but_for_time_channel_and_sums)
{
    const series seen = read(reply_of({row("a", midnight + hour_ms, 3, 1)}), four_hours);
    ASSERT_EQ(seen.buckets.size(), 4U);
    for (bucket one : seen.buckets) {
        EXPECT_STREQ(one.channel_sid, "a");
        EXPECT_EQ(one.stream_id, -1);
        one.channel_sid[0] = '\0';
        one.timestamp = 0;
        one.people_count_in = one.people_count_out = -1;
        std::string rest;
        trans_people_counting_metadata_info_to_string(one, rest);
        EXPECT_EQ(rest, "}");
    }
}

TEST_F(people_counting_statistics, are_appended_to_the_buckets_that_are_there)
{
    series before;
    before.buckets.resize(2);
    set(before.buckets[0].channel_sid, "kept");
    before.buckets[1].positions = {vertex("0.1", "0.2")};
    const series seen = read(reply_of({row("a", midnight, 3, 1)}), four_hours, before);
    ASSERT_EQ(seen.buckets.size(), 6U);
    EXPECT_STREQ(seen.buckets[0].channel_sid, "kept");
    EXPECT_EQ(vertices_of(seen.buckets[1].positions), "(0.1 0.2)");
    EXPECT_EQ(seen.buckets[2].people_count_in, 3);
}

TEST_F(people_counting_statistics, set_the_result_where_the_reply_has_one)
{
    const struct {
        const char* reply;
        int result;
        std::size_t buckets; ///< for one channel
    } cases[] = {
        {R"({"ret":0,"datas":[]})", 0, 4},
        {R"({"ret":5,"datas":[]})", 5, 4},
        {R"({"ret":-1,"datas":[]})", -1, 4},
        {R"({"ret":"7","datas":[]})", 7, 4},
        {R"({"ret":7.9,"datas":[]})", 7, 4},
        {R"({"ret":null,"datas":[]})", 11, 4},
        {R"({"datas":[]})", 11, 4},
        // The store has nothing.
        {R"({"ret":-101})", -101, 0},
        {R"({"ret":-101,"datas":[]})", -101, 0},
        {R"({"ret":"-101","datas":[{"_id":{"channel_sid":"a","timestamp":1712275200000},"sum_in":1}]})", -101,
         0},
        // A store that does not speak JSON has no rows.
        {R"({"ret":0})", 0, 4},
        {R"({"ret":0,"datas":null})", 0, 4},
        {R"({"ret":0,"datas":{}})", 0, 4},
        {R"({"ret":0,"datas":"[]"})", 0, 4},
        {"{}", 11, 4},
        {"[]", 11, 4},
        {"null", 11, 4},
        {"", 11, 4},
        {"\xff\xfe{}", 11, 4},
        {R"({"ret":0,"datas":[)", 11, 4},
    };
    for (const auto& c : cases) {
        const series one = read(c.reply, for_one_channel(four_hours));
        EXPECT_EQ(one.result, c.result) << c.reply;
        EXPECT_EQ(one.buckets.size(), c.buckets) << c.reply;
        const series all = read(c.reply, four_hours);
        EXPECT_EQ(all.result, c.result) << c.reply;
        EXPECT_TRUE(all.buckets.empty()) << c.reply;
    }
    EXPECT_EQ(debug_log_texts(), log_texts());
}

TEST_F(people_counting_statistics, have_nothing_when_the_caller_says_so)
{
    series before;
    before.result = -101;
    EXPECT_TRUE(read(R"({"datas":[]})", for_one_channel(four_hours), before).buckets.empty());
    EXPECT_EQ(read(R"({"ret":0,"datas":[]})", for_one_channel(four_hours), before).buckets.size(), 4U);
}

TEST_F(people_counting_statistics, read_rows_by_json_types)
{
    const auto with = [](const std::string& members) {
        return read_sketch({"{\"_id\":{\"channel_sid\":\"a\",\"timestamp\":" + std::to_string(midnight) +
                            "}" + members + "}"});
    };
    EXPECT_EQ(with(""), "a 0:0/0 1:0/0 2:0/0 3:0/0");
    EXPECT_EQ(with(R"(,"sum_in":null,"sum_out":null)"), "a 0:0/0 1:0/0 2:0/0 3:0/0");
    EXPECT_EQ(with(R"(,"sum_in":"3","sum_out":1.9)"), "a 0:3/1 1:0/0 2:0/0 3:0/0");
    EXPECT_EQ(with(R"(,"sum_in":true,"sum_out":"many")"), "a 0:1/0 1:0/0 2:0/0 3:0/0");
    EXPECT_EQ(with(R"(,"sum_in":2147483648,"sum_out":-99999999999)"),
              "a 0:2147483647/-2147483648 1:0/0 2:0/0 3:0/0");
    EXPECT_EQ(with(R"(,"sum_in":[1],"sum_out":{})"), "a 0:0/0 1:0/0 2:0/0 3:0/0");

    const auto id = [](const std::string& members) {
        return read_sketch({"{\"_id\":{" + members + "},\"sum_in\":3}"});
    };
    EXPECT_EQ(id(R"("channel_sid":"a","timestamp":"1712278800000")"), "a 0:0/0 1:3/0 2:0/0 3:0/0");
    EXPECT_EQ(id(R"("channel_sid":"a","timestamp":" 1712278800000 ms")"), "a 0:0/0 1:3/0 2:0/0 3:0/0");
    EXPECT_EQ(id(R"("channel_sid":5,"timestamp":1712278800000)"), "5 0:0/0 1:3/0 2:0/0 3:0/0");
    EXPECT_EQ(id(R"("channel_sid":null,"timestamp":1712278800000)"), " 0:0/0 1:3/0 2:0/0 3:0/0");
    EXPECT_EQ(id(R"("channel_sid":"","timestamp":1712278800000)"), " 0:0/0 1:3/0 2:0/0 3:0/0");
    EXPECT_EQ(id(R"("channel_sid":"ab\u0000cd","timestamp":1712278800000)"), "ab 0:0/0 1:3/0 2:0/0 3:0/0");
    EXPECT_EQ(debug_log_texts(), log_texts());
}

TEST_F(people_counting_statistics, keep_a_channel_whatever_rows_come_behind_it)
{
    const std::string time = R"(,"timestamp":)" + std::to_string(midnight);
    const std::string later = R"(,"timestamp":)" + std::to_string(midnight + 2 * hour_ms);
    const auto with_channel = [](const std::string& channel, const std::string& at) {
        return R"({"_id":{"channel_sid":)" + channel + at + R"(},"sum_in":3,"sum_out":0})";
    };
    const std::string no_row = "7";
    const std::string other = row("other", midnight, 1, 0);
    const struct {
        const char* json;
        const char* text;
    } channels[] = {
        {"5", "5"},
        {"1.50", "1.50"},
        {"true", "true"},
        {R"({"a":1})", R"({ "a": 1 })"},
        {"[1]", "[ 1 ]"},
        {R"("ab\u0000cd")", "ab"},
        {R"("c0ffee00c0ffee00c0ffee00c0ffee01")", "c0ffee00c0ffee00c0ffee00c0ffee01"},
    };
    for (const auto& channel : channels) {
        const std::string whole =
            std::string(channel.text) + " 0:3/0 1:0/0 2:3/0 3:0/0 | other 0:1/0 1:0/0 2:0/0 3:0/0";
        const std::string first = with_channel(channel.json, time);
        const std::string second = with_channel(channel.json, later);
        EXPECT_EQ(read_sketch({first, second, other}), whole);
        EXPECT_EQ(read_sketch({first, second, other, first}), whole) << "and once more";
        EXPECT_EQ(read_sketch({other, first, second}), "other 0:1/0 1:0/0 2:0/0 3:0/0 | " +
                                                           std::string(channel.text) +
                                                           " 0:3/0 1:0/0 2:3/0 3:0/0");
        EXPECT_EQ(read_sketch({first, no_row, second, other}), whole) << "what is no row between them";
    }
}

TEST_F(people_counting_statistics, count_rows_without_a_channel_to_the_one_before)
{
    // What such a row fills carries no channel itself.
    EXPECT_EQ(read_sketch({row("a", midnight, 1, 0), row(nullptr, midnight + 2 * hour_ms, 2, 0),
                           row("a", midnight + 3 * hour_ms, 3, 0)}),
              "a 0:1/0  1:0/0 2:2/0 a 3:3/0");
    EXPECT_EQ(read_sketch({row("a", midnight, 1, 0), row(nullptr, midnight + hour_ms, 2, 0)}),
              "a 0:1/0  1:2/0 2:0/0 3:0/0");
    EXPECT_EQ(read_sketch({row("a", midnight, 1, 0), row(nullptr, midnight + hour_ms, 2, 0),
                           row("b", midnight, 3, 0)}),
              "a 0:1/0  1:2/0 a 2:0/0 3:0/0 | b 0:3/0 1:0/0 2:0/0 3:0/0");
    // Before all channels they are a series of their own.
    EXPECT_EQ(read_sketch({row(nullptr, midnight + hour_ms, 1, 0), row("a", midnight, 2, 0)}),
              " 0:0/0 1:1/0 2:0/0 3:0/0 | a 0:2/0 1:0/0 2:0/0 3:0/0");
    EXPECT_EQ(debug_log_texts(), log_texts());
}

struct faulty {
    std::vector<std::string> rows;
    std::size_t skipped;
    const char* series;
};

void expect_skipped(const std::vector<faulty>& cases)
{
    for (const faulty& c : cases) {
        clear_debug_log();
        EXPECT_EQ(read_sketch(c.rows), c.series);
        EXPECT_EQ(debug_log_texts(),
                  log_texts{"[korvane](trans_string_to_people_counting_metadata_statistics:#) " +
                            std::to_string(c.skipped) + " of " + std::to_string(c.rows.size()) +
                            " rows skipped: off the time grid or out of order"});
    }
}

TEST_F(people_counting_statistics, skip_rows_off_the_grid_and_out_of_the_range)
{
    const std::string good = row("a", midnight, 1, 0);
    const char* const series_of_good = "a 0:1/0 1:0/0 2:0/0 3:0/0";
    expect_skipped({
        {{good, row("a", midnight + 1, 9, 9)}, 1, series_of_good},
        {{good, row("a", midnight + hour_ms - 1, 9, 9)}, 1, series_of_good},
        {{row("a", midnight - hour_ms, 9, 9), good}, 1, series_of_good},
        {{row("a", midnight - 1, 9, 9), good}, 1, series_of_good},
        {{good, row("a", midnight + 4 * hour_ms, 9, 9)}, 1, series_of_good},
        {{good, row("a", LLONG_MAX, 9, 9), row("a", LLONG_MIN, 9, 9)}, 2, series_of_good},
        {{good, row("a", 0, 9, 9), row("a", -1, 9, 9)}, 2, series_of_good},
        {{"null", "5", "[]", "\"row\"", "{}", good}, 5, series_of_good},
        // A channel without a good row has its zeros.
        {{row("a", midnight + 1, 9, 9)}, 1, "a 0:0/0 1:0/0 2:0/0 3:0/0"},
        {{row("b", midnight + 1, 9, 9), good}, 1, "b 0:0/0 1:0/0 2:0/0 3:0/0 | a 0:1/0 1:0/0 2:0/0 3:0/0"},
        {{row(nullptr, midnight + 1, 9, 9)}, 1, " 0:0/0 1:0/0 2:0/0 3:0/0"},
    });
}

TEST_F(people_counting_statistics, take_an_empty_name_for_a_channel_like_any_other)
{
    EXPECT_EQ(read_sketch({row("", midnight, 1, 0), row("b", midnight, 2, 0)}),
              " 0:1/0 1:0/0 2:0/0 3:0/0 | b 0:2/0 1:0/0 2:0/0 3:0/0");
    expect_skipped({
        {{row("", midnight + 1, 9, 9), row("b", midnight, 2, 0)},
         1,
         " 0:0/0 1:0/0 2:0/0 3:0/0 | b 0:2/0 1:0/0 2:0/0 3:0/0"},
        // Once another channel was done with, it does not come again behind the empty one.
        {{row("b", midnight, 2, 0), row("", midnight + 1, 9, 9), row("b", midnight + hour_ms, 9, 9),
          row("", midnight + hour_ms, 1, 0)},
         2,
         "b 0:2/0 1:0/0 2:0/0 3:0/0 |  0:0/0 1:1/0 2:0/0 3:0/0"},
    });
}

TEST_F(people_counting_statistics, skip_rows_behind_the_time_that_was_reached)
{
    expect_skipped({
        {{row("a", midnight, 1, 0), row("a", midnight, 9, 9)}, 1, "a 0:1/0 1:0/0 2:0/0 3:0/0"},
        {{row("a", midnight + 2 * hour_ms, 1, 0), row("a", midnight, 9, 9),
          row("a", midnight + 3 * hour_ms, 2, 0)},
         1,
         "a 0:0/0 1:0/0 2:1/0 3:2/0"},
    });
}

TEST_F(people_counting_statistics, skip_rows_of_a_channel_that_was_done_with)
{
    expect_skipped({
        {{row("a", midnight, 1, 0), row("b", midnight, 2, 0), row("a", midnight + hour_ms, 9, 9)},
         1,
         "a 0:1/0 1:0/0 2:0/0 3:0/0 | b 0:2/0 1:0/0 2:0/0 3:0/0"},
        {{row("a", midnight, 1, 0), row("b", midnight, 2, 0), row("a", midnight + hour_ms, 9, 9),
          row("b", midnight + hour_ms, 3, 0), row("c", midnight, 4, 0),
          row("b", midnight + 2 * hour_ms, 9, 9)},
         2,
         "a 0:1/0 1:0/0 2:0/0 3:0/0 | b 0:2/0 1:3/0 2:0/0 3:0/0 | c 0:4/0 1:0/0 2:0/0 3:0/0"},
    });
}

TEST_F(people_counting_statistics, end_the_process_on_a_channel_over_32_characters)
{
    EXPECT_EQ(read_sketch({row(times(32, "c").c_str(), midnight, 1, 0)}),
              times(32, "c") + " 0:1/0 1:0/0 2:0/0 3:0/0");
    for (const std::size_t length : {33U, 255U, 256U, 9000U}) {
        const std::string channel = times(length, "c");
        const child_end end = run_in_child([&] {
            read_sketch({row("a", midnight, 1, 0), row(channel.c_str(), midnight, 1, 0)});
            return 0;
        });
        EXPECT_TRUE(end.aborted()) << end.describe();
        EXPECT_EQ(end.error_output, "libkorvane: \"channel_sid\" has " + std::to_string(length) +
                                        " characters, at most 32 are allowed: ending the process\n");
    }
}

/// Rows at random: `wild` of a hundred are off the grid, out of the range, without a channel, out of order.
class random_rows {
public:
    random_rows(unsigned seed, unsigned wild)
        : random_(seed)
        , wild_(wild)
    {
    }

    /// Rows of up to six channels in an order of their own, each channel's in rising time.
    std::vector<std::string> make(const question& asked)
    {
        std::vector<std::string> channels{"a", "b", "c", "d", "e", "f"};
        std::shuffle(channels.begin(), channels.end(), random_);
        channels.resize(below(7));
        std::vector<std::string> rows;
        for (const std::string& channel : channels) {
            for (std::size_t i = 0; i < asked.buckets(); ++i) {
                if (below(3) == 0) {
                    add(rows, channel, asked, static_cast<long long>(i));
                }
            }
        }
        return rows;
    }

    /// What a right series holds; counted by rows that are as they should be.
    const std::map<std::pair<std::string, long long>, std::pair<int, int>>& sums() const { return sums_; }
    const std::vector<std::string>& channels_in_order() const { return order_; }

    /// The channels that the rows name, an empty one for rows that name none.
    const std::set<std::string>& channels() const { return channels_; }

private:
    unsigned below(unsigned limit) { return std::uniform_int_distribution<unsigned>(0, limit - 1)(random_); }

    void add(std::vector<std::string>& rows, const std::string& channel, const question& asked,
             long long index)
    {
        long long time = asked.start + index * asked.interval;
        const int in = static_cast<int>(below(1000));
        const int out = static_cast<int>(below(1000));
        const bool is_wild = below(100) < wild_;
        const unsigned fault = is_wild ? below(4) : 9;
        time += fault == 0 ? 1 + static_cast<long long>(below(1000)) : 0;
        time += fault == 1 ? asked.end : 0;
        rows.push_back(row(fault == 2 ? nullptr : channel.c_str(), time, in, out));
        if (fault == 3) {
            std::swap(rows.back(), rows[below(static_cast<unsigned>(rows.size()))]);
        }
        channels_.insert(fault == 2 ? std::string() : channel);
        sums_[{channel, time}] = {in, out};
        if (order_.empty() || order_.back() != channel) {
            order_.push_back(channel);
        }
    }

    std::mt19937 random_;
    unsigned wild_;
    std::map<std::pair<std::string, long long>, std::pair<int, int>> sums_;
    std::vector<std::string> order_;
    std::set<std::string> channels_;
};

TEST_F(people_counting_statistics, hold_every_row_and_zeros_everywhere_else)
{
    const question ranges[] = {{midnight, midnight + day_ms - 1, 900'000},
                               {midnight, midnight + day_ms - 1, hour_ms},
                               {-6 * day_ms, day_ms - 1, day_ms}};
    for (unsigned seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const question& asked = ranges[seed % std::size(ranges)];
        random_rows random(seed, 0);
        const std::vector<std::string> rows = random.make(asked);
        const std::vector<bucket> buckets = read(reply_of(rows), asked).buckets;
        const auto& channels = random.channels_in_order();
        ASSERT_EQ(buckets.size(), channels.size() * asked.buckets());
        for (std::size_t i = 0; i < buckets.size(); ++i) {
            const std::string& channel = channels[i / asked.buckets()];
            const long long time = asked.start + static_cast<long long>(i % asked.buckets()) * asked.interval;
            const auto sum = random.sums().find({channel, time});
            const auto expected = sum == random.sums().end() ? std::pair(0, 0) : sum->second;
            ASSERT_EQ(buckets[i].channel_sid, channel);
            ASSERT_EQ(buckets[i].timestamp, time);
            ASSERT_EQ(std::pair(buckets[i].people_count_in, buckets[i].people_count_out), expected);
        }
    }
    EXPECT_EQ(debug_log_texts(), log_texts());
}

/// Whatever rows a store sends, the series is whole and no longer than its channels make it.
TEST_F(people_counting_statistics, are_whole_and_bounded_for_any_rows)
{
    for (unsigned seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        random_rows random(seed, 40);
        const std::vector<std::string> rows = random.make(four_hours);
        const std::vector<bucket> buckets = read(reply_of(rows), four_hours).buckets;
        ASSERT_EQ(buckets.size() % four_hours.buckets(), 0U);
        for (std::size_t i = 0; i < buckets.size(); ++i) {
            const auto index = static_cast<long long>(i % four_hours.buckets());
            ASSERT_EQ(buckets[i].timestamp, four_hours.start + index * hour_ms);
        }
        EXPECT_LE(buckets.size() / four_hours.buckets(), random.channels().size());
        EXPECT_EQ(buckets.empty(), rows.empty());
    }
}

TEST_F(people_counting_statistics, stay_small_for_ten_thousand_rows_of_two_channels_in_turns)
{
    std::string rows;
    for (int i = 0; i < 10'000; ++i) {
        rows += (i == 0 ? "" : ",") + row(i % 2 == 0 ? "a" : "b", midnight + i % 7 * hour_ms + i % 3, i, i);
    }
    const series seen = read(R"({"ret":0,"datas":[)" + rows + "]}", four_hours);
    EXPECT_EQ(sketch(seen.buckets, four_hours).substr(0, 12), "a 0:0/0 1:0/");
    EXPECT_EQ(seen.buckets.size(), 2 * four_hours.buckets());
    EXPECT_EQ(debug_log_texts().size(), 1U);
}

} // namespace

} // namespace korvane::test
