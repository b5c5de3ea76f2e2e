#include "store_process.h"

#include <gtest/gtest.h>

namespace {

constexpr char ring[] =
    R"({"type":"Polygon","coordinates":[[[0.1,0.1],[0.3,0.1],[0.3,0.3],[0.1,0.3],[0.1,0.1]]]})";

std::string face(const std::string& time, const std::string& more)
{
    return R"({"timestamp":")" + time + "\"," + more + "}";
}

const std::string ann = face(
    "1",
    R"("person_key":"k-1","person_name":"Ann","gender":"female","age":25.000000,"confidence":87.500000,"registered":true,"resultId":"r1","provider_id":"p 1")");
const std::string bob = face(
    "2",
    R"("person_key":"k-2","person_name":"Bob Müller","gender":"male","age":40.000000,"confidence":60.000000,"registered":true,"resultId":"r2","provider_id":"p2","channel_sid":"c2")");
const std::string stranger =
    face("3", R"("stranger_id":"s","age":-1.000000,"confidence":-1.000000,"registered":false,"loc":)" +
                  std::string(ring));

struct face_recognition_test : testing::Test {
    store_process store;

    void add(const std::string& body) { ASSERT_EQ(ok, store.post("face_recognition", body)) << body; }
    void add_all()
    {
        for (const std::string& body : {ann, bob, stranger})
            add(body);
    }
    std::string query(const std::string& parameters)
    {
        return store.get("face_recognition?" + parameters +
                         "&start_time=0&end_time=0&sort_dir=1&skip=0&limit=10");
    }
    std::string groups(const std::string& parameters)
    {
        return store.get("face_group_list?" + parameters + "&start_time=0&end_time=0");
    }
};

TEST_F(face_recognition_test, a_record_comes_back_as_it_was_sent)
{
    const std::string body =
        R"({"app_id":"a1","app_name":"n","model":"m","brand":"b","provider_id":"p","func_name":"FaceRecognition",)"
        R"("timestamp":"1700000000000","version":"v","task_name":"t","channel_sid":"c","stream_id":0,"description":"d",)"
        R"("status":"s","person_id":"i","stranger_id":"x","person_key":"k","person_name":"N","group_name":"g",)"
        R"("gender":"f","age":25.000000,"confidence":87.500000,"registered":true,"resultId":"r","loc":)" +
        std::string(ring) + "}";
    add(body);
    EXPECT_EQ(listing(1, {body}), query("partial_query=false"));
}

TEST_F(face_recognition_test, the_newest_look_up_filters_nothing)
{
    add_all();
    EXPECT_EQ(listing(3, {stranger}),
              store.get("face_recognition?start_confidence=-1&end_confidence=-1&start_age=-2&end_age=-2&"
                        "partial_query=false&start_time=0&end_time=0&sort_dir=-1&skip=0&limit=1"));
}

TEST_F(face_recognition_test, each_filter_chooses)
{
    add_all();
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"partial_query=false", {ann, bob, stranger}},
        {"gender=male", {bob}},
        {"gender=Male", {}},
        {"gender=", {ann, bob, stranger}},
        {"channel_sid=[\"c2\"]", {bob}},
        {"person_name=Ann%09", {ann}},
        {"person_name=Ann%09Bob%20M%C3%BCller%09", {ann, bob}},
        {"person_name=nn%09&partial_query=false", {}},
        {"person_name=nn%09&partial_query=true", {ann}},
        {"person_name=M%C3%BC%09nn%09&partial_query=true", {ann, bob}},
        {"person_key=k-1%09", {ann}},
        {"person_key=k-%09", {}},
        {"person_key=k-%09&partial_query=true", {ann, bob}},
        {"person_name=Ann%09&person_key=k-2%09", {}},
        {"provider_id=[\"p 1\"]", {ann}},
        {"provider_id=[\"p 1\",\"p2\"]", {ann, bob}},
        {"provider_id=[\"p\"]&partial_query=true", {}},
        {"start_confidence=60&end_confidence=87", {bob}},
        {"start_confidence=0&end_confidence=100", {ann, bob}},
        {"start_confidence=87&end_confidence=88", {ann}},
        {"age=[25]", {ann}},
        {"age=[25,40]", {ann, bob}},
        {"age=[-1]", {stranger}},
        {"age=[41]", {}},
        {"start_age=20&end_age=30", {ann}},
        {"start_age=0&end_age=120", {ann, bob}},
        {"start_age=25&end_age=40", {ann, bob}},
        {"end_age=30", {ann}},
        {"registered=true", {ann, bob}},
        {"registered=false", {stranger}},
        {"resultId=[\"r2\"]", {bob}},
        {"resultId=[\"r1\",\"r2\",\"r3\"]", {ann, bob}},
        {"x1=0&y1=0&x2=0.2&y2=0&x3=0.2&y3=0.2&x4=0&y4=0.2", {stranger}},
        {"x1=0.5&y1=0.5&x2=0.6&y2=0.5&x3=0.6&y3=0.6&x4=0.5&y4=0.6", {}},
        {"gender=female&age=[25]&registered=true&resultId=[\"r1\"]&person_name=Ann%09", {ann}},
    };
    for (const auto& [parameters, rows] : cases)
        EXPECT_EQ(listing(static_cast<int>(rows.size()), rows), query(parameters)) << parameters;
}

