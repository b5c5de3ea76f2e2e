#include "kind_filters.h"

#include <CLI/Error.hpp>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace host {
namespace {

// json-c's own, so that a number or a text of a hand-written request is told as well.
std::string value_words(json_object* value)
{
    if (!json_object_is_type(value, json_type_array)) {
        const char* text = json_object_get_string(value);
        return text != nullptr ? text : "";
    }
    std::string words;
    for (size_t index = 0; index < json_object_array_length(value); ++index) {
        words += (index > 0 ? ", " : "") + value_words(json_object_array_get_idx(value, index));
    }
    return words;
}

std::string plain_words(json_object* request, const kind_filter& row)
{
    return value_words(json_member(request, row.key));
}

[[noreturn]] void refuse(const kind_filter& row, const std::string& value, const std::string& expected)
{
    throw CLI::ValidationError(row.option, "'" + value + "': expected " + expected);
}

/// A whole number from 0 to `most`, or -1.
int whole_number(const std::string& text, int most)
{
    const bool digits =
        !text.empty() && text.size() <= 9 && text.find_first_not_of("0123456789") == std::string::npos;
    const long value = digits ? std::strtol(text.c_str(), nullptr, 10) : -1;
    return value <= most ? static_cast<int>(value) : -1;
}

// More bytes than this would not fit the room that the library has for the one text.
size_t room_for(const kind_filter& row)
{
    return std::strcmp(row.key, "gender") == 0 ? 7 : 128;
}

void add_text(json_object* request, const kind_filter& row, const filter_values& values)
{
    const std::string& text = values.back();
    if (text.empty() || text.size() > room_for(row)) {
        refuse(row, text, "1 to " + std::to_string(room_for(row)) + " bytes");
    }
    json_object_object_add(request, row.key, json_object_new_string(text.c_str()));
}

void add_texts(json_object* request, const kind_filter& row, const filter_values& values)
{
    json_object* list = json_object_new_array();
    json_object_object_add(request, row.key, list);
    for (const std::string& text : values) {
        json_object_array_add(list, json_object_new_string(text.c_str()));
    }
}

void add_numbers(json_object* request, const kind_filter& row, const filter_values& values)
{
    json_object* list = json_object_new_array();
    json_object_object_add(request, row.key, list);
    for (const std::string& text : values) {
        const int number = whole_number(text, std::numeric_limits<int>::max());
        if (number < 0) {
            refuse(row, text, "a whole number, 0 or more");
        }
        json_object_array_add(list, json_object_new_int(number));
    }
}

std::string range_key(const char* end, const kind_filter& row)
{
    return std::string(end) + row.key;
}

// Both ends always: the library leaves out a range that has one only.
void add_range(json_object* request, const kind_filter& row, const filter_values& values, int most,
               const char* expected)
{
    const std::string& text = values.back();
    const size_t dash = text.find('-');
    const int low = whole_number(text.substr(0, dash), most);
    const int high = dash == std::string::npos ? low : whole_number(text.substr(dash + 1), most);
    if (low < 0 || high < low) {
        refuse(row, text, expected);
    }
    json_object_object_add(request, range_key("start_", row).c_str(), json_object_new_int(low));
    json_object_object_add(request, range_key("end_", row).c_str(), json_object_new_int(high));
}

void add_age_range(json_object* request, const kind_filter& row, const filter_values& values)
{
    add_range(request, row, values, std::numeric_limits<int>::max(),
              "LOW-HIGH in whole years, such as 20-30");
}

void add_confidence_range(json_object* request, const kind_filter& row, const filter_values& values)
{
    add_range(request, row, values, 100, "LOW-HIGH from 0 to 100, such as 70-100");
}

std::string range_words(json_object* request, const kind_filter& row)
{
    json_object* low = json_member(request, range_key("start_", row).c_str());
    json_object* high = json_member(request, range_key("end_", row).c_str());
    if (low == nullptr || high == nullptr) {
        return "";
    }
    return value_words(low) + " to " + value_words(high);
}

// Whoever reads the answer must know that it holds every confidence.
std::string confidence_words(json_object* request, const kind_filter& row)
{
    const std::string words = range_words(request, row);
    const bool dropped = json_text(request, "function_name") == "ObjectDetection" &&
                         json_object_get_int(json_member(request, "start_confidence")) < 100;
    return words.empty() || !dropped ? words : words + " (dropped by the library: see query --help)";
}

void add_yes_or_no(json_object* request, const kind_filter& row, const filter_values& values)
{
    if (values.back() != "yes" && values.back() != "no") {
        refuse(row, values.back(), "yes or no");
    }
    json_object_object_add(request, row.key, json_object_new_int(values.back() == "yes" ? 1 : 0));
}

std::string yes_or_no_words(json_object* request, const kind_filter& row)
{
    json_object* value = json_member(request, row.key);
    return value == nullptr ? "" : json_object_get_int(value) == 1 ? "yes" : "no";
}

void add_switch(json_object* request, const kind_filter& row, const filter_values&)
{
    json_object_object_add(request, row.key, json_object_new_int(1));
}

std::string switch_words(json_object* request, const kind_filter& row)
{
    return json_object_get_int(json_member(request, row.key)) == 1 ? "match" : "";
}

constexpr filter_form text = {filter_takes::one_value, add_text, plain_words};
constexpr filter_form texts = {filter_takes::values, add_texts, plain_words};
constexpr filter_form numbers = {filter_takes::values, add_numbers, plain_words};
constexpr filter_form age_range = {filter_takes::one_value, add_age_range, range_words};
constexpr filter_form confidence_range = {filter_takes::one_value, add_confidence_range, confidence_words};
constexpr filter_form yes_or_no = {filter_takes::one_value, add_yes_or_no, yes_or_no_words};
constexpr filter_form on_switch = {filter_takes::nothing, add_switch, switch_words};

constexpr unsigned faces = of_faces | of_persons;

} // namespace

const std::vector<kind_filter>& kind_filters()
{
    // clang-format off
    static const std::vector<kind_filter> rows = {
        {"--name",        "person_name",   texts,            faces,              "NAME",     "only this person; may be given again"},
        {"--key",         "person_key",    texts,            faces,              "KEY",      "only this person's key; may be given again"},
        {"--partial",     "partail_query", on_switch,        of_faces,           "",         "names and keys need only contain what is given"},
        {"--age",         "age",           numbers,          faces,              "YEARS",    "only this age; may be given again"},
        {"--age-range",   "age",           age_range,        faces,              "LOW-HIGH", "only these ages"},
        {"--gender",      "gender",        text,             faces,              "TEXT",     "as the reports write it, at most 7 bytes"},
        {"--confidence",  "confidence",    confidence_range, faces | of_objects, "LOW-HIGH", "only these, from 0 to 100"},
        {"--registered",  "registered",    yes_or_no,        faces,              "yes|no",   "only registered persons, or only strangers"},
        {"--result-id",   "resultId",      texts,            faces,              "ID",       "only this result; may be given again"},
        {"--provider-id", "provider_id",   texts,            faces,              "ID",       "only from this provider of faces; may be given again"},
        {"--object-name", "object_name",   text,             of_objects,         "NAME",     "only this class of objects"},
    };
    // clang-format on
    return rows;
}

std::string who_knows(const kind_filter& row)
{
    const bool both = (row.knows_it & of_faces) != 0 && (row.knows_it & of_objects) != 0;
    return both ? "faces and objects" : (row.knows_it & of_faces) != 0 ? "faces" : "objects";
}

} // namespace host
