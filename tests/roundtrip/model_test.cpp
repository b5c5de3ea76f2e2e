#include "tests/dispatch/calls.h"
#include "tests/roundtrip/answers.h"
#include "tests/roundtrip/areas.h"
#include "tests/roundtrip/roundtrip_test.h"
#include "tests/support/debug_log.h"

namespace korvane::test {

namespace {

using texts = std::vector<std::string>;

const std::string kind = R"("function_name":"ObjectDetection")";
const std::string front(32, 'a');
const std::string yard(32, 'b');

/// Reports one object of a channel; `object` are its members but "position".
void report(long long timestamp, const std::string& channel, const std::string& object,
            const std::string& position = "[]")
{
    const std::string text = R"({"timestamp":)" + std::to_string(timestamp) + R"(,"channel_sid":")" +
                             channel + R"(","results":[{)" + kind + R"(,"objects":[[{)" + object +
                             R"(,"position":)" + position + "}]]}]}";
    ASSERT_EQ(insert(text), 0) << text;
}

class model_roundtrip : public roundtrip_test {
protected:
    void SetUp() override
    {
        roundtrip_test::SetUp();
        report(1000, front, R"("object_name":"car","confidence":100)", square("0.0", "0.2"));
        report(2000, front, R"("object_name":"red car","confidence":99.9)", square("0.5", "0.7"));
        report(3000, yard, R"("object_name":"dog")");
        report(4000, yard, R"("confidence":50)", square("0.2", "0.5"));
    }

    /// The times of what is found with these filters, newest first.
    static texts found(const std::string& filters) { return answered(kind + filters).each("timestamp"); }
};

TEST_F(model_roundtrip, answers_all_that_was_reported)
{
    ASSERT_EQ(insert(R"({"timestamp":"1712345678901","appID":"a","appName":"n","model":"m","brand":"b",
        "channel_sid":"door","stream_id":0,"results":[{"function_name":"ObjectDetection","version":"v",
        "task_name":"t","objects":[[{"description":"d","object_name":"T\u00fcr","confidence":87.5,
        "position":[{"x":0.5,"y":0.25},{"x":1,"y":0},{"x":0.123456789,"y":1}]}]]}]})"),
              0);
    const answered newest(kind + R"(,"limit":1)");
    EXPECT_EQ(newest.count(), 5);
    EXPECT_EQ(newest.rows(),
              texts{R"({ "date": "2024-04-05 19:34:38", "appName": "n", "brand": "b", "version": "v", )"
                    R"("task_name": "t", "model": "m", "timestamp": "1712345678901", "description": "d", )"
                    R"("channel_sid": "door", "stream_id": 1, "object_name": "Tür", "confidence": 87.5, )"
                    R"("position": [ { "x": 0.500000, "y": 0.250000 }, { "x": 1.000000, "y": 0.000000 }, )"
                    R"({ "x": 0.123457, "y": 1.000000 } ] })"});
    EXPECT_EQ(debug_log_texts(), texts());
}

TEST_F(model_roundtrip, leaves_out_what_was_not_reported)
{
    EXPECT_EQ(answered(kind + R"(,"start_time":3000,"end_time":3000)").rows(),
              texts{R"({ "date": "1970-01-01 00:00:03", "timestamp": "3000", "channel_sid": ")" + yard +
                    R"(", "object_name": "dog" })"});
}

TEST_F(model_roundtrip, keeps_texts_at_their_limits)
{
    const std::string longest(127, 'o');
    report(5000, yard, R"("object_name":")" + longest + R"(","description":")" + std::string(127, 'd') + '"');
    EXPECT_EQ(answered(kind + R"(,"object_name":")" + longest + '"').each("description"),
              texts{std::string(127, 'd')});
}

TEST_F(model_roundtrip, chooses_by_time)
{
    EXPECT_EQ(found(""), (texts{"4000", "3000", "2000", "1000"}));
    EXPECT_EQ(found(R"(,"start_time":2000)"), (texts{"4000", "3000", "2000"}));
    EXPECT_EQ(found(R"(,"start_time":2001)"), (texts{"4000", "3000"}));
    EXPECT_EQ(found(R"(,"end_time":"2000")"), (texts{"2000", "1000"}));
    EXPECT_EQ(found(R"(,"end_time":1999)"), (texts{"1000"}));
    EXPECT_EQ(found(R"(,"start_time":2000,"end_time":3000)"), (texts{"3000", "2000"}));
    EXPECT_EQ(found(R"(,"start_time":3000,"end_time":2000)"), texts());
    EXPECT_EQ(found(R"(,"start_time":5000)"), texts());
}

TEST_F(model_roundtrip, chooses_by_channel)
{
    EXPECT_EQ(found(R"(,"channel_guid_list":[")" + front + R"("])"), (texts{"2000", "1000"}));
    EXPECT_EQ(found(R"(,"channel_guid_list":[")" + yard + R"(",")" + front + R"("])"),
              (texts{"4000", "3000", "2000", "1000"}));
    EXPECT_EQ(found(R"(,"channel_guid_list":[")" + std::string(32, 'c') + R"("])"), texts());
    EXPECT_EQ(debug_log_texts(), texts());
    // No channel of 32 characters is left: any.
    EXPECT_EQ(found(R"(,"channel_guid_list":["a"])").size(), 4U);
    EXPECT_EQ(debug_log_texts(),
              texts{"[korvane](query_model_metadata:#) channel_sid length : 1 out of bounds(32)"});
}

TEST_F(model_roundtrip, chooses_by_object_name)
{
    EXPECT_EQ(found(R"(,"object_name":"car")"), texts{"1000"});
    EXPECT_EQ(found(R"(,"object_name":"red car")"), texts{"2000"});
    EXPECT_EQ(found(R"(,"object_name":"Car")"), texts());
    EXPECT_EQ(found(R"(,"object_name":"ca")"), texts());
    EXPECT_EQ(found(R"(,"object_name":"")").size(), 4U) << "the store takes an empty name for any";
    report(5000, yard, R"("object_name":"a&b=c%20[1] T\u00fcr")");
    EXPECT_EQ(found(R"(,"object_name":"a&b=c%20[1] T\u00fcr")"), texts{"5000"});
}

TEST_F(model_roundtrip, chooses_by_area)
{
    EXPECT_EQ(found("," + area("0.05", "0.1")), texts{"1000"});
    EXPECT_EQ(found("," + area("0.6", "1.0")), texts{"2000"});
    EXPECT_EQ(found("," + area("0.3", "0.4")), texts{"4000"});
    EXPECT_EQ(found("," + area("0.1", "0.6")), (texts{"4000", "2000", "1000"}));
    EXPECT_EQ(found("," + area("0.8", "0.9")), texts());
    EXPECT_EQ(found("," + area("0.0", "1.0")), (texts{"4000", "2000", "1000"})) << "no polygon, no place";
}

TEST_F(model_roundtrip, chooses_by_confidence_only_from_a_hundred_up)
{
    EXPECT_EQ(found(R"(,"start_confidence":100,"end_confidence":100)"), texts{"1000"});
    EXPECT_EQ(found(R"(,"start_confidence":120,"end_confidence":100)"), texts());
    EXPECT_EQ(found(R"(,"start_confidence":100,"end_confidence":99)"), texts());
    EXPECT_EQ(debug_log_texts(), texts());
    // Each ordinary lower bound is dropped, and with it the range.
    EXPECT_EQ(found(R"(,"start_confidence":60,"end_confidence":99)").size(), 4U);
    EXPECT_EQ(found(R"(,"start_confidence":0,"end_confidence":60)").size(), 4U);
    EXPECT_EQ(debug_log_texts(),
              (texts{"[korvane](query_model_metadata:#) start confidence value : 60 out of bounds(0~100)",
                     "[korvane](query_model_metadata:#) start confidence value : 0 out of bounds(0~100)"}));
    EXPECT_EQ(found(R"(,"end_confidence":60)").size(), 4U);
    EXPECT_EQ(found(R"(,"start_confidence":100)").size(), 4U);
}

TEST_F(model_roundtrip, sorts_and_pages)
{
    EXPECT_EQ(found(R"(,"sort_dir":1)"), (texts{"1000", "2000", "3000", "4000"}));
    EXPECT_EQ(found(R"(,"sort_dir":0)"), (texts{"4000", "3000", "2000", "1000"}));
    EXPECT_EQ(found(R"(,"sort_dir":1,"skip":1,"limit":2)"), (texts{"2000", "3000"}));
    EXPECT_EQ(found(R"(,"skip":3)"), texts{"1000"});
    EXPECT_EQ(found(R"(,"skip":4)"), texts());
    EXPECT_EQ(answered(kind + R"(,"limit":1)").count(), 4);
    for (int i = 0; i < 8; ++i) {
        report(5000 + i, yard, R"("object_name":"cat")");
    }
    EXPECT_EQ(found("").size(), 10U) << "ten, when nothing is said";
    EXPECT_EQ(answered(kind).count(), 12);
}

TEST_F(model_roundtrip, joins_all_filters)
{
    const std::string all = R"(,"start_time":1000,"end_time":1000,"channel_guid_list":[")" + front +
                            R"("],"object_name":"car","start_confidence":100,"end_confidence":100,)";
    EXPECT_EQ(found(all + area("0", "0.1")), texts{"1000"});
    EXPECT_EQ(found(all + area("0.9", "1")), texts());
}

