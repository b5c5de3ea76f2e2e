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

    /// Stores one record.
    int add_face_metadata(face_recognition_metadata_information& record);

    /// Has the store check whether it holds more face results than `threshold`; what it removes is its business.
    int check_remove_face_metadata(long threshold);

    /// Asks for faces as get_human_metadata asks for people. Absent filters: a null `gender`, empty lists, a
    /// confidence bound of -2, an age bound of -1, and a `registered` or `partial_query` that is neither 0
    /// nor 1; of a range both bounds count or none. Returns the reply's "ret", without one the transport's
    /// result, or -1 without a reply body.
    int get_face_metadata(
        int sort_dir, int skip, int limit, int partial_query, const std::vector<std::string>& channels,
        char* gender, unsigned long long start_time, unsigned long long end_time,
        const std::vector<std::string>& person_names, const std::vector<std::string>& person_keys,
        const std::vector<std::string>& provider_ids, int start_confidence, int end_confidence, int start_age,
        int end_age, const std::vector<int>& ages, const std::vector<Tposition_xy>& area, int registered,
        const std::vector<std::string>& result_ids,
        std::vector<face_recognition_metadata_information>& records, long long& total, int& over);

    /// Asks which persons were seen; `records` get their person_name alone. As get_face_metadata, but an
    /// absent age bound is -2, and names and keys go out in other encodings.
    int get_face_metadata_group_list(
        const std::vector<std::string>& channels, char* gender, unsigned long long start_time,
        unsigned long long end_time, const std::vector<std::string>& person_names,
        const std::vector<std::string>& person_keys, const std::vector<std::string>& provider_ids,
        int start_confidence, int end_confidence, int start_age, int end_age, const std::vector<int>& ages,
        const std::vector<Tposition_xy>& area, int registered, const std::vector<std::string>& result_ids,
        std::vector<face_recognition_metadata_information>& records, long long& total);

    /// Stores one record.
    int add_model_metadata(model_importer_metadata_information& record);

    /// Asks for objects as get_human_metadata asks for people; a null `object_name` means any, a confidence
    /// bound of -1 none (of a range both bounds count or none).
    int get_model_metadata(int sort_dir, int skip, int limit, std::vector<std::string> channels,
                           char* object_name, unsigned long long start_time, unsigned long long end_time,
                           int start_confidence, int end_confidence, std::vector<Tposition_xy> polygon,
                           std::vector<model_importer_metadata_information>& records, long long& total,
                           int& over);

    /// Stores one record.
    int add_people_counting_metadata(people_counting_metadata_information& record);

    /// Asks for the sums of each `interval` milliseconds from `start` to `end`, of one channel or, null, of
    /// all; appends the dense series to `rows`. `reserved` has no effect. Returns the reply's "ret", without
    /// one the transport's result, or -1 without a reply body; result_null_request without a `query_type`.
    int get_people_counting_metadata(char* query_type, char* channel_sid, unsigned long long interval,
                                     unsigned long long start, unsigned long long end,
                                     std::vector<people_counting_metadata_information>& rows, char* reserved);

    /// Has the store delete the counts from before `cutoff` (milliseconds, signed). Returns the transport's
    /// result alone.
    int delete_people_counting(unsigned long long cutoff);

    /// Asks for the vaults of that name, null: for all; appends them to `vaults`. Returns the reply's "ret",
    /// without one the transport's result, or -1 without a reply body.
    int get_vault(char* vault_name, std::vector<vault_information>& vaults);
};
