#include "commands.h"

#include <cstdio>

namespace {

const char* const description =
    R"(Store analytics reports in the metadata store, ask for what is stored, and learn why a report was refused.
The store listens on 127.0.0.1:10158; for development, start one with `korvane-store`.)";

const char* const footer = R"(Examples:
  korvane insert people.jsonl                        send every report of a file
  my-detector | korvane insert -                     send reports as an app writes them
  korvane query --from today --limit 20              what was seen today
  korvane query --json --channel c0ffee00c0ffee00c0ffee00c0ffee01
  korvane query --kind face --name "Ann Lee"         where one person was seen
  korvane stats --type day --svg week.svg            the week's people counts of every channel, drawn
  korvane explain 0xC4080004                         what a result code means, and what to do

Each command has its own help: korvane insert --help

Exit status: 0 all well, 1 something was refused, 2 wrong usage, 3 the store cannot be reached.)";

int run(int argument_count, char** arguments)
{
    CLI::App program(description, "korvane");
    program.footer(footer);
    program.set_version_flag("--version", "korvane " KORVANE_VERSION);
    program.require_subcommand(0, 1); // none is judged below, so that a misspelt one is named
    const host::command commands[] = {
        host::insert_command(program), host::query_command(program),   host::groups_command(program),
        host::latest_command(program), host::stats_command(program),   host::delete_counts_command(program),
        host::vault_command(program),  host::explain_command(program),
    };
    if (argument_count == 1) {
        std::fputs(program.help().c_str(), stderr);
        return host::usage_error;
    }
    try {
        program.parse(argument_count, arguments);
        for (const host::command& command : commands) {
            if (command.app->parsed()) {
                return command.run();
            }
        }
        std::string names;
        for (const host::command& command : commands) {
            names += (names.empty() ? "" : ", ") + command.app->get_name();
        }
        throw CLI::RequiredError("A command (" + names + ")");
    } catch (const CLI::ParseError& stop) { // also how --help and --version leave, with exit code 0
        return program.exit(stop) == 0 ? host::all_well : host::usage_error;
    }
}

} // namespace

int main(int argument_count, char** arguments)
{
    try {
        return run(argument_count, arguments);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "korvane: %s\n", failure.what());
        return host::usage_error;
    }
}