TEST_F(model_roundtrip, finds_objects_under_their_own_kind_only)
{
    EXPECT_EQ(answered(R"("function_name":"HumanDetection")").count(), 0);
    EXPECT_EQ(answered(R"("function_name":"FaceRecognition")").count(), 0);
}

TEST_F(model_roundtrip, stores_two_results_twice_and_what_came_before_a_fault)
{
    const std::string one =
        R"({"function_name":"ObjectDetection","objects":[[{"object_name":"x","position":[]}]]})";
    EXPECT_EQ(insert(R"({"timestamp":9000,"channel_sid":"door","results":[)" + one + "," + one + "]}"), 0);
    EXPECT_EQ(answered(kind + R"(,"object_name":"x")").count(), 4);
    EXPECT_EQ(insert(R"({"timestamp":9000,"channel_sid":"door","results":[)" + one +
                     R"(,{"function_name":"AnimalDetection","objects":[]}]})"),
              static_cast<int>(0xC4080002));
    EXPECT_EQ(answered(kind + R"(,"object_name":"x")").count(), 5);
    EXPECT_EQ(insert(R"({"timestamp":9000,"channel_sid":"door","results":[{"function_name":"ObjectDetection",
        "objects":[[{"object_name":"x","position":[]},{"object_name":"y"},{"object_name":"x","position":[]}]]}]})"),
              static_cast<int>(0xC4080001));
    EXPECT_EQ(answered(kind + R"(,"object_name":"x")").count(), 6);
}

TEST_F(model_roundtrip, gives_back_what_the_store_says_to_a_text_that_breaks_the_body)
{
    // Texts go out unescaped: the store cannot read this one, and says so.
    EXPECT_EQ(insert(R"({"timestamp":1,"channel_sid":"door","results":[{"function_name":"ObjectDetection",
        "objects":[[{"object_name":"a \"b\"","position":[]}]]}]})"),
              1001);
    EXPECT_EQ(answered(kind).count(), 4);
}

} // namespace

} // namespace korvane::test
