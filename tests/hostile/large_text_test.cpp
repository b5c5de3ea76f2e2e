// Replies and requests of many megabytes.
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

/// A list that moves with each ring would take hours.
TEST_F(large_reply, of_a_face_with_300000_rings_is_an_answer)
{
    const auto faces = std::find_if(targets().begin(), targets().end(),
                                    [](const target& one) { return one.name == "query_FaceRecognition"; });
    ASSERT_NE(faces, targets().end());
    store().answer_with({R"({"ret":0,"totalCounts":1,"datas":[{"loc":{"coordinates":[[[],[]])", ",[[],[]]",
                         300'000, "]}}]}"});
    const call_result result = faces->call(faces->request);
    count_call();
    EXPECT_EQ(result.code, 0);
    EXPECT_NE(result.answer.value_or("").find(R"("count": 1)"), std::string::npos);
}

/// The JSON object `text` with so much of what means nothing put in front of its members.
std::vector<std::pair<std::string, std::string>> swollen(const std::string& text, std::size_t size)
{
    const std::string members = text.substr(1);
    return {
        {"blanks", "{" + std::string(size, ' ') + members},
        {"an endless text", R"({"note":")" + std::string(size, 'x') + "\"," + members},
        {"an endless member name", R"({")" + std::string(size, 'x') + "\":0," + members},
    };
}

class large_text : public hostile_test, public ::testing::WithParamInterface<target> {
protected:
    void check_requests(std::size_t size)
    {
        for (const auto& [what, text] : swollen(GetParam().request, size)) {
            EXPECT_EQ(check(GetParam(), text, GetParam().reply, what).code, 0) << what;
        }
    }
};

TEST_P(large_text, of_10_mb_in_a_reply_is_an_answer)
{
    for (const auto& [what, text] : swollen(GetParam().reply, 10 * mb)) {
        EXPECT_EQ(check(GetParam(), GetParam().request, text, what).code, 0) << what;
    }
}

class large_request_text : public large_text {};

TEST_P(large_request_text, of_10_mb_is_answered)
{
    check_requests(10 * mb);
}

class huge_request_text : public large_text {};

TEST_P(huge_request_text, of_100_mb_is_answered)
{
    check_requests(100 * mb);
}

std::string name_of(const ::testing::TestParamInfo<target>& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(to, large_text, ::testing::ValuesIn(targets()), name_of);
INSTANTIATE_TEST_SUITE_P(to, large_request_text, ::testing::ValuesIn(targets_that(are_asked_in_json)),
                         name_of);
INSTANTIATE_TEST_SUITE_P(to, huge_request_text, ::testing::Values(targets()[0], targets()[1]), name_of);

} // namespace

} // namespace korvane::test
