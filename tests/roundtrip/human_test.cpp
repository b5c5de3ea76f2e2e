#include "tests/dispatch/calls.h"
#include "tests/roundtrip/answers.h"
#include "tests/roundtrip/areas.h"
#include "tests/roundtrip/roundtrip_test.h"
#include "tests/support/debug_log.h"

#include <korvane/ai_metadata.h>

namespace korvane::test {

namespace {

using texts = std::vector<std::string>;

const std::string kind = R"("function_name":"HumanDetection")";
const std::string front(32, 'a');
const std::string yard(32, 'b');

/// Reports one person in a channel; `person` are their members.
void report(long long timestamp, const std::string& channel, const std::string& person = "")
{
    const std::string text = R"({"timestamp":)" + std::to_string(timestamp) + R"(,"channel_sid":")" +
                             channel + R"(","results":[{)" + kind + R"(,"objects":[[{)" + person + "}]]}]}";
    ASSERT_EQ(insert(text), 0) << text;
}

class human_roundtrip : public roundtrip_test {
protected:
    void SetUp() override
    {
        roundtrip_test::SetUp();
        report(1000, front, R"("position":)" + square("0.0", "0.2"));
        report(2000, front, R"("description":"runs","position":)" + square("0.5", "0.7"));
        report(3000, yard);
        report(4000, yard, R"("position":)" + square("0.2", "0.5"));
    }

    /// The times of what is found with these filters, newest first.
    static texts found(const std::string& filters) { return answered(kind + filters).each("timestamp"); }
};

const texts all_found{"4000", "3000", "2000", "1000"};

TEST_F(human_roundtrip, answers_all_that_was_reported)
{
    ASSERT_EQ(insert(R"({"timestamp":"1712345678901","appID":"a","appName":"n","model":"m","brand":"b",
        "channel_sid":"door","stream_id":0,"results":[{"function_name":"HumanDetection","version":"v",
        "task_name":"t","objects":[[{"description":"T\u00fcr",
        "position":[{"x":0.5,"y":0.25},{"x":1,"y":0},{"x":0.123456789,"y":1}]}]]}]})"),
              0);
    const answered newest(kind + R"(,"limit":1)");
    EXPECT_EQ(newest.count(), 5);
    EXPECT_EQ(newest.rows(),
              texts{R"({ "date": "2024-04-05 19:34:38", "appName": "n", "model": "m", "brand": "b", )"
                    R"("version": "v", "task_name": "t", "timestamp": "1712345678901", )"
                    R"("channel_sid": "door", "stream_id": 1, "description": "Tür", )"
                    R"("position": [ { "x": 0.500000, "y": 0.250000 }, { "x": 1.000000, "y": 0.000000 }, )"
                    R"({ "x": 0.123457, "y": 1.000000 } ] })"});
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(human_roundtrip, leaves_out_what_was_not_reported)
{
    EXPECT_EQ(
        answered(kind + R"(,"start_time":3000,"end_time":3000)").rows(),
        texts{R"({ "date": "1970-01-01 00:00:03", "timestamp": "3000", "channel_sid": ")" + yard + R"(" })"});
}

TEST_F(human_roundtrip, keeps_texts_at_their_limits)
{
    report(5000, yard, R"("description":")" + std::string(127, 'd') + '"');
    EXPECT_EQ(answered(kind + R"(,"limit":1)").each("description"), texts{std::string(127, 'd')});
}

TEST_F(human_roundtrip, chooses_by_time)
{
    EXPECT_EQ(found(""), all_found);
    EXPECT_EQ(found(R"(,"start_time":2000)"), (texts{"4000", "3000", "2000"}));
    EXPECT_EQ(found(R"(,"start_time":2001)"), (texts{"4000", "3000"}));
    EXPECT_EQ(found(R"(,"end_time":"2000")"), (texts{"2000", "1000"}));
    EXPECT_EQ(found(R"(,"end_time":1999)"), texts{"1000"});
    EXPECT_EQ(found(R"(,"start_time":2000,"end_time":3000)"), (texts{"3000", "2000"}));
    EXPECT_EQ(found(R"(,"start_time":3000,"end_time":2000)"), texts());
    EXPECT_EQ(found(R"(,"start_time":5000)"), texts());
}

TEST_F(human_roundtrip, chooses_by_channel)
{
    EXPECT_EQ(found(R"(,"channel_guid_list":[")" + front + R"("])"), (texts{"2000", "1000"}));
    EXPECT_EQ(found(R"(,"channel_guid_list":[")" + yard + R"(",")" + front + R"("])"), all_found);
    EXPECT_EQ(found(R"(,"channel_guid_list":[")" + std::string(32, 'c') + R"("])"), texts());
    EXPECT_EQ(debug_log_texts(), texts());
    // No channel of 32 characters is left: any.
    EXPECT_EQ(found(R"(,"channel_guid_list":["a"])"), all_found);
    EXPECT_EQ(debug_log_texts(),
              texts{"[korvane](query_human_metadata:#) channel_sid length : 1 out of bounds(32)"});
}

