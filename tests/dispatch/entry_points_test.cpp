// What no wire case can show of the entry points: null out-pointers, whose block the answer is, and that a
// thousand calls leave nothing open.
#include "tests/dispatch/calls.h"
#include "tests/support/debug_log.h"
#include "tests/support/files.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

#include <korvane/ai_metadata.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <locale.h>

namespace korvane::test {

namespace {

const std::string report = R"({"timestamp":1,"channel_sid":"door",)"
                           R"("results":[{"function_name":"HumanDetection","objects":[[{}]]}]})";
const std::string question = R"({"metadata":{"function_name":"HumanDetection","end_time":5}})";
const std::string one_row = R"({"ret":0,"totalCounts":1,"datas":[{"timestamp":1}]})";
const std::string one_row_answer = R"({ "count": 1, "metadatalist": [ { "date": "1970-01-01 00:00:00", )"
                                   R"("timestamp": "1", "channel_sid": "" } ] })";

TEST(result_codes, have_the_numbers_that_hosts_compare_with)
{
    const struct {
        result_code code;
        unsigned int number;
        const char* name;
    } codes[] = {
        {result_ok, 0, "ok"},
        {result_bad_request, 0xC4080001U, "bad_request"},
        {result_unknown_kind, 0xC4080002U, "unknown_kind"},
        {result_null_request, 0xC4080003U, "null_request"},
        {result_out_of_picture, 0xC4080004U, "out_of_picture"},
        {result_no_vault, 0xC4080005U, "no_vault"},
        {result_unknown_query_type, 0xC4080007U, "unknown_query_type"},
        {result_no_group, 0xC4080010U, "no_group"},
    };
    for (const auto& c : codes) {
        EXPECT_EQ(c.code, c.number) << c.name;
        const auto* named = std::find_if(std::begin(result_meanings), std::end(result_meanings),
                                         [&](const auto& meaning) { return meaning.code == c.number; });
        ASSERT_NE(named, std::end(result_meanings)) << c.name;
        EXPECT_STREQ(named->name, c.name);
    }
    // Besides these, only what the transport and the store return.
    const unsigned int others[] = {0xFFFFFFFFU, 0xFFFFFFFEU, 0xFFFFFFFDU,
                                   0xFFFFFFFCU, 0xFFFFFFFBU, 0xFFFFFF9BU};
    EXPECT_EQ(std::size(result_meanings), std::size(codes) + std::size(others));
    for (const unsigned int other : others) {
        EXPECT_EQ(std::count_if(std::begin(result_meanings), std::end(result_meanings),
                                [&](const auto& meaning) { return meaning.code == other; }),
                  1)
            << other;
    }
}

class entry_points : public sandbox_test {};

TEST_F(entry_points, refuse_null_pointers_and_write_no_log)
{
    scripted_store store;
    std::string text = question;
    char untouched = 0;
    void* answer = &untouched;
    EXPECT_EQ(insert_ai_metadata(nullptr), code(result_null_request));
    EXPECT_EQ(query_ai_metadata(nullptr, &answer), code(result_null_request));
    EXPECT_EQ(query_ai_metadata(text.data(), nullptr), code(result_null_request));
    EXPECT_EQ(query_ai_metadata(nullptr, nullptr), code(result_null_request));
    EXPECT_EQ(answer, &untouched);
    EXPECT_EQ(store.requests(), std::vector<std::string>());
    EXPECT_EQ(debug_log_texts(), std::vector<std::string>());
}

TEST_F(entry_points, leave_the_answer_pointer_of_a_failed_query_as_it_was)
{
    const struct {
        std::string text;
        scripted_reply reply;
    } cases[] = {
        {"", json_reply(one_row)},
        {"{}", json_reply(one_row)},
        {R"({"metadata":{}})", json_reply(one_row)},
        {R"({"metadata":{"function_name":"humandetection"}})", json_reply(one_row)},
        {R"({"metadata":{"function_name":"HumanDetection","x1":0,"y1":0}})", json_reply(one_row)},
        {question, http_reply(500, one_row)},
        {question, raw_reply("")},
        {question, raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 999\r\n\r\n" + one_row)},
    };
    for (const auto& c : cases) {
        char untouched = 0;
        for (void* before : {static_cast<void*>(&untouched), static_cast<void*>(nullptr)}) {
            scripted_store store;
            store.reply_with(c.reply);
            std::string text = c.text;
            void* answer = before;
            EXPECT_NE(query_ai_metadata(text.data(), &answer), 0) << c.text;
            EXPECT_EQ(answer, before) << c.text;
        }
    }
}

TEST_F(entry_points, give_each_answer_as_a_block_of_its_own)
{
    scripted_store store;
    std::string text = question;
    void* first = nullptr;
    void* second = nullptr;
    for (void** answer : {&first, &second}) {
        store.reply_with(json_reply(one_row));
        ASSERT_EQ(query_ai_metadata(text.data(), answer), 0);
    }
    EXPECT_NE(first, second);
    // The block is the caller's to write to, and one's end is not the other's.
    std::memset(first, 'x', std::strlen(static_cast<char*>(first)));
    std::free(first);
    EXPECT_EQ(static_cast<char*>(second), one_row_answer);
    std::free(second);
}

TEST_F(entry_points, give_answers_of_any_length)
{
    scripted_store store;
    std::string rows = R"({"timestamp":1})";
    std::string answers = R"({ "date": "1970-01-01 00:00:00", "timestamp": "1", "channel_sid": "" })";
    const std::string row = rows;
    const std::string answered = answers;
    for (int i = 1; i < 5000; ++i) {
        rows += "," + row;
        answers += ", " + answered;
    }
    store.reply_with(json_reply(R"({"ret":0,"totalCounts":5000,"datas":[)" + rows + "]}"));
    const query_outcome outcome = query(question);
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.answer, R"({ "count": 5000, "metadatalist": [ )" + answers + " ] }");
}

TEST_F(entry_points, leave_the_threads_locale_as_it_was)
{
    const locale_t own = newlocale(LC_NUMERIC_MASK, "C.UTF-8", nullptr);
    ASSERT_NE(own, locale_t{});
    scripted_store store;
    for (const locale_t used : {own, LC_GLOBAL_LOCALE}) {
        uselocale(used);
        EXPECT_EQ(
            insert(R"({"timestamp":1,"channel_sid":"door","results":[{"function_name":"HumanDetection",)"
                   R"("objects":[[{"position":[{"x":"0.5","y":0.5}]}]]}]})"),
            0);
        EXPECT_EQ(uselocale(locale_t{}), used);
        store.reply_with(json_reply(one_row));
        EXPECT_EQ(query(question).answer, one_row_answer);
        EXPECT_EQ(uselocale(locale_t{}), used);
        EXPECT_EQ(insert("no JSON"), code(result_bad_request));
        EXPECT_EQ(uselocale(locale_t{}), used);
    }
    freelocale(own);
}

TEST_F(entry_points, store_any_integer_as_timestamp_within_64_bits)
{
    const struct {
        const char* reported;
        const char* stored;
    } cases[] = {
        {"-1", "-1"},
        {"1700000000000", "1700000000000"},
        {"9223372036854775806", "9223372036854775806"},
        {"9223372036854775807", "9223372036854775807"},
        {"9223372036854775808", "9223372036854775807"},
        {"18446744073709551615", "9223372036854775807"},
        {"99999999999999999999", "9223372036854775807"},
        {"-9223372036854775808", "-9223372036854775808"},
        {"-9223372036854775809", "-9223372036854775808"},
    };
    scripted_store store;
    for (const auto& c : cases) {
        EXPECT_EQ(insert(std::string(R"({"timestamp":)") + c.reported + report.substr(report.find(','))), 0);
        EXPECT_NE(last_request(store).find(std::string(R"("timestamp":")") + c.stored + '"'),
                  std::string::npos)
            << c.reported << ": " << last_request(store);
    }
}

TEST_F(entry_points, leave_no_descriptor_open_in_a_thousand_calls)
{
    const struct {
        bool asks;
        std::string text;
        scripted_reply reply;
        int code;
    } kinds_of_call[] = {
        {false, report, json_reply(R"({"ret":0})"), 0},
        {false, report, json_reply("no JSON"), 0},
        {false, report, raw_reply(""), -1},
        {false, report, reset_after("HTTP/1.1 200 OK\r\n"), -1},
        {false, report, raw_reply("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\nx"), -5},
        {true, question, json_reply(one_row), 0},
        {true, question, http_reply(404, "no"), -1},
        {true, question, reset_unread(), -1},
    };
    scripted_store store;
    const int before = open_descriptors();
    for (int i = 0; i < 1000; ++i) {
        const auto& call = kinds_of_call[static_cast<std::size_t>(i) % std::size(kinds_of_call)];
        store.reply_with(call.reply);
        ASSERT_EQ(call.asks ? query(call.text).code : insert(call.text), call.code) << "call " << i;
    }
    EXPECT_EQ(store.requests().size(), 1000U); // and waits until the store has closed its side
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(entry_points, leave_no_descriptor_open_when_nobody_listens)
{
    {
        scripted_store store;
        EXPECT_EQ(insert(report), 0);
    }
    const int before = open_descriptors();
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(insert(report), -1);
        EXPECT_EQ(query(question).code, -1);
    }
    EXPECT_EQ(open_descriptors(), before);
}

volatile std::sig_atomic_t broken_pipes = 0;

TEST_F(entry_points, raise_no_signal_when_the_store_hangs_up)
{
    struct sigaction counted {};
    struct sigaction before {};
    counted.sa_handler = [](int) { broken_pipes = broken_pipes + 1; };
    ASSERT_EQ(sigaction(SIGPIPE, &counted, &before), 0);

    // A body of many vertices, so that some of it is still to be sent when the reset comes.
    std::string vertices = R"({"x":0.5,"y":0.5})";
    for (int i = 0; i < 400; ++i) {
        vertices += R"(,{"x":0.5,"y":0.5})";
    }
    const std::string large =
        R"({"timestamp":1,"channel_sid":"door","results":[{"function_name":"HumanDetection",)"
        R"("objects":[[{"position":[)" +
        vertices + "]}]]}]}";
    scripted_store store;
    for (int i = 0; i < 200; ++i) {
        store.reply_with(reset_unread(scripted_reply::ending::shut_reset));
        EXPECT_EQ(insert(large), -1);
    }
    EXPECT_EQ(store.requests().size(), 200U);
    EXPECT_EQ(broken_pipes, 0);
    EXPECT_EQ(sigaction(SIGPIPE, &before, nullptr), 0);
}

} // namespace

} // namespace korvane::test
