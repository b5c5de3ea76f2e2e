#include "tests/dispatch/calls.h"
#include "tests/roundtrip/answers.h"
#include "tests/roundtrip/areas.h"
#include "tests/roundtrip/roundtrip_test.h"
#include "tests/support/debug_log.h"

#include <korvane/ai_metadata.h>

#include <cstdlib>

namespace korvane::test {

namespace {

using texts = std::vector<std::string>;

const std::string kind = R"("function_name":"FaceRecognition")";
const std::string front(32, 'a');
const std::string yard(32, 'b');
const std::string odd_name = "A B|C 100%&+ \xf0\x9f\x91\xa4";

/// A report of one channel; `tubes` are its faces.
std::string report_of(long long timestamp, const std::string& channel, const std::string& tubes,
                      const std::string& top = "")
{
    return R"({"timestamp":)" + std::to_string(timestamp) + R"(,"channel_sid":")" + channel + '"' + top +
           R"(,"results":[{)" + kind + R"(,"function_results":{"tubes":[)" + tubes + "]}}]}";
}

/// Reports one face.
void report(long long timestamp, const std::string& channel, const std::string& provider,
            const std::string& face)
{
    const std::string text =
        report_of(timestamp, channel, "{" + face + "}", R"(,"provider_id":")" + provider + '"');
    ASSERT_EQ(insert(text), 0) << text;
}

struct persons_seen {
    int code = 0;
    std::string answer;
};

/// The list of persons for these filters.
persons_seen persons(const std::string& filters = "")
{
    std::string text = R"({"metadata":{)" + filters + "}}";
    void* answer = nullptr;
    persons_seen seen{query_ai_face_metadata_list_group(text.data(), &answer), {}};
    if (answer != nullptr) {
        seen.answer = static_cast<char*>(answer);
        std::free(answer);
    }
    return seen;
}

std::string names(const std::string& filters = "")
{
    const persons_seen seen = persons(filters);
    EXPECT_EQ(seen.code, seen.answer.empty() ? code(result_no_group) : 0) << filters;
    return seen.answer;
}

class face_roundtrip : public roundtrip_test {
protected:
    void SetUp() override
    {
        roundtrip_test::SetUp();
        report(1000, front, "p-1",
               R"("person_name":"Ann","person_key":"k-1","gender":"female","ageVal":33,"confidence":90,)"
               R"("registered":true,"resultId":"r-1","position":)" +
                   square("0.0", "0.2"));
        report(2000, front, "p 2",
               R"("person_name":"Bob M\u00fcller","person_key":"k 2","gender":"male","ageVal":40,)"
               R"("confidence":60.5,"registered":true,"resultId":"r 2","position":)" +
                   square("0.5", "0.7"));
        report(3000, yard, "", R"("stranger_id":"s-3","ageVal":-1)");
        report(4000, yard, "p&4",
               R"("person_name":")" + odd_name +
                   R"(","person_key":"k|4&%20","gender":"","ageVal":0,"confidence":0,"registered":true,)"
                   R"("resultId":"r&4","position":)" +
                   square("0.2", "0.5"));
    }

    /// The times of what is found with these filters, newest first.
    static texts found(const std::string& filters) { return answered(kind + filters).each("timestamp"); }
};

const texts all_found{"4000", "3000", "2000", "1000"};

TEST_F(face_roundtrip, answers_all_that_was_reported)
{
    ASSERT_EQ(insert(R"({"timestamp":"1712345678901","app_id":"a","app_name":"n","model":"m","brand":"b",
        "channel_sid":"door","provider_id":"p","stream_id":0,"results":[{"function_name":"FaceRecognition",
        "model_version":"v","task_name":"t","function_results":{"tubes":[{"status":"s","description":"d",
        "person_id":"i","stranger_id":"x","person_key":"k","person_name":"T\u00fcr","group_name":"g",
        "ageVal":33,"ageRange":"30-40","gender":"f","confidence":87.5,"registered":true,"resultId":"r",
        "position":[{"x":0.5,"y":0.25},{"x":1,"y":0},{"x":0.123456789,"y":1}]}]}}]})"),
              0);
    EXPECT_EQ(debug_log_texts(), texts());
    const answered newest(kind + R"(,"limit":1)");
    EXPECT_EQ(newest.count(), 5);
    EXPECT_EQ(
        newest.rows(),
        texts{R"({ "server_time": "1712345678901", "date": "2024-04-05 19:34:38", "brand": "b", )"
              R"("model_version": "v", "app_id": "a", "app_name": "n", "task_name": "t", "model": "m", )"
              R"("timestamp": "1712345678901", "description": "d", "channel_sid": "door", )"
              R"("registered": true, "resultId": "r", "stream_id": 1, "stranger_id": "x", )"
              R"("person_id": "i", "person_name": "Tür", "person_key": "k", "group_name": "g", )"
              R"("gender": "f", "age": 33.0, "provider_id": "p", "confidence": 87.5, )"
              R"("position": [ { "x": 0.500000, "y": 0.250000 }, { "x": 1.000000, "y": 0.000000 }, )"
              R"({ "x": 0.123457, "y": 1.000000 } ] })"});
}

