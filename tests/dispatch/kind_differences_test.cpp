// The kinds are nearly alike, and where they differ they do so on purpose. Each row below is one such
// difference, each column a kind: what stands side by side here was not made alike by mistake, nor different.
//
// A new kind is a new column: a `kind_column` in `kinds`, and one more expectation in every row (a row that
// lacks one fails). A new difference is a new row, with the function that looks for it.
#include "codec/face.h"
#include "codec/human.h"
#include "codec/model.h"
#include "codec/people_counting.h"
#include "tests/dispatch/calls.h"
#include "tests/support/child_process.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"
#include "tests/support/scripted_store.h"
#include "tests/util/parsed_json.h"

#include <korvane/ai_metadata.h>

namespace korvane::test {

namespace {

/// Members that a row adds to a report, each text with the comma behind it.
struct report_parts {
    std::string top;
    std::string result;
    std::string object;
};

struct kind_column {
    const char* name;
    const char* lists_begin; ///< how a result holds its objects
    const char* lists_end;
    const char* required_object;   ///< members that every object needs besides "position"
    const char* required_position; ///< "position", if an object needs it
    const char* required_filters;  ///< of a query
    std::string (*nothing_set)();  ///< the text of a record with nothing set
};

template <class Record, int (*write)(Record, std::string&)>
std::string text_of_nothing()
{
    std::string text;
    write(Record(), text);
    return text;
}

// clang-format off
constexpr kind_column kinds[] = {
    {"HumanDetection", R"("objects":[[{)", "}]]", "", "", "",
     text_of_nothing<human_detection_metadata_information, trans_human_metadata_info_to_string>},
    {"FaceRecognition", R"("function_results":{"tubes":[{)", "}]}", "", "", "",
     text_of_nothing<face_recognition_metadata_information, trans_face_metadata_info_to_string>},
    {"ObjectDetection", R"("objects":[[{)", "}]]", "", R"("position":[],)", "",
     text_of_nothing<model_importer_metadata_information, trans_model_metadata_info_to_string>},
    {"PeopleCounting", R"("objects":[[{)", "}]]", R"("people_count_in":0,"people_count_out":0,)",
     R"("position":[],)", R"("query_type":"hour","start_time":"5",)",
     text_of_nothing<people_counting_metadata_information, trans_people_counting_metadata_info_to_string>},
};
// clang-format on

constexpr std::size_t kind_count = std::size(kinds);

std::string without_last_comma(std::string members)
{
    if (!members.empty()) {
        members.pop_back();
    }
    return members;
}

/// A report of one object, which has "position" only where its kind needs it or the row says so.
std::string report_of(const kind_column& kind, const report_parts& more)
{
    const bool has_position = more.object.find("\"position\"") != std::string::npos;
    const std::string object =
        more.object + kind.required_object + (has_position ? "" : kind.required_position);
    return R"({"timestamp":"1","channel_sid":"door",)" + more.top + R"("results":[{"function_name":")" +
           kind.name + "\"," + more.result + kind.lists_begin + without_last_comma(object) + kind.lists_end +
           "}]}";
}

std::string query_of(const kind_column& kind, const std::string& filters = {})
{
    return R"({"metadata":{"function_name":")" + std::string(kind.name) + "\"," +
           without_last_comma(filters + kind.required_filters + R"("end_time":5,)") + "}}";
}

/// The messages in the log, without the places that they come from.
std::string logged()
{
    std::string all;
    for (const std::string& line : debug_log_texts()) {
        const std::size_t place_first =
            line.rfind("[korvane](", 0) == 0 ? line.find(") ") + 2 : std::string::npos;
        const std::size_t text =
            place_first != std::string::npos ? place_first : line.find("[korvane] ") + 10;
        all += (all.empty() ? "" : " | ") + line.substr(text);
    }
    return all;
}

std::string keys_of(json_object* object)
{
    std::string keys;
    json_object_object_foreach(object, key, value)
    {
        static_cast<void>(value);
        keys += (keys.empty() ? "" : " ") + std::string(key);
    }
    return keys;
}

std::string member_text(const std::string& body, const char* key)
{
    const auto tree = parsed(body);
    json_object* value = nullptr;
    return json_object_object_get_ex(tree.get(), key, &value) ? json_object_get_string(value) : "not sent";
}

