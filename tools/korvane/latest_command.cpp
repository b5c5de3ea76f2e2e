#include "commands.h"
#include "library_call.h"
#include "query_kinds.h"
#include "table.h"
#include "text.h"

#include <cstdio>
#include <korvane/ai_metadata.h>
#include <memory>

namespace host {
namespace {

const char* const footer =
    R"(The date is local. Of one kind of which nothing is stored, the answer is the library's sentence that says so.

Examples:
  korvane latest                 each kind's, in a table
  korvane latest face            of one kind, nothing but the answer

Exit status: 0 answered, 1 refused, 2 wrong usage, 3 no store to ask.)";

std::string request_for(const query_kind& kind)
{
    return R"({"last_metadata":{"funcName":")" + std::string(kind.name) + "\"}}";
}

library_answer ask_latest(const query_kind& kind)
{
    return call_library([&kind](std::string& text) {
        std::string request = request_for(kind);
        char date[128] = {};
        const int code = get_latest_metadata(request.data(), date);
        text = date;
        return code;
    });
}

int latest_of_one(const query_kind& kind)
{
    const library_answer answer = ask_latest(kind);
    if (!answer.ok()) {
        return tell_failure(answer, "request", request_for(kind));
    }
    std::puts(printable(answer.text).c_str());
    return all_well;
}

int latest_of_each()
{
    std::vector<std::vector<std::string>> rows = {{"KIND", "NEWEST RESULT"}};
    for (const query_kind& kind : query_kinds()) {
        const library_answer answer = ask_latest(kind);
        if (!answer.ok()) {
            return tell_failure(answer, "request", request_for(kind));
        }
        const bool is_date = answer.text.find_first_of("0123456789") == 0;
        rows.push_back({kind.name, is_date ? printable(answer.text) : "nothing stored"});
    }
    print_table(rows);
    return all_well;
}

} // namespace

command latest_command(CLI::App& program)
{
    const auto kind = std::make_shared<std::string>();
    CLI::App* app = program.add_subcommand("latest", "Tell when the newest result of a kind was seen");
    app->footer(footer);
    app->add_option("KIND", *kind, "human, face or object; none: each of them")
        ->check(CLI::Validator(check_kind, ""))
        ->type_name("");
    return {app, [app, kind] {
                return app->count("KIND") > 0 ? latest_of_one(*find_kind(*kind)) : latest_of_each();
            }};
}

} // namespace host