TEST_F(face_recognition_test, a_ring_of_two_is_a_point_and_of_three_a_line)
{
    const std::string point = face("1", R"("loc":{"type":"Polygon","coordinates":[[[0.5,0.5],[0.5,0.5]]]})");
    const std::string line =
        face("2", R"("loc":{"type":"Polygon","coordinates":[[[0.1,0.5],[0.9,0.5],[0.1,0.5]]]})");
    add(point);
    add(line);
    EXPECT_EQ(listing(2, {point, line}), query("x1=0.4&y1=0.4&x2=0.6&y2=0.4&x3=0.6&y3=0.6&x4=0.4&y4=0.6"));
    EXPECT_EQ(listing(1, {line}), query("x1=0.1&y1=0.4&x2=0.2&y2=0.4&x3=0.2&y3=0.6&x4=0.1&y4=0.6"));
}

TEST_F(face_recognition_test, refused_bodies_say_why)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"({"registered":1})",
         R"({"ret":1003,"reason":"member \"registered\" is 1, expected true or false"})"},
        {R"({"age":"25"})", R"({"ret":1003,"reason":"member \"age\" is \"25\", expected a number"})"},
        {R"({"loc":[[0.1,0.2]]})",
         R"({"ret":1004,"reason":"member \"loc\" is [[0.1,0.2]], expected {\"type\":\"Polygon\",\"coordinates\":[[[x,y],...]]} with one ring"})"},
        {R"({"loc":{"type":"Point","coordinates":[0,0]}})",
         R"({"ret":1004,"reason":"member \"loc\" is {\"type\":\"Point\",\"coordinates\":[0,0]}, expected {\"type\":\"Polygon\",\"coordinates\":[[[x,y],...]]} with one ring"})"},
        {R"({"loc":{"type":"Polygon","coordinates":[[[0,0],[1,0],[1,1]]]}})",
         R"({"ret":1004,"reason":"member \"loc\" has a ring whose last vertex does not repeat the first"})"},
        {R"({"loc":{"type":"Polygon","coordinates":[[[0,0]]]}})",
         R"({"ret":1004,"reason":"member \"loc\" has a ring whose last vertex does not repeat the first"})"},
    };
    for (const auto& [body, reply] : cases)
        EXPECT_EQ(reply, store.post("face_recognition", body)) << body;
    EXPECT_EQ(listing(0, {}), query("partial_query=false"));
}

TEST_F(face_recognition_test, refused_queries_say_what_was_expected)
{
    const std::pair<const char*, const char*> cases[] = {
        {"person_name=Ann",
         R"({"ret":1006,"reason":"parameter person_name is \"Ann\", expected %09 behind every item"})"},
        {"person_name=%4",
         R"({"ret":1006,"reason":"parameter person_name is \"%4\", expected two hexadecimal digits behind every %"})"},
        {"person_key=%zz%09",
         R"({"ret":1006,"reason":"parameter person_key is \"%zz%09\", expected two hexadecimal digits behind every %"})"},
        {"age=25", R"({"ret":1006,"reason":"parameter age is \"25\", expected a list like [1,2]"})"},
        {"age=[]", R"({"ret":1006,"reason":"parameter age is \"\", expected a whole number"})"},
        {"registered=1", R"({"ret":1006,"reason":"parameter registered is \"1\", expected true or false"})"},
        {"partial_query=yes",
         R"({"ret":1006,"reason":"parameter partial_query is \"yes\", expected true or false"})"},
        {"start_age=old", R"({"ret":1006,"reason":"parameter start_age is \"old\", expected a number"})"},
    };
    for (const auto& [parameters, reply] : cases)
        EXPECT_EQ(reply, query(parameters)) << parameters;
}

TEST_F(face_recognition_test, the_threshold_keeps_the_newest)
{
    for (const char* time : {"30", "10", "20", "10", "40"})
        add(face(time, R"("registered":false,"loc":)" + std::string(ring)));
    EXPECT_EQ(R"({"ret":0,"removed":0})", store.post("check_face_threshold", R"({"threshold":"500000"})"));
    EXPECT_EQ(R"({"ret":0,"removed":0})", store.post("check_face_threshold", R"({"threshold":"5"})"));
    EXPECT_EQ(R"({"ret":0,"removed":3})", store.post("check_face_threshold", R"({"threshold":"2"})"));
    const std::string rest = R"("registered":false,"loc":)" + std::string(ring);
    EXPECT_EQ(listing(2, {face("30", rest), face("40", rest)}), query("registered=false"));
    EXPECT_EQ(listing(2, {face("30", rest), face("40", rest)}),
              query("x1=0&y1=0&x2=1&y2=0&x3=1&y3=1&x4=0&y4=1"));
    EXPECT_EQ(R"({"ret":0,"removed":2})", store.post("check_face_threshold", R"({"threshold":0})"));
    EXPECT_EQ(listing(0, {}), query("registered=false"));
}

