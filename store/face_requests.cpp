#include "codec/face.h"
#include "store/ai_CDataBaseComm.h"
#include "store/record_requests.h"
#include "store/store_exchange.h"
#include "util/guarded.h"

#include <utility>

namespace {

constexpr const char* path = "/third_party/face_recognition";
constexpr const char* threshold_path = "/third_party/check_face_threshold";
constexpr const char* group_path = "/third_party/face_group_list";

constexpr int no_confidence = -2;

} // namespace

int korvane::store_face(const face_recognition_metadata_information& record, json_owner spent)
{
    return post_record("add_face_metadata", path, record, write_face, std::move(spent));
}

int ai_CDataBaseComm::add_face_metadata(face_recognition_metadata_information& record)
{
    return korvane::store_face(record, nullptr);
}

int ai_CDataBaseComm::check_remove_face_metadata(long threshold)
{
    return korvane::guarded(__func__, [&] {
        std::string body = "{\"threshold\":\"" + std::to_string(threshold) + "\"}";
        return korvane::post_to_store(threshold_path, body, nullptr);
    });
}

int ai_CDataBaseComm::get_face_metadata(
    int sort_dir, int skip, int limit, int partial_query, const std::vector<std::string>& channels,
    char* gender, unsigned long long start_time, unsigned long long end_time,
    const std::vector<std::string>& person_names, const std::vector<std::string>& person_keys,
    const std::vector<std::string>& provider_ids, int start_confidence, int end_confidence, int start_age,
    int end_age, const std::vector<int>& ages, const std::vector<Tposition_xy>& area, int registered,
    const std::vector<std::string>& result_ids, std::vector<face_recognition_metadata_information>& records,
    long long& total, int& over)
{
    return korvane::guarded(__func__, [&] {
        constexpr int no_age = -1;
        korvane::request_line line("GET", path);
        line.area(area);
        line.quoted_list("channel_sid", channels);
        if (gender) {
            line.text("gender", gender);
        }
        line.tabbed_encoded_list("person_name", person_names);
        line.tabbed_encoded_list("person_key", person_keys);
        line.quoted_list("provider_id", provider_ids);
        line.range_unless(no_confidence, "confidence", start_confidence, end_confidence);
        line.number_list("age", ages);
        line.range_unless(no_age, "age", start_age, end_age);
        line.flag("registered", registered);
        line.quoted_list("resultId", result_ids);
        line.flag("partial_query", partial_query);
        line.times(start_time, end_time);
        line.paging(sort_dir, skip, limit);

        korvane::query_reply reply = korvane::query_store(line);
        if (!reply.body.empty()) {
            korvane::read_faces(reply.body, records, reply.result, total, over);
        }
        return reply.result;
    });
}

int ai_CDataBaseComm::get_face_metadata_group_list(
    const std::vector<std::string>& channels, char* gender, unsigned long long start_time,
    unsigned long long end_time, const std::vector<std::string>& person_names,
    const std::vector<std::string>& person_keys, const std::vector<std::string>& provider_ids,
    int start_confidence, int end_confidence, int start_age, int end_age, const std::vector<int>& ages,
    const std::vector<Tposition_xy>& area, int registered, const std::vector<std::string>& result_ids,
    std::vector<face_recognition_metadata_information>& records, long long& total)
{
    return korvane::guarded(__func__, [&] {
        constexpr int no_age = -2; // -1 for the face query
        korvane::request_line line("GET", group_path);
        line.area(area);
        line.quoted_list("channel_sid", channels);
        if (gender) {
            line.text("gender", gender);
        }
        line.barred_encoded_list("person_name", person_names);
        line.quoted_encoded_list("person_key", person_keys);
        line.quoted_list("provider_id", provider_ids);
        line.range_unless(no_confidence, "confidence", start_confidence, end_confidence);
        line.number_list("age", ages);
        line.range_unless(no_age, "age", start_age, end_age);
        line.flag("registered", registered);
        line.quoted_list("resultId", result_ids);
        line.times(start_time, end_time);

        korvane::query_reply reply = korvane::query_store(line);
        if (!reply.body.empty()) {
            korvane::read_face_groups(reply.body, records, reply.result, total);
        }
        return reply.result;
    });
}
