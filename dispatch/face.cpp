#include "dispatch/answer_rows.h"
#include "dispatch/face_filters.h"
#include "dispatch/ingest_steps.h"
#include "dispatch/kinds.h"
#include "dispatch/query_steps.h"
#include "dispatch/refused_text.h"
#include "log/korvane_log.h"
#include "store/ai_CDataBaseComm.h"
#include "store/record_requests.h"
#include "util/fixed_text.h"
#include "util/result.h"
#include "util/time_conversions.h"

#include <utility>

namespace korvane {

namespace {

// Recorders' log readers know these lines by number.
constexpr ingest_log face_ingest{"add_face_metadata", {554, 571, 663, 669, 677, 683}};
constexpr int function_results_line = 588;
constexpr int tubes_line = 596;
constexpr int add_line = 763;

constexpr report_keys face_keys{"app_id", "app_name", "model_version"};

constexpr long kept_faces = 500000;

/// What an app did not report is -1.0; what it reported out of range stays -2.0, silently.
double read_confidence(json_object* tube)
{
    json_object* member = json_member(tube, "confidence");
    if (member == nullptr) {
        return -1.0;
    }
    const double value = json_number(member);
    return value >= -1.0 && value <= 100.0 ? value : -2.0;
}

double read_age(json_object* tube)
{
    const int age = json_int_member(tube, "ageVal", -2); // "ageRange" is accepted and not looked at
    return age >= -1 ? age : -2.0;
}

/// Stores one face and has the store keep its faces within bounds.
int add_face(json_object* tube, const report_header& report, const result_header& result,
             std::string_view provider_id, json_owner spent)
{
    face_recognition_metadata_information record;
    if (const int code = read_vertices(json_array_member(tube, "position"), face_ingest, record.positions)) {
        return code;
    }
    const auto text = [tube](const char* key) { return json_text(json_member(tube, key)); };
    refuse_if_long copy;
    fill_header(record, report, result, copy);
    copy(record.provider_id, provider_id, "provider_id");
    cut_bytes(record.description, text("description"));
    copy(record.status, text("status"), "status");
    copy(record.person_id, text("person_id"), "person_id");
    cut_bytes(record.person_key, text("person_key"));
    copy(record.stranger_id, text("stranger_id"), "stranger_id");
    cut_bytes(record.person_name, text("person_name"));
    copy(record.group_name, text("group_name"), "group_name");
    copy(record.gender, text("gender"), "gender");
    cut_bytes(record.resultId, text("resultId"));
    if (copy.refused()) {
        return refused_text(face_ingest.function, __LINE__, copy);
    }
    if (json_object* registered = json_member(tube, "registered")) {
        record.registered = json_object_get_boolean(registered) != 0;
    }
    record.confidence = read_confidence(tube);
    record.age = read_age(tube);

    if (const int code = store_face(record, std::move(spent))) {
        log_debug("[korvane](%s:%d) add face metadata failed", face_ingest.function, add_line);
        return code;
    }
    ai_CDataBaseComm().check_remove_face_metadata(kept_faces); // the face is stored, whatever comes of this
    return as_int(result_ok);
}

int walk_faces(json_object* request, const char* kind_name, const char* timestamp_text, report_use use)
{
    report_header report;
    if (const int code = open_report(request, face_keys, kind_name, timestamp_text, face_ingest, report)) {
        return code;
    }
    const std::string_view provider_id = json_text(json_member(request, "provider_id"));
    for (json_object* element : json_elements(report.results)) {
        const result_header result = read_result(element, report);
        json_object* function_results = json_member(element, "function_results");
        if (function_results == nullptr) {
            return missing_member(face_ingest, function_results_line, "function_results");
        }
        json_object* tubes = json_array_member(function_results, "tubes");
        if (tubes == nullptr) {
            return missing_member(face_ingest, tubes_line, "tubes");
        }
        for (report_object tube : report_objects(tubes, use)) {
            if (const int code = add_face(tube.value, report, result, provider_id, std::move(tube.spent))) {
                return code;
            }
        }
    }
    return as_int(result_ok);
}

constexpr query_log face_query{"query_face_metadata", {1511, 1526, 1685, 1695}};
constexpr int start_line = 1506;
constexpr int get_line = 1763;
constexpr int count_line = 1766;

/// "dir" ("ASC" or not), overruled by a "sort_dir" of 1 or -1.
int read_direction(json_object* filters)
{
    const int dir = json_text(json_member(filters, "dir")) == "ASC" ? 1 : -1;
    const int sort_dir = json_int_member(filters, "sort_dir", 0);
    return sort_dir == 1 || sort_dir == -1 ? sort_dir : dir;
}

/// `zone_ms`: what the local clock is ahead of UTC, in milliseconds.
void face_row(answer_row& row, const face_recognition_metadata_information& record, long long zone_ms)
{
    const auto server_time =
        static_cast<unsigned long long>(record.timestamp) + static_cast<unsigned long long>(zone_ms);
    row.digits("server_time", static_cast<long long>(server_time));
    row.date("date", record.timestamp);
    row.text_if_set("brand", record.brand);
    row.text_if_set("model_version", record.version);
    row.text_if_set("app_id", record.app_id);
    row.text_if_set("app_name", record.app_name);
    row.text_if_set("task_name", record.task_name);
    row.text_if_set("model", record.model);
    row.digits("timestamp", record.timestamp);
    row.text_if_set("description", record.description);
    row.text("channel_sid", record.channel_sid);
    row.boolean("registered", record.registered);
    row.text_if_set("resultId", record.resultId);
    row.stream("stream_id", record.stream_id);
    row.text_if_set("stranger_id", record.stranger_id);
    row.text_if_set("person_id", record.person_id);
    row.text_if_set("person_name", record.person_name);
    row.text_if_set("person_key", record.person_key);
    row.text_if_set("group_name", record.group_name);
    row.text_if_set("gender", record.gender);
    if (record.age != -1.0) { // -2.0, which the store never had, is answered
        row.real("age", record.age);
    }
    row.text_if_set("provider_id", record.provider_id);
    if (record.confidence != -2.0 && record.confidence != -1.0) {
        row.real("confidence", record.confidence);
    }
    row.polygon("position", record.positions);
}

int find_faces(json_object* request, json_object* answer, rows_as form)
{
    log_debug("%s(%d)- [korvane] query face library start ", face_query.function, start_line);
    json_object* filters = open_filters(request, face_query);
    if (filters == nullptr) {
        return as_int(result_bad_request);
    }
    face_filters asked;
    if (const int code = read_face_filters(filters, face_query, asked)) {
        return code;
    }
    const page asked_page = read_page(filters);
    const int start_age = json_int_member(filters, "start_age", -1);
    const int end_age = json_int_member(filters, "end_age", -1);
    const int partial_query = json_int_member(filters, "partail_query", 0); // spelled so by every host

    std::vector<face_recognition_metadata_information> records;
    long long total = 0;
    int over = 0;
    const int code = ai_CDataBaseComm().get_face_metadata(
        read_direction(filters), asked_page.skip, asked_page.limit, partial_query, asked.channels,
        asked.gender_or_null(), asked.times.start, asked.times.end, asked.person_names, asked.person_keys,
        asked.provider_ids, asked.start_confidence, asked.end_confidence, start_age, end_age, asked.ages,
        asked.area, asked.registered, asked.result_ids, records, total, over);
    if (code != 0) {
        log_debug("[korvane](%s:%d) get face metadata failed", face_query.function, get_line);
        return code;
    }
    log_debug("[korvane](%s:%d) vec_face_metadata_info.size() : %d", face_query.function, count_line,
              static_cast<int>(records.size()));
    const long long zone_ms = get_timezone_diff() * 1000LL;
    fill_answer(answer, total, over,
                make_rows(records, face_query, form, [zone_ms](answer_row& row, const auto& record) {
                    face_row(row, record, zone_ms);
                }));
    return as_int(result_ok);
}

} // namespace

int add_faces(json_object* request, const char* kind_name, const char* timestamp_text, report_use use)
{
    return guarded_ingest(face_ingest, request, kind_name, timestamp_text,
                          [&] { return walk_faces(request, kind_name, timestamp_text, use); });
}

unsigned int query_faces(json_object* request, json_object*& answer, rows_as form)
{
    return guarded_query(face_query, request, answer, [&] { return find_faces(request, answer, form); });
}

} // namespace korvane

int add_face_metadata(json_object* request, char* kind_name, char* timestamp_text)
{
    return korvane::add_faces(request, kind_name, timestamp_text, korvane::report_use::read);
}

unsigned int query_face_metadata(json_object* request, json_object*& answer)
{
    return korvane::query_faces(request, answer, korvane::rows_as::objects);
}