TEST_F(human_roundtrip, chooses_by_area)
{
    EXPECT_EQ(found("," + area("0.05", "0.1")), texts{"1000"});
    EXPECT_EQ(found("," + area("0.6", "1.0")), texts{"2000"});
    EXPECT_EQ(found("," + area("0.3", "0.4")), texts{"4000"});
    EXPECT_EQ(found("," + area("0.1", "0.6")), (texts{"4000", "2000", "1000"}));
    EXPECT_EQ(found("," + area("0.8", "0.9")), texts());
    EXPECT_EQ(found("," + area("0.0", "1.0")), (texts{"4000", "2000", "1000"})) << "no polygon, no place";
}

TEST_F(human_roundtrip, does_not_choose_by_filters_of_other_kinds)
{
    EXPECT_EQ(found(R"(,"object_name":"car","dir":"ASC","start_confidence":100,"end_confidence":100)"),
              all_found);
}

TEST_F(human_roundtrip, sorts_and_pages_in_both_directions)
{
    EXPECT_EQ(found(R"(,"sort_dir":1)"), (texts{"1000", "2000", "3000", "4000"}));
    EXPECT_EQ(found(R"(,"sort_dir":0)"), all_found);
    for (int i = 0; i < 8; ++i) {
        report(5000 + i * 1000, yard);
    }
    EXPECT_EQ(found("").size(), 10U) << "ten, when nothing is said";
    for (const char* direction : {R"(,"sort_dir":1)", R"(,"sort_dir":-1)"}) {
        const texts at_once = found(direction + std::string(R"(,"limit":100)"));
        EXPECT_EQ(at_once.size(), 12U);
        for (const int limit : {1, 5, 12, 13}) {
            texts pages;
            for (int skip = 0; skip <= 12; skip += limit) {
                const answered page(kind + direction + R"(,"skip":)" + std::to_string(skip) + R"(,"limit":)" +
                                    std::to_string(limit));
                EXPECT_EQ(page.count(), 12) << "all that match, on every page";
                const texts shown = page.each("timestamp");
                pages.insert(pages.end(), shown.begin(), shown.end());
            }
            EXPECT_EQ(pages, at_once) << direction << " by " << limit;
        }
    }
}

TEST_F(human_roundtrip, joins_all_filters)
{
    const std::string all = R"(,"start_time":1000,"end_time":1000,"channel_guid_list":[")" + front + R"("],)";
    EXPECT_EQ(found(all + area("0", "0.1")), texts{"1000"});
    EXPECT_EQ(found(all + area("0.9", "1")), texts());
}

TEST_F(human_roundtrip, finds_people_under_their_own_kind_only)
{
    EXPECT_EQ(answered(R"("function_name":"ObjectDetection")").count(), 0);
    EXPECT_EQ(answered(R"("function_name":"FaceRecognition")").count(), 0);
}

TEST_F(human_roundtrip, stores_two_results_twice)
{
    const std::string one = "{" + kind + R"(,"objects":[[{}]]})";
    EXPECT_EQ(insert(R"({"timestamp":9000,"channel_sid":"door","results":[)" + one + "," + one + "]}"), 0);
    EXPECT_EQ(found(R"(,"start_time":9000)"), texts(4, "9000"));
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(human_roundtrip, keeps_what_came_before_a_fault)
{
    EXPECT_EQ(insert(R"({"timestamp":9000,"channel_sid":"door","results":[{)" + kind +
                     R"(,"objects":[[{"description":"1"},{"description":"2"}],
        [{"description":"3"},{"position":[{"x":0.5,"y":0.5},{"x":2,"y":0.5}]},{"description":"5"}]]}]})"),
              code(result_out_of_picture));
    EXPECT_EQ(answered(kind + R"(,"start_time":9000)").count(), 3);
    EXPECT_EQ(debug_log_texts(),
              (texts{"add_human_metadata(#)- [korvane] coordinate x out of range",
                     "insert_ai_metadata(#)- [korvane] failed to add humana metadata, ret = -1006108668"}));
}

TEST_F(human_roundtrip, gives_back_what_the_store_says_to_a_text_that_breaks_the_body)
{
    // Texts go out unescaped: the store cannot read this one, and says so.
    EXPECT_EQ(
        insert(R"({"timestamp":1,"channel_sid":"a \"b\"","results":[{)" + kind + R"(,"objects":[[{}]]}]})"),
        1001);
    EXPECT_EQ(answered(kind).count(), 4);
}

TEST_F(human_roundtrip, fails_without_a_store)
{
    stop_store();
    EXPECT_EQ(query(R"({"metadata":{)" + kind + "}}").code, -1);
}

} // namespace

} // namespace korvane::test
