// One line on the terminal that tells how far a long run is. Draws nothing when standard error is not a
// terminal.
#pragma once

#include <chrono>

namespace host {

class progress_bar {
public:
    /// `total_bytes` 0: the size of the input is not known, only a count is shown.
    explicit progress_bar(long long total_bytes);
    ~progress_bar() { hide(); }

    /// Redraws at most ten times a second.
    void show(long long reports, long long bytes);

    /// Takes the line away, before something else is printed or at the end.
    void hide();

    double seconds() const;

private:
    using clock = std::chrono::steady_clock;

    long long total_bytes_;
    bool is_terminal_;
    bool visible_ = false;
    clock::time_point start_ = clock::now();
    clock::time_point next_draw_ = start_;
};

} // namespace host