TEST_F(face_roundtrip, leaves_out_what_was_not_reported)
{
    EXPECT_EQ(answered(kind + R"(,"start_time":3000,"end_time":3000)").rows(),
              texts{R"({ "server_time": "3000", "date": "1970-01-01 00:00:03", "timestamp": "3000", )"
                    R"("channel_sid": ")" +
                    yard + R"(", "registered": false, "stranger_id": "s-3" })"});
    report(5000, yard, "", R"("ageVal":-2,"confidence":100.5)");
    EXPECT_EQ(answered(kind + R"(,"limit":1)").rows(),
              texts{R"({ "server_time": "5000", "date": "1970-01-01 00:00:05", "timestamp": "5000", )"
                    R"("channel_sid": ")" +
                    yard + R"(", "registered": false, "age": -2.0 })"});
}

TEST_F(face_roundtrip, keeps_texts_at_their_limits_and_what_is_left_of_cut_ones)
{
    const auto member = [](const char* name, std::size_t length) {
        return '"' + std::string(name) + R"(":")" + std::string(length, 'z') + '"';
    };
    report(5000, yard, std::string(63, 'p'),
           member("description", 600) + "," + member("status", 31) + "," + member("person_id", 127) + "," +
               member("stranger_id", 127) + "," + member("person_key", 600) + "," +
               member("person_name", 600) + "," + member("group_name", 255) + "," + member("gender", 23) +
               "," + member("resultId", 600));
    const answered newest(kind + R"(,"limit":1)");
    const std::pair<const char*, std::size_t> kept[] = {
        {"description", 511}, {"person_id", 127},  {"stranger_id", 127}, {"person_key", 511},
        {"person_name", 255}, {"group_name", 255}, {"gender", 23},       {"resultId", 63},
    };
    for (const auto& [name, length] : kept) {
        EXPECT_EQ(newest.each(name), texts{std::string(length, 'z')}) << name;
    }
    EXPECT_EQ(newest.each("provider_id"), texts{std::string(63, 'p')});
    // What was cut is found by what is left.
    EXPECT_EQ(found(R"(,"person_name":[")" + std::string(255, 'z') + R"("])"), texts{"5000"});
    EXPECT_EQ(found(R"(,"person_name":[")" + std::string(256, 'z') + R"("])"), texts());
}

TEST_F(face_roundtrip, chooses_by_time)
{
    EXPECT_EQ(found(""), all_found);
    EXPECT_EQ(found(R"(,"start_time":2000)"), (texts{"4000", "3000", "2000"}));
    EXPECT_EQ(found(R"(,"start_time":2001)"), (texts{"4000", "3000"}));
    EXPECT_EQ(found(R"(,"end_time":"2000")"), (texts{"2000", "1000"}));
    EXPECT_EQ(found(R"(,"end_time":1999)"), texts{"1000"});
    EXPECT_EQ(found(R"(,"start_time":3000,"end_time":2000)"), texts());
}

TEST_F(face_roundtrip, chooses_by_channel)
{
    EXPECT_EQ(found(R"(,"channel_guid_list":[")" + front + R"("])"), (texts{"2000", "1000"}));
    EXPECT_EQ(found(R"(,"channel_guid_list":[")" + yard + R"(",")" + front + R"("])"), all_found);
    EXPECT_EQ(found(R"(,"channel_guid_list":[")" + std::string(32, 'c') + R"("])"), texts());
    // No channel of 32 characters is left: any.
    EXPECT_EQ(found(R"(,"channel_guid_list":["a"])"), all_found);
}

