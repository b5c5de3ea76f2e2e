#include "dispatch/kinds.h"
#include "log/korvane_log.h"
#include "util/fixed_text.h"
#include "util/guarded.h"
#include "util/json_members.h"

#include <korvane/ai_metadata.h>

#ifdef KORVANE_LEAK_CHECKER
#include <sanitizer/lsan_interface.h>
#endif

#include <utility>

namespace korvane {

namespace {

struct kind {
    const char* name;
    int (*add)(json_object* request, const char* kind_name, const char* timestamp_text, report_use use);
    unsigned int (*query)(json_object* request, json_object*& answer, rows_as form);
    const char* add_failed;
    const char* query_failed;
};

// clang-format off
constexpr kind kinds[] = {
    {"HumanDetection",  add_humans,          query_humans,          "failed to add humana metadata",          "query humana metadata failed"},
    {"FaceRecognition", add_faces,           query_faces,           "failed to add face metadata",            "query face metadata failed"},
    {"ObjectDetection", add_models,          query_models,          "failed to add model metadata",           "query model metadata failed"},
    {"PeopleCounting",  add_people_counting, query_people_counting, "failed to add people counting metadata", "query people counting metadata failed"},
};
// clang-format on

const kind* find_kind(json_object* name)
{
    const std::string_view text = json_text(name);
    for (const kind& candidate : kinds) {
        if (text == candidate.name) {
            return &candidate;
        }
    }
    return nullptr;
}

int insert(json_object* request)
{
    constexpr const char* here = "insert_ai_metadata";
    json_object* timestamp = json_member(request, "timestamp");
    if (timestamp == nullptr) {
        log_debug("%s(%d)- [korvane] get timestamp failed ", here, __LINE__);
        return as_int(result_bad_request);
    }
    char timestamp_text[24];
    integer_text room;
    abort_if_long(timestamp_text, json_text(timestamp, room), "timestamp");

    json_object* results = json_array_member(request, "results");
    if (results == nullptr) {
        log_debug("%s(%d)- [korvane] get function_result failed ", here, __LINE__);
        return as_int(result_bad_request);
    }
    const json_elements elements(results);
    const std::size_t count = elements.size();
    for (std::size_t i = 0; i < count; ++i) {
        json_object* function_name = json_member(elements[i], "function_name");
        if (function_name == nullptr) {
            log_debug("%s(%d)- [korvane] get function_name failed ", here, __LINE__);
            return as_int(result_bad_request);
        }
        const kind* matched = find_kind(function_name);
        if (matched == nullptr) {
            log_debug("%s(%d)- [korvane] invalid funcName ", here, __LINE__);
            return as_int(result_unknown_kind);
        }
        // The handler gets the whole request and walks all of its results, once for each element of its kind.
        const report_use use = i + 1 < count ? report_use::read : report_use::use_up;
        if (const int code = matched->add(request, matched->name, timestamp_text, use)) {
            log_debug("%s(%d)- [korvane] %s, ret = %d", here, __LINE__, matched->add_failed, code);
            return code;
        }
    }
    return as_int(result_ok);
}

int query(json_object* request, json_owner& answer)
{
    constexpr const char* here = "query_ai_metadata";
    json_object* metadata = json_member(request, "metadata");
    if (metadata == nullptr) {
        log_debug("%s(%d)- [korvane] get metadata failed ", here, __LINE__);
        return as_int(result_bad_request);
    }
    json_object* function_name = json_member(metadata, "function_name");
    if (function_name == nullptr) {
        log_debug("%s(%d)- [korvane] get function_name failed ", here, __LINE__);
        return as_int(result_bad_request);
    }
    const kind* matched = find_kind(function_name);
    if (matched == nullptr) {
        log_debug("%s(%d)- [korvane] invalid funcName ", here, __LINE__);
        return as_int(result_unknown_kind);
    }
    answer = make_json_object();
    json_object* filled = answer.get();
    const auto code = static_cast<int>(matched->query(request, filled, rows_as::text));
    if (code != 0) {
        log_debug("%s(%d)- [korvane] %s, ret = %d", here, __LINE__, matched->query_failed, code);
    }
    return code;
}

/// Leaves a successful query's request behind, on purpose: the one block that outlasts a call.
void keep_request(json_owner request)
{
    [[maybe_unused]] json_object* kept = request.release();
#ifdef KORVANE_LEAK_CHECKER
    __lsan_ignore_object(kept);
#endif
}

} // namespace

} // namespace korvane

int insert_ai_metadata(void* json_text)
{
    if (json_text == nullptr) {
        return korvane::as_int(korvane::result_null_request);
    }
    return korvane::guarded(__func__, [&] {
        // A text that is no JSON has no members: its "timestamp" is missing.
        return korvane::insert(korvane::parse_json(static_cast<const char*>(json_text)).get());
    });
}

int query_ai_metadata(void* json_text, void** answer)
{
    if (json_text == nullptr || answer == nullptr) {
        return korvane::as_int(korvane::result_null_request);
    }
    return korvane::guarded(__func__, [&] {
        korvane::json_owner request = korvane::parse_json(static_cast<const char*>(json_text));
        korvane::json_owner filled;
        const int code = korvane::query(request.get(), filled);
        if (code == 0) {
            *answer = korvane::copy_json_text(filled.get());
            korvane::keep_request(std::move(request));
        }
        return code;
    });
}
