#include "commands.h"
#include "input_file.h"
#include "insert_run.h"
#include "interrupt.h"

#include <memory>

namespace host {
namespace {

const char* const description = "Store reports, and tell why one was refused";

const char* const footer =
    R"(Each report that is not stored is told with its place in the input, the result code and its meaning, and what the
library logged about it.

A report is one JSON object. The input may hold one to a line (JSON Lines), one over many lines, or an array of them.
The library stores each detected object by its own request; when it refuses a report, the objects in front of the
bad one stay stored.

A report:
  {"timestamp": 1700000000000, "channel_sid": "c0ffee00c0ffee00c0ffee00c0ffee01", "stream_id": 0, "appName": "my app",
   "results": [{"function_name": "HumanDetection", "objects": [[{"description": "person", "position":
     [{"x": 0.1, "y": 0.2}, {"x": 0.3, "y": 0.2}, {"x": 0.3, "y": 0.6}, {"x": 0.1, "y": 0.6}]}]]}]}

Examples:
  korvane insert people.jsonl              the reports of a file
  korvane insert monday.jsonl tuesday.jsonl
  my-detector | korvane insert -           reports as they come
  korvane insert --stop-on-error new.json  nothing behind the first bad report

Exit status: 0 every report stored, 1 one or more refused or not answered, 2 wrong usage, 3 no store to send to.)";

struct insert_arguments {
    std::vector<std::string> files;
    insert_options options;
};

// Everything must be readable before the first report goes out; sizes are known unless an input is a stream.
std::vector<input_file> open_all(const std::vector<std::string>& names)
{
    std::vector<input_file> inputs;
    inputs.reserve(names.size());
    for (const std::string& name : names) {
        inputs.emplace_back(name);
    }
    return inputs;
}

long long total_size(const std::vector<input_file>& inputs)
{
    long long total = 0;
    for (const input_file& input : inputs) {
        if (input.size() < 0) {
            return 0;
        }
        total += input.size();
    }
    return total;
}

std::vector<report> reports_ready(report_splitter& splitter)
{
    std::vector<report> ready;
    while (std::optional<report> next = splitter.next()) {
        ready.push_back(std::move(*next));
    }
    return ready;
}

// Each piece that a read brings is a batch, so a slow stream is stored as it comes. After the end of the run
// a file is still read, to count what was not sent; a stream is left alone, for it may never end. False: left
// alone.
bool send_input(input_file& input, insert_run& run)
{
    report_splitter splitter;
    run.begin_input(input.name());
    for (bool more = true; more;) {
        if (run.stopped() && input.size() < 0) {
            return false;
        }
        const std::string piece = input.read_some();
        if (interrupted()) {
            return false;
        }
        more = !piece.empty();
        if (more) {
            splitter.feed(piece.data(), piece.size());
        } else {
            splitter.finish();
        }
        run.send(reports_ready(splitter));
    }
    return true;
}

int insert(const insert_arguments& arguments)
{
    std::vector<input_file> inputs = open_all(arguments.files);
    note_interrupts();
    insert_run run(arguments.options, total_size(inputs));
    bool all_read = true;
    for (input_file& input : inputs) {
        all_read = send_input(input, run) && all_read;
    }
    return run.finish(all_read);
}

} // namespace

command insert_command(CLI::App& program)
{
    const auto arguments = std::make_shared<insert_arguments>();
    CLI::App* app = program.add_subcommand("insert", description);
    app->footer(footer);
    app->add_option("FILE", arguments->files, "with reports; - is standard input")->required()->type_name("");
    app->add_flag("--stop-on-error", arguments->options.stop_on_error,
                  "stop at the first report that is not stored");
    app->add_flag("--keep-going", arguments->options.keep_going, "go on although no store can be reached");
    return {app, [arguments] { return insert(*arguments); }};
}

} // namespace host
