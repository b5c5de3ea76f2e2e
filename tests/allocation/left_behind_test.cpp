// What calls leave behind on the heap, to the block: a successful query keeps exactly its parsed request, everything else
// keeps nothing.
#include "tests/dispatch/calls.h"
#include "tests/support/heap.h"
#include "tests/support/sample_calls.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

#include <korvane/ai_metadata.h>

#include <json-c/json.h>

#include <functional>

namespace korvane::test {

namespace {

/// Blocks that `work` leaves behind; a first round has made what is made once.
long long left_behind_by(const std::function<void()>& work)
{
    work();
    const long long before = heap_blocks_of_this_thread();
    work();
    return heap_blocks_of_this_thread() - before;
}

/// The same of a call, each time answered by `reply`.
long long left_behind_by(const std::function<void()>& call, const scripted_reply& reply)
{
    scripted_store store;
    store.reply_with(reply);
    store.reply_with(reply);
    return left_behind_by(call);
}

long long blocks_of_tree(const std::string& text)
{
    const long long before = heap_blocks_of_this_thread();
    json_object* tree = json_tokener_parse(text.c_str());
    const long long blocks = heap_blocks_of_this_thread() - before;
    json_object_put(tree);
    return blocks;
}

class left_behind : public sandbox_test {};

TEST_F(left_behind, by_a_successful_query_is_its_parsed_request)
{
    for (const sample_kind& kind : sample_kinds()) {
        for (const sample_query& asked : kind.queries) {
            const long long tree = blocks_of_tree(asked.request);
            ASSERT_GT(tree, 10) << asked.name;
            const auto call = [&asked] { EXPECT_EQ(query(asked.request).code, 0) << asked.name; };
            EXPECT_EQ(left_behind_by(call, json_reply(asked.reply)), tree) << asked.name;
        }
    }
}

TEST_F(left_behind, by_all_other_calls_is_nothing)
{
    const std::string report = sample_kinds().front().report;
    const std::string asked = sample_kinds().front().queries.front().request;
    const std::string rows = sample_human_reply();
    std::string groups = sample_groups_request();
    std::string latest = sample_latest_request("FaceRecognition");
    const struct {
        const char* what;
        std::function<void()> call;
        scripted_reply reply;
    } cases[] = {
        {"stored", [&] { EXPECT_EQ(insert(report), 0); }, json_reply(R"({"ret":0})")},
        {"refused by the store", [&] { EXPECT_EQ(insert(report), 5); }, json_reply(R"({"ret":5})")},
        {"not answered", [&] { EXPECT_EQ(insert(report), -1); }, raw_reply("")},
        {"no report", [] { EXPECT_NE(insert(R"({"timestamp":"1","results":[{}]})"), 0); }, raw_reply("")},
        {"an area of one corner",
         [] {
             EXPECT_NE(query(R"({"metadata":{"function_name":"HumanDetection","x1":0.5,"y1":0.5}})").code, 0);
         },
         raw_reply("")},
        {"a query not answered", [&] { EXPECT_EQ(query(asked).code, -1); }, raw_reply("")},
        {"a query half answered", [&] { EXPECT_EQ(query(asked).code, -5); },
         raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 9999\r\n\r\n" + rows)},
        {"an unknown kind",
         [] { EXPECT_NE(query(R"({"metadata":{"function_name":"Unknown","list":[1,2,3]}})").code, 0); },
         raw_reply("")},
        {"no kind", [] { EXPECT_NE(query(R"({"metadata":{"list":[1,2,3]}})").code, 0); }, raw_reply("")},
        {"no JSON", [] { EXPECT_NE(query("{\"metadata\":").code, 0); }, raw_reply("")},
        {"persons listed",
         [&] {
             void* answer = nullptr;
             EXPECT_EQ(query_ai_face_metadata_list_group(groups.data(), &answer), 0);
             std::free(answer);
         },
         json_reply(sample_groups_reply())},
        {"the newest result",
         [&] {
             char answer[128];
             EXPECT_EQ(get_latest_metadata(latest.data(), answer), 0);
         },
         json_reply(sample_face_reply())},
        {"the vault",
         [] {
             char id[256];
             EXPECT_EQ(get_IVA_vault_id(id), 0);
         },
         json_reply(sample_vaults_reply())},
        {"counts deleted",
         [] {
             char time[] = "1700000000000";
             EXPECT_EQ(delete_people_counting(time), 0);
         },
         json_reply(R"({"ret":0})")},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(left_behind_by(c.call, c.reply), 0) << c.what;
    }
}

} // namespace

} // namespace korvane::test
