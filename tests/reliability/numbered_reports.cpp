#include "tests/reliability/numbered_reports.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>

namespace korvane::test {

namespace {

struct numbered_kind {
    const char* name;
    int objects;
    const char* begin; ///< of an element of "results", behind its "function_name"
    const char* members;
    const char* end;
};

constexpr numbered_kind kinds[] = {
    {"HumanDetection", 3, R"("objects":[[)", "", "]]"},
    {"ObjectDetection", 4, R"("objects":[[)", R"("object_name":"car","confidence":50,)", "]]"},
    {"FaceRecognition", 2, R"("function_results":{"tubes":[)", R"("person_name":"Ann",)", "]}"},
    {"PeopleCounting", 1, R"("objects":[[)", R"("people_count_in":1,"people_count_out":2,)", "]]"},
};

const numbered_kind& kind_of(int number)
{
    return kinds[number % 4];
}

} // namespace

int objects_of(int number)
{
    return kind_of(number).objects;
}

std::string label_of(int number, int object)
{
    return "report " + std::to_string(number) + " object " + std::to_string(object);
}

std::string numbered_report(int number)
{
    const numbered_kind& kind = kind_of(number);
    std::string text = R"({"timestamp":)" + std::to_string(1'700'000'000'000 + number) +
                       R"(,"channel_sid":"door","results":[{"function_name":")" + kind.name + "\"," +
                       kind.begin;
    for (int object = 0; object < kind.objects; ++object) {
        text += std::string(object > 0 ? "," : "") + "{" + kind.members + R"("description":")" +
                label_of(number, object) +
                R"(","position":[{"x":0.1,"y":0.2},{"x":0.3,"y":0.2},{"x":0.3,"y":0.6}]})";
    }
    return text + kind.end + "}]}";
}

std::map<std::string, int> stored_objects(const std::string& database_file)
{
    sqlite3* opened = nullptr;
    // Not read-only: a log that a killed store left is brought in.
    const int result = sqlite3_open_v2(database_file.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> database(opened, sqlite3_close);
    if (result != SQLITE_OK) {
        throw std::runtime_error("cannot open " + database_file);
    }
    std::map<std::string, int> stored;
    for (const char* table : {"human_detect", "model_importer", "face_recognition", "people_counting"}) {
        const std::string query = std::string("SELECT json_extract(record, '$.description') FROM ") + table;
        const auto count = [](void* counted, int, char** values, char**) {
            ++(*static_cast<std::map<std::string, int>*>(counted))[values[0] ? values[0] : "no description"];
            return 0;
        };
        if (sqlite3_exec(opened, query.c_str(), count, &stored, nullptr) != SQLITE_OK) {
            throw std::runtime_error(std::string("cannot read ") + table + ": " + sqlite3_errmsg(opened));
        }
    }
    return stored;
}

std::vector<int> take_objects(std::map<std::string, int>& stored, int number)
{
    std::vector<int> counts;
    for (int object = 0; object < objects_of(number); ++object) {
        const auto found = stored.find(label_of(number, object));
        counts.push_back(found == stored.end() ? 0 : found->second);
        if (found != stored.end()) {
            stored.erase(found);
        }
    }
    return counts;
}

} // namespace korvane::test
