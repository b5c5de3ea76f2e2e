#include "store_process.h"

#include <gtest/gtest.h>

namespace {

const std::string cat =
    R"({"timestamp":"1","channel_sid":"c1","object_name":"cat","confidence":99.500000,"loc":[[0.1,0.1],[0.2,0.1],[0.2,0.2]]})";
const std::string red_car =
    R"({"timestamp":"2","channel_sid":"c2","object_name":"red car","confidence":100.000000})";
const std::string unsure = R"({"timestamp":"3","object_name":"cat"})";

TEST(model_importer_test, each_filter_chooses)
{
    const store_process store;
    for (const std::string& body : {cat, red_car, unsure})
        ASSERT_EQ(ok, store.post("model_importer", body));
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"", {cat, red_car, unsure}},
        {"object_name=cat&", {cat, unsure}},
        {"object_name=red car&", {red_car}},
        {"object_name=&", {cat, red_car, unsure}},
        {"object_name=red%20car&", {}},
        {"object_name=cat&dog&", {}},
        {"start_confidence=100&end_confidence=100&", {red_car}},
        {"start_confidence=0&end_confidence=100&", {cat, red_car}},
        {"start_confidence=150&end_confidence=100&", {}},
        {"channel_sid=[\"c1\"]&", {cat}},
        {"x1=0&y1=0&x2=1&y2=0&x3=1&y3=1&x4=0&y4=1&", {cat}},
        {"object_name=cat&start_confidence=99&end_confidence=100&", {cat}},
    };
    for (const auto& [parameters, rows] : cases)
        EXPECT_EQ(listing(static_cast<int>(rows.size()), rows),
                  store.get("model_importer?" + std::string(parameters) +
                            "start_time=0&end_time=0&sort_dir=1&skip=0&limit=10"))
            << parameters;
}

TEST(model_importer_test, kinds_do_not_mix)
{
    const store_process store;
    ASSERT_EQ(ok, store.post("model_importer", cat));
    EXPECT_EQ(listing(0, {}), store.get("human_detect?"));
    EXPECT_EQ(listing(0, {}), store.get("face_recognition?"));
    EXPECT_EQ(listing(1, {cat}),
              store.get("model_importer?start_time=0&end_time=0&sort_dir=-1&skip=0&limit=1"));
    EXPECT_EQ(1007, ret_of(store.get("human_detect?object_name=cat")));
    EXPECT_EQ(1003,
              ret_of(store.post("model_importer", R"({"object_name":")" + std::string(128, 'x') + "\"}")));
    EXPECT_EQ(1003, ret_of(store.post("model_importer", R"({"confidence":"high"})")));
}

} // namespace
