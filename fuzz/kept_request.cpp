#include "fuzz/kept_request.h"

#include "fuzz/check.h"

#include <json-c/json.h>

namespace korvane::fuzz {

namespace {

bool watching = false;
json_object* request = nullptr; ///< while it lives

} // namespace

void watch_request()
{
    watching = true;
    request = nullptr;
}

void settle_request(bool query_succeeded)
{
    watching = false;
    if (!query_succeeded) {
        require(request == nullptr, "a call that kept its request, and should not have");
        return;
    }
    require(request != nullptr, "a successful query released its request");
    require(json_object_put(request) == 1 && request == nullptr, "a request is held twice");
}

} // namespace korvane::fuzz

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {
json_object* __real_json_tokener_parse_ex(json_tokener* tokener, const char* text, int length);
json_object* __wrap_json_tokener_parse_ex(json_tokener* tokener, const char* text, int length);
}

json_object* __wrap_json_tokener_parse_ex(json_tokener* tokener, const char* text, int length)
{
    json_object* tree = __real_json_tokener_parse_ex(tokener, text, length);
    // Objects alone: a number's text lives where the notice of its release would stand.
    if (korvane::fuzz::watching && json_object_is_type(tree, json_type_object)) {
        korvane::fuzz::request = tree;
        json_object_set_userdata(tree, nullptr,
                                 [](json_object*, void*) { korvane::fuzz::request = nullptr; });
        korvane::fuzz::watching = false;
    }
    return tree;
}
// NOLINTEND(bugprone-reserved-identifier)
