// The person-grouped list of faces, an entry point of its own.
#include "dispatch/face_filters.h"
#include "log/korvane_log.h"
#include "store/ai_CDataBaseComm.h"
#include "util/fixed_text.h"
#include "util/guarded.h"

#include <korvane/ai_metadata.h>

namespace korvane {

namespace {

// Recorders' log readers know these lines by number.
constexpr query_log groups{"query_ai_face_metadata_list_group", {2350, 2366, 2486, 2496}};
constexpr int start_line = 2343;
constexpr int get_line = 2555;
constexpr int count_line = 2558;
constexpr int output_line = 2586;

json_owner make_answer(const std::vector<face_recognition_metadata_information>& records, long long total)
{
    json_owner names = made_json(json_object_new_array_ext(static_cast<int>(records.size())));
    for (const face_recognition_metadata_information& record : records) {
        add_json_element(names.get(), make_json_text(text_of(record.person_name)));
    }
    json_owner answer = make_json_object();
    add_json_member(answer.get(), "count", make_json_number(static_cast<int>(total)));
    add_json_member(answer.get(), "person_name_list", std::move(names));
    return answer;
}

int list_groups(const char* request_text, void** answer)
{
    log_debug("%s(%d)- [korvane] query_ai_face_metadata_list_group start ", groups.function, start_line);
    const json_owner request = parse_json(request_text);
    json_object* filters = open_filters(request.get(), groups);
    if (filters == nullptr) {
        return as_int(result_bad_request);
    }
    face_filters asked;
    if (const int code = read_face_filters(filters, groups, asked)) {
        return code;
    }
    const int start_age = json_int_member(filters, "start_age", -2); // -1 in the face query
    const int end_age = json_int_member(filters, "end_age", -2);

    std::vector<face_recognition_metadata_information> records;
    long long total = 0;
    const int code = ai_CDataBaseComm().get_face_metadata_group_list(
        asked.channels, asked.gender_or_null(), asked.times.start, asked.times.end, asked.person_names,
        asked.person_keys, asked.provider_ids, asked.start_confidence, asked.end_confidence, start_age,
        end_age, asked.ages, asked.area, asked.registered, asked.result_ids, records, total);
    if (code != 0) {
        log_debug("[korvane](%s:%d) get face metadata failed", groups.function, get_line);
        return code;
    }
    log_debug("[korvane](%s:%d) vec_face_metadata_info.size() : %d", groups.function, count_line,
              static_cast<int>(records.size()));
    if (total == 0) {
        return as_int(result_no_group);
    }
    char* text = copy_json_text(make_answer(records, total).get());
    *answer = text;
    log_debug("[korvane](%s:%d) output : %s", groups.function, output_line, text);
    return as_int(result_ok);
}

} // namespace

} // namespace korvane

int query_ai_face_metadata_list_group(void* json_text, void** answer)
{
    if (json_text == nullptr || answer == nullptr) {
        return korvane::as_int(korvane::result_null_request);
    }
    return korvane::guarded(
        __func__, [&] { return korvane::list_groups(static_cast<const char*>(json_text), answer); });
}
