// Calls into the library that may end the process: a text too long for its field aborts, by design. They run
// in a forked process, so that the program can say what happened and go on.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>

namespace host {

class guarded_process {
public:
    /// Forks; the new process runs `body`, which writes its results to the descriptor it is given, and exits.
    /// It sees the caller's memory as it was at this moment. Throws std::runtime_error when no process can be
    /// made.
    explicit guarded_process(const std::function<void(int results)>& body);
    guarded_process(const guarded_process&) = delete;
    guarded_process& operator=(const guarded_process&) = delete;
    ~guarded_process();

    pid_t id() const { return process_; }

    /// Reads up to `size` bytes of the results; fewer only at their end.
    size_t read_results(void* to, size_t size) const;

    /// Waits for the end. Empty when `body` returned, otherwise how the process ended: the last line that it
    /// wrote to standard error, and the signal.
    std::string wait();

    /// What it wrote to standard error, after wait().
    const std::string& error_text() const { return error_text_; }

private:
    pid_t process_;
    int results_;
    int errors_;
    std::string error_text_;
};

/// Writes all of it. A reader that is gone ends the process quietly: there is nobody left to tell.
void write_results(int results, const void* from, size_t size);

} // namespace host
