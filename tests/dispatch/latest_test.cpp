// The newest-result look-ups called directly, and what they and their entry point do without a buffer.
#include "dispatch/latest.h"

#include "tests/dispatch/calls.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"

#include <korvane/ai_metadata.h>

#include <algorithm>
#include <array>

namespace korvane::test {

namespace {

using texts = std::vector<std::string>;

constexpr char sentence[] = "Zymora has not received any metadata.";

struct look_up {
    const char* kind;
    int (*get)(char* answer);
};

constexpr look_up look_ups[] = {
    {"human", get_lastest_human_metadata},
    {"face", get_lastest_face_metadata},
    {"model", get_lastest_model_metadata},
};

/// A caller's buffer of the least size that a caller may bring.
std::array<char, 128> untouched_buffer()
{
    std::array<char, 128> buffer;
    buffer.fill('~');
    return buffer;
}

class latest : public sandbox_test {
protected:
    scripted_store store_;
};

TEST_F(latest, refuses_null_pointers)
{
    std::string request = R"({"last_metadata":{"funcName":"HumanDetection"}})";
    auto buffer = untouched_buffer();
    EXPECT_EQ(get_latest_metadata(nullptr, buffer.data()), code(result_null_request));
    EXPECT_EQ(get_latest_metadata(request.data(), nullptr), code(result_null_request));
    EXPECT_EQ(get_latest_metadata(nullptr, nullptr), code(result_null_request));
    for (const look_up& one : look_ups) {
        EXPECT_EQ(one.get(nullptr), code(result_null_request)) << one.kind;
    }
    EXPECT_EQ(buffer, untouched_buffer());
    EXPECT_EQ(store_.requests(), texts());
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(latest, writes_a_sentence_of_38_bytes_and_no_more)
{
    static_assert(sizeof sentence == 38);
    for (const look_up& one : look_ups) {
        store_.reply_with(json_reply(R"({"ret":0,"totalCounts":0,"datas":[]})"));
        auto buffer = untouched_buffer();
        EXPECT_EQ(one.get(buffer.data()), 0) << one.kind;
        EXPECT_STREQ(buffer.data(), sentence) << one.kind;
        EXPECT_TRUE(std::all_of(buffer.begin() + sizeof sentence, buffer.end(), [](char byte) {
            return byte == '~';
        })) << one.kind;
    }
}

TEST_F(latest, writes_the_date_of_the_first_record)
{
    for (const look_up& one : look_ups) {
        store_.reply_with(
            json_reply(R"({"ret":0,"totalCounts":2,"datas":[{"timestamp":"1712345678901"},{}]})"));
        auto buffer = untouched_buffer();
        EXPECT_EQ(one.get(buffer.data()), 0) << one.kind;
        EXPECT_STREQ(buffer.data(), "2024-04-05 19:34:38") << one.kind;
    }
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(latest, tells_one_line_under_its_own_name_and_leaves_the_buffer)
{
    for (const look_up& one : look_ups) {
        clear_debug_log();
        store_.reply_with(http_reply(500, ""));
        auto buffer = untouched_buffer();
        EXPECT_EQ(one.get(buffer.data()), -1) << one.kind;
        EXPECT_EQ(buffer, untouched_buffer()) << one.kind;
        EXPECT_EQ(debug_log_texts(), texts{std::string("[korvane](get_lastest_") + one.kind +
                                           "_metadata:#) get " + one.kind + " metadata failed"});
    }
}

} // namespace

} // namespace korvane::test
