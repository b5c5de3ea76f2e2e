// What all ingest handlers owe a host that calls them itself: its request is its own.
#include "dispatch/kinds.h"

#include "tests/support/sample_calls.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"
#include "tests/util/parsed_json.h"

namespace korvane::test {

namespace {

int add(const std::string& kind, json_object* request)
{
    std::string name = kind;
    std::string timestamp = "1700000000000";
    if (kind == "HumanDetection") {
        return add_human_metadata(request, name.data(), timestamp.data());
    }
    if (kind == "FaceRecognition") {
        return add_face_metadata(request, name.data(), timestamp.data());
    }
    if (kind == "ObjectDetection") {
        return static_cast<int>(add_model_metadata(request, name.data(), timestamp.data()));
    }
    return add_people_counting_metadata(request, name.data(), timestamp.data());
}

class ingest_handlers : public sandbox_test, public ::testing::WithParamInterface<sample_kind> {};

TEST_P(ingest_handlers, leave_the_request_as_it_was)
{
    const auto request = parsed(GetParam().report);
    const std::string before = json_object_to_json_string(request.get());
    std::vector<std::string> stored[2];
    for (auto& requests : stored) {
        scripted_store store;
        EXPECT_EQ(add(GetParam().name, request.get()), 0);
        requests = store.requests();
    }
    EXPECT_EQ(json_object_to_json_string(request.get()), before);
    EXPECT_FALSE(stored[0].empty());
    EXPECT_EQ(stored[0], stored[1]);
}

INSTANTIATE_TEST_SUITE_P(of, ingest_handlers, ::testing::ValuesIn(sample_kinds()),
                         [](const auto& info) { return info.param.name; });

} // namespace

} // namespace korvane::test