TEST_F(face_roundtrip, chooses_by_name)
{
    EXPECT_EQ(found(R"(,"person_name":["Ann"])"), texts{"1000"});
    EXPECT_EQ(found(R"(,"person_name":["Ann","Bob M\u00fcller"])"), (texts{"2000", "1000"}));
    EXPECT_EQ(found(R"(,"person_name":[")" + odd_name + R"("])"), texts{"4000"});
    EXPECT_EQ(found(R"(,"person_name":["nn"])"), texts());
    EXPECT_EQ(found(R"(,"person_name":["ann"])"), texts());
    EXPECT_EQ(found(R"(,"person_name":["A","B|C 100%&+ \ud83d\udc64"])"), texts());
    EXPECT_EQ(found(R"(,"person_name":[])"), all_found);
}

TEST_F(face_roundtrip, chooses_by_part_of_a_name)
{
    EXPECT_EQ(found(R"(,"partail_query":1,"person_name":["nn"])"), texts{"1000"});
    EXPECT_EQ(found(R"(,"partail_query":1,"person_name":["B"])"), (texts{"4000", "2000"}));
    EXPECT_EQ(found(R"(,"partail_query":1,"person_name":["\u00fc","\ud83d\udc64"])"),
              (texts{"4000", "2000"}));
    EXPECT_EQ(found(R"(,"partail_query":1,"person_name":["b"])"), texts{"2000"}) << "letter case counts";
    EXPECT_EQ(found(R"(,"partail_query":1,"person_name":["%"])"), texts{"4000"});
    EXPECT_EQ(found(R"(,"partail_query":1,"person_key":["k-"])"), texts{"1000"});
    EXPECT_EQ(found(R"(,"partial_query":1,"person_name":["nn"])"), texts()) << "no such filter";
}

TEST_F(face_roundtrip, chooses_by_key)
{
    EXPECT_EQ(found(R"(,"person_key":["k-1"])"), texts{"1000"});
    EXPECT_EQ(found(R"(,"person_key":["k 2","k|4&%20"])"), (texts{"4000", "2000"}));
    EXPECT_EQ(found(R"(,"person_key":["k"])"), texts());
    EXPECT_EQ(found(R"(,"person_key":["k-1"],"person_name":["Bob M\u00fcller"])"), texts());
}

TEST_F(face_roundtrip, chooses_by_provider_and_result)
{
    EXPECT_EQ(found(R"(,"provider_id":["p-1"])"), texts{"1000"});
    EXPECT_EQ(found(R"(,"provider_id":["p 2","p&4"])"), (texts{"4000", "2000"}));
    EXPECT_EQ(found(R"(,"provider_id":["p"])"), texts());
    EXPECT_EQ(found(R"(,"resultId":["r-1"])"), texts{"1000"});
    EXPECT_EQ(found(R"(,"resultId":["r 2","r&4"])"), (texts{"4000", "2000"}));
    EXPECT_EQ(found(R"(,"resultId":["r"])"), texts());
}

TEST_F(face_roundtrip, chooses_by_gender)
{
    EXPECT_EQ(found(R"(,"gender":"female")"), texts{"1000"});
    EXPECT_EQ(found(R"(,"gender":"male")"), texts{"2000"});
    EXPECT_EQ(found(R"(,"gender":"Male")"), texts());
    EXPECT_EQ(found(R"(,"gender":"")"), all_found) << "the store takes an empty gender for any";
    EXPECT_EQ(query(R"({"metadata":{)" + kind + R"(,"gender":"unsettled"}})").code,
              static_cast<int>(0xC4080001));
}

TEST_F(face_roundtrip, chooses_by_confidence)
{
    EXPECT_EQ(found(R"(,"start_confidence":60,"end_confidence":90)"), (texts{"2000", "1000"}));
    EXPECT_EQ(found(R"(,"start_confidence":61,"end_confidence":90)"), texts{"1000"});
    EXPECT_EQ(found(R"(,"start_confidence":0,"end_confidence":60)"), texts{"4000"});
    EXPECT_EQ(found(R"(,"start_confidence":0,"end_confidence":100)"), (texts{"4000", "2000", "1000"}));
    EXPECT_EQ(found(R"(,"start_confidence":90,"end_confidence":60)"), texts());
    EXPECT_EQ(found(R"(,"start_confidence":61)"), all_found) << "one bound alone is none";
    EXPECT_EQ(found(R"(,"end_confidence":61)"), all_found);
    EXPECT_EQ(found(R"(,"start_confidence":61,"end_confidence":101)"), all_found);
}

