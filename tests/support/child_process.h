// Work in a forked child: for calls that end the process, and for changes that a process cannot take back.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace korvane::test {

/// How a child ended, and what it wrote to standard error.
struct child_end {
    bool exited = false; ///< by itself, with `status`; otherwise by `signal`
    int status = 0;
    int signal = 0;
    std::string error_output;

    bool aborted() const;
    std::string describe() const; ///< "exited with 0", "ended by signal 6 (Aborted)"
};

/// Runs `work` in a child that leaves no core file and ends by `_exit` with what it returned.
child_end run_in_child(const std::function<int()>& work);

/// Runs `work(0)` to `work(count - 1)`, each in a child of its own, all at the same time.
std::vector<child_end> run_in_children(int count, const std::function<int(int)>& work);

/// Gives the calling process (a child: there is no way back) a mount namespace of its own, in which it may
/// mount and change its root without privileges. Returns what went wrong, empty for nothing.
std::string enter_private_mounts();

} // namespace korvane::test