TEST_F(face_recognition_test, a_threshold_that_is_no_count_is_refused)
{
    add(ann);
    EXPECT_EQ(
        R"({"ret":1003,"reason":"member \"threshold\" is \"many\", expected a whole number, 0 or more"})",
        store.post("check_face_threshold", R"({"threshold":"many"})"));
    EXPECT_EQ(R"({"ret":1003,"reason":"member \"threshold\" is \"-1\", expected a whole number, 0 or more"})",
              store.post("check_face_threshold", R"({"threshold":"-1"})"));
    EXPECT_EQ(R"({"ret":1003,"reason":"member \"threshold\" is \"\", expected a whole number, 0 or more"})",
              store.post("check_face_threshold", "{}"));
    EXPECT_EQ(1001, ret_of(store.post("check_face_threshold", "x")));
    EXPECT_EQ(listing(1, {ann}), query("registered=true"));
}

TEST_F(face_recognition_test, groups_list_each_name_once_last_seen_first)
{
    EXPECT_EQ(R"({"ret":0,"totalItems":0,"datas":[]})", groups("registered=true"));
    add_all();
    add(face("9", R"("person_name":"Ann","registered":true)"));
    add(face("9", R"("person_name":"","registered":true)"));
    EXPECT_EQ(R"({"ret":0,"totalItems":2,"datas":["Ann","Bob Müller"]})",
              store.get("face_group_list?start_time=0&end_time=0"));
    EXPECT_EQ(R"({"ret":0,"totalItems":2,"datas":["Bob Müller","Ann"]})",
              store.get("face_group_list?start_time=0&end_time=8"));
}

TEST_F(face_recognition_test, groups_read_their_own_lists)
{
    add_all();
    add(face("4", R"("person_name":"A|B C","person_key":"\"k\",","registered":true)"));
    const std::pair<const char*, const char*> cases[] = {
        {"person_name=Ann", R"({"ret":0,"totalItems":1,"datas":["Ann"]})"},
        {"person_name=A%7CB%20C|Ann", R"({"ret":0,"totalItems":2,"datas":["A|B C","Ann"]})"},
        {"person_key=[\"k-1\",\"%22k%22%2C\"]", R"({"ret":0,"totalItems":2,"datas":["A|B C","Ann"]})"},
        {"provider_id=[\"p 1\"]", R"({"ret":0,"totalItems":1,"datas":["Ann"]})"},
        {"gender=male", R"({"ret":0,"totalItems":1,"datas":["Bob Müller"]})"},
        {"start_confidence=80&end_confidence=90", R"({"ret":0,"totalItems":1,"datas":["Ann"]})"},
        {"age=[40]", R"({"ret":0,"totalItems":1,"datas":["Bob Müller"]})"},
        {"start_age=-1&end_age=30", R"({"ret":0,"totalItems":1,"datas":["Ann"]})"},
        {"registered=false", R"({"ret":0,"totalItems":0,"datas":[]})"},
        {"resultId=[\"r1\"]", R"({"ret":0,"totalItems":1,"datas":["Ann"]})"},
        {"channel_sid=[\"c2\"]", R"({"ret":0,"totalItems":1,"datas":["Bob Müller"]})"},
        {"x1=0&y1=0&x2=1&y2=0&x3=1&y3=1&x4=0&y4=1", R"({"ret":0,"totalItems":0,"datas":[]})"},
        {"limit=5", R"({"ret":1007,"reason":"unknown parameter \"limit\""})"},
        {"partial_query=true", R"({"ret":1007,"reason":"unknown parameter \"partial_query\""})"},
    };
    for (const auto& [parameters, reply] : cases)
        EXPECT_EQ(reply, groups(parameters)) << parameters;
}

TEST_F(face_recognition_test, every_text_may_fill_its_room_and_no_more)
{
    const std::pair<const char*, std::size_t> rooms[] = {
        {"provider_id", 63},  {"description", 511}, {"status", 31},       {"person_id", 127},
        {"stranger_id", 127}, {"person_key", 511},  {"person_name", 255}, {"group_name", 255},
        {"gender", 23},       {"resultId", 63},
    };
    for (const auto& [name, room] : rooms) {
        const std::string begin = "{\"" + std::string(name) + "\":\"";
        EXPECT_EQ(ok, store.post("face_recognition", begin + std::string(room, 'x') + "\"}")) << name;
        EXPECT_EQ(1003, ret_of(store.post("face_recognition", begin + std::string(room + 1, 'x') + "\"}")))
            << name;
    }
}

} // namespace
