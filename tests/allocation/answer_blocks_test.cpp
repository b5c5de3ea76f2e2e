// How many heap blocks an answer takes.
#include "tests/dispatch/calls.h"
#include "tests/support/heap.h"
#include "tests/support/sandbox_test.h"

#include <json-c/json.h>

namespace korvane::test {

namespace {

/// The store's reply with one person of so many vertices.
std::string reply_of(std::size_t vertices, const std::string& coordinate)
{
    std::string polygon;
    for (std::size_t i = 0; i < vertices; ++i) {
        polygon.append(i > 0 ? "," : "").append("[" + coordinate + ",0.250000]");
    }
    return R"({"ret":0,"totalCounts":1,"datas":[{"timestamp":"1700000000000","loc":[)" + polygon + "]}]}";
}

template <class Work>
long long blocks_of(Work work)
{
    const long long before = heap_blocks_taken();
    work();
    return heap_blocks_taken() - before;
}

class answer_blocks : public sandbox_test {
protected:
    long long blocks_of_query(const std::string& reply)
    {
        store_.reply_with(json_reply(reply));
        query_outcome outcome;
        const long long blocks =
            blocks_of([&] { outcome = query(R"({"metadata":{"function_name":"HumanDetection"}})"); });
        EXPECT_EQ(outcome.code, 0);
        EXPECT_NE(outcome.answer.value_or("").find("0.250000"), std::string::npos);
        return blocks;
    }

    scripted_store store_;
};

TEST_F(answer_blocks, of_vertices_are_those_of_their_reply)
{
    constexpr std::size_t few = 4;
    constexpr std::size_t many = 100;
    constexpr long long grown = 20; // the record's list and the texts, which double
    const auto parsed = [](const std::string& reply) {
        return blocks_of([&] { json_object_put(json_tokener_parse(reply.c_str())); });
    };
    for (const std::string coordinate : {"0.500000", "1.000000", "0.5", "-0.500000"}) {
        const std::string small = reply_of(few, coordinate);
        const std::string large = reply_of(many, coordinate);
        EXPECT_LE(blocks_of_query(large) - blocks_of_query(small), parsed(large) - parsed(small) + grown)
            << coordinate;
    }
}

} // namespace

} // namespace korvane::test
