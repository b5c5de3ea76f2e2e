#include "tests/support/sample_calls.h"

#include <cstdio>

namespace korvane::test {

namespace {

constexpr char channel[] = "c0ffee00c0ffee00c0ffee00c0ffee01";
constexpr char other_channel[] = "c0ffee00c0ffee00c0ffee00c0ffee02";

constexpr char vertices[] = R"([{"x":0.1,"y":0.2},{"x":0.3,"y":0.2},{"x":0.3,"y":0.6},{"x":0.1,"y":0.6}])";
constexpr char pairs[] = "[[0.1,0.2],[0.3,0.2],[0.3,0.6],[0.1,0.6]]";

/// `app_id` and `app_name` are the keys of the kind.
std::string report(const char* kind, const char* app_id, const char* app_name, const std::string& result)
{
    return std::string(R"({"timestamp":"1700000000000","channel_sid":")") + channel + R"(",")" + app_id +
           R"(":"an app that counts and looks, by its long id",")" + app_name +
           R"(":"People and faces","model":"Counter 5","brand":"Lens & Sons","provider_id":"library 7",)" +
           R"("stream_id":2,"results":[{"function_name":")" + kind + R"(","task_name":"at the door",)" +
           result + "}]}";
}

std::string object_report(const char* kind, const std::string& more)
{
    const std::string object = R"({"description":"a person in the doorway, seen from above",)" + more +
                               R"("position":)" + vertices + "}";
    return report(kind, "appID", "appName",
                  R"("version":"1.2","model_version":"1.2","objects":[[)" + object + "]]");
}

std::string face_report()
{
    return report(
        "FaceRecognition", "app_id", "app_name",
        R"("model_version":"3.4","function_results":{"tubes":[{"description":"smiles","status":"in",)"
        R"("person_id":"p1","person_key":"a key in the library of faces","stranger_id":"s1",)"
        R"("person_name":"Ann","group_name":"staff","gender":"female","resultId":"r1",)"
        R"("registered":true,"confidence":97.5,"ageVal":31,"position":)" +
            std::string(vertices) + "}]}");
}

/// A query's request; `filters` begin with a comma.
std::string query(const char* kind, const std::string& filters)
{
    return std::string(R"({"metadata":{"function_name":")") + kind + '"' + filters + "}}";
}

/// The filters that all queries but statistics have, an empty area aside.
std::string common_filters()
{
    return std::string(R"(,"channel_guid_list":[")") + channel + R"(",")" + other_channel +
           R"("],"sort_dir":1,"skip":0,"limit":20,"start_time":"1700000000000","end_time":1700000009999,)" +
           R"("x1":"0.1","y1":"0.1","x2":"0.9","y2":"0.1","x3":"0.9","y3":"0.9","x4":"0.1","y4":"0.9")";
}

std::string face_filters()
{
    return common_filters() + R"(,"age":[30,31],"gender":"female","person_name":["Ann","Bob & Carol"],)" +
           R"("person_key":["a key in the library","k2"],"start_confidence":50,"end_confidence":100,)" +
           R"("registered":1,"resultId":["r1","r2"],"provider_id":["library 7"],"start_age":20,"end_age":40)";
}

std::string statistics_query(const char* query_type, const std::string& more)
{
    return query("PeopleCounting", std::string(R"(,"query_type":")") + query_type +
                                       R"(","start_time":"1700000000000","skip":0,"limit":3)" + more);
}

/// A reply of two rows: one with these members and all that every kind has, one with few.
std::string reply(const std::string& more)
{
    return std::string(R"({"ret":0,"overThreshold":1,"totalCounts":2,"datas":[{)") +
           R"("app_id":"an app that counts and looks, by its long id","app_name":"People and faces",)" +
           R"("model":"Counter 5","brand":"Lens & Sons","timestamp":"1700000000000","version":"1.2",)" +
           R"("task_name":"at the door","description":"a person in the doorway, seen from above",)" +
           R"("channel_sid":")" + channel + R"(","stream_id":0)" + more +
           R"(},{"timestamp":1700000001000,"channel_sid":")" + channel + R"("}]})";
}

std::string sums(const char* of_channel, long long hour, int in)
{
    return std::string(R"({"_id":{"channel_sid":")") + of_channel + R"(","timestamp":")" +
           std::to_string(sample_day + hour * 3'600'000) + R"("},"sum_in":)" + std::to_string(in) +
           R"(,"sum_out":2})";
}

template <std::size_t size>
void set(char (&field)[size], const char* text)
{
    std::snprintf(field, size, "%s", text);
}

