// A host with a locale of its own gets the answers, and the store the bytes, of one without.
#include "tests/reliability/answering_store.h"
#include "tests/reliability/host_locale.h"
#include "tests/reliability/sample_calls.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"

#include <korvane/ai_metadata.h>

#include <cctype>
#include <clocale>
#include <cstdio>
#include <cwctype>
#include <sstream>

namespace korvane::test {

namespace {

struct everything {
    std::vector<call_result> results;
    std::vector<std::string> requests;
    std::vector<std::string> log;
};

everything call_everything()
{
    clear_debug_log();
    answering_store store(answering_store::recording::yes);
    everything seen;
    seen.results = make_all_calls(linked_entry_points(), 1'234'567);
    // The line that tells a real number.
    std::string unsure =
        R"({"timestamp":"1","channel_sid":"door","results":[{"function_name":"ObjectDetection",)"
        R"("objects":[[{"confidence":100.5,"position":[]}]]}]})";
    EXPECT_EQ(insert_ai_metadata(unsure.data()), 0);
    seen.requests = store.requests();
    seen.log = debug_log_texts();
    return seen;
}

void expect_alike(const everything& plain, const everything& local)
{
    EXPECT_EQ(differences(plain.results, local.results), "");
    EXPECT_EQ(local.requests, plain.requests);
    EXPECT_EQ(local.log, plain.log);
    EXPECT_GT(plain.requests.size(), 10U);
    EXPECT_GT(plain.log.size(), 5U);
}

std::string printed_half()
{
    char text[16];
    std::snprintf(text, sizeof text, "%.1f", 0.5);
    return text;
}

class reliability_locale : public sandbox_test {};

TEST_F(reliability_locale, of_germany_changes_no_byte)
{
    const everything plain = call_everything();
    const host_locale german("de_DE", "UTF-8");
    ASSERT_EQ(printed_half(), "0,5");
    std::ostringstream grouped;
    grouped << 1234567;
    ASSERT_EQ(grouped.str(), "1.234.567");
    expect_alike(plain, call_everything());
}

TEST_F(reliability_locale, of_turkey_changes_no_byte)
{
    const everything plain = call_everything();
    const host_locale turkish("tr_TR", "UTF-8");
    ASSERT_EQ(printed_half(), "0,5");
    ASSERT_EQ(std::towlower(L'I'), static_cast<std::wint_t>(0x131)) << "not the letter without a dot";
    expect_alike(plain, call_everything());
}

/// With one byte a letter, tolower and what is made of it know of the two kinds of I, too.
TEST_F(reliability_locale, of_turkey_with_one_byte_a_letter_changes_no_byte)
{
    const everything plain = call_everything();
    const host_locale turkish("tr_TR", "ISO-8859-9");
    ASSERT_NE(std::tolower('I'), 'i');
    ASSERT_EQ(printed_half(), "0,5");
    expect_alike(plain, call_everything());
}

/// json-c knows no decimal sign but point and comma.
TEST_F(reliability_locale, of_afghanistan_changes_no_byte)
{
    const everything plain = call_everything();
    const host_locale afghan("ps_AF", "UTF-8");
    ASSERT_EQ(printed_half(), "0\u066b5");
    expect_alike(plain, call_everything());
}

TEST_F(reliability_locale, is_still_the_hosts_afterwards)
{
    const host_locale turkish("tr_TR", "UTF-8");
    const std::string before = std::setlocale(LC_ALL, nullptr);
    call_everything();
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
    EXPECT_EQ(printed_half(), "0,5");
}

} // namespace

} // namespace korvane::test
