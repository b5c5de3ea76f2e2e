// What an insert does while the store is at work and it would only wait.
#include "tests/dispatch/calls.h"
#include "tests/faults/system_call_faults.h"
#include "tests/support/heap.h"
#include "tests/support/sample_calls.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"
#include "tests/util/parsed_json.h"

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

/// The list that holds a sample report's only object.
json_object* list_of_objects(json_object* report)
{
    json_object* result = json_object_array_get_idx(json_object_object_get(report, "results"), 0);
    json_object* faces = json_object_object_get(result, "function_results");
    return faces != nullptr ? json_object_object_get(faces, "tubes")
                            : json_object_array_get_idx(json_object_object_get(result, "objects"), 0);
}

std::string with_object_thrice(const std::string& report)
{
    const auto tree = parsed(report);
    json_object* list = list_of_objects(tree.get());
    json_object* object = json_object_array_get_idx(list, 0);
    for (int i = 0; i < 2; ++i) {
        json_object_array_add(list, json_object_get(object));
    }
    return json_object_to_json_string(tree.get());
}

class time_of_waiting : public sandbox_test, public ::testing::WithParamInterface<sample_kind> {
protected:
    /// A face is followed by a question about the store's threshold.
    std::size_t requests_of_an_object() const { return GetParam().name == "FaceRecognition" ? 2 : 1; }
};

TEST_P(time_of_waiting, frees_the_object_that_was_sent)
{
    const std::vector<long long> freed = freed_by_inserting(with_object_thrice(GetParam().report));
    ASSERT_EQ(freed.size(), 3 * requests_of_an_object());
    // Of each vertex two numbers with their texts, and there is more in an object.
    constexpr long long blocks_of_vertices = 4 * 2 * 2;
    for (std::size_t i = 0; i < freed.size(); ++i) {
        const bool stores = i % requests_of_an_object() == 0;
        EXPECT_EQ(freed[i] > blocks_of_vertices, stores && heap_is_watched()) << i << ": " << freed[i];
        EXPECT_EQ(freed[i] != 0, stores && heap_is_watched()) << i << ": " << freed[i];
    }
}

TEST_P(time_of_waiting, keeps_what_is_read_again)
{
    const std::vector<long long> freed = freed_by_inserting(with_result_twice(GetParam().report));
    ASSERT_EQ(freed.size(), 4 * requests_of_an_object());
    const std::size_t last_walk = 2 * requests_of_an_object();
    for (std::size_t i = 0; i < freed.size(); i += requests_of_an_object()) {
        EXPECT_EQ(freed[i] > 0, i >= last_walk && heap_is_watched()) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(of, time_of_waiting, ::testing::ValuesIn(sample_kinds()),
                         [](const auto& info) { return info.param.name; });

} // namespace

} // namespace korvane::test
