#include "bench/hand_encoders.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace korvane::bench {

namespace {

constexpr std::size_t area_size = 8192;

struct printed_area {
    char bytes[area_size] = {};
    std::size_t length = 0;

    [[gnu::format(printf, 2, 3)]] void print(const char* format, ...)
    {
        va_list values;
        va_start(values, format);
        const int printed = std::vsnprintf(bytes + length, area_size - length, format, values);
        va_end(values);
        length += static_cast<std::size_t>(printed);
    }

    void print_text(const char* format, const char* text)
    {
        if (text[0] != '\0') {
            print(format, text);
        }
    }
};

struct copied_area {
    char bytes[area_size]; // not cleared: what is not written is not read
    char* end = bytes;

    void put(std::string_view piece)
    {
        std::memcpy(end, piece.data(), piece.size());
        end += piece.size();
    }

    void put_text(std::string_view key, const char* text)
    {
        if (text[0] != '\0') {
            put(key);
            put(text);
            put("\",");
        }
    }

    template <class Number>
    void put_number(Number value)
    {
        end = std::to_chars(end, bytes + area_size, value).ptr;
    }
};

} // namespace

// The record by value, as the interface has it.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
int encode_by_snprintf(human_detection_metadata_information record, std::string& text)
{
    printed_area area;
    area.print("{");
    area.print_text("\"app_id\":\"%s\",", record.app_id);
    area.print_text("\"app_name\":\"%s\",", record.app_name);
    area.print_text("\"model\":\"%s\",", record.model);
    area.print_text("\"brand\":\"%s\",", record.brand);
    area.print_text("\"func_name\":\"%s\",", record.func_name);
    if (record.timestamp != 0) {
        area.print("\"timestamp\":\"%lld\",", record.timestamp);
    }
    area.print_text("\"version\":\"%s\",", record.version);
    area.print_text("\"task_name\":\"%s\",", record.task_name);
    area.print_text("\"description\":\"%s\",", record.description);
    area.print_text("\"channel_sid\":\"%s\",", record.channel_sid);
    if (record.stream_id != -1) {
        area.print("\"stream_id\":%d,", record.stream_id);
    }
    if (!record.positions.empty()) {
        area.print("\"loc\":[");
        for (const Tposition_xy& vertex : record.positions) {
            area.print("[%s,%s],", vertex.x, vertex.y);
        }
        area.bytes[area.length - 1] = ']';
        area.print(",");
    }
    area.bytes[area.length - 1] = '}';
    text.assign(area.bytes, area.length);
    return 0;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
int encode_by_memcpy(human_detection_metadata_information record, std::string& text)
{
    copied_area area;
    area.put("{");
    area.put_text("\"app_id\":\"", record.app_id);
    area.put_text("\"app_name\":\"", record.app_name);
    area.put_text("\"model\":\"", record.model);
    area.put_text("\"brand\":\"", record.brand);
    area.put_text("\"func_name\":\"", record.func_name);
    if (record.timestamp != 0) {
        area.put("\"timestamp\":\"");
        area.put_number(record.timestamp);
        area.put("\",");
    }
    area.put_text("\"version\":\"", record.version);
    area.put_text("\"task_name\":\"", record.task_name);
    area.put_text("\"description\":\"", record.description);
    area.put_text("\"channel_sid\":\"", record.channel_sid);
    if (record.stream_id != -1) {
        area.put("\"stream_id\":");
        area.put_number(record.stream_id);
        area.put(",");
    }
    if (!record.positions.empty()) {
        area.put("\"loc\":[");
        for (const Tposition_xy& vertex : record.positions) {
            area.put("[");
            area.put(vertex.x);
            area.put(",");
            area.put(vertex.y);
            area.put("],");
        }
        area.end[-1] = ']';
        area.put(",");
    }
    area.end[-1] = '}';
    text.assign(area.bytes, area.end);
    return 0;
}

} // namespace korvane::bench