/// The body of the first request that comes of a report.
std::string stored_body(const kind_column& kind, const report_parts& more)
{
    scripted_store store;
    EXPECT_EQ(insert(report_of(kind, more)), 0) << logged();
    const auto requests = store.requests();
    return requests.empty() ? "nothing sent" : body_of(requests.front());
}

// ------------------------------------------------------------------------------------------------- records

std::string nothing_set(const kind_column& kind)
{
    return kind.nothing_set();
}

// ------------------------------------------------------------------------------------------------- reports

std::string store_requests(const kind_column& kind)
{
    scripted_store store;
    EXPECT_EQ(insert(report_of(kind, {})), 0) << logged();
    std::string lines;
    for (const std::string& request : store.requests()) {
        lines += (lines.empty() ? "" : " | ") + line_of(request);
    }
    return lines;
}

std::string app_id_key(const kind_column& kind)
{
    return member_text(stored_body(kind, {R"("appID":"appID","app_id":"app_id",)", "", ""}), "app_id");
}

std::string app_name_key(const kind_column& kind)
{
    return member_text(stored_body(kind, {R"("appName":"appName","app_name":"app_name",)", "", ""}),
                       "app_name");
}

std::string version_key(const kind_column& kind)
{
    const report_parts both{"", R"("version":"version","model_version":"model_version",)", ""};
    return member_text(stored_body(kind, both), "version");
}

/// "stored", or the handler's line on what it refused.
std::string stored_or_told(const std::string& report)
{
    scripted_store store;
    return insert(report) == 0 ? "stored" : logged().substr(0, logged().find(" |"));
}

std::string result_without_objects(const kind_column& kind)
{
    return stored_or_told(R"({"timestamp":"1","channel_sid":"door","results":[{"function_name":")" +
                          std::string(kind.name) + "\"}]}");
}

std::string inner_list_that_is_no_array(const kind_column& kind)
{
    return stored_or_told(R"({"timestamp":"1","channel_sid":"door","results":[{"function_name":")" +
                          std::string(kind.name) + R"(","objects":[5]}]})");
}

std::string object_without_position(const kind_column& kind)
{
    return stored_or_told(report_of(kind, {"", "", R"("position":null,)"}));
}

std::string object_without_counts(const kind_column& kind)
{
    kind_column alone = kind;
    alone.required_object = "";
    return stored_or_told(report_of(alone, {}));
}

std::string members_of_an_object_without_any(const kind_column& kind)
{
    return keys_of(parsed(stored_body(kind, {})).get());
}

/// Every member that a report of any kind may have.
const report_parts everything{
    R"("appID":"a","app_id":"a","appName":"n","app_name":"n","model":"m","brand":"b","provider_id":"p","stream_id":0,)",
    R"("version":"v","model_version":"v","task_name":"t",)",
    R"("description":"d","status":"s","person_id":"i","stranger_id":"j","person_key":"k","person_name":"o",)"
    R"("group_name":"g","ageVal":40,"gender":"f","confidence":87.5,"registered":true,"resultId":"r",)"
    R"("object_name":"car","people_count_in":3,"people_count_out":1,"type":"x","end_time":9,)"
    R"("position":[{"x":0.5,"y":0.25},{"x":1,"y":0}],)"};

std::string members_of_an_object_with_all(const kind_column& kind)
{
    kind_column alone = kind;
    alone.required_object = ""; // they are among all
    return keys_of(parsed(stored_body(alone, everything)).get());
}

std::string polygon_sent(const kind_column& kind)
{
    const std::string body = stored_body(kind, {"", "", R"("position":[{"x":0.5,"y":0.25},{"x":1,"y":0}],)"});
    const std::size_t at = body.find("\"loc\":");
    return at == std::string::npos ? body : body.substr(at + 6, body.size() - at - 7);
}

std::string confidence_sent(const kind_column& kind, const std::string& member)
{
    const std::string sent = member_text(stored_body(kind, {"", "", member}), "confidence");
    return logged().empty() ? sent : sent + ", " + logged();
}

std::string confidence_missing(const kind_column& kind)
{
    return confidence_sent(kind, "");
}

std::string confidence_0(const kind_column& kind)
{
    return confidence_sent(kind, R"("confidence":0,)");
}

std::string confidence_minus_1(const kind_column& kind)
{
    return confidence_sent(kind, R"("confidence":-1,)");
}

