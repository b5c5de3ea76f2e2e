#include "commands.h"
#include "guarded_process.h"
#include "input_file.h"
#include "json.h"
#include "library_log.h"
#include "local_time.h"
#include "query_kinds.h"
#include "query_request.h"
#include "report_splitter.h"
#include "result_text.h"
#include "store_probe.h"
#include "svg_picture.h"
#include "text.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <korvane/ai_metadata.h>
#include <limits>
#include <memory>
#include <stdexcept>

namespace host {
namespace {

const char* const footer =
    R"(Times are local. A date alone is its first moment after --from and its last after --to.

Examples:
  korvane query                                                the 10 newest
  korvane query --from today --limit 100
  korvane query --from "2023-11-14 22:13:00" --to "2023-11-14 22:14:00" --sort asc
  korvane query --channel c0ffee00c0ffee00c0ffee00c0ffee01
  korvane query --polygon 0,0,0.5,0,0.5,1,0,1                  who was in the left half of the picture
  korvane query --from 7d --svg people.svg                     draw a week in one picture
  korvane query --json | jq .count
  korvane query --request request.json                         a request of your own, as it stands

A request is {"metadata": {"function_name": "HumanDetection", ...}}; --show-request prints the one the options make.

Exit status: 0 answered, 1 refused, 2 wrong usage, 3 no store to ask.)";

constexpr int picture_limit = 10000;

struct query_arguments {
    query_filter filter;
    bool limit_given = false;
    std::string request_file;
    bool show_request = false;
    bool as_json = false;
    std::string svg_file;
    std::string aspect = "16:9";
};

struct query_outcome {
    unsigned int code = 0;
    std::string answer;
    std::string ending; ///< how the call ended the process; empty when it did not
    std::vector<std::string> log;
};

query_outcome ask(std::string request)
{
    const log_position before = log_end();
    guarded_process asker([&request](int results) {
        void* answer = nullptr;
        const int code = query_ai_metadata(request.data(), &answer);
        write_results(results, &code, sizeof code);
        if (answer != nullptr) {
            const std::string text = static_cast<const char*>(answer);
            std::free(answer);
            write_results(results, text.data(), text.size());
        }
    });
    query_outcome outcome;
    asker.read_results(&outcome.code, sizeof outcome.code);
    char piece[65536];
    for (size_t got; (got = asker.read_results(piece, sizeof piece)) > 0;) {
        outcome.answer.append(piece, got);
    }
    const pid_t id = asker.id();
    outcome.ending = asker.wait();
    outcome.log = log_lines(id, before, log_end());
    return outcome;
}

void print_log(const query_outcome& outcome)
{
    for (const std::string& line : outcome.log) {
        std::fprintf(stderr, "  log:     %s\n", printable(line).c_str());
    }
}

int tell_failure(const query_outcome& outcome, const std::string& request)
{
    if (!outcome.ending.empty()) {
        std::fprintf(stderr, "the query ended the process: %s\n", printable(outcome.ending).c_str());
    } else {
        std::fprintf(stderr, "query refused: %s\n  meaning: %s\n", result_title(outcome.code).c_str(),
                     explain_result(outcome.code).meaning.c_str());
    }
    print_log(outcome);
    if (const auto fault = find_fault(request)) {
        std::fprintf(stderr, "  no JSON: %s\n", describe(*fault).c_str());
    }
    if (outcome.ending.empty() && outcome.code == no_reply && !store_listens()) {
        std::fprintf(stderr, "korvane: %s\n", how_to_start_a_store);
        return store_unreachable;
    }
    return something_refused;
}

void print_table(json_object* records, const query_kind& kind)
{
    std::vector<std::vector<std::string>> rows(1);
    for (const table_column& column : kind.columns) {
        rows.front().push_back(column.heading);
    }
    for (size_t index = 0; index < json_object_array_length(records); ++index) {
        std::vector<std::string> row;
        for (const table_column& column : kind.columns) {
            row.push_back(printable(column.text(json_object_array_get_idx(records, index))));
        }
        rows.push_back(row);
    }
    std::vector<size_t> widths(kind.columns.size());
    for (const auto& row : rows) {
        for (size_t index = 0; index < row.size(); ++index) {
            widths[index] = std::max(widths[index], display_width(row[index]));
        }
    }
    for (const auto& row : rows) {
        std::string line;
        for (size_t index = 0; index < row.size(); ++index) {
            line += padded(row[index], widths[index] + 2);
        }
        std::puts(line.substr(0, line.find_last_not_of(' ') + 1).c_str());
    }
}

double aspect_of(const std::string& text)
{
    double width = 0;
    double height = 0;
    int used = 0;
    const bool read = std::sscanf(text.c_str(), "%lf:%lf%n", &width, &height, &used) == 2;
    if (!read || static_cast<size_t>(used) != text.size() || !(width > 0) || !(height > 0) ||
        width / height > 10 || height / width > 10) {
        throw CLI::ValidationError("--aspect",
                                   "'" + text + "': expected width:height of the picture, such as 16:9");
    }
    return width / height;
}

// The kind of the request in hand says how its records are shown; one that names none is refused before it
// comes to that.
const query_kind& kind_of(const std::string& request)
{
    const json_owner parsed(json_tokener_parse(request.c_str()));
    const std::string name = json_text(json_member(parsed.get(), "metadata"), "function_name");
    const auto& kinds = query_kinds();
    const auto found =
        std::find_if(kinds.begin(), kinds.end(), [&](const query_kind& kind) { return name == kind.name; });
    return found != kinds.end() ? *found : kinds.front();
}

void draw(json_object* records, const query_arguments& arguments, const std::string& request)
{
    const std::string picture = svg_picture(
        records, {kind_of(request).picture_title, asked_for(request), aspect_of(arguments.aspect)});
    errno = 0;
    std::ofstream file(arguments.svg_file);
    if (!(file << picture).flush()) {
        throw std::runtime_error("cannot write " + arguments.svg_file + ": " + system_message());
    }
}

int tell_answer(const query_outcome& outcome, const query_arguments& arguments, const std::string& request)
{
    const json_owner answer(json_tokener_parse(outcome.answer.c_str()));
    json_object* records = json_member(answer.get(), "metadatalist");
    if (!json_object_is_type(records, json_type_array)) {
        throw std::runtime_error("the answer holds no \"metadatalist\": " + outcome.answer);
    }
    const auto shown = static_cast<long long>(json_object_array_length(records));
    const long long total = json_object_get_int64(json_member(answer.get(), "count"));
    if (!arguments.svg_file.empty()) {
        draw(records, arguments, request);
    } else if (shown > 0) {
        print_table(records, kind_of(request));
    }
    std::printf("%s of %s %s\n", grouped(shown).c_str(), grouped(total).c_str(), asked_for(request).c_str());
    if (!arguments.svg_file.empty()) {
        std::printf("drawn in %s\n", arguments.svg_file.c_str());
    } else if (shown > 0 && arguments.request_file.empty() && arguments.filter.skip + shown < total) {
        std::printf("more: --skip %lld, or a higher --limit\n", arguments.filter.skip + shown);
    }
    return all_well;
}

int query(query_arguments arguments)
{
    aspect_of(arguments.aspect); // before anything is asked
    if (!arguments.limit_given && !arguments.svg_file.empty()) {
        arguments.filter.limit = picture_limit;
    }
    const std::string request = arguments.request_file.empty()
                                    ? request_text(arguments.filter)
                                    : input_file(arguments.request_file).read_all();
    if (arguments.show_request) {
        std::puts(request.c_str());
        return all_well;
    }
    const query_outcome outcome = ask(request);
    if (!outcome.ending.empty() || outcome.code != korvane::result_ok) {
        return tell_failure(outcome, request);
    }
    print_log(outcome); // a channel that was left out, say
    if (arguments.as_json) {
        std::puts(outcome.answer.c_str());
        return all_well;
    }
    return tell_answer(outcome, arguments, request);
}

std::vector<std::string> kind_names()
{
    std::vector<std::string> names;
    for (const query_kind& kind : query_kinds()) {
        names.push_back(kind.name);
    }
    return names;
}

void declare_options(CLI::App& app, query_arguments& arguments)
{
    query_filter& filter = arguments.filter;
    const auto whole = CLI::Range(0, std::numeric_limits<int>::max()).description("");
    const std::vector<CLI::Option*> filters = {
        app.add_option("--kind", filter.kind, "what to ask for")
            ->check(CLI::IsMember(kind_names()))
            ->type_name("KIND"),
        app.add_option("--channel", filter.channels, "only this channel; may be given again")
            ->allow_extra_args(false)
            ->type_name("32_CHARACTERS"),
        app.add_option("--from", filter.from, local_time_forms)->type_name("TIME"),
        app.add_option("--to", filter.to, "in the same forms; without it: until now")->type_name("TIME"),
        app.add_option("--polygon", filter.polygon,
                       "only what overlaps it: fractions of the picture from left and top")
            ->type_name("X1,Y1,...,X4,Y4"),
        app.add_option("--sort", filter.sort, "oldest or newest first (default)")
            ->check(CLI::IsMember({"asc", "desc"}))
            ->type_name("ORDER"),
        app.add_option("--skip", filter.skip, "leave out so many of the matches")
            ->check(whole)
            ->type_name("NUMBER"),
        app.add_option("--limit", filter.limit, "at most so many: 10, with --svg 10000, unless given")
            ->check(whole)
            ->type_name("NUMBER"),
    };
    app.add_option("--request", arguments.request_file,
                   "send this request instead of options; - is standard input")
        ->type_name("FILE");
    CLI::Option* json = app.add_flag("--json", arguments.as_json, "print the library's answer as it stands");
    app.add_flag("--show-request", arguments.show_request, "print the request instead of sending it");
    app.add_option("--svg", arguments.svg_file, "draw where in the picture they were")->type_name("FILE");
    app.add_option("--aspect", arguments.aspect, "of the camera's picture, for --svg: 16:9 unless given")
        ->type_name("WIDTH:HEIGHT");
    app.callback([&app, &arguments, filters, json] {
        arguments.limit_given = app.count("--limit") > 0;
        for (const CLI::Option* option : filters) {
            if (option->count() > 0 && !arguments.request_file.empty()) {
                throw CLI::ExcludesError(option->get_name(), "--request");
            }
        }
        if (json->count() > 0 && !arguments.svg_file.empty()) {
            throw CLI::ExcludesError("--json", "--svg");
        }
    });
}

} // namespace

command query_command(CLI::App& program)
{
    const auto arguments = std::make_shared<query_arguments>();
    CLI::App* app =
        program.add_subcommand("query", "Ask for stored results, as a table, as JSON or as a picture");
    app->footer(footer);
    declare_options(*app, *arguments);
    return {app, [arguments] { return query(*arguments); }};
}

} // namespace host
