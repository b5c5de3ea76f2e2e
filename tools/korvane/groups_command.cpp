#include "commands.h"
#include "filter_options.h"
#include "library_call.h"
#include "text.h"

#include <cstdio>
#include <korvane/ai_metadata.h>
#include <memory>
#include <stdexcept>

namespace host {
namespace {

const char* const footer =
    R"(One name a line, each once. Times are local. A date alone is its first moment after --from and its last after --to.

Examples:
  korvane groups                                   everybody whose face was ever recognised
  korvane groups --from today                      who was here today
  korvane groups --name "Ann Lee" --name Bob       which of the two was seen
  korvane groups --confidence 80-100 --registered yes

Exit status: 0 answered, also with "no person"; 1 refused, 2 wrong usage, 3 no store to ask.)";

struct groups_arguments {
    query_filter filter;
    bool as_json = false;
    bool show_request = false;
};

int list_names(const library_answer& answer, const std::string& request)
{
    const json_owner parsed(json_tokener_parse(answer.text.c_str()));
    json_object* names = json_member(parsed.get(), "person_name_list");
    if (!json_object_is_type(names, json_type_array)) {
        throw std::runtime_error("the answer holds no \"person_name_list\": " + answer.text);
    }
    for (size_t index = 0; index < json_object_array_length(names); ++index) {
        std::puts(printable(json_object_get_string(json_object_array_get_idx(names, index))).c_str());
    }
    std::printf("%s %s\n",
                counted(json_object_get_int64(json_member(parsed.get(), "count")), "person").c_str(),
                asked_for(request).c_str());
    return all_well;
}

int groups(const groups_arguments& arguments)
{
    const std::string request = persons_text(arguments.filter);
    if (arguments.show_request) {
        std::puts(request.c_str());
        return all_well;
    }
    const library_answer answer = call_library(query_ai_face_metadata_list_group, request);
    const bool nobody = answer.ending.empty() && answer.code == korvane::result_no_group;
    if (!nobody && !answer.ok()) {
        return tell_failure(answer, "query", request);
    }
    print_notes(answer);
    if (nobody) {
        // As JSON there is nothing: the library has no answer to pass on.
        std::fprintf(arguments.as_json ? stderr : stdout, "no person %s\n", asked_for(request).c_str());
        return all_well;
    }
    if (arguments.as_json) {
        std::puts(answer.text.c_str());
        return all_well;
    }
    return list_names(answer, request);
}

} // namespace

command groups_command(CLI::App& program)
{
    const auto arguments = std::make_shared<groups_arguments>();
    CLI::App* app = program.add_subcommand("groups", "List the persons whose faces were recognised");
    app->footer(footer);
    declare_filters(*app, arguments->filter, of_persons);
    app->add_flag("--json", arguments->as_json, "print the library's answer as it stands");
    app->add_flag("--show-request", arguments->show_request, "print the request instead of sending it");
    return {app, [arguments] { return groups(*arguments); }};
}

} // namespace host
