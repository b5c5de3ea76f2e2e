// Face recognition records as the store's JSON text.
#pragma once

#include <korvane/metadata_records.h>

#include <string>
#include <vector>

/// Replaces `out` with the record's JSON text, the body of the request that stores it. A polygon that does
/// not fit in 8191 characters is cut to the vertices that do, with a log line.
/// Returns 0, without memory result_bad_request.
int trans_face_metadata_info_to_string(face_recognition_metadata_information record, std::string& out);

/// Appends the records of a query reply to `list` and sets `total` (all matches), and `ret` and `over` when
/// the reply has them. A reply that says it has nothing changes `ret` alone; one that is not JSON or does not
/// count has a total of 0 and no records. Returns 0, without memory result_bad_request.
int trans_string_to_face_metadata_info(std::string text,
                                       std::vector<face_recognition_metadata_information>& list, int& ret,
                                       long long& total, int& over);

/// Appends a record for each name of a group list reply, its person_name alone set, and sets `ret` and
/// `total`. Returns 0, without memory result_bad_request.
int trans_string_to_face_group_list_metadata_info(std::string text,
                                                  std::vector<face_recognition_metadata_information>& records,
                                                  int& ret, long long& total);

namespace korvane {

/// The conversions for the library's own use, without the interface's copies.
void write_face(const face_recognition_metadata_information& record, std::string& text);
void read_faces(const std::string& reply, std::vector<face_recognition_metadata_information>& records,
                int& ret, long long& total, int& over);
void read_face_groups(const std::string& reply, std::vector<face_recognition_metadata_information>& records,
                      int& ret, long long& total);

} // namespace korvane
