#include "dispatch/answer_rows.h"
#include "dispatch/ingest_steps.h"
#include "dispatch/kinds.h"
#include "dispatch/query_steps.h"
#include "dispatch/refused_text.h"
#include "log/korvane_log.h"
#include "store/ai_CDataBaseComm.h"
#include "store/record_requests.h"
#include "util/fixed_text.h"
#include "util/result.h"
#include "util/six_decimals.h"

#include <utility>

namespace korvane {

namespace {

constexpr ingest_log model_ingest{"add_model_metadata", {}};
constexpr report_keys model_keys{"appID", "appName", "version"};

/// A confidence out of range never refuses the object: it is logged and stored as none.
double read_confidence(json_object* object)
{
    double value = 0.0;
    get_json_double(object, "confidence", &value);
    if (!(value >= 0.0 && value <= 100.0)) {
        const six_decimals text(value); // the host's decimal comma stays out of the log
        log_debug("[korvane](%s:%d) confidence value : %.*s out of bounds(%d~%d)", model_ingest.function,
                  __LINE__, static_cast<int>(text.view().size()), text.view().data(), 0, 100);
        return 0.0;
    }
    return value;
}

/// Stores one detected object.
int add_model(json_object* object, const report_header& report, const result_header& result, json_owner spent)
{
    model_importer_metadata_information record;
    json_object* position = json_array_member(object, "position");
    if (position == nullptr) {
        return missing_member(model_ingest, __LINE__, "position");
    }
    if (const int code = read_vertices(position, model_ingest, record.positions)) {
        return code;
    }
    refuse_if_long copy;
    fill_header(record, report, result, copy);
    copy(record.description, json_text(json_member(object, "description")), "description");
    copy(record.object_name, json_text(json_member(object, "object_name")), "object_name");
    if (copy.refused()) {
        return refused_text(model_ingest.function, __LINE__, copy);
    }
    record.confidence = read_confidence(object);

    const int code = store_model(record, std::move(spent));
    if (code != 0) {
        log_debug("[korvane](%s:%d) add model metadata failed", model_ingest.function, __LINE__);
    }
    return code;
}

int walk_models(json_object* request, const char* kind_name, const char* timestamp_text, report_use use)
{
    report_header report;
    if (const int code = open_report(request, model_keys, kind_name, timestamp_text, model_ingest, report)) {
        return code;
    }
    for (json_object* element : json_elements(report.results)) {
        const result_header result = read_result(element, report);
        json_object* objects = json_array_member(element, "objects");
        if (objects == nullptr) {
            return missing_member(model_ingest, __LINE__, "objects");
        }
        for (json_object* list : json_elements(objects)) {
            if (!json_object_is_type(list, json_type_array)) {
                return missing_member(model_ingest, __LINE__, "objects");
            }
            for (report_object object : report_objects(list, use)) {
                if (const int code = add_model(object.value, report, result, std::move(object.spent))) {
                    return code;
                }
            }
        }
    }
    return as_int(result_ok);
}

constexpr query_log model_query{"query_model_metadata", {}};

/// Only 100 and more: hosts rely on every ordinary lower bound being dropped, and with it the range.
int read_start_confidence(json_object* filters)
{
    return read_confidence_bound(filters, model_query, bound::start, -1,
                                 [](int value) { return value > 99; });
}

int read_end_confidence(json_object* filters)
{
    return read_confidence_bound(filters, model_query, bound::end, -1,
                                 [](int value) { return value >= 0 && value <= 100; });
}

void model_row(answer_row& row, const model_importer_metadata_information& record)
{
    // Brand before model, and description before the channel: not as for people.
    row.date("date", record.timestamp);
    row.text_if_set("appName", record.app_name);
    row.text_if_set("brand", record.brand);
    row.text_if_set("version", record.version);
    row.text_if_set("task_name", record.task_name);
    row.text_if_set("model", record.model);
    row.digits("timestamp", record.timestamp);
    row.text_if_set("description", record.description);
    row.text("channel_sid", record.channel_sid);
    row.stream("stream_id", record.stream_id);
    row.text_if_set("object_name", record.object_name);
    if (record.confidence != 0.0) {
        row.real("confidence", record.confidence);
    }
    row.polygon("position", record.positions);
}

int find_models(json_object* request, json_object* answer, rows_as form)
{
    json_object* filters = open_filters(request, model_query);
    if (filters == nullptr) {
        return as_int(result_bad_request);
    }
    std::vector<std::string> channels = read_channels(filters, model_query);
    char object_name[129] = {};
    json_object* object_name_member = json_member(filters, "object_name");
    refuse_if_long copy;
    copy(object_name, json_text(object_name_member), "object_name");
    if (copy.refused()) {
        return refused_text(model_query.function, __LINE__, copy);
    }
    const int sort_dir = read_sort_dir(filters);
    const page asked_page = read_page(filters);
    const time_range times = read_time_range(filters);
    const int start_confidence = read_start_confidence(filters);
    const int end_confidence = read_end_confidence(filters);

    std::vector<model_importer_metadata_information> records;
    long long total = 0;
    int over = 0;
    const int code = ai_CDataBaseComm().get_model_metadata(
        sort_dir, asked_page.skip, asked_page.limit, std::move(channels),
        object_name_member ? object_name : nullptr, times.start, times.end, start_confidence, end_confidence,
        read_area(filters), records, total, over);
    if (code != 0) {
        log_debug("[korvane](%s:%d) get model metadata failed", model_query.function, __LINE__);
        return code;
    }
    fill_answer(answer, total, over, make_rows(records, model_query, form, model_row));
    return as_int(result_ok);
}

} // namespace

int add_models(json_object* request, const char* kind_name, const char* timestamp_text, report_use use)
{
    return guarded_ingest(model_ingest, request, kind_name, timestamp_text,
                          [&] { return walk_models(request, kind_name, timestamp_text, use); });
}

unsigned int query_models(json_object* request, json_object*& answer, rows_as form)
{
    return guarded_query(model_query, request, answer, [&] { return find_models(request, answer, form); });
}

} // namespace korvane

unsigned int add_model_metadata(json_object* request, char* kind_name, char* timestamp_text)
{
    return static_cast<unsigned int>(
        korvane::add_models(request, kind_name, timestamp_text, korvane::report_use::read));
}

unsigned int query_model_metadata(json_object* request, json_object*& answer)
{
    return korvane::query_models(request, answer, korvane::rows_as::objects);
}
