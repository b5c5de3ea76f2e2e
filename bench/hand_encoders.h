// The encoders' stand-ins: a record's text written by hand, once as plainly and once as cheaply as C++ can.
// All have the library's signature, so that each side pays for the interface's copy of the record.
#pragma once

#include <korvane/metadata_records.h>

#include <string>

namespace korvane::bench {

/// By snprintf into a zeroed area of 8192 bytes.
int snprintf_person(human_detection_metadata_information record, std::string& text);
int snprintf_face(face_recognition_metadata_information record, std::string& text);

/// By memcpy and to_chars, nothing checked: the record's text must fit in 8192 bytes.
int memcpy_person(human_detection_metadata_information record, std::string& text);
int memcpy_face(face_recognition_metadata_information record, std::string& text);

} // namespace korvane::bench
