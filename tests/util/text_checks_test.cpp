#include "util/text_checks.h"

#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"

#include <csignal>
#include <string>

namespace korvane::test {

namespace {

class check_abnormal_char_test : public sandbox_test {};

std::vector<std::string> abnormal_line(char found)
{
    return {std::string("[korvane](check_abnormal_char:#) Abnormalch[z] : ") + found};
}

TEST_F(check_abnormal_char_test, accepts_everything_else)
{
    for (const char* text : {"", "abc", "a b", "a ", "\t", "a-b_c.d~e!f@g#h$i%j&k(l)m{n}o[p]q",
                             "\xc3\xa9\xe4\xb8\xad", "\x01\x7f", "0123456789"}) {
        EXPECT_EQ(check_abnormal_char(text), 0) << text;
    }
    EXPECT_TRUE(debug_log_lines().empty());
}

TEST_F(check_abnormal_char_test, refuses_each_of_the_sixteen_and_logs_it)
{
    const std::string abnormal = "?^|+*\\\"'/:;=,<>`";
    ASSERT_EQ(abnormal.size(), 16U);
    for (const char c : abnormal) {
        for (const std::string& text :
             {std::string(1, c), std::string("abc") + c, std::string("a") + c + "b"}) {
            clear_debug_log();
            EXPECT_EQ(check_abnormal_char(text.c_str()), -1) << text;
            EXPECT_EQ(debug_log_texts(), abnormal_line(c)) << text;
        }
    }
}

TEST_F(check_abnormal_char_test, logs_the_first_one_only)
{
    EXPECT_EQ(check_abnormal_char("ab=c,d?"), -1);
    EXPECT_EQ(debug_log_texts(), abnormal_line('='));
}

TEST_F(check_abnormal_char_test, refuses_a_blank_in_front_without_logging_it)
{
    for (const char* text : {" ", " abc", " a,b"}) {
        EXPECT_EQ(check_abnormal_char(text), -1) << text;
    }
    EXPECT_TRUE(debug_log_lines().empty());
}

class text_checks_of_nothing : public sandbox_test {};

TEST_F(text_checks_of_nothing, are_refused_and_not_logged)
{
    EXPECT_EQ(static_cast<unsigned>(check_abnormal_char(nullptr)), 0xC4080003U);
    EXPECT_EQ(static_cast<unsigned>(removeBlank(nullptr)), 0xC4080003U);
    EXPECT_EQ(static_cast<unsigned>(trans_time_to_string(nullptr)), 0xC4080003U);
    EXPECT_TRUE(debug_log_lines().empty());
}

TEST(removeBlank, moves_blanks_behind_the_other_characters)
{
    const struct {
        const char* text;
        const char* moved;
        int others;
    } cases[] = {
        {"a b c", "abc  ", 3},
        {"", "", 0},
        {"abc", "abc", 3},
        {"   ", "   ", 0},
        {"  abc", "abc  ", 3},
        {"abc  ", "abc  ", 3},
        {" a  b ", "ab    ", 2},
        {"a\tb\nc d", "a\tb\ncd ", 6},
        {"\xc2\xa0 x", "\xc2\xa0x ", 3},
    };
    for (const auto& c : cases) {
        std::string text = c.text;
        EXPECT_EQ(removeBlank(text.data()), c.others) << c.text;
        EXPECT_EQ(text, c.moved) << c.text;
    }
}

/// What trans_time_to_string makes of `text`, with the two more characters of room that it needs and not one
/// more.
std::string rewritten(const std::string& text, unsigned expected_result = 0)
{
    std::string buffer = text;
    buffer.resize(text.size() + 2, '\0');
    const std::string guard = "guard";
    buffer += '\0' + guard;
    EXPECT_EQ(static_cast<unsigned>(trans_time_to_string(buffer.data())), expected_result) << text;
    EXPECT_EQ(buffer.substr(text.size() + 3), guard) << text << " was written beyond its room";
    return buffer.c_str();
}

TEST(trans_time_to_string, makes_a_bare_timestamp_a_text)
{
    const struct {
        const char* text;
        const char* written;
    } cases[] = {
        {R"({"timestamp":1712345678901,"a":1})", R"({"timestamp":"1712345678901","a":1})"},
        {R"({"a":1,"timestamp":5,"b":2})", R"({"a":1,"timestamp":"5","b":2})"},
        {R"({"timestamp":,"a":1})", R"({"timestamp":"","a":1})"},
        {R"({"timestamp":-5,"a":1})", R"({"timestamp":"-5","a":1})"},
        // Blanks around the value go, those of the rest stay.
        {R"({ "a b": "c d" , "timestamp" :  17 , "e f" : 1 })",
         R"({ "a b": "c d" , "timestamp":"17", "e f" : 1 })"},
        // The value reaches to the next comma, whatever it is.
        {R"({"timestamp":"5","a":1})", R"({"timestamp":""5"","a":1})"},
        {R"({"timestamp":{"a":1},"b":2})", R"({"timestamp":"{"a":1}","b":2})"},
        // Fourteen characters fit.
        {R"({"timestamp":12345678901234,"a":1})", R"({"timestamp":"12345678901234","a":1})"},
        // The first place where the name stands is the one rewritten.
        {R"({"timestamp":1,"b":{"timestamp":2,"c":3}})", R"({"timestamp":"1","b":{"timestamp":2,"c":3}})"},
        {R"({"b":{"timestamp":2,"c":3},"timestamp":1,"d":4})",
         R"({"b":{"timestamp":"2","c":3},"timestamp":1,"d":4})"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(rewritten(c.text), c.written) << c.text;
    }
}

TEST(trans_time_to_string, without_a_timestamp_changes_nothing)
{
    for (const char* text :
         {"", "{}", R"({"time":1,"a":2})", R"({"Timestamp":1,"a":2})", R"({timestamp:1,"a":2})",
          R"({"timestamps":1,"a":2})", R"({"my_timestamp":1,"a":2})"}) {
        EXPECT_EQ(rewritten(text, 0xC4080001U), text);
    }
}

TEST(trans_time_to_string, as_the_last_member_is_refused_and_changes_nothing)
{
    for (const char* text : {R"({"timestamp":1712345678901})", R"({"a":1,"timestamp":5})", R"({"timestamp")",
                             R"({"time stamp":5,"timestamp":6})"}) {
        EXPECT_EQ(rewritten(text, 0xC4080001U), text);
    }
}

// The value is looked for behind the colon, the place to put it where the name stands first.
TEST(trans_time_to_string, never_needs_more_than_the_two_characters)
{
    for (const char* text : {R"({"a":"timestamp","timestamp":12345678901234,"b":1})",
                             R"(["timestamp",{"timestamp":12345678901234,"b":1}])",
                             R"({" timestamp":12345678901234,"a":"timestamp","b":1})"}) {
        EXPECT_EQ(rewritten(text, 0xC4080001U), text);
    }
}

TEST(trans_time_to_string_death_test, ends_the_process_on_a_value_of_fifteen_characters)
{
    EXPECT_EXIT(
        rewritten(R"({"timestamp":123456789012345,"a":1})"), ::testing::KilledBySignal(SIGABRT),
        "^libkorvane: \"timestamp\" has 15 characters, at most 14 are allowed: ending the process\n$");
}

} // namespace

} // namespace korvane::test
