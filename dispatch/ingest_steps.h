// The steps that the kinds' ingest handlers share. Each logs its failure under the handler's name and returns
// its code.
#pragma once

#include "dispatch/kinds.h"
#include "util/fixed_text.h"
#include "util/guarded.h"
#include "util/json_members.h"
#include "util/result.h"

#include <korvane/metadata_records.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace korvane {

/// The line told with each failure of the shared steps. These defaults name the failure's row here.
struct ingest_lines {
    int channel_sid = __LINE__;
    int results = __LINE__;
    int x_missing = __LINE__;
    int x_range = __LINE__;
    int y_missing = __LINE__;
    int y_range = __LINE__;
};

/// Where a kind's ingest logs from.
struct ingest_log {
    const char* function;
    ingest_lines lines;
};

/// "%s(%d)- [korvane] get MEMBER failed ", and the code for it.
[[nodiscard]] int missing_member(const ingest_log& log, int line, const char* member);

/// Runs `walk` and returns its code, as an ingest handler must: null pointers are refused, and nothing throws.
template <class Walk>
int guarded_ingest(const ingest_log& log, json_object* request, const char* kind_name,
                   const char* timestamp_text, Walk walk)
{
    if (request == nullptr || kind_name == nullptr || timestamp_text == nullptr) {
        return as_int(result_null_request);
    }
    return guarded(log.function, walk);
}

/// The keys that differ between kinds, for the same fields.
struct report_keys {
    const char* app_id;   ///< top level
    const char* app_name; ///< top level
    const char* version;  ///< in an element of "results"
};

/// What every record of a report carries alike; texts of missing members are empty. The texts belong to the
/// request.
struct report_header {
    report_keys keys{};
    std::string_view app_id;
    std::string_view app_name;
    std::string_view model;
    std::string_view brand;
    std::string_view func_name;
    std::string_view channel_sid;
    long long timestamp = 0;
    int stream_id = -1;             ///< -1: none
    json_object* results = nullptr; ///< an array
};

/// Reads the top level of a report.
[[nodiscard]] int open_report(json_object* request, const report_keys& keys, const char* kind_name,
                              const char* timestamp_text, const ingest_log& log, report_header& report);

/// What every record of one element of "results" carries alike.
struct result_header {
    std::string_view version;
    std::string_view task_name;
};

result_header read_result(json_object* result, const report_header& report);

/// An object of a report, and where the report is used up its owner, to be handed on to whoever needs it last.
struct report_object {
    json_object* value;
    json_owner spent;
};

/// The objects of a report's list, for a range-based loop.
class report_objects {
public:
    report_objects(json_object* list, report_use use)
        : elements_(list)
        , use_(use)
    {
    }

    struct iterator {
        report_objects& objects;
        std::size_t index;

        report_object operator*() const { return objects.at(index); }
        void operator++() { ++index; }
        bool operator!=(std::size_t end) const { return index != end; }
    };

    iterator begin() { return {*this, 0}; }
    std::size_t end() const { return elements_.size(); }

private:
    report_object at(std::size_t index)
    {
        json_object* value = elements_[index];
        return {value, use_ == report_use::use_up ? elements_.take(index) : nullptr};
    }

    json_elements elements_;
    report_use use_;
};

/// Appends the vertices of `position`, an array of {"x","y"} or null for none; each coordinate must lie in
/// the picture.
[[nodiscard]] int read_vertices(json_object* position, const ingest_log& log,
                                std::vector<Tposition_xy>& polygon);

/// Fills the fields that records of every kind have, but for the description, under the kind's rule for long
/// texts, which is told the key that the text came from.
template <class Record, class CopyRule>
void fill_header(Record& record, const report_header& report, const result_header& result, CopyRule&& copy)
{
    copy(text_field(record.app_id), report.app_id, report.keys.app_id);
    copy(text_field(record.app_name), report.app_name, report.keys.app_name);
    copy(text_field(record.brand), report.brand, "brand");
    copy(text_field(record.model), report.model, "model");
    record.timestamp = report.timestamp;
    copy(text_field(record.func_name), report.func_name, "function_name");
    copy(text_field(record.channel_sid), report.channel_sid, "channel_sid");
    record.stream_id = report.stream_id;
    copy(text_field(record.version), result.version, report.keys.version);
    copy(text_field(record.task_name), result.task_name, "task_name");
}

} // namespace korvane
