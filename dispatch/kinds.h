// The handlers of each kind.
//
// An ingest handler gets the whole parsed request, the kind's name and the request's timestamp text, and
// walks all of "results"; a query handler gets the whole parsed request and an empty answer object, to which
// it adds members on success. Each returns 0 or a code; null pointers give result_null_request. An answer's
// rows borrow the names of their members from the library: it must stay loaded as long as they live.
#pragma once

#include "dispatch/answer_rows.h"

int add_human_metadata(json_object* request, char* kind_name, char* timestamp_text);
int add_face_metadata(json_object* request, char* kind_name, char* timestamp_text);
unsigned int add_model_metadata(json_object* request, char* kind_name, char* timestamp_text);
int add_people_counting_metadata(json_object* request, char* kind_name, char* timestamp_text);

unsigned int query_human_metadata(json_object* request, json_object*& answer);
unsigned int query_face_metadata(json_object* request, json_object*& answer);
unsigned int query_model_metadata(json_object* request, json_object*& answer);
unsigned int query_people_counting_metadata(json_object* query, json_object*& answer);

namespace korvane {

/// What an ingest handler may do with the request.
enum class report_use {
    read,   ///< it is the host's, or walked once more
    use_up, ///< take each object out of it
};

// The handlers themselves: those above are for a host that keeps the request.
int add_humans(json_object* request, const char* kind_name, const char* timestamp_text, report_use use);
int add_faces(json_object* request, const char* kind_name, const char* timestamp_text, report_use use);
int add_models(json_object* request, const char* kind_name, const char* timestamp_text, report_use use);
int add_people_counting(json_object* request, const char* kind_name, const char* timestamp_text,
                        report_use use);

// The query handlers themselves: those above answer in objects.
unsigned int query_humans(json_object* request, json_object*& answer, rows_as form);
unsigned int query_faces(json_object* request, json_object*& answer, rows_as form);
unsigned int query_models(json_object* request, json_object*& answer, rows_as form);
unsigned int query_people_counting(json_object* request, json_object*& answer, rows_as form);

} // namespace korvane
