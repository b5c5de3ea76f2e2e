#include "commands.h"
#include "result_text.h"

#include <cstdio>
#include <korvane/ai_metadata.h>
#include <memory>

namespace host {
namespace {

void print_result(unsigned int code)
{
    const result_text text = explain_result(code);
    std::printf("%s\n  meaning: %s\n  to do:   %s\n", result_title(code).c_str(), text.meaning.c_str(),
                text.advice.c_str());
}

int explain_one(const std::string& wanted)
{
    const std::optional<unsigned int> code = parse_result(wanted);
    if (!code) {
        throw CLI::ValidationError("CODE",
                                   "'" + wanted +
                                       "' is no result code; expected 32 bits as decimal (-1, 3288858625), "
                                       "hexadecimal (0xC4080001, C4080001), or a name (bad_request)");
    }
    print_result(*code);
    return all_well;
}

int explain_all()
{
    for (const korvane::result_meaning& known : korvane::result_meanings) {
        print_result(known.code);
    }
    std::printf("any other value\n  meaning: %s\n", explain_result(1).meaning.c_str());
    return all_well;
}

} // namespace

command explain_command(CLI::App& program)
{
    const auto wanted = std::make_shared<std::string>();
    CLI::App* app = program.add_subcommand("explain", "Say what a result code means and what to do about it");
    app->add_option("CODE", *wanted,
                    "decimal, negative, hexadecimal (with or without 0x) or a name; none: the whole table")
        ->type_name("");
    app->footer("Examples:\n"
                "  korvane explain                  every code\n"
                "  korvane explain 0xC4080001       as the tools print it\n"
                "  korvane explain -1006108671      the same, as a C int\n"
                "  korvane explain out_of_picture   by name");
    return {app, [app, wanted] { return app->count("CODE") > 0 ? explain_one(*wanted) : explain_all(); }};
}

} // namespace host
