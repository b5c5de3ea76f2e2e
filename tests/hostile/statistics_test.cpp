// Statistics of any rows and any range: the answer has as many buckets as the range, for each channel that the reply names.
#include "codec/people_counting.h"
#include "tests/hostile/invariants.h"
#include "tests/support/heap.h"
#include "tests/support/sample_calls.h"

#include <korvane/ai_metadata.h>

#include <json-c/json.h>

#include <climits>
#include <memory>

namespace korvane::test {

namespace {

constexpr char channel[] = "c0ffee00c0ffee00c0ffee00c0ffee01";

const std::vector<std::string>& times()
{
    static const std::vector<std::string> all{
        "0",
        "1",
        "-1",
        "1699920000000",
        "1699923600000",
        "1699923600001",
        "1700006399999",
        "1700006400000",
        "-86400000",
        "-1699920000000",
        "9223372036854775807",
        "9223372036854775806",
        "9223372036854000000",
        "-9223372036854775808",
        "-9223372036854775807",
        "-9223372036854000000",
        "18446744073709551615",
        "99999999999999999999",
        "4611686018427387904",
        "1e18",
        "1e999",
        "-1e999",
        "NaN",
        "0.5",
        "\"\"",
        "\"x\"",
        "null",
        "[]",
        "{}",
        "true",
    };
    return all;
}

std::string row(const std::string& id, const std::string& time)
{
    return R"({"_id":{)" + id + R"("timestamp":)" + time + R"(},"sum_in":5,"sum_out":6})";
}

/// Rows of `time` in every place: alone, twice, before and behind a good one, in other channels, without one.
std::vector<std::string> replies_with(const std::string& time)
{
    const std::string here = R"("channel_sid":")" + std::string(channel) + R"(",)";
    const std::string there = R"("channel_sid":"another",)";
    const std::string good = row(here, "1699923600000");
    std::vector<std::string> replies;
    for (const std::string& id :
         {here, there, std::string(), std::string(R"("channel_sid":"",)"), std::string(R"("channel_sid":7,)"),
          std::string(R"("channel_sid":null,)")}) {
        const std::string bad = row(id, time);
        for (const std::string& rows :
             {bad, bad + "," + bad, good + "," + bad, bad + "," + good, good + "," + bad + "," + good}) {
            replies.push_back(R"({"ret":0,"datas":[)" + rows + "]}");
        }
    }
    return replies;
}

const target& query_of(const std::string& name)
{
    const auto& all = targets();
    return *std::find_if(all.begin(), all.end(), [&name](const target& each) { return each.name == name; });
}

std::string request(const std::string& query_type, const std::string& time, bool one_channel)
{
    return R"({"metadata":{"function_name":"PeopleCounting","limit":2147483647,"query_type":")" + query_type +
           R"(","start_time":)" + time +
           (one_channel ? R"(,"channel_sid":")" + std::string(channel) + '"' : "") + "}}";
}

std::size_t buckets_in(const std::string& answer)
{
    const std::unique_ptr<json_object, int (*)(json_object*)> tree{json_tokener_parse(answer.c_str()),
                                                                   json_object_put};
    json_object* list = json_object_object_get(tree.get(), "metadatalist");
    if (!json_object_is_type(list, json_type_array)) {
        ADD_FAILURE() << answer;
        return 0;
    }
    std::size_t count = 0;
    for (std::size_t i = 0; i < json_object_array_length(list); ++i) {
        json_object* data = nullptr;
        const bool is_channel =
            json_object_object_get_ex(json_object_array_get_idx(list, i), "data", &data) != 0;
        count += is_channel ? json_object_array_length(data) : 1;
    }
    return count;
}

class hostile_statistics : public hostile_test {
protected:
    void check_size(const target& called, const std::string& asked, const std::string& reply,
                    std::size_t most)
    {
        const call_result result = check(called, asked, reply, asked + " " + reply);
        if (result.answer) {
            EXPECT_LE(buckets_in(*result.answer), most) << asked << ' ' << reply;
        }
    }
};

struct query_type_row {
    const char* name;
    std::size_t buckets; ///< of a channel
};

constexpr query_type_row query_types[] = {{"15-min", 96}, {"hour", 24}, {"day", 7}};

constexpr std::size_t most_channels = 3; ///< in the replies above

TEST_F(hostile_statistics, have_no_more_buckets_than_the_range_whatever_the_rows)
{
    for (const std::string& time : times()) {
        for (const std::string& reply : replies_with(time)) {
            for (const query_type_row& type : query_types) {
                check_size(query_of("query_PeopleCounting_one_channel"),
                           request(type.name, "1700000000000", true), reply, most_channels * type.buckets);
            }
            check_size(query_of("query_PeopleCounting_all_channels"), request("day", "1700000000000", false),
                       reply, most_channels * 7);
        }
    }
}

