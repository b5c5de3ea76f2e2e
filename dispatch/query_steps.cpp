#include "dispatch/query_steps.h"

#include "log/korvane_log.h"
#include "util/coordinates.h"
#include "util/time_conversions.h"

namespace korvane {

json_object* open_filters(json_object* request, const query_log& log)
{
    json_object* filters = json_member(request, "metadata");
    if (!json_object_is_type(filters, json_type_object)) {
        log_debug("%s(%d)- [korvane] get metadata failed ", log.function, log.lines.metadata);
        return nullptr;
    }
    return filters;
}

std::vector<std::string> read_channels(json_object* filters, const query_log& log)
{
    constexpr std::size_t id_length = 32;
    std::vector<std::string> channels;
    for (json_object* element : json_elements(json_member(filters, "channel_guid_list"))) {
        const std::string_view id = json_text(element);
        if (id.size() == id_length) {
            channels.emplace_back(id);
        } else {
            log_debug("[korvane](%s:%d) channel_sid length : %d out of bounds(%d)", log.function,
                      log.lines.channel_length, static_cast<int>(id.size()), static_cast<int>(id_length));
        }
    }
    return channels;
}

int read_sort_dir(json_object* filters)
{
    return json_int_member(filters, "sort_dir", -1) == 1 ? 1 : -1;
}

page read_page(json_object* filters)
{
    return {json_int_member(filters, "skip", 0), json_int_member(filters, "limit", 10)};
}

time_range read_time_range(json_object* filters)
{
    json_object* end = json_member(filters, "end_time");
    return {static_cast<unsigned long long>(json_text_number(json_member(filters, "start_time"))),
            end ? static_cast<unsigned long long>(json_text_number(end)) : wall_clock_ms()};
}

std::vector<Tposition_xy> read_area(json_object* filters)
{
    std::vector<Tposition_xy> area;
    read_corners(filters, area);
    return area;
}

std::vector<std::string> read_texts(json_object* filters, const char* key)
{
    std::vector<std::string> texts;
    for (json_object* element : json_elements(json_member(filters, key))) {
        texts.emplace_back(json_text(element));
    }
    return texts;
}

int read_confidence_bound(json_object* filters, const query_log& log, bound which, int absent,
                          bool (*usable)(int value))
{
    const bool start = which == bound::start;
    json_object* member = json_member(filters, start ? "start_confidence" : "end_confidence");
    if (member == nullptr) {
        return absent;
    }
    const int value = json_object_get_int(member);
    if (usable(value)) {
        return value;
    }
    log_debug("[korvane](%s:%d) %s confidence value : %d out of bounds(%d~%d)", log.function,
              start ? log.lines.start_confidence : log.lines.end_confidence, start ? "start" : "end", value,
              0, 100);
    return absent;
}

} // namespace korvane
