// The judges themselves: one that never finds anything would look like a library without faults.
#include "tests/hostile/invariants.h"
#include "tests/hostile/json_judge.h"

namespace korvane::test {

namespace {

const target& query()
{
    return targets()[1];
}

call_result answered(int code, std::optional<std::string> answer)
{
    return {code, std::move(answer), "", 0};
}

TEST(judge, of_results_finds_what_is_wrong)
{
    const std::string reply = R"({"ret":77})";
    const auto wrong = [&reply](const call_result& result) { return wrong_with(result, query(), "", reply); };
    EXPECT_NE(wrong(answered(78, std::nullopt)), "") << "an unknown code";
    EXPECT_NE(wrong(answered(0, std::nullopt)), "") << "no answer";
    EXPECT_NE(wrong(answered(77, "{}")), "") << "an answer to a failure";
    EXPECT_NE(wrong(answered(0, "{\"a\":NaN}")), "") << "an answer that is no JSON";
    EXPECT_NE(wrong(answered(0, "{\"a\":1")), "") << "half an answer";
    EXPECT_NE(wrong({77, std::nullopt, "written to", 0}), "");
    EXPECT_NE(wrong({77, std::nullopt, "", 1}), "") << "a block left behind";
    EXPECT_EQ(wrong(answered(77, std::nullopt)), "");
    EXPECT_EQ(wrong(answered(-101, std::nullopt)), "");
}

TEST(judge, of_requests_finds_what_is_wrong)
{
    const std::string headers = " HTTP/1.1\r\nHost: 127.0.0.1:10158\r\nUser-Agent: Zym\r\nAccept: */*\r\n";
    const std::string line = "GET /third_party/human_detect?a=b";
    const std::string body = "Content-Type: text/plain\r\nContent-Length: 2\r\n\r\n{}";
    EXPECT_EQ(wrong_with_request(line + headers + "\r\n"), "");
    EXPECT_EQ(wrong_with_request("POST /third_party/human_detect" + headers + body), "");
    EXPECT_NE(wrong_with_request(""), "");
    EXPECT_NE(wrong_with_request(line + headers), "");
    EXPECT_NE(wrong_with_request(line + "\x01" + headers + "\r\n"), "");
    EXPECT_NE(wrong_with_request(line + "\r\nX: y" + headers + "\r\n"), "");
    EXPECT_NE(wrong_with_request(line + headers + "X: y\r\n\r\n"), "");
    EXPECT_NE(wrong_with_request(line + headers + "\r\nGET"), "");
    EXPECT_NE(wrong_with_request("POST /third_party/human_detect" + headers + body + "}"), "");
    EXPECT_NE(wrong_with_request("PUT /third_party/human_detect" + headers + "\r\n"), "");
}

TEST(judge, of_answers_is_as_strict_as_a_browser)
{
    for (const char* text :
         {"", "{", "{'a':1}", "{\"a\":01}", "{\"a\":1}x", "[1,]", "{\"a\":Infinity}", "\"\x01\""}) {
        EXPECT_FALSE(is_json(text)) << text;
    }
    EXPECT_TRUE(is_json("{\"a\":\"\xff\"}"));
}

} // namespace

} // namespace korvane::test
