#include "tests/roundtrip/answers.h"

#include "tests/dispatch/calls.h"
#include "tests/util/parsed_json.h"

namespace korvane::test {

namespace {

std::string asked(const std::string& filters)
{
    const query_outcome outcome = query(R"({"metadata":{)" + filters + "}}");
    EXPECT_EQ(outcome.code, 0) << filters;
    EXPECT_TRUE(outcome.answer) << filters;
    return outcome.answer.value_or("{}");
}

json_object* list_of(json_object* answer)
{
    json_object* list = json_object_object_get(answer, "metadatalist");
    EXPECT_TRUE(json_object_is_type(list, json_type_array)) << json_object_to_json_string(answer);
    return list;
}

} // namespace

answered::answered(const std::string& filters)
    : answer_(parsed(asked(filters).c_str()))
{
}

int answered::count() const
{
    return json_object_get_int(json_object_object_get(answer_.get(), "count"));
}

std::vector<std::string> answered::each(const char* member) const
{
    json_object* list = list_of(answer_.get());
    std::vector<std::string> texts;
    for (std::size_t i = 0; list && i < json_object_array_length(list); ++i) {
        json_object* value = json_object_object_get(json_object_array_get_idx(list, i), member);
        texts.emplace_back(value ? json_object_get_string(value) : "-");
    }
    return texts;
}

std::vector<std::string> answered::rows() const
{
    json_object* list = list_of(answer_.get());
    std::vector<std::string> texts;
    for (std::size_t i = 0; list && i < json_object_array_length(list); ++i) {
        texts.emplace_back(json_object_to_json_string(json_object_array_get_idx(list, i)));
    }
    return texts;
}

} // namespace korvane::test
