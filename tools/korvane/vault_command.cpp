#include "commands.h"
#include "library_call.h"
#include "text.h"

#include <cstdio>
#include <korvane/ai_metadata.h>

namespace host {
namespace {

int vault()
{
    const library_answer answer = call_library([](std::string& text) {
        char id[256] = {};
        const int code = get_IVA_vault_id(id);
        text = id;
        return code;
    });
    if (!answer.ok()) {
        return tell_failure(answer, "request", "");
    }
    std::puts(printable(answer.text).c_str());
    return all_well;
}

} // namespace

command vault_command(CLI::App& program)
{
    CLI::App* app = program.add_subcommand("vault", "Print the id of the store's vault named IVA");
    app->footer(
        "Exit status: 0 printed, 1 there is none or the store refused, 2 wrong usage, 3 no store to ask.");
    return {app, vault};
}

} // namespace host
