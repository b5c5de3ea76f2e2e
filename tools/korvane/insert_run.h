// One run of `korvane insert`: sends batches of reports through the library and tells of every one that was
// not stored.
#pragma once

#include "library_log.h"
#include "progress_bar.h"
#include "report_splitter.h"

#include <map>
#include <string>
#include <vector>

namespace host {

struct insert_options {
    bool stop_on_error = false;
    bool keep_going = false; ///< although no store can be reached
};

class insert_run {
public:
    insert_run(insert_options options, long long total_bytes)
        : options_(options)
        , progress_(total_bytes)
    {
    }

    /// The reports to come are of this input; `name` is what messages call it.
    void begin_input(const std::string& name);

    /// Sends the reports in order and tells what became of them, on standard output.
    void send(const std::vector<report>& batch);

    /// True once the run is over before its input is: no store, or an error where errors end it.
    bool stopped() const { return stopped_; }

    /// Prints the totals; returns an exit_status. `all_read` is false when the input was not read to its end.
    int finish(bool all_read);

private:
    struct outcome;

    void send_from(const std::vector<report>& batch, size_t first, int results) const;
    bool ends_run(const outcome& told) const;
    void settle(const report& sent, const outcome& got, pid_t sender, const log_position& before);
    void tell_fatal(const report& sent, const std::string& ending);
    void tell_details(const report& sent, const std::vector<std::string>& lines);
    void note_unsent(const std::vector<report>& batch, size_t first);
    long long reports() const { return stored_ + refused_ + fatal_; }

    insert_options options_;
    progress_bar progress_;
    std::string input_;
    long long earlier_inputs_ = 0; // bytes
    long long input_bytes_ = 0;    // of this input, up to the last report
    bool stopped_ = false;
    bool store_missing_ = false;
    bool told_of_log_ = false;
    long long stored_ = 0;
    long long refused_ = 0;
    long long fatal_ = 0;
    long long unsent_ = 0;
    std::string first_unsent_;                   // its place
    std::map<unsigned int, long long> refusals_; // by code
};

} // namespace host
