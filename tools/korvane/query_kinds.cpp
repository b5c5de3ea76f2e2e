#include "query_kinds.h"

#include "position.h"

#include <cstdio>

namespace host {
namespace {

std::string date(json_object* record)
{
    return json_text(record, "date");
}

std::string channel(json_object* record)
{
    return json_text(record, "channel_sid");
}

std::string stream(json_object* record)
{
    return json_text(record, "stream_id");
}

std::string app(json_object* record)
{
    const std::string version = json_text(record, "version");
    return json_text(record, "appName") + (version.empty() ? "" : " " + version);
}

std::string description(json_object* record)
{
    return json_text(record, "description");
}

// The polygon's bounding box: in a table it says where, which is what people look for.
std::string where(json_object* record)
{
    json_object* position = position_of(record);
    if (position == nullptr) {
        return "";
    }
    const box around = box_around(position);
    char text[160];
    std::snprintf(text, sizeof text, "x %.3f to %.3f, y %.3f to %.3f", around.left, around.right, around.top,
                  around.bottom);
    return text;
}

std::string object_name(json_object* record)
{
    return json_text(record, "object_name");
}

std::string number(json_object* record, const char* key)
{
    json_object* value = json_member(record, key);
    if (value == nullptr || json_object_get_double(value) < 0) { // a negative one stands for "not known"
        return "";
    }
    char text[64];
    std::snprintf(text, sizeof text, "%.4g", json_object_get_double(value));
    return text;
}

std::string confidence(json_object* record)
{
    return number(record, "confidence");
}

std::string age(json_object* record)
{
    return number(record, "age");
}

// Known by name, or only as somebody seen before.
std::string person(json_object* record)
{
    for (const char* key : {"person_name", "person_id"}) {
        std::string text = json_text(record, key);
        if (!text.empty()) {
            return text;
        }
    }
    const std::string stranger = json_text(record, "stranger_id");
    return stranger.empty() ? "" : "(" + stranger + ")";
}

std::string group(json_object* record)
{
    return json_text(record, "group_name");
}

std::string gender(json_object* record)
{
    return json_text(record, "gender");
}

std::string registered(json_object* record)
{
    return json_object_get_boolean(json_member(record, "registered")) != 0 ? "yes" : "no";
}

} // namespace

const std::vector<query_kind>& query_kinds()
{
    static const std::vector<query_kind> kinds = {
        {"HumanDetection",
         "human",
         of_humans,
         {{"DATE", date},
          {"CHANNEL", channel},
          {"STREAM", stream},
          {"APP", app},
          {"DESCRIPTION", description},
          {"POSITION", where}},
         "Where people were seen"},
        {"FaceRecognition",
         "face",
         of_faces,
         {{"DATE", date},
          {"CHANNEL", channel},
          {"PERSON", person},
          {"GROUP", group},
          {"REGISTERED", registered},
          {"AGE", age},
          {"GENDER", gender},
          {"CONFIDENCE", confidence},
          {"POSITION", where}},
         "Where faces were seen"},
        {"ObjectDetection",
         "object",
         of_objects,
         {{"DATE", date},
          {"CHANNEL", channel},
          {"STREAM", stream},
          {"OBJECT", object_name},
          {"CONFIDENCE", confidence},
          {"DESCRIPTION", description},
          {"POSITION", where}},
         "Where objects were seen"},
    };
    return kinds;
}

const query_kind* find_kind(const std::string& name)
{
    for (const query_kind& kind : query_kinds()) {
        if (name == kind.name || name == kind.short_name) {
            return &kind;
        }
    }
    return nullptr;
}

std::string check_kind(const std::string& name)
{
    if (find_kind(name) != nullptr) {
        return "";
    }
    if (name == "PeopleCounting") {
        return "counts are no records that can be listed: ask for them with korvane stats";
    }
    std::string expected;
    for (const query_kind& kind : query_kinds()) {
        expected += (expected.empty() ? "" : ", ") + std::string(kind.short_name) + " (" + kind.name + ")";
    }
    return "'" + name + "' is no kind; expected " + expected;
}

} // namespace host