std::string confidence_101(const kind_column& kind)
{
    return confidence_sent(kind, R"("confidence":101,)");
}

/// What becomes of a text: how many of its characters are sent, or how the report ends.
std::string fate(const kind_column& kind, const report_parts& more, const char* key)
{
    scripted_store store;
    std::string text = report_of(kind, more);
    const child_end end = run_in_child([&] { return insert(text) == 0 ? 0 : 1; });
    if (end.aborted()) {
        return "ends the process";
    }
    const auto requests = store.requests();
    if (requests.empty()) {
        return end.status == 1 ? "refused" : "nothing sent";
    }
    return std::to_string(member_text(body_of(requests.front()), key).size()) + " sent";
}

std::string app_id_of_128_characters(const kind_column& kind)
{
    const std::string text = '"' + std::string(128, 'a') + "\",";
    return fate(kind, {"\"appID\":" + text + "\"app_id\":" + text, "", ""}, "app_id");
}

std::string description_of_128_characters(const kind_column& kind)
{
    return fate(kind, {"", "", R"("description":")" + std::string(128, 'd') + "\","}, "description");
}

std::string description_of_512_characters(const kind_column& kind)
{
    return fate(kind, {"", "", R"("description":")" + std::string(512, 'd') + "\","}, "description");
}

std::string refusal_by_the_store(const kind_column& kind)
{
    scripted_store store;
    store.reply_with(json_reply(R"({"ret":5})"));
    EXPECT_EQ(insert(report_of(kind, {})), 5);
    return logged();
}

// ------------------------------------------------------------------------------------------------- queries

/// The query's request without the path, and what was logged besides.
std::string line_asked(const kind_column& kind, const std::string& filters)
{
    scripted_store store;
    store.reply_with(json_reply(R"({"ret":0,"totalCounts":0,"datas":[]})"));
    EXPECT_EQ(query(query_of(kind, filters)).code, 0) << logged();
    const auto requests = store.requests();
    const std::string line = requests.empty() ? "?nothing sent" : line_of(requests.front());
    return line.substr(line.find('?') + 1);
}

std::string line_without_filters(const kind_column& kind)
{
    return line_asked(kind, "");
}

std::string line_with_all_filters(const kind_column& kind)
{
    return line_asked(kind,
                      R"("channel_guid_list":["cccccccccccccccccccccccccccccccc"],)"
                      R"("x1":0,"y1":0,"x2":1,"y2":0,"x3":1,"y3":1,"x4":0,"y4":1,)"
                      R"("object_name":"car & bus","gender":"f","person_name":["p q"],"person_key":["k"],)"
                      R"("provider_id":["v"],"start_confidence":50,"end_confidence":90,"age":[3],)"
                      R"("start_age":1,"end_age":2,"registered":1,"resultId":["r"],"partail_query":1,)"
                      R"("channel_sid":"one channel","skip":1,"limit":2,)");
}

std::string lower_confidence_of_100(const kind_column& kind)
{
    const std::string line = line_asked(kind, R"("start_confidence":100,"end_confidence":100,)");
    return line.substr(0, line.find("start_time="));
}

std::string direction_as_a_word(const kind_column& kind)
{
    const std::string line = line_asked(kind, R"("dir":"ASC",)");
    const std::size_t at = line.find("sort_dir=");
    return at == std::string::npos ? "not sent" : line.substr(at, line.find('&', at) - at);
}

std::string direction_as_a_word_and_an_odd_number(const kind_column& kind)
{
    const std::string line = line_asked(kind, R"("dir":"ASC","sort_dir":5,)");
    const std::size_t at = line.find("sort_dir=");
    return at == std::string::npos ? "not sent" : line.substr(at, line.find('&', at) - at);
}

std::string channel_of_5_characters(const kind_column& kind)
{
    const std::string line = line_asked(kind, R"("channel_guid_list":["front"],"channel_sid":"front",)");
    const std::size_t at = line.find("channel_sid=");
    return at == std::string::npos ? "not sent, " + logged() : line.substr(at);
}

std::string empty_text_filters(const kind_column& kind)
{
    const std::string line = line_asked(kind, R"("gender":"","object_name":"","channel_sid":"",)");
    return line.substr(0, line.find("start_time="));
}

