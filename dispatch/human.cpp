#include "dispatch/answer_rows.h"
#include "dispatch/ingest_steps.h"
#include "dispatch/kinds.h"
#include "dispatch/query_steps.h"
#include "log/korvane_log.h"
#include "store/ai_CDataBaseComm.h"
#include "store/record_requests.h"
#include "util/fixed_text.h"
#include "util/result.h"

#include <utility>

namespace korvane {

namespace {

constexpr ingest_log human_ingest{"add_human_metadata", {}};
constexpr report_keys human_keys{"appID", "appName", "version"};

/// Stores one detected person.
int add_human(json_object* object, const report_header& report, const result_header& result, json_owner spent)
{
    human_detection_metadata_information record;
    json_object* position =
        json_array_member(object, "position"); // a person without one is stored all the same
    if (const int code = read_vertices(position, human_ingest, record.positions)) {
        return code;
    }
    fill_header(record, report, result, abort_if_long);
    abort_if_long(record.description, json_text(json_member(object, "description")), "description");

    const int code = store_human(record, std::move(spent));
    if (code != 0) {
        log_debug("[korvane](%s:%d) add human metadata failed", human_ingest.function, __LINE__);
    }
    return code;
}

int walk_humans(json_object* request, const char* kind_name, const char* timestamp_text, report_use use)
{
    report_header report;
    if (const int code = open_report(request, human_keys, kind_name, timestamp_text, human_ingest, report)) {
        return code;
    }
    for (json_object* element : json_elements(report.results)) {
        const result_header result = read_result(element, report);
        json_object* objects = json_array_member(element, "objects");
        if (objects == nullptr) {
            return missing_member(human_ingest, __LINE__, "objects");
        }
        for (json_object* list : json_elements(objects)) {
            if (!json_object_is_type(list, json_type_array)) {
                log_debug("%s(%d)- [korvane] Invalid json [object] value for double array ",
                          human_ingest.function, __LINE__);
                return as_int(result_bad_request);
            }
            for (report_object object : report_objects(list, use)) {
                if (const int code = add_human(object.value, report, result, std::move(object.spent))) {
                    return code;
                }
            }
        }
    }
    return as_int(result_ok);
}

constexpr query_log human_query{"query_human_metadata", {}};

void human_row(answer_row& row, const human_detection_metadata_information& record)
{
    row.date("date", record.timestamp);
    row.text_if_set("appName", record.app_name);
    row.text_if_set("model", record.model);
    row.text_if_set("brand", record.brand);
    row.text_if_set("version", record.version);
    row.text_if_set("task_name", record.task_name);
    row.digits("timestamp", record.timestamp);
    row.text("channel_sid", record.channel_sid);
    row.stream("stream_id", record.stream_id);
    row.text_if_set("description", record.description);
    row.polygon("position", record.positions);
}

int find_humans(json_object* request, json_object* answer, rows_as form)
{
    json_object* filters = open_filters(request, human_query);
    if (filters == nullptr) {
        return as_int(result_bad_request);
    }
    std::vector<std::string> channels = read_channels(filters, human_query);
    const int sort_dir = read_sort_dir(filters);
    const page asked_page = read_page(filters);
    const time_range times = read_time_range(filters);

    std::vector<human_detection_metadata_information> records;
    long long total = 0;
    int over = 0;
    const int code = ai_CDataBaseComm().get_human_metadata(sort_dir, asked_page.skip, asked_page.limit,
                                                           std::move(channels), times.start, times.end,
                                                           read_area(filters), records, total, over);
    if (code != 0) {
        log_debug("[korvane](%s:%d) get human metadata failed", human_query.function, __LINE__);
        return code;
    }
    fill_answer(answer, total, over, make_rows(records, human_query, form, human_row));
    return as_int(result_ok);
}

} // namespace

int add_humans(json_object* request, const char* kind_name, const char* timestamp_text, report_use use)
{
    return guarded_ingest(human_ingest, request, kind_name, timestamp_text,
                          [&] { return walk_humans(request, kind_name, timestamp_text, use); });
}

unsigned int query_humans(json_object* request, json_object*& answer, rows_as form)
{
    return guarded_query(human_query, request, answer, [&] { return find_humans(request, answer, form); });
}

} // namespace korvane

int add_human_metadata(json_object* request, char* kind_name, char* timestamp_text)
{
    return korvane::add_humans(request, kind_name, timestamp_text, korvane::report_use::read);
}

unsigned int query_human_metadata(json_object* request, json_object*& answer)
{
    return korvane::query_humans(request, answer, korvane::rows_as::objects);
}
