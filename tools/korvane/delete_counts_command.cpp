#include "commands.h"
#include "library_call.h"
#include "local_time.h"
#include "query_request.h"

#include <cstdio>
#include <korvane/ai_metadata.h>
#include <memory>

namespace host {
namespace {

const char* const footer =
    R"(Kept is the day of TIME, the six days before it, and everything later: what `korvane stats --type day` shows for TIME.
The store deletes what is older, of every channel. It does not say how much that was.

Examples:
  korvane delete-counts today --dry-run        from which day on counts would be kept
  korvane delete-counts today                  keep the last seven days
  korvane delete-counts 2023-11-30

Exit status: 0 deleted, or said with --dry-run; 1 refused, 2 wrong usage, 3 no store to ask.)";

struct delete_arguments {
    std::string time;
    bool dry_run = false;
};

// As the library counts: days of 24 hours back from midnight, so that a change of the clocks shows.
long long first_kept(long long time)
{
    constexpr long long six_days = 6LL * 24 * 60 * 60 * 1000;
    return start_of_local_day(time) - six_days;
}

int delete_counts(const delete_arguments& arguments)
{
    const long long time = time_of("TIME", arguments.time, day_edge::first_moment);
    const std::string kept = "kept from " + local_time_text(first_kept(time)) +
                             " on: six days before the day of " + local_time_text(time);
    if (arguments.dry_run) {
        std::printf("counts would be %s; nothing was deleted\n", kept.c_str());
        return all_well;
    }
    const library_answer answer = call_library([time](std::string&) {
        std::string milliseconds = std::to_string(time);
        return delete_people_counting(milliseconds.data());
    });
    if (!answer.ok()) {
        return tell_failure(answer, "request", "");
    }
    std::printf("the store was asked to delete older counts; %s\n", kept.c_str());
    return all_well;
}

} // namespace

command delete_counts_command(CLI::App& program)
{
    const auto arguments = std::make_shared<delete_arguments>();
    CLI::App* app = program.add_subcommand("delete-counts", "Delete the people counts from before a week");
    app->footer(footer);
    app->add_option("TIME", arguments->time,
                    std::string("in the last day of the week to keep: ") + local_time_forms)
        ->required()
        ->type_name("");
    app->add_flag("--dry-run", arguments->dry_run, "say what would be kept, and send nothing");
    return {app, [arguments] { return delete_counts(*arguments); }};
}

} // namespace host