/// Asks in a process of its own: "sent", "refused" or "ends the process".
std::string fate_of_query(const kind_column& kind, const std::string& filters)
{
    scripted_store store;
    store.reply_with(json_reply(R"({"ret":0,"totalCounts":0,"datas":[]})"));
    kind_column alone = kind;
    alone.required_filters = "";
    const child_end end = run_in_child([&] { return query(query_of(alone, filters)).code == 0 ? 0 : 1; });
    if (end.aborted()) {
        return "ends the process";
    }
    return end.status == 0 && store.requests().size() == 1 ? "sent" : "refused";
}

std::string text_filter_one_over_its_limit(const kind_column& kind)
{
    const auto member = [](const char* key, std::size_t length) {
        return '"' + std::string(key) + "\":\"" + std::string(length, 'x') + "\",";
    };
    return fate_of_query(kind, member("gender", 8) + member("object_name", 129) + member("query_type", 33) +
                                   R"("start_time":"5",)");
}

std::string start_time_of_24_characters(const kind_column& kind)
{
    return fate_of_query(kind, R"("query_type":"hour","start_time":")" + std::string(23, '0') + "5\",");
}

std::string notes_of_a_successful_query(const kind_column& kind)
{
    line_asked(kind, "");
    return logged();
}

std::string notes_of_a_failed_query(const kind_column& kind)
{
    scripted_store store;
    store.reply_with(http_reply(500, ""));
    EXPECT_EQ(query(query_of(kind)).code, -1);
    return logged();
}

std::string answer_to(const kind_column& kind, const std::string& reply)
{
    scripted_store store;
    store.reply_with(json_reply(reply));
    const query_outcome outcome = query(query_of(kind));
    return outcome.code == 0 ? outcome.answer.value_or("no answer")
                             : "fails with " + std::to_string(outcome.code);
}

std::string reply_that_says_5(const kind_column& kind)
{
    return answer_to(kind, R"({"ret":5,"totalCounts":0,"datas":[]})");
}

std::string reply_that_says_there_is_nothing(const kind_column& kind)
{
    return answer_to(kind, R"({"ret":-101})");
}

std::string members_of_an_answer_over_the_threshold(const kind_column& kind)
{
    return keys_of(
        parsed(answer_to(kind, R"({"ret":0,"totalCounts":0,"overThreshold":1,"datas":[]})")).get());
}

/// The text of an answer's first row.
std::string row_answered(const kind_column& kind, const std::string& row)
{
    const auto answer = parsed(answer_to(kind, R"({"ret":0,"totalCounts":1,"datas":[)" + row + "]}"));
    json_object* list = nullptr;
    json_object_object_get_ex(answer.get(), "metadatalist", &list);
    if (!json_object_is_type(list, json_type_array) || json_object_array_length(list) == 0) {
        return "no row";
    }
    return json_object_to_json_string(json_object_array_get_idx(list, 0));
}

std::string row_members(const kind_column& kind, const std::string& row)
{
    return keys_of(parsed(row_answered(kind, row)).get());
}

std::string confidences_0_minus_1_and_minus_2_answered(const kind_column& kind)
{
    std::string all;
    for (const char* confidence : {"0", "-1", "-2"}) {
        const std::string row = row_answered(kind, R"({"confidence":)" + std::string(confidence) + "}");
        all += (all.empty() ? "" : ", ") + member_text(row, "confidence");
    }
    return all;
}

/// Two rings a, b, a and c, d, c; for the kinds that know no rings one list of these six.
std::string polygon_answered(const kind_column& kind)
{
    const std::string loc =
        std::string(kind.name) == "FaceRecognition"
            ? R"({"type":"Polygon","coordinates":[[[0,0],[0,1],[0,0]],[[1,0],[1,1],[1,0]]]})"
            : "[[0,0],[0,1],[0,0],[1,0],[1,1],[1,0]]";
    const std::string answered = member_text(row_answered(kind, R"({"loc":)" + loc + "}"), "position");
    if (answered.front() != '[') {
        return answered;
    }
    std::string corners;
    const auto position = parsed(answered);
    for (std::size_t i = 0; i < json_object_array_length(position.get()); ++i) {
        const std::string corner = json_object_to_json_string(json_object_array_get_idx(position.get(), i));
        corners += "(" + member_text(corner, "x") + " " + member_text(corner, "y") + ")";
    }
    return corners;
}

