// Human detection records as the store's JSON text.
#pragma once

#include <korvane/metadata_records.h>

#include <string>
#include <vector>

/// Replaces `text` with the record's JSON text, the body of the request that stores it. A polygon that does
/// not fit in 8191 characters is cut to the vertices that do, with a log line.
/// Returns 0, without memory result_bad_request.
int trans_human_metadata_info_to_string(human_detection_metadata_information record, std::string& text);

/// Appends the records of a query reply to `records` and sets `total` (all matches), and `ret` and `over` when
/// the reply has them. A reply that says it has nothing changes `ret` alone; one that is not JSON or does not
/// count has a total of 0 and no records. Returns 0, without memory result_bad_request.
int trans_string_to_human_metadata_info(std::string reply,
                                        std::vector<human_detection_metadata_information>& records, int& ret,
                                        long long& total, int& over);

namespace korvane {

/// The two conversions for the library's own use, without the interface's copies.
void write_human(const human_detection_metadata_information& record, std::string& text);
void read_humans(const std::string& reply, std::vector<human_detection_metadata_information>& records,
                 int& ret, long long& total, int& over);

} // namespace korvane
