#include "json_text.h"

#include "refusal.h"

namespace {

struct tokener_releaser {
    void operator()(json_tokener* tokener) const { json_tokener_free(tokener); }
};

json_owner new_json_string(std::string_view text)
{
    return json_owner(json_object_new_string_len(text.data(), static_cast<int>(text.size())));
}

// What went wrong, with the place counted in bytes from 0.
refusal not_json(json_tokener* tokener, std::size_t size)
{
    const json_tokener_error error = json_tokener_get_error(tokener);
    const char* what = error == json_tokener_success ? "zero byte" : json_tokener_error_desc(error);
    return refusal(ret_code::not_json, "body is not JSON: " + std::string(what) + " at byte " +
                                           std::to_string(json_tokener_get_parse_end(tokener)) + " of " +
                                           std::to_string(size));
}

} // namespace

json_owner parse_json_object(const std::string& text)
{
    if (text.empty())
        throw refusal(ret_code::not_json, "body is not JSON: it is empty");
    const std::unique_ptr<json_tokener, tokener_releaser> tokener(json_tokener_new());
    json_tokener_set_flags(tokener.get(), JSON_TOKENER_STRICT);
    // With its closing zero byte, the text is known to end there.
    json_owner value(json_tokener_parse_ex(tokener.get(), text.c_str(), static_cast<int>(text.size() + 1)));
    if (json_tokener_get_error(tokener.get()) != json_tokener_success ||
        json_tokener_get_parse_end(tokener.get()) < text.size())
        throw not_json(tokener.get(), text.size());
    if (!json_object_is_type(value.get(), json_type_object))
        throw refusal(ret_code::not_an_object,
                      "body is not a JSON object but of type " +
                          std::string(json_type_to_name(json_object_get_type(value.get()))));
    return value;
}

std::string_view json_string_value(json_object* value)
{
    return {json_object_get_string(value), static_cast<std::size_t>(json_object_get_string_len(value))};
}

std::string json_text(json_object* value)
{
    std::size_t length = 0;
    const char* text = json_object_to_json_string_length(
        value, JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE, &length);
    return std::string(text, length);
}

std::string json_quoted(std::string_view text)
{
    return json_text(new_json_string(text).get());
}

std::string json_array_of(const std::vector<std::string>& texts)
{
    const json_owner array(json_object_new_array());
    for (const std::string& text : texts)
        json_object_array_add(array.get(), new_json_string(text).release());
    return json_text(array.get());
}