template <class Record>
Record sample_header()
{
    Record record;
    set(record.app_id, "app 7");
    set(record.app_name, "People");
    set(record.model, "Counter 5");
    set(record.brand, "Lens & Sons");
    record.timestamp = sample_moment;
    set(record.func_name, "a kind");
    set(record.version, "1.2");
    set(record.task_name, "at the door");
    set(record.description, "a person in the doorway, seen from above");
    set(record.channel_sid, channel);
    record.stream_id = 2;
    record.positions.resize(4);
    for (Tposition_xy& vertex : record.positions) {
        set(vertex.x, "0.100000");
        set(vertex.y, "0.200000");
    }
    return record;
}

} // namespace

std::vector<sample_kind> sample_kinds()
{
    const std::string one_channel = std::string(R"(,"channel_sid":")") + channel + '"';
    return {
        {"HumanDetection",
         object_report("HumanDetection", ""),
         {{"HumanDetection", query("HumanDetection", common_filters()), sample_human_reply()}}},
        {"FaceRecognition",
         face_report(),
         {{"FaceRecognition", query("FaceRecognition", face_filters() + R"(,"dir":"ASC","partail_query":1)"),
           sample_face_reply()}}},
        {"ObjectDetection",
         object_report("ObjectDetection", R"("object_name":"bag","confidence":97.5,)"),
         {{"ObjectDetection",
           query("ObjectDetection",
                 common_filters() + R"(,"object_name":"bag","start_confidence":50,"end_confidence":100)"),
           sample_model_reply()}}},
        {"PeopleCounting",
         object_report("PeopleCounting", R"("people_count_in":3,"people_count_out":4,)"),
         {{"PeopleCounting_one_channel", statistics_query("hour", one_channel), sample_statistics_reply()},
          {"PeopleCounting_all_channels", statistics_query("hour", ""), sample_statistics_reply()}}},
    };
}

std::string sample_groups_request()
{
    return R"({"metadata":{"asked":"persons")" + face_filters() + "}}";
}

std::string sample_latest_request(const std::string& kind)
{
    return R"({"last_metadata":{"funcName":")" + kind + "\"}}";
}

std::string sample_human_reply()
{
    return reply(std::string(R"(,"loc":)") + pairs);
}

std::string sample_face_reply()
{
    return reply(std::string(R"(,"provider_id":"library 7","person_id":"p1","stranger_id":"s1",)") +
                 R"("person_key":"a key in the library of faces","person_name":"Ann","group_name":"staff",)" +
                 R"("gender":"female","age":31.5,"confidence":97.5,"registered":true,"resultId":"r1",)" +
                 R"("loc":{"type":"Polygon","coordinates":[[[0.1,0.2],[0.3,0.2],[0.3,0.6],[0.1,0.2]]]})");
}

std::string sample_model_reply()
{
    return reply(std::string(R"(,"object_name":"bag","confidence":97.5,"loc":)") + pairs);
}

std::string sample_groups_reply()
{
    return R"({"ret":0,"totalItems":2,"datas":["Ann","Robert of the second floor, who left"]})";
}

std::string sample_vaults_reply()
{
    return R"({"ret":0,"datas":[{"vault_id":"0f0f0f0f-0f0f-0f0f-0f0f-0f0f0f0f0f0f","vault_name":"IVA",)"
           R"("description":"results of analysis","index":3,"status":{"last_recv_time_str":"12:34:56"}}]})";
}

std::string sample_statistics_reply()
{
    return R"({"ret":0,"datas":[)" + sums(channel, 2, 5) + "," + sums(channel, 7, 6) + "," +
           sums(other_channel, 0, 7) + "]}";
}

human_detection_metadata_information sample_human()
{
    return sample_header<human_detection_metadata_information>();
}

face_recognition_metadata_information sample_face()
{
    auto record = sample_header<face_recognition_metadata_information>();
    set(record.person_name, "Ann");
    record.confidence = 97.5;
    record.age = 31;
    record.registered = true;
    return record;
}

model_importer_metadata_information sample_model()
{
    auto record = sample_header<model_importer_metadata_information>();
    set(record.object_name, "bag");
    record.confidence = 97.5;
    return record;
}

people_counting_metadata_information sample_counts()
{
    auto record = sample_header<people_counting_metadata_information>();
    record.people_count_in = 3;
    record.people_count_out = 4;
    return record;
}

vault_information sample_vault()
{
    vault_information vault;
    set(vault.vault_id, "0f0f0f0f-0f0f-0f0f-0f0f-0f0f0f0f0f0f");
    set(vault.vault_name, "IVA");
    set(vault.description, "results of analysis");
    return vault;
}

} // namespace korvane::test
