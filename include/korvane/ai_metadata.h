// The entry points of libkorvane.so.0 and their result codes.
//
//  1. Request texts are NUL-terminated JSON in UTF-8, owned by the caller and never changed; `void*` is the interface's
//     own type for them. A null pointer gives result_null_request and touches nothing.
//  2. The result is 0 or a code; compare it as unsigned with result_code. An insert or a query may also return what the
//     metadata store answered ("ret"), -1 when it could not be reached or sent no reply body with status 200, or -5
//     when the body ended early. delete_people_counting
//     alone returns each of the transport's -1 to -5.
//  3. Every failure but a null pointer is told in the debug log under /Vdbglog/.zymux_log: one line by the function that
//     found it, saying what was missing or wrong, and mostly one more by the entry point, saying the code.
//  4. Every call works on the caller's thread, keeps no state and takes no lock of its own: any number of threads may call
//     at once. A call makes one connection to 127.0.0.1:10158 per store request and waits at most 300 seconds for each
//     step of it.
//     In a host with threads, fork between calls, or start another program in the child: a child forked while another
//     thread is inside any call but an insert, or writes a log line, can wait for ever in such a call of its own.
//  5. Nothing throws. One thing ends the process, after a line on standard error that says which text it was: a text that
//     is too long where the interface demands it. These are "timestamp" (23 characters) in every report; the texts of
//     human detection and people counting reports; the corners "x1" to "y4" (32) of queries; "channel_sid" (32),
//     "query_type" (32) and "start_time" (23) of statistics queries; and the channel (32) of a statistics reply.
#pragma once

/// Stores every result of a report:
/// {"timestamp": ms, "channel_sid": ..., "results": [{"function_name": ...}, ...]}.
///
/// Each detected object is stored by its own request, in order. The first failure ends the walk and is the
/// result; what was stored before it stays stored. For each element of the array its kind's handler walks the
/// whole array: several elements of one kind are each stored once per element of that kind, and elements of
/// kinds whose members differ do not go together in one report.
int insert_ai_metadata(void* json_text);

/// Answers a query: {"metadata": {"function_name": ..., filters}}.
///
/// On success `*answer` is a `malloc` block with the answer as NUL-terminated JSON text, which the caller
/// releases with `free`. On failure `*answer` is left as it was. "date" is local time, its hours as the host's
/// locale writes them; numbers are the same in every locale.
int query_ai_metadata(void* json_text, void** answer);

/// Lists which persons were seen in the stored face results that match {"metadata": {filters}}:
/// {"count": N, "person_name_list": [...]}. As query_ai_metadata, but result_no_group when there are none.
int query_ai_face_metadata_list_group(void* json_text, void** answer);

/// Tells the local date of the newest result of a kind: {"last_metadata": {"funcName": "HumanDetection"}}, or
/// "FaceRecognition" or "ObjectDetection". `answer` is a char buffer of the caller of at least 128 bytes; it
/// gets the date, or a sentence when nothing of that kind is stored, and is left as it was on failure.
int get_latest_metadata(void* json_text, void* answer);

/// Writes the id of the metadata store's vault named "IVA" into a char buffer of the caller of at least 256
/// bytes, which is left as it was on failure; result_no_vault when there is none.
int get_IVA_vault_id(void* vault_id_out);

/// Has the store delete the people counts from before the seven local days that end with the day of a time,
/// given as the decimal text of its milliseconds. The store's own answer is not looked at: 0 means that it
/// was asked.
int delete_people_counting(void* json_text);

namespace korvane {

enum result_code : unsigned int {
    result_ok = 0,
    result_bad_request = 0xC4080001,
    result_unknown_kind = 0xC4080002,
    result_null_request = 0xC4080003,
    result_out_of_picture = 0xC4080004,
    result_no_vault = 0xC4080005,
    result_unknown_query_type = 0xC4080007,
    result_no_group = 0xC4080010,
};

struct result_meaning {
    unsigned int code;
    const char* name;
    const char* meaning;
};

/// Every result code with a fixed meaning, for messages to people. Any other value is the store's own "ret".
// clang-format off
inline constexpr result_meaning result_meanings[] = {
    {0,          "ok",                 "success"},
    {0xC4080001, "bad_request",        "a required JSON member is missing or unusable, or a store request could not be made"},
    {0xC4080002, "unknown_kind",       "the function name is not one of the kinds this library stores"},
    {0xC4080003, "null_request",       "the request pointer is null"},
    {0xC4080004, "out_of_picture",     "a polygon coordinate is outside 0.0 to 1.0"},
    {0xC4080005, "no_vault",           "the metadata store has no vault named \"IVA\""},
    {0xC4080007, "unknown_query_type", "the people-counting query type is not \"15-min\", \"hour\" or \"day\""},
    {0xC4080010, "no_group",           "no stored face result matches: there is no person to list"},
    {0xFFFFFFFF, "no_reply",           "the metadata store on 127.0.0.1:10158 could not be reached or sent no reply body with status 200 (-1)"},
    {0xFFFFFFFE, "send_failed",        "the request could not be sent to the metadata store (-2)"},
    {0xFFFFFFFD, "no_status_line",     "the metadata store closed the connection without a status line (-3)"},
    {0xFFFFFFFC, "bad_status",         "the metadata store answered with an HTTP status other than 200 (-4)"},
    {0xFFFFFFFB, "receive_failed",     "the reply body of the metadata store ended early (-5)"},
    {0xFFFFFF9B, "store_empty",        "the metadata store has nothing to return (-101)"},
};
// clang-format on

} // namespace korvane
