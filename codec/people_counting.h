// People counting: records as the store's JSON text, and the statistics of a store reply as a dense series of
// buckets.
#pragma once

#include <korvane/metadata_records.h>

#include <string>
#include <vector>

/// Replaces `out_text` with the record's JSON text, the body of the request that stores it. A polygon that
/// does not fit in 8191 characters is cut to the vertices that do, with a log line.
/// Returns 0, without memory result_bad_request.
int trans_people_counting_metadata_info_to_string(people_counting_metadata_information record,
                                                  std::string& out_text);

/// Turns the sparse rows of a statistics reply into a dense series: for each channel, in the reply's order,
/// one bucket every `interval` milliseconds from `start` to `end` (the last included), appended to `rows`;
/// timestamp is the bucket's start, people_count_in and _out its sums. Without rows, the empty series of
/// `channel_sid` if one is asked for, its buckets without a channel. Sets `result` when the reply has a
/// "ret". A row off the grid, behind the one before it, past the end, or of a channel that was done with is
/// skipped, with one log line a reply. A channel id over 32 characters ends the process. `query_type` is not
/// used. Returns 0, without memory result_bad_request, `rows` then as they were.
int trans_string_to_people_counting_metadata_statistics(
    std::string body, char* channel_sid, char* query_type, unsigned long long interval,
    unsigned long long start, unsigned long long end, std::vector<people_counting_metadata_information>& rows,
    int& result);

namespace korvane {

/// The two conversions for the library's own use, without the interface's copies.
void write_people_counting(const people_counting_metadata_information& record, std::string& text);
void read_statistics(const std::string& body, bool one_channel, unsigned long long interval,
                     unsigned long long start, unsigned long long end,
                     std::vector<people_counting_metadata_information>& rows, int& result);

} // namespace korvane
