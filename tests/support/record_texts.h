// The fields of any kind's record, walked.
#pragma once

#include <korvane/metadata_records.h>

#include <cstring>
#include <string>
#include <string_view>

namespace korvane::test {

namespace record_fields {

template <class Record, class Visit>
void header(Record& r, Visit& visit)
{
    visit("app_id", r.app_id);
    visit("app_name", r.app_name);
    visit("model", r.model);
    visit("brand", r.brand);
    visit("timestamp", r.timestamp);
    visit("func_name", r.func_name);
    visit("version", r.version);
    visit("task_name", r.task_name);
    visit("description", r.description);
    visit("channel_sid", r.channel_sid);
    visit("stream_id", r.stream_id);
    visit("positions", r.positions);
}

template <class Visit>
void own(const human_detection_metadata_information& /*r*/, Visit& /*visit*/)
{
}

template <class Visit>
void own(const face_recognition_metadata_information& r, Visit& visit)
{
    visit("provider_id", r.provider_id);
    visit("status", r.status);
    visit("person_id", r.person_id);
    visit("stranger_id", r.stranger_id);
    visit("person_key", r.person_key);
    visit("person_name", r.person_name);
    visit("group_name", r.group_name);
    visit("gender", r.gender);
    visit("confidence", r.confidence);
    visit("age", r.age);
    visit("registered", r.registered);
    visit("resultId", r.resultId);
}

template <class Visit>
void own(const model_importer_metadata_information& r, Visit& visit)
{
    visit("object_name", r.object_name);
    visit("confidence", r.confidence);
}

template <class Visit>
void own(const people_counting_metadata_information& r, Visit& visit)
{
    visit("type", r.type);
    visit("end_time", r.end_time);
    visit("people_count_in", r.people_count_in);
    visit("people_count_out", r.people_count_out);
}

} // namespace record_fields

/// Calls `visit(name, field)` for every field.
template <class Record, class Visit>
void for_each_field(const Record& record, Visit visit)
{
    record_fields::header(record, visit);
    record_fields::own(record, visit);
}

template <class Visit>
void for_each_field(const vault_information& r, Visit visit)
{
    visit("vault_id", r.vault_id);
    visit("vault_name", r.vault_name);
    visit("description", r.description);
    visit("index", r.index);
    visit("last_recv_time_str", r.last_recv_time_str);
}

/// A field as text, "(unterminated)" for a text without an end.
template <std::size_t size>
std::string field_text(const char (&field)[size])
{
    return std::memchr(field, '\0', size) ? std::string(field) : "(unterminated)";
}

inline std::string field_text(const std::vector<Tposition_xy>& polygon)
{
    std::string text;
    for (const Tposition_xy& vertex : polygon) {
        text += "(" + field_text(vertex.x) + " " + field_text(vertex.y) + ")";
    }
    return text;
}

template <class Number, class = std::enable_if_t<std::is_arithmetic_v<Number>>>
std::string field_text(Number value)
{
    return std::to_string(value);
}

/// "app_id=a app_name=b ...": every field.
template <class Record>
std::string describe(const Record& record)
{
    std::string text;
    for_each_field(record, [&text](std::string_view name, const auto& field) {
        text.append(name).append("=").append(field_text(field)).append(" ");
    });
    return text;
}

} // namespace korvane::test
