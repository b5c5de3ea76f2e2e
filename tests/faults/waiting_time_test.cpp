// What an insert does while the store is at work and it would only wait.
#include "tests/dispatch/calls.h"
#include "tests/faults/system_call_faults.h"
#include "tests/support/heap.h"
#include "tests/support/sample_calls.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

namespace korvane::test {

namespace {

/// How many blocks were freed in each exchange between the last send and the first recv.
std::vector<long long> freed_in_waiting(const std::vector<system_call>& calls)
{
    std::vector<long long> freed;
    const system_call* sent = nullptr;
    for (const system_call& call : calls) {
        const std::string_view name = call.name;
        if (name == "send") {
            sent = &call;
        } else if (name == "recv" && sent != nullptr) {
            freed.push_back(sent->blocks - call.blocks);
            sent = nullptr;
        }
    }
    return freed;
}

std::vector<long long> freed_by_inserting(const std::string& report)
{
    const scripted_store store;
    int code = -1;
    const witnessed seen = with_faults({}, [&] { code = insert(report); });
    EXPECT_EQ(code, 0);
    return freed_in_waiting(seen.calls);
}

/// A report with its only result once more.
std::string with_result_twice(const std::string& report)
{
    const std::string before = R"("results":[)";
    const std::size_t begin = report.find(before) + before.size();
    const std::size_t end = report.rfind("]}");
    return report.substr(0, end) + "," + report.substr(begin);
}

class time_of_waiting : public sandbox_test, public ::testing::WithParamInterface<sample_kind> {};

TEST_P(time_of_waiting, frees_the_object_that_was_sent)
{
    const std::vector<long long> freed = freed_by_inserting(GetParam().report);
    const bool asks_for_threshold = GetParam().name == "FaceRecognition";
    ASSERT_EQ(freed.size(), asks_for_threshold ? 2U : 1U);
    // The object, its table, its position, and of each vertex two numbers with their texts.
    constexpr long long blocks_of_vertices = 4 * 2 * 2;
    EXPECT_EQ(freed[0] > blocks_of_vertices, heap_is_watched()) << freed[0];
}

TEST_P(time_of_waiting, keeps_what_is_read_again)
{
    const std::vector<long long> freed = freed_by_inserting(with_result_twice(GetParam().report));
    const std::size_t requests = GetParam().name == "FaceRecognition" ? 2 : 1; // of each object
    ASSERT_EQ(freed.size(), 4 * requests);
    const std::size_t last_walk = 2 * requests;
    for (std::size_t i = 0; i < freed.size(); i += requests) {
        EXPECT_EQ(freed[i] > 0, i >= last_walk && heap_is_watched()) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(of, time_of_waiting, ::testing::ValuesIn(sample_kinds()),
                         [](const auto& info) { return info.param.name; });

} // namespace

} // namespace korvane::test
