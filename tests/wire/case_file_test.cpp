#include "tests/wire/case_file.h"

#include <gtest/gtest.h>

namespace korvane::test {

namespace {

case_file parse(const std::string& text)
{
    return parse_case_file("folder/some_file.case", text);
}

TEST(case_file, reads_every_section)
{
    const case_file file = parse("# comment\n"
                                 "--- let unit\n"
                                 "xy\n"
                                 "--- call query\n"
                                 "{\"metadata\":\n"
                                 "   {}}\n"
                                 "--- zone CET-1\n"
                                 "--- decimal_comma\n"
                                 "--- request\n"
                                 "GET /path?\n"
                                 "  a=<<unit*2>>&\n"
                                 "  t=<<now>>\n"
                                 "--- reply 404\n"
                                 "{\"ret\":5}\n"
                                 "--- request\n"
                                 "POST /other\n"
                                 "\n"
                                 "{\"a\":1,\n"
                                 " \"b\":2}\n"
                                 "--- result -101\n"
                                 "--- answer\n"
                                 "{ \"count\": 1,\n"
                                 "  \"metadatalist\": [ ] }\n"
                                 "--- log\n"
                                 "f(#)- [korvane] text # (#)- failed<<blank>>\n"
                                 "[korvane](f:12) other\n"
                                 "[korvane](f:#) third\n");
    EXPECT_EQ(file.errors, std::vector<std::string>());
    ASSERT_EQ(file.cases.size(), 1U);
    const wire_case& read = file.cases[0];
    EXPECT_EQ(read.name, "some_file");
    EXPECT_EQ(read.line, 4);
    EXPECT_STREQ(read.call->name, "query");
    EXPECT_EQ(read.input, "{\"metadata\":{}}");
    EXPECT_EQ(read.zone, "CET-1");
    EXPECT_TRUE(read.decimal_comma);
    ASSERT_EQ(read.exchanges.size(), 2U);
    EXPECT_EQ(read.exchanges[0].request_line.spelled(), "GET /path?a=xyxy&t=<<now>>");
    EXPECT_TRUE(read.exchanges[0].body.empty());
    EXPECT_EQ(read.exchanges[0].reply->bytes.substr(0, 13), "HTTP/1.1 404 ");
    EXPECT_EQ(read.exchanges[1].line, 16);
    EXPECT_EQ(read.exchanges[1].body.spelled(), "{\"a\":1,\"b\":2}");
    EXPECT_FALSE(read.exchanges[1].reply);
    EXPECT_EQ(read.result.value, static_cast<unsigned>(-101));
    EXPECT_EQ(read.answer.value->spelled(), "{ \"count\": 1, \"metadatalist\": [ ] }");
    ASSERT_EQ(read.log.value.size(), 3U);
    EXPECT_EQ(read.log.value[0].spelled(), "f(<<line>>)- [korvane] text # (#)- failed ");
    EXPECT_EQ(read.log.value[1].spelled(), "[korvane](f:12) other");
    EXPECT_EQ(read.log.value[2].spelled(), "[korvane](f:<<line>>) third");
}

TEST(case_file, holds_several_cases_with_names_of_their_own)
{
    const case_file file = parse("--- let shared\nA\n"
                                 "=== first\n"
                                 "--- let own\nB\n"
                                 "--- call insert\n<<shared>><<own>>\n"
                                 "--- result bad_request\n"
                                 "=== second\n"
                                 "--- let own\nC\n"
                                 "--- call insert null\n"
                                 "--- aborts\n<<shared>><<own>>\n");
    EXPECT_EQ(file.errors, std::vector<std::string>());
    ASSERT_EQ(file.cases.size(), 2U);
    EXPECT_EQ(file.cases[0].name, "some_file/first");
    EXPECT_EQ(file.cases[0].input, "AB");
    EXPECT_EQ(file.cases[0].result.value, 0xC4080001U);
    EXPECT_EQ(file.cases[1].name, "some_file/second");
    EXPECT_EQ(file.cases[1].line, 9);
    EXPECT_EQ(file.cases[1].input, std::nullopt);
    EXPECT_EQ(file.cases[1].abort_message.value->spelled(), "AC");
}

TEST(case_file, tells_the_line_and_what_was_expected)
{
    const std::string call = "--- call insert\n{}\n--- result 0\n";
    const struct {
        std::string text;
        const char* error;
    } cases[] = {
        {"", ":1: no case"},
        {"# nothing\n", ":1: no case"},
        {"text\n" + call, ":1: text outside of a section"},
        {call + "--- reslt 0\n", ":4: unknown section \"reslt\"; expected one of let, call,"},
        {call + "--- result 0\n", ":4: a second section \"result\""},
        {call + "--- zone\n", ":4: \"zone\" needs a time zone"},
        {call + "--- zone UTC0\ntext\n", ":5: text under \"zone\""},
        {call + "--- decimal_comma on\n", ":4: \"decimal_comma\" stands alone"},
        {call + "--- store up\n", ":4: \"store\" is only ever \"store down\""},
        {call + "--- reply\n{}\n", ":4: a \"reply\" belongs to the \"request\""},
        {call + "--- request\nGET /\n--- reply\n{}\n--- reply\n{}\n", ":8: a \"reply\" belongs"},
        {call + "--- request\n", ":4: \"request\" needs a request line"},
        {call + "--- request\nGET /\n--- reply 99\n",
         ":6: reply \"99\"; expected nothing (200), a status, raw"},
        {call + "--- request\nGET /\n--- reply\n<<now>>\n", ":6: <<now>> cannot stand in a reply"},
        {call + "--- answer\n\n<<later>>\n", ":6: <<later>> is none of"},
        {call + "--- log\nblank \n", ":5: blank at the end of the line"},
        {call + "--- let\nA\n", ":4: \"let\" needs a name"},
        {call + "--- let now\nA\n", ":4: \"let\" needs a name"},
        {call + "--- let line\nA\n", ":4: \"let\" needs a name"},
        {call + "--- let blank\nA\n", ":4: \"let\" needs a name"},
        {call + "--- let crlf\nA\n", ":4: \"let\" needs a name"},
        {call + "--- let a\nA\n", ":4: nothing uses the text named \"a\""},
        {"--- let a\nA\n=== first\n" + call, ":1: nothing uses the text named \"a\""},
        {"=== first\n" + call +
             "--- let a\nA\n=== second\n--- let a\nB\n--- call insert\n<<a>>\n--- result 0\n",
         ":5: nothing uses the text named \"a\""},
        {call + "--- let a\nA\n--- let a\nA\n", ":6: a second text named \"a\""},
        {"--- call insert\n{}\n", ":1: the case needs one section \"result\" or \"aborts\""},
        {call + "--- aborts\nlast words\n", ":1: the case needs one section \"result\" or \"aborts\""},
        {"--- result 0\n", ":1: the case has no usable section \"call\""},
        {"--- call insrt\n{}\n--- result 0\n", ":1: unknown call \"insrt\"; expected one of insert, query"},
        {"--- call insert nil\n--- result 0\n", ":1: \" nil\" after the call's name"},
        {"--- call insert null\n{}\n--- result 0\n", ":1: a null input with a text"},
        {"--- call insert\n{}\n--- result\n", ":3: result \"\"; expected a number"},
        {"--- call insert\n{}\n--- result 4294967296\n", ":3: result \"4294967296\"; expected a number"},
        {"--- call insert\n{}\n--- result bad\n", ":3: result \"bad\"; expected a number"},
        {"=== Case One\n" + call, ":1: the case is named \"Case One\""},
        {call + "=== second\n" + call, ":4: a case with a name after one without"},
    };
    for (const auto& c : cases) {
        const case_file file = parse(c.text);
        ASSERT_FALSE(file.errors.empty()) << c.text;
        EXPECT_EQ(file.errors[0].find("folder/some_file.case" + std::string(c.error)), 0U)
            << c.text << "gave: " << file.errors[0];
    }
}

TEST(case_file, wants_a_file_name_that_tells_a_fact)
{
    const case_file file = parse_case_file("A-B.case", "--- call insert\n{}\n--- result 0\n");
    ASSERT_EQ(file.errors.size(), 1U);
    EXPECT_EQ(file.errors[0].find("A-B.case:1: the file is named \"A-B\""), 0U) << file.errors[0];
}

} // namespace

} // namespace korvane::test
