// A forked child that goes on beside its parent.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>

namespace korvane::test {

/// Forks. The child does `work` and ends with its status; when that takes longer than `seconds` it is ended
/// by SIGALRM. What `work` wrote to standard error is seen.
inline pid_t start_in_child(unsigned seconds, const std::function<int()>& work)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("fork failed");
    }
    if (child == 0) {
        signal(SIGALRM, SIG_DFL);
        alarm(seconds);
        _exit(work());
    }
    return child;
}

inline std::string ended_by(int signal_number)
{
    return "ended by signal " + std::to_string(signal_number);
}

/// Waits for the child: "" when it ended with status 0.
inline std::string end_of(pid_t child)
{
    int state = 0;
    if (waitpid(child, &state, 0) != child) {
        return "waitpid failed";
    }
    if (WIFSIGNALED(state)) {
        return ended_by(WTERMSIG(state));
    }
    return WEXITSTATUS(state) == 0 ? "" : "ended with status " + std::to_string(WEXITSTATUS(state));
}

} // namespace korvane::test