TEST_F(face_roundtrip, chooses_by_age)
{
    EXPECT_EQ(found(R"(,"age":[33])"), texts{"1000"});
    EXPECT_EQ(found(R"(,"age":[0,40])"), (texts{"4000", "2000"}));
    EXPECT_EQ(found(R"(,"age":[-1])"), texts{"3000"});
    EXPECT_EQ(found(R"(,"age":[34])"), texts());
    EXPECT_EQ(found(R"(,"start_age":33,"end_age":40)"), (texts{"2000", "1000"}));
    EXPECT_EQ(found(R"(,"start_age":34,"end_age":40)"), texts{"2000"});
    EXPECT_EQ(found(R"(,"start_age":0,"end_age":120)"), (texts{"4000", "2000", "1000"}));
    EXPECT_EQ(found(R"(,"start_age":34)"), all_found) << "one bound alone is none";
    EXPECT_EQ(found(R"(,"end_age":34)"), all_found);
    EXPECT_EQ(found(R"(,"age":[33,40],"start_age":34,"end_age":99)"), texts{"2000"});
}

TEST_F(face_roundtrip, chooses_by_registration)
{
    EXPECT_EQ(found(R"(,"registered":1)"), (texts{"4000", "2000", "1000"}));
    EXPECT_EQ(found(R"(,"registered":0)"), texts{"3000"});
    EXPECT_EQ(found(R"(,"registered":2)"), all_found);
}

TEST_F(face_roundtrip, chooses_by_area)
{
    EXPECT_EQ(found("," + area("0.05", "0.1")), texts{"1000"});
    EXPECT_EQ(found("," + area("0.6", "1.0")), texts{"2000"});
    EXPECT_EQ(found("," + area("0.3", "0.4")), texts{"4000"});
    EXPECT_EQ(found("," + area("0.8", "0.9")), texts());
    EXPECT_EQ(found("," + area("0.0", "1.0")), (texts{"4000", "2000", "1000"})) << "no polygon, no place";
}

TEST_F(face_roundtrip, sorts_and_pages)
{
    EXPECT_EQ(found(R"(,"dir":"ASC")"), (texts{"1000", "2000", "3000", "4000"}));
    EXPECT_EQ(found(R"(,"dir":"asc")"), all_found);
    EXPECT_EQ(found(R"(,"dir":"ASC","sort_dir":-1)"), all_found);
    EXPECT_EQ(found(R"(,"sort_dir":1,"skip":1,"limit":2)"), (texts{"2000", "3000"}));
    EXPECT_EQ(found(R"(,"skip":3)"), texts{"1000"});
    EXPECT_EQ(found(R"(,"skip":4)"), texts());
    EXPECT_EQ(answered(kind + R"(,"limit":1)").count(), 4);
}

TEST_F(face_roundtrip, joins_all_filters)
{
    const std::string all = R"(,"start_time":1000,"end_time":1000,"channel_guid_list":[")" + front +
                            R"("],"person_name":["Ann"],"person_key":["k-1"],"gender":"female","age":[33],)"
                            R"("start_age":30,"end_age":40,"start_confidence":80,"end_confidence":100,)"
                            R"("registered":1,"resultId":["r-1"],"provider_id":["p-1"],)";
    EXPECT_EQ(found(all + area("0", "0.1")), texts{"1000"});
    EXPECT_EQ(found(all + area("0.9", "1")), texts());
    EXPECT_EQ(names(all.substr(1) + area("0", "0.1")), R"({ "count": 1, "person_name_list": [ "Ann" ] })");
    EXPECT_EQ(names(all.substr(1) + area("0.9", "1")), "");
}

TEST_F(face_roundtrip, lists_each_person_once_last_seen_first)
{
    EXPECT_EQ(names(),
              R"({ "count": 3, "person_name_list": [ ")" + odd_name + R"(", "Bob Müller", "Ann" ] })");
    report(9000, yard, "", R"("person_name":"Ann")");
    EXPECT_EQ(names(),
              R"({ "count": 3, "person_name_list": [ "Ann", ")" + odd_name + R"(", "Bob Müller" ] })");
}

