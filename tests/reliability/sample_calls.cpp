#include "tests/reliability/sample_calls.h"

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace korvane::test {

namespace {

using entry = sample_call::entry;
using log = sample_call::log;

template <class Function>
void look_up(void* library, const char* name, Function& function)
{
    void* found = dlsym(library, name);
    if (found == nullptr) {
        throw std::runtime_error(std::string("no such function in the library: ") + name);
    }
    std::memcpy(&function, &found, sizeof function);
}

#define CHANNEL_A "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
#define CHANNEL_B "bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb"
#define REPORT                                                                                               \
    R"({"timestamp":"17123@@","app_id":"app @@","app_name":"n","model":"m","brand":"b",)"                    \
    R"("channel_sid":"door @@","stream_id":0,"results":[{"version":"1.0","task_name":"t",)"
#define POSITION                                                                                             \
    R"("position":[{"x":0.125,"y":0.25},{"x":0.5,"y":0.25},{"x":"0.5","y":1},{"x":0.1,"y":0.75}])"
#define RANGE R"("start_time":@@,"end_time":"1712399999999")"
#define AREA R"("x1":"0.1","y1":"0.2","x2":"0.9","y2":"0.2","x3":"0.9","y3":"0.8","x4":"0.1","y4":"0.8")"
#define CHANNELS R"("channel_guid_list":[")" CHANNEL_A R"(",")" CHANNEL_B R"("])"

// clang-format off
const std::vector<sample_call> samples = {
    {"human_insert", entry::insert, REPORT R"("function_name":"HumanDetection","objects":[[)"
        R"({"description":"first @@",)" POSITION R"(},{"description":"second @@",)" POSITION "}]]}]}"},
    {"face_insert", entry::insert, REPORT R"("function_name":"FaceRecognition","function_results":{"tubes":[)"
        R"({"person_name":"Işıl @@","person_key":"k/@@","registered":true,"ageVal":33.5,"gender":"female",)"
        R"("confidence":87.25,"resultId":"r",)" POSITION "}]}}]}"},
    {"object_insert", entry::insert, REPORT R"("function_name":"ObjectDetection","objects":[[)"
        R"({"description":"d @@","object_name":"TAXI","confidence":61.5,)" POSITION "}]]}]}"},
    {"counts_insert", entry::insert, REPORT R"("function_name":"PeopleCounting","objects":[[)"
        R"({"description":"line @@","people_count_in":3,"people_count_out":4,)" POSITION "}]]}]}"},
    {"human_query", entry::query, R"({"metadata":{"function_name":"HumanDetection",)" RANGE "," AREA "," CHANNELS
        R"(,"sort_dir":1,"skip":2,"limit":7}})", log::silent, true},
    {"object_query", entry::query, R"({"metadata":{"function_name":"ObjectDetection",)" RANGE "," AREA "," CHANNELS
        R"(,"object_name":"TAXI","start_confidence":10,"end_confidence":90}})", log::silent, true},
    {"counts_query", entry::query, R"({"metadata":{"function_name":"PeopleCounting","query_type":"hour",)"
        R"("start_time":"1712345678901","channel_sid":"door"}})", log::silent, true},
    {"face_query", entry::query, R"({"metadata":{"function_name":"FaceRecognition",)" RANGE "," AREA "," CHANNELS
        R"(,"person_name":["Iğdır & Ann @@"],"person_key":["k/@@"],"provider_id":["p"],"gender":"female","age":[33],)"
        R"("start_age":20,"end_age":40,"start_confidence":10,"end_confidence":90,"registered":1,"resultId":["r"]}})",
        log::told, true},
    {"face_groups", entry::groups, R"({"metadata":{)" RANGE "," AREA R"(,"person_name":["Ann @@","Iğdır"]}})", log::told},
    {"latest_human", entry::latest, R"({"last_metadata":{"funcName":"HumanDetection"}})"},
    {"latest_face", entry::latest, R"({"last_metadata":{"funcName":"FaceRecognition"}})"},
    {"latest_object", entry::latest, R"({"last_metadata":{"funcName":"ObjectDetection"}})"},
    {"vault", entry::vault, ""},
    {"delete_counts", entry::delete_counts, "17123@@"},
    {"unknown_kind", entry::query, R"({"metadata":{"function_name":"HUMANDETECTION"}})", log::told},
    {"dotless_kind", entry::insert, R"({"timestamp":"1","results":[{"function_name":"HumanDetectıon"}]})", log::told},
    {"out_of_picture", entry::insert, REPORT R"("function_name":"HumanDetection","objects":[[)"
        R"({"position":[{"x":0.5,"y":1.5}]}]]}]})", log::told},
    {"no_json", entry::insert, R"({"timestamp":)", log::told},
};
// clang-format on

/// What the calls that give a block give.
call_result take_block(int code, void* answer)
{
    call_result result{code, {}};
    if (answer != nullptr) {
        result.answer = static_cast<char*>(answer);
        std::free(answer);
    }
    return result;
}

} // namespace

entry_points entry_points_of(void* library)
{
    entry_points found{};
    look_up(library, "_Z18insert_ai_metadataPv", found.insert);
    look_up(library, "_Z17query_ai_metadataPvPS_", found.query);
    look_up(library, "_Z33query_ai_face_metadata_list_groupPvPS_", found.groups);
    look_up(library, "_Z19get_latest_metadataPvS_", found.latest);
    look_up(library, "_Z16get_IVA_vault_idPv", found.vault);
    look_up(library, "_Z22delete_people_countingPv", found.delete_counts);
    return found;
}

const std::vector<sample_call>& sample_calls()
{
    return samples;
}

std::string text_of(const sample_call& call, int mark)
{
    const std::string digits = std::to_string(10'000'000 + mark);
    std::string text = call.text;
    for (std::size_t at = 0; (at = text.find("@@", at)) != std::string::npos; at += digits.size()) {
        text.replace(at, 2, digits);
    }
    return text;
}

call_result make_call(const entry_points& library, const sample_call& call, int mark)
{
    std::string text = text_of(call, mark);
    void* block = nullptr;
    char buffer[256] = "";
    switch (call.where) {
    case entry::insert:
        return {library.insert(text.data()), {}};
    case entry::query: {
        const int code = library.query(text.data(), &block);
        return take_block(code, block);
    }
    case entry::groups: {
        const int code = library.groups(text.data(), &block);
        return take_block(code, block);
    }
    case entry::latest: {
        const int code = library.latest(text.data(), buffer);
        return {code, buffer};
    }
    case entry::vault: {
        const int code = library.vault(buffer);
        return {code, buffer};
    }
    case entry::delete_counts:
        return {library.delete_counts(text.data()), {}};
    }
    throw std::logic_error("a sample of no known entry point");
}

std::vector<call_result> make_all_calls(const entry_points& library, int mark)
{
    std::vector<call_result> results;
    for (const sample_call& call : samples) {
        results.push_back(make_call(library, call, mark));
    }
    return results;
}

std::string describe(const sample_call& call, const call_result& result)
{
    return std::string(call.name) + ": code " + std::to_string(result.code) + ", answer " + result.answer;
}

std::string differences(const std::vector<call_result>& expected, const std::vector<call_result>& got)
{
    std::string told;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (!(expected.at(i) == got.at(i))) {
            told += describe(samples[i], got[i]) + "\n  expected " + describe(samples[i], expected[i]) + "\n";
        }
    }
    return told;
}

} // namespace korvane::test
