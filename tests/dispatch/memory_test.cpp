// What calls leave behind on the heap, measured over many of them: a successful query keeps exactly its
// parsed request, everything else keeps nothing.
#include "tests/dispatch/calls.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

#include <json-c/json.h>
#include <malloc.h>

#include <functional>

namespace korvane::test {

namespace {

constexpr int calls = 400;

/// A request whose tree is large beside what the heap's own book-keeping makes of a measurement.
std::string question(const std::string& more = {})
{
    std::string channels;
    for (int i = 0; i < 50; ++i) {
        channels += (i > 0 ? ",\"" : "\"") + std::string(32, 'c') + '"';
    }
    return R"({"metadata":{"function_name":"HumanDetection","end_time":"5","channel_guid_list":[)" +
           channels + "]" + more + "}}";
}

const std::string report =
    R"({"timestamp":"1","channel_sid":"door","results":[{"function_name":"HumanDetection",)"
    R"("objects":[[{"position":[{"x":0.5,"y":0.5},{"x":0.5,"y":0.5}]}]]}]})";
const std::string rows =
    R"({"ret":0,"totalCounts":2,"datas":[{"app_id":"a","loc":[[0.5,0.5]]},{"loc":[[1,1]]}]})";

long long heap_in_use()
{
    const struct mallinfo2 all_arenas = mallinfo2();
    return static_cast<long long>(all_arenas.uordblks + all_arenas.hblkhd);
}

/// Bytes that `count` rounds of `work` leave behind; a first round has made what is made once.
long long left_behind(const std::function<void()>& work)
{
    work();
    const long long before = heap_in_use();
    work();
    return heap_in_use() - before;
}

/// The same of `calls` calls, each answered by `reply`. The store is gone before the heap is looked at.
long long left_behind_by(const std::function<void()>& call, const scripted_reply& reply)
{
    return left_behind([&] {
        scripted_store store;
        for (int i = 0; i < calls; ++i) {
            store.reply_with(reply);
            call();
        }
    });
}

long long bytes_of_trees(const std::string& text)
{
    return left_behind([&] {
        for (int i = 0; i < calls; ++i) {
            json_tokener_parse(text.c_str()); // never released, on purpose: this is the measure
        }
    });
}

class memory : public sandbox_test {};

TEST_F(memory, of_a_successful_query_is_exactly_its_parsed_request)
{
    const std::string text = question();
    const long long trees = bytes_of_trees(text);
    ASSERT_GT(trees, calls * 4000LL);
    const long long left = left_behind_by([&] { EXPECT_EQ(query(text).code, 0); }, json_reply(rows));
    RecordProperty("bytes_of_a_tree", static_cast<int>(trees / calls));
    RecordProperty("bytes_left_by_a_query", static_cast<int>(left / calls));
    EXPECT_NEAR(static_cast<double>(left), static_cast<double>(trees), static_cast<double>(trees) * 0.02);
}

TEST_F(memory, of_all_other_calls_is_nothing)
{
    const std::string refused = question(R"(,"x1":"0.5","y1":"0.5")");
    const std::string unknown = R"({"metadata":{"function_name":"Unknown","list":[1,2,3,4,5,6,7,8,9]}})";
    const std::string incomplete = R"({"metadata":{"list":[1,2,3,4,5,6,7,8,9]}})";
    const struct {
        const char* what;
        std::function<void()> call;
        scripted_reply reply;
    } cases[] = {
        {"stored", [] { EXPECT_EQ(insert(report), 0); }, json_reply(R"({"ret":0})")},
        {"refused by the store", [] { EXPECT_EQ(insert(report), 5); }, json_reply(R"({"ret":5})")},
        {"not answered", [] { EXPECT_EQ(insert(report), -1); }, raw_reply("")},
        {"no report", [] { EXPECT_NE(insert(R"({"timestamp":"1","results":[{}]})"), 0); }, raw_reply("")},
        {"an area of one corner", [&] { EXPECT_NE(query(refused).code, 0); }, raw_reply("")},
        {"a query not answered", [] { EXPECT_EQ(query(question()).code, -1); }, raw_reply("")},
        {"a query half answered", [] { EXPECT_EQ(query(question()).code, -5); },
         raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 999\r\n\r\n" + rows)},
        {"an unknown kind", [&] { EXPECT_NE(query(unknown).code, 0); }, raw_reply("")},
        {"no kind", [&] { EXPECT_NE(query(incomplete).code, 0); }, raw_reply("")},
        {"no JSON", [] { EXPECT_NE(query("{\"metadata\":").code, 0); }, raw_reply("")},
    };
    for (const auto& c : cases) {
        // Half a hundred bytes a call would be less than the smallest tree.
        EXPECT_LT(left_behind_by(c.call, c.reply), calls * 50LL) << c.what;
    }
}

} // namespace

} // namespace korvane::test
