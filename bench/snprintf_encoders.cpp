#include "bench/hand_encoders.h"

#include <cstdarg>
#include <cstdio>

namespace korvane::bench {

namespace {

struct printed_area {
    static constexpr std::size_t size = 8192;

    char bytes[size] = {};
    std::size_t length = 0;

    [[gnu::format(printf, 2, 3)]] void print(const char* format, ...)
    {
        va_list values;
        va_start(values, format);
        const int printed = std::vsnprintf(bytes + length, size - length, format, values);
        va_end(values);
        length += static_cast<std::size_t>(printed);
    }

    void print_text(const char* format, const char* text)
    {
        if (text[0] != '\0') {
            print(format, text);
        }
    }

    void print_vertices(const std::vector<Tposition_xy>& vertices)
    {
        for (const Tposition_xy& vertex : vertices) {
            print("[%s,%s],", vertex.x, vertex.y);
        }
    }

    void replace_comma(char by) { bytes[length - 1] = by; }
};

// The members that both kinds have, in the runs in which they stand.

template <class Record>
void print_app(printed_area& area, const Record& record)
{
    area.print_text("\"app_id\":\"%s\",", record.app_id);
    area.print_text("\"app_name\":\"%s\",", record.app_name);
    area.print_text("\"model\":\"%s\",", record.model);
    area.print_text("\"brand\":\"%s\",", record.brand);
}

template <class Record>
void print_task(printed_area& area, const Record& record)
{
    area.print_text("\"func_name\":\"%s\",", record.func_name);
    if (record.timestamp != 0) {
        area.print("\"timestamp\":\"%lld\",", record.timestamp);
    }
    area.print_text("\"version\":\"%s\",", record.version);
    area.print_text("\"task_name\":\"%s\",", record.task_name);
}

template <class Record>
void print_channel(printed_area& area, const Record& record)
{
    area.print_text("\"channel_sid\":\"%s\",", record.channel_sid);
    if (record.stream_id != -1) {
        area.print("\"stream_id\":%d,", record.stream_id);
    }
}

void print_face(printed_area& area, const face_recognition_metadata_information& record)
{
    area.print_text("\"status\":\"%s\",", record.status);
    area.print_text("\"person_id\":\"%s\",", record.person_id);
    area.print_text("\"stranger_id\":\"%s\",", record.stranger_id);
    area.print_text("\"person_key\":\"%s\",", record.person_key);
    area.print_text("\"person_name\":\"%s\",", record.person_name);
    area.print_text("\"group_name\":\"%s\",", record.group_name);
    area.print_text("\"gender\":\"%s\",", record.gender);
    if (record.age >= -1.0) {
        area.print("\"age\":%f,", record.age);
    }
    if (record.confidence != -2.0) {
        area.print("\"confidence\":%f,", record.confidence);
    }
    area.print("\"registered\":%s,", record.registered ? "true" : "false");
    area.print_text("\"resultId\":\"%s\",", record.resultId);
}

} // namespace

// The records by value, as the interface has them.
// NOLINTBEGIN(performance-unnecessary-value-param)
int snprintf_person(human_detection_metadata_information record, std::string& text)
{
    printed_area area;
    area.print("{");
    print_app(area, record);
    print_task(area, record);
    area.print_text("\"description\":\"%s\",", record.description);
    print_channel(area, record);
    if (!record.positions.empty()) {
        area.print("\"loc\":[");
        area.print_vertices(record.positions);
        area.replace_comma(']');
        area.print(",");
    }
    area.replace_comma('}');
    text.assign(area.bytes, area.length);
    return 0;
}

int snprintf_face(face_recognition_metadata_information record, std::string& text)
{
    printed_area area;
    area.print("{");
    print_app(area, record);
    area.print_text("\"provider_id\":\"%s\",", record.provider_id);
    print_task(area, record);
    print_channel(area, record);
    area.print_text("\"description\":\"%s\",", record.description);
    print_face(area, record);
    if (!record.positions.empty()) {
        area.print("\"loc\":{\"type\":\"Polygon\",\"coordinates\":[[");
        area.print_vertices(record.positions);
        area.print("[%s,%s]]]},", record.positions.front().x, record.positions.front().y);
    }
    area.replace_comma('}');
    text.assign(area.bytes, area.length);
    return 0;
}
// NOLINTEND(performance-unnecessary-value-param)

} // namespace korvane::bench
