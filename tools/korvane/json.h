// json-c objects with an owner. A raw json_object* only looks.
#pragma once

#include <json-c/json.h>
#include <memory>
#include <string>

namespace host {

struct json_release {
    void operator()(json_object* object) const { json_object_put(object); }
};
using json_owner = std::unique_ptr<json_object, json_release>;

/// The member, or null; null too when `object` is no object.
inline json_object* json_member(json_object* object, const char* key)
{
    json_object* member = nullptr;
    if (json_object_is_type(object, json_type_object)) {
        json_object_object_get_ex(object, key, &member);
    }
    return member;
}

/// The member's text, or an empty one.
inline std::string json_text(json_object* object, const char* key)
{
    const char* text = json_object_get_string(json_member(object, key));
    return text != nullptr ? text : "";
}

} // namespace host
