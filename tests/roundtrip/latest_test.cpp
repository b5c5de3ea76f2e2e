#include "tests/dispatch/calls.h"
#include "tests/roundtrip/roundtrip_test.h"
#include "tests/support/debug_log.h"
#include "tests/support/time_zone.h"

#include <korvane/ai_metadata.h>

namespace korvane::test {

namespace {

using texts = std::vector<std::string>;

constexpr const char* nothing_yet = "Zymora has not received any metadata.";
constexpr const char* kinds[] = {"HumanDetection", "FaceRecognition", "ObjectDetection"};

/// The newest date of a kind; what a failure must leave alone otherwise.
std::string latest(const std::string& kind, int expected = 0)
{
    std::string request = R"({"last_metadata":{"funcName":")" + kind + R"("}})";
    char answer[128] = "untouched";
    EXPECT_EQ(get_latest_metadata(request.data(), answer), expected) << kind;
    return answer;
}

/// Reports one result of a kind, with "confidence" and an age where the kind has them and `more` says so.
void report(const std::string& kind, const std::string& timestamp, const std::string& more = {})
{
    const std::string text =
        R"({"timestamp":")" + timestamp + R"(","channel_sid":"door","results":[{"function_name":")" + kind +
        R"(","function_results":{"tubes":[{"person_id":"p")" + more +
        R"(}]},"objects":[[{"position":[],"people_count_in":1,"people_count_out":1)" + more + "}]]}]}";
    ASSERT_EQ(insert(text), 0) << text;
}

class latest_roundtrip : public roundtrip_test {};

TEST_F(latest_roundtrip, finds_nothing_in_an_empty_store)
{
    for (const char* kind : kinds) {
        EXPECT_EQ(latest(kind), nothing_yet) << kind;
    }
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(latest_roundtrip, finds_the_newest_whatever_came_last)
{
    for (const char* kind : kinds) {
        report(kind, "1712345678901");
        EXPECT_EQ(latest(kind), "2024-04-05 19:34:38") << kind;
        report(kind, "1700000000000");
        EXPECT_EQ(latest(kind), "2024-04-05 19:34:38") << kind;
        report(kind, "1712345680000");
        EXPECT_EQ(latest(kind), "2024-04-05 19:34:40") << kind;
    }
}

TEST_F(latest_roundtrip, does_not_take_another_kinds_results)
{
    report("PeopleCounting", "1712345678901");
    for (const char* reported : kinds) {
        restart_store();
        report("PeopleCounting", "1712345678901");
        report(reported, "1712345678901");
        for (const char* asked : kinds) {
            const bool same = std::string(asked) == reported;
            EXPECT_EQ(latest(asked), same ? "2024-04-05 19:34:38" : nothing_yet) << reported << ' ' << asked;
        }
    }
}

/// The bounds -1 and -2 of the look-up for faces must not keep any face out.
TEST_F(latest_roundtrip, finds_a_face_of_any_confidence_and_age)
{
    int second = 10;
    for (const char* more : {"", R"(,"confidence":-1,"ageVal":-1)", R"(,"confidence":-2,"ageVal":-2)",
                             R"(,"confidence":0,"ageVal":0)", R"(,"confidence":100,"ageVal":120)"}) {
        report("FaceRecognition", std::to_string(second * 1000), more);
        EXPECT_EQ(latest("FaceRecognition"), "1970-01-01 00:00:" + std::to_string(second)) << more;
        ++second;
    }
}

TEST_F(latest_roundtrip, finds_a_result_of_the_future)
{
    for (const char* kind : kinds) {
        report(kind, "4102444800000");
        EXPECT_EQ(latest(kind), "2100-01-01 00:00:00") << kind;
    }
}

TEST_F(latest_roundtrip, tells_the_local_date)
{
    report("ObjectDetection", "1712345678901");
    set_time_zone("CST-8");
    EXPECT_EQ(latest("ObjectDetection"), "2024-04-06 03:34:38");
}

TEST_F(latest_roundtrip, fails_without_a_store)
{
    stop_store();
    for (const char* kind : kinds) {
        EXPECT_EQ(latest(kind, -1), "untouched") << kind;
    }
}

} // namespace

} // namespace korvane::test
