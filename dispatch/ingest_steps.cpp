#include "dispatch/ingest_steps.h"

#include "log/korvane_log.h"
#include "util/coordinates.h"
#include "util/result.h"

#include <cstdlib>

namespace korvane {

int missing_member(const ingest_log& log, int line, const char* member)
{
    log_debug("%s(%d)- [korvane] get %s failed ", log.function, line, member);
    return as_int(result_bad_request);
}

int open_report(json_object* request, const report_keys& keys, const char* kind_name,
                const char* timestamp_text, const ingest_log& log, report_header& report)
{
    json_object* channel_sid = json_member(request, "channel_sid");
    if (channel_sid == nullptr) {
        return missing_member(log, log.lines.channel_sid, "channel_sid");
    }
    report.results = json_array_member(request, "results");
    if (report.results == nullptr) {
        return missing_member(log, log.lines.results, "results");
    }
    report.keys = keys;
    report.app_id = json_text(json_member(request, keys.app_id));
    report.app_name = json_text(json_member(request, keys.app_name));
    report.model = json_text(json_member(request, "model"));
    report.brand = json_text(json_member(request, "brand"));
    report.func_name = kind_name;
    report.channel_sid = json_text(channel_sid);
    report.timestamp = std::strtoll(timestamp_text, nullptr, 10);
    report.stream_id = json_int_member(request, "stream_id", report.stream_id);
    return as_int(result_ok);
}

result_header read_result(json_object* result, const report_header& report)
{
    return {json_text(json_member(result, report.keys.version)), json_text(json_member(result, "task_name"))};
}

namespace {

struct axis_row {
    char name[2];
    int missing_line;
    int range_line;
};

int read_axis(json_object* vertex, axis_row axis, const ingest_log& log, char (&field)[33])
{
    json_object* member = json_member(vertex, axis.name);
    if (!is_json_scalar(member)) {
        return missing_member(log, axis.missing_line, axis.name);
    }
    const double value = json_number(member);
    if (const int code = check_coordinate_range(value, axis.name)) {
        log_debug("%s(%d)- [korvane] coordinate %s out of range", log.function, axis.range_line, axis.name);
        return code;
    }
    write_coordinate(field, value);
    return as_int(result_ok);
}

} // namespace

int read_vertices(json_object* position, const ingest_log& log, std::vector<Tposition_xy>& polygon)
{
    const json_elements vertices(position);
    polygon.reserve(vertices.size());
    for (json_object* vertex : vertices) {
        Tposition_xy& corner = polygon.emplace_back();
        if (const int code =
                read_axis(vertex, {"x", log.lines.x_missing, log.lines.x_range}, log, corner.x)) {
            return code;
        }
        if (const int code =
                read_axis(vertex, {"y", log.lines.y_missing, log.lines.y_range}, log, corner.y)) {
            return code;
        }
    }
    return as_int(result_ok);
}

} // namespace korvane
