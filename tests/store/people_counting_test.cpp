#include "store_process.h"

#include <gtest/gtest.h>

namespace {

struct people_counting_test : testing::Test {
    store_process store;

    void add(const std::string& channel, long long time, const std::string& counts)
    {
        ASSERT_EQ(ok,
                  store.post("people_counting", R"({"func_name":"PeopleCounting","timestamp":")" +
                                                    std::to_string(time) + R"(","channel_sid":")" + channel +
                                                    "\"," + counts + R"(,"loc":[[0.1,0.2],[0.3,0.4]]})"));
    }
    std::string query(const std::string& parameters) { return store.get("people_counting?" + parameters); }
};

std::string row(const std::string& channel, long long time, int in, int out)
{
    return R"({"_id":{"channel_sid":")" + channel + R"(","timestamp":)" + std::to_string(time) +
           R"(},"sum_in":)" + std::to_string(in) + R"(,"sum_out":)" + std::to_string(out) + "}";
}

std::string rows(const std::vector<std::string>& all)
{
    std::string text;
    for (const std::string& one : all)
        text += (text.empty() ? "" : ",") + one;
    return R"({"ret":0,"datas":[)" + text + "]}";
}

TEST_F(people_counting_test, an_empty_store_has_no_rows)
{
    EXPECT_EQ(rows({}), query("query_type=hour&interval=3600000&timestamp=0&end_time=86399999"));
}

TEST_F(people_counting_test, sums_are_per_channel_and_bucket)
{
    constexpr long long start = 1000; // the grid begins at the start that is asked for
    add("b", start + 900000, R"("people_count_in":7,"people_count_out":0)");
    add("a", start + 900000 * 3 + 5, R"("people_count_in":1,"people_count_out":2)");
    add("a", start, R"("people_count_in":3,"people_count_out":1)");
    add("a", start + 899999, R"("people_count_in":4,"people_count_out":1)");
    add("a", start - 1, R"("people_count_in":100,"people_count_out":100)");
    add("a", start + 86400000, R"("people_count_in":100,"people_count_out":100)");
    const std::string range = "query_type=15-min&interval=900000&timestamp=1000&end_time=86400999";
    const std::string a = row("a", start, 7, 2) + "," + row("a", start + 2700000, 1, 2);
    const std::string b = row("b", start + 900000, 7, 0);
    EXPECT_EQ(rows({a, b}), query(range));
    EXPECT_EQ(rows({a}), query(range + "&channel_sid=a"));
    EXPECT_EQ(rows({b}), query(range + "&channel_sid=b"));
    EXPECT_EQ(rows({}), query(range + "&channel_sid=c"));
}

TEST_F(people_counting_test, hours_and_days)
{
    for (int hour = 0; hour < 48; hour += 12)
        add("c", hour * 3600000LL, R"("people_count_in":1,"people_count_out":2)");
    EXPECT_EQ(rows({row("c", 0, 1, 2), row("c", 43200000, 1, 2)}),
              query("query_type=hour&interval=3600000&timestamp=0&end_time=86399999"));
    EXPECT_EQ(rows({row("c", 0, 2, 4), row("c", 86400000, 2, 4)}),
              query("query_type=day&interval=86400000&timestamp=0&end_time=604799999"));
}

TEST_F(people_counting_test, a_missing_count_adds_nothing)
{
    add("c", 5, R"("people_count_out":2)");
    EXPECT_EQ(rows({row("c", 0, 0, 2)}),
              query("query_type=hour&interval=3600000&timestamp=0&end_time=86399999"));
}

TEST_F(people_counting_test, a_report_without_a_channel_has_a_row_without_one)
{
    ASSERT_EQ(ok, store.post("people_counting", R"({"timestamp":"5","people_count_in":2})"));
    EXPECT_EQ(rows({R"({"_id":{"timestamp":0},"sum_in":2,"sum_out":0})"}),
              query("query_type=hour&interval=3600000&timestamp=0&end_time=86399999"));
}

TEST_F(people_counting_test, ranges_may_begin_before_the_epoch)
{
    add("c", -10, R"("people_count_in":2,"people_count_out":1)");
    // 18446744073623151616 is what an unsigned print makes of -86400000.
    EXPECT_EQ(rows({row("c", -86400000, 2, 1)}),
              query("query_type=day&interval=86400000&timestamp=18446744073623151616&end_time=86399999"));
}

TEST_F(people_counting_test, delete_removes_what_is_older)
{
    for (const long long time : {-20LL, -10LL, 10LL, 20LL})
        add("c", time, R"("people_count_in":1,"people_count_out":0)");
    EXPECT_EQ(R"({"ret":0,"deleted":1})", store.remove("people_counting?timestamp=-10"));
    EXPECT_EQ(R"({"ret":0,"deleted":2})", store.remove("people_counting?timestamp=20"));
    EXPECT_EQ(R"({"ret":0,"deleted":0})", store.remove("people_counting?timestamp=20"));
    EXPECT_EQ(rows({row("c", 0, 1, 0)}),
              query("query_type=hour&interval=3600000&timestamp=0&end_time=86399999"));
}

TEST_F(people_counting_test, refusals_say_what_was_expected)
{
    EXPECT_EQ(
        R"({"ret":1003,"reason":"member \"people_count_in\" is \"3\", expected a whole number of 32 bits"})",
        store.post("people_counting", R"({"people_count_in":"3"})"));
    EXPECT_EQ(R"({"ret":1005,"reason":"parameter query_type is missing"})", query(""));
    EXPECT_EQ(R"({"ret":1005,"reason":"parameter interval is missing"})",
              query("query_type=day&timestamp=0&end_time=1"));
    EXPECT_EQ(R"({"ret":1006,"reason":"parameter query_type is \"Hour\", expected 15-min, hour or day"})",
              query("query_type=Hour&interval=1&timestamp=0&end_time=1"));
    EXPECT_EQ(R"({"ret":1006,"reason":"parameter interval is \"0\", expected milliseconds, 1 or more"})",
              query("query_type=hour&interval=0&timestamp=0&end_time=1"));
    EXPECT_EQ(R"({"ret":1005,"reason":"parameter timestamp is missing"})", store.remove("people_counting"));
    EXPECT_EQ(R"({"ret":1006,"reason":"parameter timestamp is \"x\", expected a whole number"})",
              store.remove("people_counting?timestamp=x"));
}

TEST_F(people_counting_test, extreme_times_do_no_harm)
{
    add("c", 9223372036854775807LL, R"("people_count_in":1,"people_count_out":0)");
    EXPECT_EQ(0,
              ret_of(query(
                  "query_type=day&interval=9223372036854775807&timestamp=-9223372036854775808&end_time=0")));
    EXPECT_EQ(0,
              ret_of(query(
                  "query_type=day&interval=1&timestamp=-9223372036854775808&end_time=9223372036854775807")));
}

} // namespace