TEST_F(hostile_statistics, have_no_more_buckets_than_a_day_or_a_week_wherever_it_lies)
{
    for (const std::string& time : times()) {
        const bool too_long = time.size() > 23;
        ASSERT_FALSE(too_long) << time << " would end the process";
        for (const query_type_row& type : query_types) {
            for (const std::string& reply :
                 {std::string(R"({"ret":0,"datas":[]})"), R"({"ret":0,"datas":[)" + row("", time) + "]}",
                  R"({"ret":0,"datas":[)" + row(R"("channel_sid":"a",)", time) + "," +
                      row(R"("channel_sid":"b",)", "0") + "]}"}) {
                check_size(query_of("query_PeopleCounting_one_channel"), request(type.name, time, true),
                           reply, 2 * type.buckets);
                check_size(query_of("query_PeopleCounting_all_channels"), request(type.name, time, false),
                           reply, 2 * type.buckets);
            }
        }
    }
}

TEST_F(hostile_statistics, of_many_channels_are_as_many_series)
{
    constexpr std::size_t channels = 2000;
    std::string rows;
    for (std::size_t i = 0; i < channels; ++i) {
        rows += (i > 0 ? "," : "") + row(R"("channel_sid":")" + std::to_string(i) + R"(",)", "1699920000000");
    }
    store().answer_with(R"({"ret":0,"datas":[)" + rows + "," + rows + "]}"); // and all of them again
    const call_result result =
        query_of("query_PeopleCounting_all_channels").call(request("day", "1700000000000", false));
    count_call();
    ASSERT_EQ(result.code, 0);
    EXPECT_EQ(buckets_in(*result.answer), channels * 7);
}

/// The reply's tree and the buckets are not held together: each row of the tree goes when it has been read.
TEST_F(hostile_statistics, take_little_more_memory_than_their_reply)
{
    constexpr unsigned long long first = 1'699'920'000'000;
    constexpr unsigned long long quarter = 900'000;
    constexpr std::size_t buckets = 96;
    std::string rows;
    for (int i = 0; i < 50; ++i) {
        for (std::size_t k = 0; k < buckets; ++k) {
            rows += (rows.empty() ? "" : ",") + row(R"("channel_sid":")" + std::to_string(i) + R"(",)",
                                                    std::to_string(first + k * quarter));
        }
    }
    const std::string reply = R"({"ret":0,"datas":[)" + rows + "]}";
    const std::size_t parsing = heap_peak_of([&] { json_object_put(json_tokener_parse(reply.c_str())); });
    std::vector<people_counting_metadata_information> series;
    int result = -1;
    const std::size_t decoding = heap_peak_of([&] {
        trans_string_to_people_counting_metadata_statistics(reply, nullptr, nullptr, quarter, first,
                                                            first + buckets * quarter - 1, series, result);
    });
    count_call();
    EXPECT_EQ(series.size(), 50 * buckets);
    const std::size_t copy_of_the_reply = heap_is_watched() ? reply.size() : 0; // it is passed by value
    EXPECT_LE(decoding, copy_of_the_reply + parsing + parsing / 5);
}

/// What the codec does with a range of a host's own, at all ends of 64 bits.
TEST_F(hostile_statistics, of_a_range_too_long_for_the_memory_are_refused)
{
    constexpr unsigned long long far = LLONG_MAX;
    const unsigned long long ends[] = {
        0, 1, 86'400'000, 1'700'000'000'000, far - 1, far, far + 1, ULLONG_MAX - 86'400'000, ULLONG_MAX};
    const unsigned long long intervals[] = {0, 1, 900'000, 86'400'000, far, far + 1, ULLONG_MAX};
    constexpr unsigned long long few = 100'000;
    constexpr unsigned long long more_than_any_memory = 1ULL << 44U;
    for (const unsigned long long start : ends) {
        for (const unsigned long long end : ends) {
            for (const unsigned long long interval : intervals) {
                const auto length = static_cast<long long>(end - start);
                const unsigned long long buckets =
                    interval == 0 || length < 0 ? 0 : static_cast<unsigned long long>(length) / interval + 1;
                // AddressSanitizer ends the process where the C++ library throws.
                if (buckets > few && (buckets < more_than_any_memory || !heap_is_watched())) {
                    continue;
                }
                std::vector<people_counting_metadata_information> rows;
                int ret = 0;
                const int code = trans_string_to_people_counting_metadata_statistics(
                    R"({"ret":0,"datas":[)" + row(R"("channel_sid":"a",)", std::to_string(start)) + "]}",
                    nullptr, nullptr, interval, start, end, rows, ret);
                count_call();
                EXPECT_EQ(code, buckets > few ? static_cast<int>(result_bad_request) : 0)
                    << start << ' ' << end << ' ' << interval;
                EXPECT_EQ(rows.size(), buckets > few ? 0 : buckets) << start << ' ' << end << ' ' << interval;
            }
        }
    }
}

} // namespace

} // namespace korvane::test
