#include "bench/copied_area.h"
#include "bench/hand_encoders.h"

namespace korvane::bench {

namespace {

void put_vertices(copied_area& area, const std::vector<Tposition_xy>& vertices)
{
    for (const Tposition_xy& vertex : vertices) {
        area.put("[");
        area.put(vertex.x);
        area.put(",");
        area.put(vertex.y);
        area.put("],");
    }
}

// The members that both kinds have, in the runs in which they stand.

template <class Record>
void put_app(copied_area& area, const Record& record)
{
    area.put_text("\"app_id\":\"", record.app_id);
    area.put_text("\"app_name\":\"", record.app_name);
    area.put_text("\"model\":\"", record.model);
    area.put_text("\"brand\":\"", record.brand);
}

template <class Record>
void put_task(copied_area& area, const Record& record)
{
    area.put_text("\"func_name\":\"", record.func_name);
    if (record.timestamp != 0) {
        area.put("\"timestamp\":\"");
        area.put_number(record.timestamp);
        area.put("\",");
    }
    area.put_text("\"version\":\"", record.version);
    area.put_text("\"task_name\":\"", record.task_name);
}

template <class Record>
void put_channel(copied_area& area, const Record& record)
{
    area.put_text("\"channel_sid\":\"", record.channel_sid);
    if (record.stream_id != -1) {
        area.put("\"stream_id\":");
        area.put_number(record.stream_id);
        area.put(",");
    }
}

void put_face(copied_area& area, const face_recognition_metadata_information& record)
{
    area.put_text("\"status\":\"", record.status);
    area.put_text("\"person_id\":\"", record.person_id);
    area.put_text("\"stranger_id\":\"", record.stranger_id);
    area.put_text("\"person_key\":\"", record.person_key);
    area.put_text("\"person_name\":\"", record.person_name);
    area.put_text("\"group_name\":\"", record.group_name);
    area.put_text("\"gender\":\"", record.gender);
    if (record.age >= -1.0) {
        area.put("\"age\":");
        area.put_six_decimals(record.age);
        area.put(",");
    }
    if (record.confidence != -2.0) {
        area.put("\"confidence\":");
        area.put_six_decimals(record.confidence);
        area.put(",");
    }
    area.put(record.registered ? "\"registered\":true," : "\"registered\":false,");
    area.put_text("\"resultId\":\"", record.resultId);
}

} // namespace

// The records by value, as the interface has them.
// NOLINTBEGIN(performance-unnecessary-value-param)
int memcpy_person(human_detection_metadata_information record, std::string& text)
{
    copied_area area;
    area.put("{");
    put_app(area, record);
    put_task(area, record);
    area.put_text("\"description\":\"", record.description);
    put_channel(area, record);
    if (!record.positions.empty()) {
        area.put("\"loc\":[");
        put_vertices(area, record.positions);
        area.end[-1] = ']';
        area.put(",");
    }
    area.end[-1] = '}';
    text.assign(area.bytes, area.end);
    return 0;
}

int memcpy_face(face_recognition_metadata_information record, std::string& text)
{
    copied_area area;
    area.put("{");
    put_app(area, record);
    area.put_text("\"provider_id\":\"", record.provider_id);
    put_task(area, record);
    put_channel(area, record);
    area.put_text("\"description\":\"", record.description);
    put_face(area, record);
    if (!record.positions.empty()) {
        area.put("\"loc\":{\"type\":\"Polygon\",\"coordinates\":[[");
        put_vertices(area, record.positions);
        area.put("[");
        area.put(record.positions.front().x);
        area.put(",");
        area.put(record.positions.front().y);
        area.put("]]]},");
    }
    area.end[-1] = '}';
    text.assign(area.bytes, area.end);
    return 0;
}
// NOLINTEND(performance-unnecessary-value-param)

} // namespace korvane::bench
