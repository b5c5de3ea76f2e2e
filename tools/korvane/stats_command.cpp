#include "commands.h"
#include "count_bars.h"
#include "count_plot.h"
#include "filter_options.h"
#include "library_call.h"
#include "output_file.h"
#include "terminal.h"
#include "text.h"

#include <cstdio>
#include <korvane/ai_metadata.h>
#include <memory>
#include <stdexcept>
#include <unistd.h>

namespace host {
namespace {

const char* const footer =
    R"(Of one channel (--channel) you see every quarter hour or hour of the day, or the seven days that end with it.

Of all channels the library answers in groups of seven sums, whatever the type, and of each the date only: with "day"
a group is one channel's week; with the other types the groups run on over the channels, a day's 24 hours and the
next channel's without a break, and are good for programs at most. So without --channel ask for "day".

Examples:
  korvane stats                                        the last seven days of each channel
  korvane stats --day 2023-11-14 --svg week.svg        a week that ends that day, drawn
  korvane stats --type hour --day yesterday --channel c0ffee00c0ffee00c0ffee00c0ffee01
  korvane stats --skip 10 --limit 10                   the second ten channels

Exit status: 0 answered, 1 refused, 2 wrong usage, 3 no store to ask.)";

struct stats_arguments {
    std::string type = "day";
    std::string day = "today";
    std::string channel;
    int skip = 0;
    int limit = 10;
    bool as_json = false;
    bool show_request = false;
    std::string svg_file;
};

const count_type& type_of(const stats_arguments& arguments)
{
    for (const count_type& type : count_types()) {
        if (arguments.type == type.name) {
            return type;
        }
    }
    throw std::logic_error("the options let no other type through");
}

std::string request_of(const stats_arguments& arguments, long long day)
{
    const json_owner request(json_object_new_object());
    json_object* filter = json_object_new_object();
    json_object_object_add(request.get(), "metadata", filter);
    json_object_object_add(filter, "function_name", json_object_new_string("PeopleCounting"));
    json_object_object_add(filter, "query_type", json_object_new_string(arguments.type.c_str()));
    json_object_object_add(filter, "start_time", json_object_new_string(std::to_string(day).c_str()));
    if (!arguments.channel.empty()) {
        json_object_object_add(filter, "channel_sid", json_object_new_string(arguments.channel.c_str()));
    } else {
        json_object_object_add(filter, "skip", json_object_new_int(arguments.skip));
        json_object_object_add(filter, "limit", json_object_new_int(arguments.limit));
    }
    return json_object_to_json_string_ext(request.get(), JSON_C_TO_STRING_PLAIN);
}

// "each hour of Tue 2023-11-14", "each day of the week to Tue 2023-11-14".
std::string range_words(const count_type& type, long long day)
{
    const bool week = &type == &count_types().back();
    return std::string("each ") + type.what + (week ? " of the week to " : " of ") +
           local_time_text(day, "%a %Y-%m-%d");
}

void tell_groups(const stats_arguments& arguments, const count_type& type, size_t shown, long long total)
{
    const bool weeks = &type == &count_types().back();
    std::printf("%s of %s\n", grouped(static_cast<long long>(shown)).c_str(),
                counted(total, weeks ? "channel" : "group").c_str());
    const long long next = arguments.skip + static_cast<long long>(shown);
    if (shown > 0 && next < total) {
        std::printf("more: --skip %lld, or a higher --limit\n", next);
    }
    if (!weeks) {
        std::printf("These are seven %ss each, one after the other over all channels: give --channel for the "
                    "series of one channel, or --type day for weeks\n",
                    type.what);
    }
}

int tell_counts(const library_answer& outcome, const stats_arguments& arguments, long long day)
{
    const json_owner answer(json_tokener_parse(outcome.text.c_str()));
    const count_type& type = type_of(arguments);
    const std::vector<count_series> all = read_counts(answer.get(), type, arguments.skip);
    const std::string range = range_words(type, day);
    if (!arguments.svg_file.empty()) {
        write_file(arguments.svg_file, count_plot(all, {"People counted", range}));
    } else if (!all.empty()) {
        std::fputs(count_bars(all, arguments.channel.empty() ? count_types().back() : type,
                              {terminal_columns(STDOUT_FILENO), locale_is_utf8()})
                       .c_str(),
                   stdout);
    }
    std::printf("%s\n", range.c_str());
    if (arguments.channel.empty()) {
        tell_groups(arguments, type, all.size(), json_object_get_int64(json_member(answer.get(), "count")));
    }
    if (!arguments.svg_file.empty()) {
        std::printf("drawn in %s\n", arguments.svg_file.c_str());
    }
    return all_well;
}

int stats(const stats_arguments& arguments)
{
    const long long day = time_of("--day", arguments.day, day_edge::first_moment);
    const std::string request = request_of(arguments, day);
    if (arguments.show_request) {
        std::puts(request.c_str());
        return all_well;
    }
    const library_answer outcome = call_library(query_ai_metadata, request);
    if (!outcome.ok()) {
        return tell_failure(outcome, "query", request);
    }
    print_notes(outcome);
    if (arguments.as_json) {
        std::puts(outcome.text.c_str());
        return all_well;
    }
    return tell_counts(outcome, arguments, day);
}

// Longer ones end the process; an empty one means every channel.
std::string check_counted_channel(const std::string& channel)
{
    const bool good = !channel.empty() && channel.size() <= 32;
    return good ? ""
                : "'" + channel + "' has " + counted(static_cast<long long>(channel.size()), "character") +
                      "; a channel identifier has 1 to 32";
}

void declare_options(CLI::App& app, stats_arguments& arguments)
{
    std::vector<std::string> types;
    for (const count_type& type : count_types()) {
        types.emplace_back(type.name);
    }
    app.add_option("--type", arguments.type, "what to sum over: 15-min, hour or day (default)")
        ->check(CLI::IsMember(types))
        ->type_name("TYPE");
    app.add_option("--day", arguments.day,
                   std::string("a time in it, today unless given: ") + local_time_forms)
        ->type_name("TIME");
    CLI::Option* channel = app.add_option("--channel", arguments.channel, "only this channel")
                               ->check(CLI::Validator(check_counted_channel, ""))
                               ->type_name("CHANNEL");
    app.add_option("--skip", arguments.skip, "of all channels: leave out so many groups")
        ->check(whole_number_range())
        ->excludes(channel)
        ->type_name("NUMBER");
    app.add_option("--limit", arguments.limit, "of all channels: at most so many groups, 10 unless given")
        ->check(whole_number_range())
        ->excludes(channel)
        ->type_name("NUMBER");
    CLI::Option* json = app.add_flag("--json", arguments.as_json, "print the library's answer as it stands");
    app.add_flag("--show-request", arguments.show_request, "print the request instead of sending it");
    app.add_option("--svg", arguments.svg_file, "draw a plot")->excludes(json)->type_name("FILE");
}

} // namespace

command stats_command(CLI::App& program)
{
    const auto arguments = std::make_shared<stats_arguments>();
    CLI::App* app =
        program.add_subcommand("stats", "Show how many people went in and out, as bars or as a plot");
    app->footer(footer);
    declare_options(*app, *arguments);
    return {app, [arguments] { return stats(*arguments); }};
}

} // namespace host
