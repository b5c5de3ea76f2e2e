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

} // namespace

const std::vector<query_kind>& query_kinds()
{
    static const std::vector<query_kind> kinds = {
        {"HumanDetection",
         {{"DATE", date},
          {"CHANNEL", channel},
          {"STREAM", stream},
          {"APP", app},
          {"DESCRIPTION", description},
          {"POSITION", where}},
         "Where people were seen"},
    };
    return kinds;
}

} // namespace host
