#include "metadata_store.h"

#include "face_recognition.h"
#include "human_detect.h"
#include "json_text.h"
#include "model_importer.h"
#include "refusal.h"

#include <chrono>

namespace {

std::int64_t now_ms()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

reply refused(int status, ret_code code, std::string_view reason, std::string allow = {})
{
    return {status,
            R"({"ret":)" + std::to_string(static_cast<int>(code)) + R"(,"reason":)" + json_quoted(reason) +
                "}",
            true, std::move(allow)};
}

constexpr int ok = 200; // also of refusals: clients look at no body of another status
constexpr int not_found = 404;
constexpr int method_not_allowed = 405;

} // namespace

metadata_store::metadata_store(const std::string& database_file, std::vector<vault> vaults)
    : database_(database_file)
    , human_detect_(database_, human_detect())
    , face_recognition_(database_, face_recognition())
    , model_importer_(database_, model_importer())
    , people_counting_(database_)
    , vaults_(std::move(vaults))
    , routes_(make_routes())
{
}

std::vector<metadata_store::route> metadata_store::make_routes()
{
    // Every POST but the threshold check brings a record.
    const auto record = [this](std::string text) {
        last_record_ms_ = now_ms();
        return text;
    };
    return {
        {"POST", "/third_party/human_detect",
         [=](const request& asked) { return record(human_detect_.add(asked.body)); }},
        {"GET", "/third_party/human_detect",
         [=](const request& asked) { return human_detect_.query(asked.query); }},
        {"POST", "/third_party/face_recognition",
         [=](const request& asked) { return record(face_recognition_.add(asked.body)); }},
        {"GET", "/third_party/face_recognition",
         [=](const request& asked) { return face_recognition_.query(asked.query); }},
        {"POST", "/third_party/check_face_threshold",
         [=](const request& asked) {
             return check_face_threshold(database_, face_recognition_, asked.body);
         }},
        {"GET", "/third_party/face_group_list",
         [=](const request& asked) { return query_face_groups(database_, asked.query); }},
        {"POST", "/third_party/model_importer",
         [=](const request& asked) { return record(model_importer_.add(asked.body)); }},
        {"GET", "/third_party/model_importer",
         [=](const request& asked) { return model_importer_.query(asked.query); }},
        {"POST", "/third_party/people_counting",
         [=](const request& asked) { return record(people_counting_.add(asked.body)); }},
        {"GET", "/third_party/people_counting",
         [=](const request& asked) { return people_counting_.query(asked.query); }},
        {"DELETE", "/third_party/people_counting",
         [=](const request& asked) { return people_counting_.remove(asked.query); }},
        {"GET", "/third_party/device",
         [=](const request& asked) { return query_vaults(vaults_, last_record_ms_, asked.query); }},
    };
}

reply metadata_store::carry_out(const request& asked)
{
    std::string allow;
    for (const route& each : routes_) {
        if (each.path != asked.path)
            continue;
        if (each.method == asked.method)
            return {ok, each.carry_out(asked)};
        allow += (allow.empty() ? "" : ", ") + std::string(each.method);
    }
    if (allow.empty())
        return refused(not_found, ret_code::no_such_path, "no such path: " + quoted(asked.path));
    return refused(method_not_allowed, ret_code::wrong_method,
                   asked.path + " has no " + asked.method + ", expected " + allow, allow);
}

reply metadata_store::handle(const request& asked)
{
    try {
        return carry_out(asked);
    } catch (const refusal& error) {
        return refused(ok, error.code(), error.what());
    } catch (const database_error& error) {
        return refused(ok, ret_code::database_failed, "the database refused: " + std::string(error.what()));
    } catch (const std::exception& error) {
        return refused(ok, ret_code::internal_error, error.what());
    }
}

std::string metadata_store::summary() const
{
    return "human_detect " + std::to_string(human_detect_.count()) + ", face_recognition " +
           std::to_string(face_recognition_.count()) + ", model_importer " +
           std::to_string(model_importer_.count()) + ", people_counting " +
           std::to_string(people_counting_.count());
}
