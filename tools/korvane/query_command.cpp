#include "commands.h"
#include "filter_options.h"
#include "input_file.h"
#include "json.h"
#include "library_call.h"
#include "output_file.h"
#include "query_kinds.h"
#include "query_request.h"
#include "svg_picture.h"
#include "table.h"
#include "text.h"

#include <cstdio>
#include <korvane/ai_metadata.h>
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
  korvane query --kind face --name "Ann Lee" --from 7d
  korvane query --kind face --registered no --age-range 20-30
  korvane query --kind object --object-name bicycle
  korvane query --from 7d --svg people.svg                     draw a week in one picture
  korvane query --json | jq .count
  korvane query --request request.json                         a request of your own, as it stands

The library drops a lower --confidence bound of objects that is under 100, and with it the range: only 100-100 has an
effect, and every other range finds every confidence. Of faces each range counts.

A request is {"metadata": {"function_name": "HumanDetection", ...}}; --show-request prints the one the options make.

Exit status: 0 answered, 1 refused, 2 wrong usage, 3 no store to ask.)";

constexpr int picture_limit = 10000;

struct query_arguments {
    std::string kind = "human";
    query_filter filter;
    query_page page;
    bool limit_given = false;
    std::string request_file;
    bool show_request = false;
    bool as_json = false;
    std::string svg_file;
    std::string aspect = "16:9";
};

void print_records(json_object* records, const query_kind& kind)
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
    print_table(rows);
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
    const query_kind* kind = find_kind(name);
    return kind != nullptr ? *kind : query_kinds().front();
}

void draw(json_object* records, const query_arguments& arguments, const std::string& request)
{
    const std::string picture = svg_picture(
        records, {kind_of(request).picture_title, asked_for(request), aspect_of(arguments.aspect)});
    write_file(arguments.svg_file, picture);
}

int tell_answer(const library_answer& outcome, const query_arguments& arguments, const std::string& request)
{
    const json_owner answer(json_tokener_parse(outcome.text.c_str()));
    json_object* records = json_member(answer.get(), "metadatalist");
    if (!json_object_is_type(records, json_type_array)) {
        throw std::runtime_error("the answer holds no \"metadatalist\": " + outcome.text);
    }
    const auto shown = static_cast<long long>(json_object_array_length(records));
    const long long total = json_object_get_int64(json_member(answer.get(), "count"));
    if (!arguments.svg_file.empty()) {
        draw(records, arguments, request);
    } else if (shown > 0) {
        print_records(records, kind_of(request));
    }
    std::printf("%s of %s %s\n", grouped(shown).c_str(), grouped(total).c_str(), asked_for(request).c_str());
    if (!arguments.svg_file.empty()) {
        std::printf("drawn in %s\n", arguments.svg_file.c_str());
    } else if (shown > 0 && arguments.request_file.empty() && arguments.page.skip + shown < total) {
        std::printf("more: --skip %lld, or a higher --limit\n", arguments.page.skip + shown);
    }
    return all_well;
}

int query(query_arguments arguments)
{
    aspect_of(arguments.aspect); // before anything is asked
    if (!arguments.limit_given && !arguments.svg_file.empty()) {
        arguments.page.limit = picture_limit;
    }
    const std::string request = arguments.request_file.empty()
                                    ? query_text(*find_kind(arguments.kind), arguments.filter, arguments.page)
                                    : input_file(arguments.request_file).read_all();
    if (arguments.show_request) {
        std::puts(request.c_str());
        return all_well;
    }
    const library_answer outcome = call_library(query_ai_metadata, request);
    if (!outcome.ok()) {
        return tell_failure(outcome, "query", request);
    }
    print_notes(outcome); // a channel that was left out, say
    if (arguments.as_json) {
        std::puts(outcome.text.c_str());
        return all_well;
    }
    return tell_answer(outcome, arguments, request);
}

void declare_options(CLI::App& app, query_arguments& arguments)
{
    std::vector<CLI::Option*> filters = {
        app.add_option("--kind", arguments.kind, "what to ask for: human (as without it), face or object")
            ->check(CLI::Validator(check_kind, ""))
            ->type_name("KIND"),
        app.add_option("--sort", arguments.page.sort, "oldest or newest first (default)")
            ->check(CLI::IsMember({"asc", "desc"}))
            ->type_name("ORDER"),
        app.add_option("--skip", arguments.page.skip, "leave out so many of the matches")
            ->check(whole_number_range())
            ->type_name("NUMBER"),
        app.add_option("--limit", arguments.page.limit, "at most so many: 10, with --svg 10000, unless given")
            ->check(whole_number_range())
            ->type_name("NUMBER"),
    };
    const auto more = declare_filters(app, arguments.filter, of_humans | of_faces | of_objects);
    filters.insert(filters.end(), more.begin(), more.end());
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
