#include "insert_run.h"

#include "exit_status.h"
#include "guarded_process.h"
#include "interrupt.h"
#include "result_text.h"
#include "store_probe.h"
#include "text.h"

#include <algorithm>
#include <cstdio>
#include <korvane/ai_metadata.h>

namespace host {

// What the sending process tells about one report; it travels through a pipe.
struct insert_run::outcome {
    unsigned int code;
    bool no_store; ///< no reply, and nothing listens
    log_position log;
};

void insert_run::begin_input(const std::string& name)
{
    input_ = name;
    earlier_inputs_ += input_bytes_;
    input_bytes_ = 0;
}

void insert_run::send(const std::vector<report>& batch)
{
    size_t next = 0;
    while (next < batch.size() && !stopped_) {
        log_position before = log_end();
        guarded_process sender([&](int results) { send_from(batch, next, results); });
        for (outcome got; next < batch.size() && sender.read_results(&got, sizeof got) == sizeof got;
             ++next) {
            settle(batch[next], got, sender.id(), before);
            before = got.log;
        }
        const pid_t id = sender.id();
        const std::string ending = sender.wait();
        if (interrupted()) {
            stopped_ = true;
        } else if (!ending.empty() && next < batch.size()) {
            tell_fatal(batch[next], ending);
            tell_details(batch[next], log_lines(id, before, log_end()));
            ++next;
        } else if (!sender.error_text().empty()) {
            progress_.hide();
            std::fputs(sender.error_text().c_str(), stderr);
        }
    }
    note_unsent(batch, next);
}

// Runs in the sending process. It ends early where the run ends, so that nothing behind that report is sent.
void insert_run::send_from(const std::vector<report>& batch, size_t first, int results) const
{
    for (size_t next = first; next < batch.size(); ++next) {
        std::string text = batch[next].text;
        outcome told = {};
        told.code = static_cast<unsigned int>(insert_ai_metadata(text.data()));
        told.no_store = told.code == no_reply && !store_listens();
        told.log = log_end();
        write_results(results, &told, sizeof told);
        if (ends_run(told)) {
            return;
        }
    }
}

bool insert_run::ends_run(const outcome& told) const
{
    return (told.code != korvane::result_ok && options_.stop_on_error) ||
           (told.no_store && !options_.keep_going);
}

void insert_run::settle(const report& sent, const outcome& got, pid_t sender, const log_position& before)
{
    input_bytes_ = sent.end;
    if (got.code == korvane::result_ok) {
        ++stored_;
    } else {
        ++refused_;
        ++refusals_[got.code];
        progress_.hide();
        std::printf("%s:%ld: report %lld %s: %s\n", input_.c_str(), sent.line, reports(),
                    got.code == no_reply ? "not answered" : "refused", result_title(got.code).c_str());
        std::printf("  meaning: %s\n", explain_result(got.code).meaning.c_str());
        tell_details(sent, log_lines(sender, before, got.log));
    }
    if (got.no_store && !store_missing_) {
        store_missing_ = true;
        std::fprintf(stderr, "korvane: %s\n", how_to_start_a_store);
    }
    stopped_ = stopped_ || ends_run(got);
    progress_.show(reports(), earlier_inputs_ + input_bytes_);
}

void insert_run::tell_fatal(const report& sent, const std::string& ending)
{
    input_bytes_ = sent.end;
    ++fatal_;
    progress_.hide();
    std::printf("%s:%ld: report %lld ended the process: %s\n", input_.c_str(), sent.line, reports(),
                printable(ending).c_str());
    stopped_ = stopped_ || options_.stop_on_error;
}

void insert_run::tell_details(const report& sent, const std::vector<std::string>& lines)
{
    for (const std::string& line : lines) {
        std::printf("  log:     %s\n", printable(line).c_str());
    }
    if (lines.empty() && !told_of_log_ && !log_folder_exists()) {
        told_of_log_ = true;
        std::printf("  log:     none: the library logs to /Vdbglog, and there is no such folder here\n");
    }
    if (sent.fault) {
        std::printf("  no JSON: %s\n", describe(*sent.fault).c_str());
    }
    std::fflush(stdout);
}

// The first one's place says where to begin when they are sent again.
void insert_run::note_unsent(const std::vector<report>& batch, size_t first)
{
    if (first < batch.size() && unsent_ == 0) {
        first_unsent_ = input_ + ":" + std::to_string(batch[first].line);
    }
    unsent_ += static_cast<long long>(batch.size() - first);
}

int insert_run::finish(bool all_read)
{
    progress_.hide();
    const double seconds = progress_.seconds();
    const double rate = static_cast<double>(reports()) / std::max(seconds, 0.001);
    const long long unanswered = refusals_.count(no_reply) != 0 ? refusals_.at(no_reply) : 0;
    const std::string not_answered = unanswered > 0 ? grouped(unanswered) + " not answered, " : "";
    std::printf("%s: %s stored, %s refused, %s%s fatal, in %.2f s (%s reports/s)\n",
                counted(reports(), "report").c_str(), grouped(stored_).c_str(),
                grouped(refused_ - unanswered).c_str(), not_answered.c_str(), grouped(fatal_).c_str(),
                seconds, grouped(static_cast<long long>(rate)).c_str());
    for (const auto& [code, times] : refusals_) {
        std::printf("  %s x %s\n", grouped(times).c_str(), result_title(code).c_str());
    }
    if (!refusals_.empty()) {
        const auto most = std::max_element(refusals_.begin(), refusals_.end(),
                                           [](const auto& a, const auto& b) { return a.second < b.second; });
        std::printf("  what to do: korvane explain 0x%08X\n", most->first);
    }
    if (unsent_ > 0) {
        std::printf("  %s not sent, from %s on\n", counted(unsent_, "report").c_str(), first_unsent_.c_str());
    }
    if (!all_read) {
        std::printf("  the rest of the input was not read\n");
    }
    if (reports() + unsent_ == 0) {
        std::printf("  the input holds no report: a report is a JSON object, {\"timestamp\": ..., "
                    "\"results\": [...]}\n");
    }
    if (interrupted()) {
        std::printf("  interrupted: the report in hand may be stored or not\n");
        return interrupted_by_user;
    }
    if (store_missing_) {
        return store_unreachable;
    }
    return refused_ + fatal_ > 0 ? something_refused : all_well;
}

} // namespace host