std::string members_of_an_empty_row(const kind_column& kind)
{
    return row_members(kind, "{}");
}

std::string members_of_a_full_row(const kind_column& kind)
{
    const std::string polygon = std::string(kind.name) == "FaceRecognition"
                                    ? R"({"type":"Polygon","coordinates":[[[0,0],[1,0],[1,1],[0,0]]]})"
                                    : "[[0,0],[1,0],[1,1]]";
    return row_members(
        kind, R"({"app_id":"a","app_name":"n","model":"m","brand":"b","func_name":"f","timestamp":"1",)"
              R"("version":"v","task_name":"t","description":"d","channel_sid":"c","stream_id":0,)"
              R"("status":"s","person_id":"i","stranger_id":"j","person_key":"k","person_name":"o",)"
              R"("group_name":"g","age":40,"gender":"f","confidence":87.5,"registered":true,)"
              R"("resultId":"r","provider_id":"p","object_name":"car",)"
              R"("_id":{"channel_sid":"c","timestamp":0},"sum_in":3,"sum_out":1,"loc":)" +
                  polygon + "}");
}

// ---------------------------------------------------------------------------------------- newest result

std::string newest_result_of_ret_minus_101(const kind_column& kind)
{
    scripted_store store;
    store.reply_with(json_reply(R"({"ret":-101})"));
    std::string request = R"({"last_metadata":{"funcName":")" + std::string(kind.name) + "\"}}";
    char answer[128] = "untouched";
    const int code = get_latest_metadata(request.data(), answer);
    return code == 0 ? answer : "fails with " + std::to_string(code);
}

// --------------------------------------------------------------------------------------------------- table

struct difference {
    const char* name;
    std::string (*seen)(const kind_column& kind);
    const char* expected[kind_count];
};

/// Stands where a kind has nothing of what a row is about.
constexpr const char* nothing_alike = "nothing alike";

