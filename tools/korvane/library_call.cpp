#include "library_call.h"

#include "exit_status.h"
#include "guarded_process.h"
#include "library_log.h"
#include "report_splitter.h"
#include "result_text.h"
#include "store_probe.h"
#include "text.h"

#include <cstdio>
#include <cstdlib>

namespace host {
namespace {

bool is_routine(const std::string& line)
{
    const auto holds = [&line](const char* words) { return line.find(words) != std::string::npos; };
    return holds("[korvane] query face library start") ||
           holds("[korvane] query_ai_face_metadata_list_group start") || holds(".size() : ") ||
           holds(") output : ");
}

void print_log_line(const std::string& line)
{
    std::fprintf(stderr, "  log:     %s\n", printable(line).c_str());
}

} // namespace

library_answer call_library(const std::function<int(std::string&)>& entry)
{
    const log_position before = log_end();
    guarded_process caller([&entry](int results) {
        std::string text;
        const int code = entry(text);
        write_results(results, &code, sizeof code);
        write_results(results, text.data(), text.size());
    });
    library_answer answer;
    caller.read_results(&answer.code, sizeof answer.code);
    char piece[65536];
    for (size_t got; (got = caller.read_results(piece, sizeof piece)) > 0;) {
        answer.text.append(piece, got);
    }
    const pid_t id = caller.id();
    answer.ending = caller.wait();
    answer.log = log_lines(id, before, log_end());
    return answer;
}

library_answer call_library(int (*entry)(void*, void**), const std::string& request)
{
    return call_library([&](std::string& text) {
        std::string sent = request;
        void* answer = nullptr;
        const int code = entry(sent.data(), &answer);
        if (answer != nullptr) {
            text = static_cast<const char*>(answer);
            std::free(answer);
        }
        return code;
    });
}

void print_notes(const library_answer& answer)
{
    for (const std::string& line : answer.log) {
        if (!is_routine(line)) {
            print_log_line(line);
        }
    }
}

int tell_failure(const library_answer& answer, const char* what, const std::string& request)
{
    if (!answer.ending.empty()) {
        std::fprintf(stderr, "the %s ended the process: %s\n", what, printable(answer.ending).c_str());
    } else {
        std::fprintf(stderr, "%s refused: %s\n  meaning: %s\n", what, result_title(answer.code).c_str(),
                     explain_result(answer.code).meaning.c_str());
    }
    for (const std::string& line : answer.log) {
        print_log_line(line);
    }
    if (!request.empty()) {
        if (const auto fault = find_fault(request)) {
            std::fprintf(stderr, "  no JSON: %s\n", describe(*fault).c_str());
        }
    }
    if (answer.ending.empty() && answer.code == no_reply && !store_listens()) {
        std::fprintf(stderr, "korvane: %s\n", how_to_start_a_store);
        return store_unreachable;
    }
    return something_refused;
}

} // namespace host
