#pragma once

#include <gtest/gtest.h>
#include <json.h>

#include <memory>
#include <string>

namespace korvane::test {

/// `text` parsed; a failure of the running test, and null, when it is no JSON.
inline std::unique_ptr<json_object, int (*)(json_object*)> parsed(const std::string& text)
{
    std::unique_ptr<json_object, int (*)(json_object*)> object(json_tokener_parse(text.c_str()),
                                                               json_object_put);
    EXPECT_TRUE(object) << text;
    return object;
}

} // namespace korvane::test
