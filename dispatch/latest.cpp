#include "dispatch/latest.h"

#include "log/korvane_log.h"
#include "store/ai_CDataBaseComm.h"
#include "util/guarded.h"
#include "util/json_members.h"
#include "util/time_conversions.h"

#include <korvane/ai_metadata.h>

#include <cstring>

namespace korvane {

namespace {

constexpr char nothing_yet[] = "Zymora has not received any metadata.";

template <class Record>
void answer_newest(const std::vector<Record>& records, long long total, char* answer)
{
    if (total < 1 || records.empty()) {
        std::memcpy(answer, nothing_yet, sizeof nothing_yet);
    } else {
        timestamp_to_date(records.front().timestamp, answer);
    }
}

/// `ask` has the store look up one record, the newest.
template <class Record, class Ask>
int newest(const char* function, const char* kind, char* answer, Ask ask)
{
    if (answer == nullptr) {
        return as_int(result_null_request);
    }
    return guarded(function, [&] {
        std::vector<Record> records;
        long long total = 0;
        int over = 0;
        const int code = ask(records, total, over);
        if (code != 0) {
            log_debug("[korvane](%s:%d) get %s metadata failed", function, __LINE__, kind);
            return code;
        }
        answer_newest(records, total, answer);
        return as_int(result_ok);
    });
}

struct latest_kind {
    const char* name;
    int (*get)(char* answer);
    const char* failed;
};

// People are counted, not seen: there is no newest result of that kind.
constexpr latest_kind latest_kinds[] = {
    {"HumanDetection", get_lastest_human_metadata, "get lastest human metadata failed"},
    {"FaceRecognition", get_lastest_face_metadata, "get lastest face metadata failed"},
    {"ObjectDetection", get_lastest_model_metadata, "get lastest model metadata failed"},
};

int latest(const char* request_text, char* answer)
{
    constexpr const char* here = "get_latest_metadata";
    const json_owner request = parse_json(request_text);
    json_object* last_metadata = json_member(request.get(), "last_metadata");
    if (last_metadata == nullptr) {
        log_debug("%s(%d)- [korvane] get last_metadata failed ", here, __LINE__);
        return as_int(result_bad_request);
    }
    json_object* name = json_member(last_metadata, "funcName");
    if (name == nullptr) {
        log_debug("%s(%d)- [korvane] get funcName failed ", here, __LINE__);
        return as_int(result_bad_request);
    }
    const std::string_view text = json_text(name);
    for (const latest_kind& kind : latest_kinds) {
        if (text == kind.name) {
            const int code = kind.get(answer);
            if (code != 0) {
                log_debug("%s(%d)- [korvane] %s, ret = %d ", here, __LINE__, kind.failed, code);
            }
            return code;
        }
    }
    log_debug("%s(%d)- [korvane] invalid funcName ", here, __LINE__);
    return as_int(result_unknown_kind);
}

} // namespace

} // namespace korvane

int get_lastest_human_metadata(char* answer)
{
    using record = human_detection_metadata_information;
    return korvane::newest<record>(__func__, "human", answer, [](auto& records, auto& total, auto& over) {
        return ai_CDataBaseComm().get_human_metadata(-1, 0, 1, {}, 0, 0, {}, records, total, over);
    });
}

int get_lastest_face_metadata(char* answer)
{
    using record = face_recognition_metadata_information;
    return korvane::newest<record>(__func__, "face", answer, [](auto& records, auto& total, auto& over) {
        // Confidence bounds of -1 and age bounds of -2 are values to the request builder, not absence: they are
        // sent.
        return ai_CDataBaseComm().get_face_metadata(-1, 0, 1, 0, {}, nullptr, 0, 0, {}, {}, {}, -1, -1, -2,
                                                    -2, {}, {}, -1, {}, records, total, over);
    });
}

int get_lastest_model_metadata(char* answer)
{
    using record = model_importer_metadata_information;
    return korvane::newest<record>(__func__, "model", answer, [](auto& records, auto& total, auto& over) {
        return ai_CDataBaseComm().get_model_metadata(-1, 0, 1, {}, nullptr, 0, 0, -1, -1, {}, records, total,
                                                     over);
    });
}

int get_latest_metadata(void* json_text, void* answer)
{
    if (json_text == nullptr || answer == nullptr) {
        return korvane::as_int(korvane::result_null_request);
    }
    return korvane::guarded(__func__, [&] {
        return korvane::latest(static_cast<const char*>(json_text), static_cast<char*>(answer));
    });
}
