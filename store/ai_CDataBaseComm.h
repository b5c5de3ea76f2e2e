// The metadata store's client: one method per request, each over a connection of its own to 127.0.0.1:10158.
#pragma once

#include <korvane/metadata_records.h>

#include <string>
#include <vector>

/// Has no state: an instance is made for a request and gone after it, in any number of threads.
///
/// A request that stores something returns the store's "ret", without one the transport's result
/// (send_RESTful_req), and -1 when there was no reply body. The requests that ask say below what they return.
class ai_CDataBaseComm {
public:
    /// Stores one record.
    int add_human_metadata(human_detection_metadata_information& record);

    /// Asks for `limit` records after the first `skip` by time, rising (`sort_dir` 1) or falling, of the
    /// given `channels` (none: all) from `start_time` to `end_time` (milliseconds) that overlap `polygon`
    /// (none: anywhere; else its first four vertices, and fewer are refused with result_bad_request). Appends
    /// them to `records`; `total` counts all matches, `over` is the store's over-threshold indicator. Returns
    /// the transport's result, or -1 without a reply body, the outputs then untouched.
    int get_human_metadata(int sort_dir, int skip, int limit, std::vector<std::string> channels,
                           unsigned long long start_time, unsigned long long end_time,
                           std::vector<Tposition_xy> polygon,
                           std::vector<human_detection_metadata_information>& records, long long& total,
                           int& over);
};
