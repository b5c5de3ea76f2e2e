#include "tests/hostile/json_judge.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace korvane::test {

bool is_json(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; }, '?');
    return nlohmann::json::accept(text);
}

} // namespace korvane::test
