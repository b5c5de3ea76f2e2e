// Reports of several kinds. Each kind named in a report walks all of its elements, so what is stored is every kind's
// share of every element.
#include "tests/dispatch/calls.h"
#include "tests/roundtrip/answers.h"
#include "tests/roundtrip/roundtrip_test.h"
#include "tests/support/debug_log.h"

#include <korvane/ai_metadata.h>

#include <algorithm>

namespace korvane::test {

namespace {

using texts = std::vector<std::string>;

const std::string position = R"(,"position":[{"x":0.5,"y":0.5}])";

/// An element from which every kind can take a record, each with `name` as its version, but for a `place` that
/// does not suit a kind.
std::string element(const std::string& kind, const std::string& name, const std::string& place = position)
{
    return R"({"function_name":")" + kind + R"(","version":")" + name + R"(","model_version":")" + name +
           R"(","function_results":{"tubes":[{}]},"objects":[[{"people_count_in":1,"people_count_out":10)" +
           place + "}]]}";
}

int report(const texts& elements)
{
    std::string results;
    for (const std::string& one : elements) {
        results += (results.empty() ? "" : ",") + one;
    }
    return insert(R"({"timestamp":5,"channel_sid":"door","results":[)" + results + "]}");
}

/// The versions of a kind's records.
texts stored(const char* kind, const char* version_key = "version")
{
    const answered all(R"("function_name":")" + std::string(kind) + R"(","limit":100)");
    texts versions = all.each(version_key);
    EXPECT_EQ(static_cast<std::size_t>(all.count()), versions.size());
    std::sort(versions.begin(), versions.end());
    return versions;
}

texts people()
{
    return stored("HumanDetection");
}

texts faces()
{
    return stored("FaceRecognition", "model_version");
}

texts objects()
{
    return stored("ObjectDetection");
}

/// How many counts of one in and ten out are stored.
int counts()
{
    const answered day(
        R"("function_name":"PeopleCounting","query_type":"day","start_time":5,"channel_sid":"door")");
    const int in = std::stoi(day.each("sum_in").back());
    EXPECT_EQ(std::stoi(day.each("sum_out").back()), 10 * in);
    return in;
}

class mixed_kinds_roundtrip : public roundtrip_test {};

TEST_F(mixed_kinds_roundtrip, has_each_kinds_share_of_every_element)
{
    EXPECT_EQ(report({element("HumanDetection", "a"), element("FaceRecognition", "b"),
                      element("ObjectDetection", "c"), element("PeopleCounting", "d")}),
              0);
    EXPECT_EQ(debug_log_texts(), texts());
    const texts each{"a", "b", "c", "d"};
    EXPECT_EQ(people(), each);
    EXPECT_EQ(faces(), each);
    EXPECT_EQ(objects(), each);
    EXPECT_EQ(counts(), 4);
}

TEST_F(mixed_kinds_roundtrip, has_every_element_once_more_for_each_element_of_a_kind)
{
    EXPECT_EQ(report({element("HumanDetection", "a"), element("PeopleCounting", "b"),
                      element("HumanDetection", "c")}),
              0);
    EXPECT_EQ(debug_log_texts(), texts());
    EXPECT_EQ(people(), (texts{"a", "a", "b", "b", "c", "c"}));
    EXPECT_EQ(counts(), 3);
    EXPECT_EQ(faces(), texts());
    EXPECT_EQ(objects(), texts());
}

TEST_F(mixed_kinds_roundtrip, keeps_people_when_an_unknown_kind_follows)
{
    EXPECT_EQ(report({element("HumanDetection", "a"), element("AnimalDetection", "b"),
                      element("ObjectDetection", "c")}),
              code(result_unknown_kind));
    EXPECT_EQ(debug_log_texts(), texts{"insert_ai_metadata(#)- [korvane] invalid funcName "});
    EXPECT_EQ(people(), (texts{"a", "b", "c"})) << "their walk was over";
    EXPECT_EQ(faces(), texts());
    EXPECT_EQ(objects(), texts());
    EXPECT_EQ(counts(), 0);
}

TEST_F(mixed_kinds_roundtrip, keeps_what_came_before_an_object_without_position)
{
    EXPECT_EQ(report({element("HumanDetection", "a"), element("ObjectDetection", "b"),
                      element("ObjectDetection", "c", ""), element("ObjectDetection", "d"),
                      element("FaceRecognition", "e")}),
              code(result_bad_request));
    EXPECT_EQ(debug_log_texts(),
              (texts{"add_model_metadata(#)- [korvane] get position failed ",
                     "insert_ai_metadata(#)- [korvane] failed to add model metadata, ret = -1006108671"}));
    EXPECT_EQ(people(), (texts{"a", "b", "c", "d", "e"})) << "a person needs no position";
    EXPECT_EQ(objects(), (texts{"a", "b"}));
    EXPECT_EQ(faces(), texts());
    EXPECT_EQ(counts(), 0);
}

} // namespace

} // namespace korvane::test
