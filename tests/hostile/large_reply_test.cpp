// A reply of 100 MB, sent as it is made.
#include "tests/hostile/invariants.h"
#include "tests/support/heap.h"

namespace korvane::test {

namespace {

constexpr std::size_t mb = 1'000'000;

class large_reply : public hostile_test {
protected:
    /// The heap that a call holds at most, in bytes of the reply.
    double memory_of(const answered_body& body, const char* expected_in_answer)
    {
        const target& query = targets()[1];
        store().answer_with(body);
        call_result result;
        const std::size_t peak = heap_peak_of([&] { result = query.call(query.request); });
        count_call();
        EXPECT_EQ(result.code, 0);
        EXPECT_NE(result.answer.value_or("").find(expected_in_answer), std::string::npos);
        EXPECT_LT(result.answer.value_or("").size(), 1000U);
        const double share = static_cast<double>(peak) / static_cast<double>(body.size());
        RecordProperty("memory_in_tenths_of_the_reply", static_cast<int>(share * 10));
        return share;
    }
};

TEST_F(large_reply, with_one_endless_text_is_cut_to_the_field)
{
    const double share = memory_of({R"({"ret":0,"totalCounts":1,"datas":[{"timestamp":"5","description":")",
                                    std::string(mb, 'x'), 100, R"("}]})"},
                                   R"("count": 1)");
    // The reply, json-c's buffer that grew to its size, and its copy of the text.
    EXPECT_LT(share, 4.5);
}

TEST_F(large_reply, of_blanks_is_an_answer)
{
    const double share = memory_of(
        {R"({"ret":0,"totalCounts":7,)", std::string(mb, ' '), 10, R"("datas":[]})"}, R"("count": 7)");
    EXPECT_LT(share, 3.0);
}

TEST_F(large_reply, with_an_endless_member_name_is_an_answer)
{
    const double share = memory_of(
        {R"({"ret":0,"totalCounts":7,")", std::string(mb, 'x'), 10, R"(":1,"datas":[]})"}, R"("count": 7)");
    // As above, and json-c copies a name twice.
    EXPECT_LT(share, 5.5);
}

} // namespace

} // namespace korvane::test