// clang-format off
constexpr difference differences[] = {
    {"nothing_set",
     nothing_set,
     {"}",
      R"({"registered":false})",
      "}",
      R"({"people_count_in":0,"people_count_out":0})"}},

    {"store_requests",
     store_requests,
     {"POST /third_party/human_detect",
      "POST /third_party/face_recognition | POST /third_party/check_face_threshold",
      "POST /third_party/model_importer",
      "POST /third_party/people_counting"}},
    {"app_id_key", app_id_key, {"appID", "app_id", "appID", "appID"}},
    {"app_name_key", app_name_key, {"appName", "app_name", "appName", "appName"}},
    {"version_key", version_key, {"version", "model_version", "version", "version"}},
    {"result_without_objects",
     result_without_objects,
     {"get objects failed ", "get function_results failed ", "get objects failed ", "get objects failed "}},
    {"inner_list_that_is_no_array",
     inner_list_that_is_no_array,
     {"Invalid json [object] value for double array ", nothing_alike, "get objects failed ", "get objects failed "}},
    {"object_without_position",
     object_without_position,
     {"stored", "stored", "get position failed ", "get position failed "}},
    {"object_without_counts", object_without_counts, {"stored", "stored", "stored", "get people_count_in failed "}},
    {"members_of_an_object_without_any",
     members_of_an_object_without_any,
     {"func_name timestamp channel_sid",
      "func_name timestamp channel_sid confidence registered",
      "func_name timestamp channel_sid",
      "func_name timestamp channel_sid people_count_in people_count_out"}},
    {"members_of_an_object_with_all",
     members_of_an_object_with_all,
     {"app_id app_name model brand func_name timestamp version task_name description channel_sid stream_id loc",
      "app_id app_name model brand provider_id func_name timestamp version task_name channel_sid stream_id description "
      "status person_id stranger_id person_key person_name group_name gender age confidence registered resultId loc",
      "app_id app_name model brand func_name timestamp version task_name description channel_sid stream_id "
      "object_name confidence loc",
      "app_id app_name model brand func_name timestamp version task_name description channel_sid stream_id "
      "people_count_in people_count_out loc"}},
    {"polygon_sent",
     polygon_sent,
     {"[[0.500000,0.250000],[1.000000,0.000000]]",
      R"({"type":"Polygon","coordinates":[[[0.500000,0.250000],[1.000000,0.000000],[0.500000,0.250000]]]})",
      "[[0.500000,0.250000],[1.000000,0.000000]]",
      "[[0.500000,0.250000],[1.000000,0.000000]]"}},
    {"confidence_missing", confidence_missing, {"not sent", "-1.000000", "not sent", "not sent"}},
    {"confidence_0", confidence_0, {"not sent", "0.000000", "not sent", "not sent"}},
    {"confidence_minus_1",
     confidence_minus_1,
     {"not sent", "-1.000000", "not sent, confidence value : -1.000000 out of bounds(0~100)", "not sent"}},
    {"confidence_101",
     confidence_101,
     {"not sent", "not sent", "not sent, confidence value : 101.000000 out of bounds(0~100)", "not sent"}},
    {"app_id_of_128_characters",
     app_id_of_128_characters,
     {"ends the process", "refused", "refused", "ends the process"}},
    {"description_of_128_characters",
     description_of_128_characters,
     {"ends the process", "128 sent", "refused", "ends the process"}},
    {"description_of_512_characters",
     description_of_512_characters,
     {"ends the process", "511 sent", "refused", "ends the process"}},
    {"refusal_by_the_store",
     refusal_by_the_store,
     {"add human metadata failed | failed to add humana metadata, ret = 5",
      "add face metadata failed | failed to add face metadata, ret = 5",
      "add model metadata failed | failed to add model metadata, ret = 5",
      "add people counting metadata failed | failed to add people counting metadata, ret = 5"}},

    {"line_without_filters",
     line_without_filters,
     {"start_time=0&end_time=5&sort_dir=-1&skip=0&limit=10",
      "partial_query=false&start_time=0&end_time=5&sort_dir=-1&skip=0&limit=10",
      "start_time=0&end_time=5&sort_dir=-1&skip=0&limit=10",
      "query_type=hour&interval=3600000&timestamp=0&end_time=86399999"}},
    {"line_with_all_filters",
     line_with_all_filters,
     {R"(x1=0&y1=0&x2=1&y2=0&x3=1&y3=1&x4=0&y4=1&channel_sid=["cccccccccccccccccccccccccccccccc"]&)"
      "start_time=0&end_time=5&sort_dir=-1&skip=1&limit=2",
      R"(x1=0&y1=0&x2=1&y2=0&x3=1&y3=1&x4=0&y4=1&channel_sid=["cccccccccccccccccccccccccccccccc"]&)"
      R"(gender=f&person_name=p%20q%09&person_key=k%09&provider_id=["v"]&start_confidence=50&end_confidence=90&)"
      R"(age=[3]&start_age=1&end_age=2&registered=true&resultId=["r"]&partial_query=true&)"
      "start_time=0&end_time=5&sort_dir=-1&skip=1&limit=2",
      R"(x1=0&y1=0&x2=1&y2=0&x3=1&y3=1&x4=0&y4=1&channel_sid=["cccccccccccccccccccccccccccccccc"]&)"
      "object_name=car & bus&start_time=0&end_time=5&sort_dir=-1&skip=1&limit=2",
      "query_type=hour&interval=3600000&timestamp=0&end_time=86399999&channel_sid=one channel"}},
    {"lower_confidence_of_100",
     lower_confidence_of_100,
     {"", "start_confidence=100&end_confidence=100&partial_query=false&", "start_confidence=100&end_confidence=100&",
      nothing_alike}},
    {"direction_as_a_word",
     direction_as_a_word,
     {"sort_dir=-1", "sort_dir=1", "sort_dir=-1", "not sent"}},
    {"direction_as_a_word_and_an_odd_number",
     direction_as_a_word_and_an_odd_number,
     {"sort_dir=-1", "sort_dir=1", "sort_dir=-1", "not sent"}},
    {"channel_of_5_characters",
     channel_of_5_characters,
     {"not sent, channel_sid length : 5 out of bounds(32)",
      "not sent, query face library start  | channel_sid length : 5 out of bounds(32) | "
      "vec_face_metadata_info.size() : 0",
      "not sent, channel_sid length : 5 out of bounds(32)",
      "channel_sid=front"}},
    {"empty_text_filters",
     empty_text_filters,
     {"", "gender=&partial_query=false&", "object_name=&",
      "query_type=hour&interval=3600000&timestamp=0&end_time=86399999"}},
    {"text_filter_one_over_its_limit",
     text_filter_one_over_its_limit,
     {nothing_alike, "refused", "refused", "ends the process"}},
    {"start_time_of_24_characters",
     start_time_of_24_characters,
     {"sent", "sent", "sent", "ends the process"}},
    {"notes_of_a_successful_query",
     notes_of_a_successful_query,
     {"", "query face library start  | vec_face_metadata_info.size() : 0", "", ""}},
    {"notes_of_a_failed_query",
     notes_of_a_failed_query,
     {"get human metadata failed | query humana metadata failed, ret = -1",
      "query face library start  | get face metadata failed | query face metadata failed, ret = -1",
      "get model metadata failed | query model metadata failed, ret = -1",
      "get people counting metadata failed | query people counting metadata failed, ret = -1"}},
    {"reply_that_says_5",
     reply_that_says_5,
     {R"({ "count": 0, "metadatalist": [ ] })", "fails with 5", R"({ "count": 0, "metadatalist": [ ] })",
      "fails with 5"}},
    {"reply_that_says_there_is_nothing",
     reply_that_says_there_is_nothing,
     {R"({ "count": 0, "metadatalist": [ ] })", "fails with -101", R"({ "count": 0, "metadatalist": [ ] })",
      "fails with -101"}},
    {"members_of_an_answer_over_the_threshold",
     members_of_an_answer_over_the_threshold,
     {"over count metadatalist", "over count metadatalist", "over count metadatalist", "count metadatalist"}},
    {"confidences_0_minus_1_and_minus_2_answered",
     confidences_0_minus_1_and_minus_2_answered,
     {"not sent, not sent, not sent", "0.0, not sent, not sent", "not sent, -1.0, -2.0", nothing_alike}},
    {"polygon_answered",
     polygon_answered,
     {"(0.000000 0.000000)(0.000000 1.000000)(0.000000 0.000000)(1.000000 0.000000)(1.000000 1.000000)(1.000000 0.000000)",
      "(0.000000 0.000000)(0.000000 1.000000)(1.000000 0.000000)(1.000000 1.000000)",
      "(0.000000 0.000000)(0.000000 1.000000)(0.000000 0.000000)(1.000000 0.000000)(1.000000 1.000000)(1.000000 0.000000)",
      nothing_alike}},
    {"newest_result_of_ret_minus_101",
     newest_result_of_ret_minus_101,
     {"Zymora has not received any metadata.", "fails with -101", "Zymora has not received any metadata.",
      "fails with -1006108670"}},
    {"members_of_an_empty_row",
     members_of_an_empty_row,
     {"date timestamp channel_sid",
      "server_time date timestamp channel_sid registered age",
      "date timestamp channel_sid",
      nothing_alike}},
    {"members_of_a_full_row",
     members_of_a_full_row,
     {"date appName model brand version task_name timestamp channel_sid stream_id description position",
      "server_time date brand model_version app_id app_name task_name model timestamp description channel_sid "
      "registered resultId stream_id stranger_id person_id person_name person_key group_name gender age provider_id "
      "confidence position",
      "date appName brand version task_name model timestamp description channel_sid stream_id object_name confidence "
      "position",
      "channel_sid data"}},
};
// clang-format on

struct cell {
    const difference& row;
    std::size_t column;

    const kind_column& kind() const { return kinds[column]; }
    const char* expected() const { return row.expected[column]; }
};

std::vector<cell> cells()
{
    std::vector<cell> all;
    for (const difference& row : differences) {
        for (std::size_t column = 0; column < kind_count; ++column) {
            if (row.expected[column] != nothing_alike) {
                all.push_back({row, column});
            }
        }
    }
    return all;
}

class kind_differences : public sandbox_test, public ::testing::WithParamInterface<cell> {};

TEST_P(kind_differences, stand)
{
    const cell& c = GetParam();
    ASSERT_NE(c.expected(), nullptr) << "the row " << c.row.name << " says nothing of " << c.kind().name;
    EXPECT_EQ(c.row.seen(c.kind()), c.expected());
}

INSTANTIATE_TEST_SUITE_P(all, kind_differences, ::testing::ValuesIn(cells()), [](const auto& instance) {
    return std::string(instance.param.row.name) + "_of_" + instance.param.kind().name;
});

} // namespace

} // namespace korvane::test
