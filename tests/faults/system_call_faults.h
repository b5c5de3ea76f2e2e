// The library's system calls, seen and broken. Linked into a program, this stands in front of the C library's functions that
// reach the kernel; they do what they always do until a thread asks for faults, and then its calls alone meet them.
#pragma once

#include <cstddef>
#include <ctime>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::test {

inline constexpr std::size_t no_limit = std::numeric_limits<std::size_t>::max();

/// What happens to a piece of work beyond what would happen anyway.
struct fault_script {
    std::string_view only;          ///< the function whose calls count and fail; empty: every one's
    std::size_t at = no_limit;      ///< the first call that fails, counted from 0
    std::size_t times = 1;          ///< how many calls fail from there on
    int error = 0;                  ///< how they fail
    std::size_t piece = no_limit;   ///< the most bytes that one call sends, receives or writes
    std::size_t room = no_limit;    ///< how many bytes go onto the disk before it is full
    std::function<void()> at_full;  ///< done by nobody's script just before a write finds the disk full
    bool interrupted_first = false; ///< every call that a signal can break off is broken off before it works
    std::time_t clock_step = 0;     ///< how far the clock is put forward (or back) before each look at it
};

struct system_call {
    const char* name; ///< "recv"
    char path[48];    ///< of the file that the call names; empty for the other calls
    long result;      ///< what the caller got
    long long blocks; ///< that the caller held on the heap; always 0 under a sanitizer
};

/// What a piece of work did and left behind.
struct witnessed {
    std::vector<system_call> calls; ///< in order, the failed ones included
    std::size_t injected = 0;       ///< how many of them the script made fail
    std::size_t clock_looks = 0;    ///< how often the clock was asked, and told otherwise than it is
    int sleeps = 0;                 ///< sleeps that came to their end, at once: nobody waits under a script
    long long blocks_left = 0; ///< blocks on the heap; always 0 under a sanitizer, which looks for itself
    int descriptors_left = 0;
};

/// Does `work` on this thread under `script`.
witnessed with_faults(const fault_script& script, const std::function<void()>& work);

/// Instead of removing a log file, unlink renames it into `folder`, for all threads, from now on: what the ring recycles can be
/// accounted for.
void archive_recycled_logs(const std::string& folder);

} // namespace korvane::test