TEST_F(face_roundtrip, lists_the_persons_that_each_filter_leaves)
{
    const std::string ann = R"({ "count": 1, "person_name_list": [ "Ann" ] })";
    const std::string bob = R"({ "count": 1, "person_name_list": [ "Bob Müller" ] })";
    const std::string odd = R"({ "count": 1, "person_name_list": [ ")" + odd_name + R"(" ] })";
    const std::string bob_and_ann = R"({ "count": 2, "person_name_list": [ "Bob Müller", "Ann" ] })";
    const std::string odd_and_bob =
        R"({ "count": 2, "person_name_list": [ ")" + odd_name + R"(", "Bob Müller" ] })";
    const struct {
        std::string filters;
        std::string answer;
    } cases[] = {
        {R"("start_time":1001,"end_time":2000)", bob},
        {R"("end_time":1999)", ann},
        {R"("channel_guid_list":[")" + front + R"("])", bob_and_ann},
        {R"("channel_guid_list":[")" + std::string(32, 'c') + R"("])", ""},
        {R"("person_name":["Ann"])", ann},
        {R"("person_name":["Ann","Bob M\u00fcller"])", bob_and_ann},
        {R"("person_name":[")" + odd_name + R"("])", odd},
        {R"("person_name":["A B","C 100%&+ \ud83d\udc64"])", ""},
        {R"("person_name":["nn"],"partail_query":1)", ""},
        {R"("person_key":["k-1"])", ann},
        {R"("person_key":["k 2","k|4&%20"])", odd_and_bob},
        {R"("provider_id":["p 2","p&4"])", odd_and_bob},
        {R"("resultId":["r&4"])", odd},
        {R"("gender":"male")", bob},
        {R"("start_confidence":60,"end_confidence":100)", bob_and_ann},
        {R"("start_confidence":61,"end_confidence":101)", names()},
        {R"("age":[40])", bob},
        {R"("start_age":34,"end_age":99)", bob},
        {R"("start_age":34)", names()},
        {R"("registered":0)", ""},
        {R"("registered":1)", names()},
        {area("0.05", "0.1"), ann},
        {area("0.8", "0.9"), ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(names(c.filters), c.answer) << c.filters;
    }
}

TEST_F(face_roundtrip, has_no_persons_in_an_empty_store)
{
    restart_store();
    EXPECT_EQ(persons().code, code(result_no_group));
    EXPECT_EQ(persons().answer, "");
    EXPECT_EQ(answered(kind).count(), 0);
    stop_store();
    EXPECT_EQ(persons().code, -1);
    EXPECT_EQ(query("{\"metadata\":{" + kind + "}}").code, -1);
    EXPECT_EQ(insert(report_of(1, "door", "{}")), -1);
}

TEST_F(face_roundtrip, finds_faces_under_their_own_kind_only)
{
    EXPECT_EQ(answered(R"("function_name":"HumanDetection")").count(), 0);
    EXPECT_EQ(answered(R"("function_name":"ObjectDetection")").count(), 0);
}

TEST_F(face_roundtrip, stores_two_results_twice_and_what_came_before_a_fault)
{
    const std::string one =
        R"({"function_name":"FaceRecognition","function_results":{"tubes":[{"person_name":"x"}]}})";
    const std::string by_name = kind + R"(,"person_name":["x"])";
    EXPECT_EQ(insert(R"({"timestamp":9000,"channel_sid":"door","results":[)" + one + "," + one + "]}"), 0);
    EXPECT_EQ(answered(by_name).count(), 4);
    EXPECT_EQ(insert(R"({"timestamp":9000,"channel_sid":"door","results":[)" + one +
                     R"(,{"function_name":"FaceRecognition"}]})"),
              code(result_bad_request));
    EXPECT_EQ(answered(by_name).count(), 5);
    EXPECT_EQ(insert(report_of(9000, "door",
                               R"({"person_name":"x"},{"person_name":"x","position":[{"x":2,"y":0}]},)"
                               R"({"person_name":"x"})")),
              code(result_out_of_picture));
    EXPECT_EQ(answered(by_name).count(), 6);
    EXPECT_EQ(insert(report_of(9000, "door",
                               R"({"person_name":"x"},{"person_name":"x","status":")" + std::string(32, 's') +
                                   R"("},{"person_name":"x"})")),
              code(result_bad_request));
    EXPECT_EQ(answered(by_name).count(), 7);
}

TEST_F(face_roundtrip, gives_back_what_the_store_says_to_a_text_that_breaks_the_body)
{
    // Texts go out unescaped: the store cannot read this one, and says so.
    EXPECT_EQ(insert(report_of(1, "door", R"({"person_name":"a \"b\""})")), 1001);
    EXPECT_EQ(answered(kind).count(), 4);
}

TEST_F(face_roundtrip, finds_the_newest_ten_of_many)
{
    std::string tubes = "{}";
    for (int i = 1; i < 50; ++i) {
        tubes += ",{}";
    }
    ASSERT_EQ(insert(report_of(9000, "door", tubes)), 0);
    EXPECT_EQ(answered(kind).count(), 54);
    EXPECT_EQ(found(""), texts(10, "9000"));
    EXPECT_EQ(found(R"(,"limit":100)").size(), 54U);
}

} // namespace

} // namespace korvane::test
