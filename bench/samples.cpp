#include "bench/samples.h"

#include "bench/hand_encoders.h"

#include <cstdio>
#include <cstring>

namespace korvane::bench {

namespace {

constexpr const char* app_id = "com.example.people-detector";
constexpr const char* app_name = "People detector";
constexpr const char* model = "PD-200";
constexpr const char* brand = "Example";
constexpr const char* version = "2.4.1";
constexpr const char* task_name = "Entrance, all day";
constexpr const char* description = "person, standing";
constexpr const char* channel_sid = "0f1e2d3c4b5a69788796a5b4c3d2e1f0";
constexpr long long first_timestamp = 1'700'000'000'000;

long long timestamp_of(std::size_t index)
{
    return first_timestamp + static_cast<long long>(index) * 40;
}

template <std::size_t size>
void set(char (&field)[size], const char* text)
{
    std::snprintf(field, size, "%s", text);
}

void set_fraction(char (&field)[33], std::size_t seed)
{
    std::snprintf(field, sizeof field, "0.%06u", static_cast<unsigned>(seed * 7919 % 1'000'000));
}

std::vector<Tposition_xy> make_polygon(std::size_t index, std::size_t vertices)
{
    std::vector<Tposition_xy> polygon(vertices);
    std::size_t seed = index;
    for (Tposition_xy& vertex : polygon) {
        set_fraction(vertex.x, ++seed * 3);
        set_fraction(vertex.y, seed * 5);
    }
    return polygon;
}

/// What the records of both kinds have.
template <class Record>
Record make_record(std::size_t index, std::size_t vertices, const char* function_name)
{
    Record record;
    set(record.app_id, app_id);
    set(record.app_name, app_name);
    set(record.model, model);
    set(record.brand, brand);
    record.timestamp = timestamp_of(index);
    set(record.func_name, function_name);
    set(record.version, version);
    set(record.task_name, task_name);
    set(record.description, description);
    set(record.channel_sid, channel_sid);
    record.stream_id = 1;
    record.positions = make_polygon(index, vertices);
    return record;
}

} // namespace

human_detection_metadata_information make_person(std::size_t index, std::size_t vertices)
{
    return make_record<human_detection_metadata_information>(index, vertices, "HumanDetection");
}

face_recognition_metadata_information make_face(std::size_t vertices)
{
    auto face = make_record<face_recognition_metadata_information>(0, vertices, "FaceRecognition");
    set(face.provider_id, "com.example.faces");
    set(face.status, "recognized");
    set(face.person_id, "7d1f3c5a-0042");
    set(face.stranger_id, "none");
    set(face.person_key, "employees/7d1f3c5a-0042");
    set(face.person_name, "Ann Example");
    set(face.group_name, "Employees");
    set(face.gender, "female");
    face.confidence = 87.25;
    face.age = 34.5;
    face.registered = true;
    set(face.resultId, "5f2b7c9d-1700000000000-1");
    return face;
}

std::string make_reply(std::size_t persons)
{
    std::string reply =
        R"({"ret":0,"totalCounts":)" + std::to_string(persons) + R"(,"overThreshold":0,"datas":[)";
    std::string row;
    for (std::size_t i = 0; i < persons; ++i) {
        snprintf_person(make_person(i, 4), row);
        reply.append(i == 0 ? "" : ",").append(row);
    }
    return reply + "]}";
}

std::string make_stored_reply()
{
    return R"({"ret":0})";
}

std::string make_report(std::size_t persons, std::size_t results, std::size_t index)
{
    std::string objects;
    for (std::size_t i = 0; i < persons; ++i) {
        const human_detection_metadata_information person = make_person(index + i, 4);
        std::string position;
        for (const Tposition_xy& vertex : person.positions) {
            position.append(position.empty() ? "" : ",");
            position.append(R"({"x":)").append(vertex.x).append(R"(,"y":)").append(vertex.y).append("}");
        }
        objects.append(i == 0 ? "" : ",");
        objects.append(R"({"description":")").append(description).append(R"(","position":[)");
        objects.append(position).append("]}");
    }
    std::string report = R"({"timestamp":)" + std::to_string(timestamp_of(index));
    report.append(R"(,"appID":")").append(app_id).append(R"(","appName":")").append(app_name);
    report.append(R"(","model":")").append(model).append(R"(","brand":")").append(brand);
    report.append(R"(","channel_sid":")").append(channel_sid).append(R"(","stream_id":1,"results":[)");
    for (std::size_t i = 0; i < results; ++i) {
        report.append(i == 0 ? "" : ",");
        report.append(R"({"function_name":"HumanDetection","version":")").append(version);
        report.append(R"(","task_name":")").append(task_name).append(R"(","objects":[[)");
        report.append(objects).append("]]}");
    }
    return report.append("]}");
}

std::string make_query(std::size_t persons)
{
    // With an end, so that the request's bytes are the same in every call.
    return R"({"metadata":{"function_name":"HumanDetection","channel_guid_list":[")" +
           std::string(channel_sid) +
           R"("],"start_time":"1","end_time":"1800000000000","sort_dir":1,"limit":)" +
           std::to_string(persons) + "}}";
}

} // namespace korvane::bench
