#pragma once

#include <json-c/json.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct json_releaser {
    void operator()(json_object* object) const { json_object_put(object); }
};
/// Owns one parsed or built JSON value; raw json_object pointers only look.
using json_owner = std::unique_ptr<json_object, json_releaser>;

/// Parses a request body. Throws refusal (not_json with what is wrong at which byte, not_an_object).
json_owner parse_json_object(const std::string& text);

/// The text of a JSON string value, with its length, so that a "\u0000" in it does not cut it.
std::string_view json_string_value(json_object* value);

/// A value written without blanks; numbers keep the digits that they were parsed from.
std::string json_text(json_object* value);

/// Text as a JSON string, quotes included.
std::string json_quoted(std::string_view text);

/// Texts as a JSON array of strings.
std::string json_array_of(const std::vector<std::string>& texts);
