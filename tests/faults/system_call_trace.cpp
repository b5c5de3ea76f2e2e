#include "tests/faults/system_call_trace.h"

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <string>

namespace korvane::test {

namespace {

// Nobody else makes this call: it stands before and behind the work.
constexpr long marker = SYS_getppid;

constexpr std::array of_memory_and_clock{SYS_brk,          SYS_mmap,    SYS_munmap, SYS_mremap,
                                         SYS_mprotect,     SYS_madvise, SYS_futex,  SYS_clock_gettime,
                                         SYS_gettimeofday, SYS_getpid,  SYS_gettid};

[[noreturn]] void be_traced(const std::function<void()>& work)
{
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
        _exit(1);
    }
    raise(SIGSTOP);
    syscall(marker);
    work();
    syscall(marker);
    _exit(0);
}

[[noreturn]] void fail(const char* what)
{
    throw std::runtime_error(std::string(what) + ": " + std::strerror(errno) +
                             " (may processes be traced here? see the kernel's yama/ptrace_scope)");
}

/// Lets `child` run up to its next system call's entry; its number, -1 when the child is no more.
long next_entry(pid_t child)
{
    for (;;) {
        if (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) != 0) {
            fail("ptrace");
        }
        int status = 0;
        if (waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) {
            return -1;
        }
        __ptrace_syscall_info info{};
        if (ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) <= 0) {
            fail("PTRACE_GET_SYSCALL_INFO");
        }
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
            return static_cast<long>(info.entry.nr);
        }
    }
}

} // namespace

std::vector<long> traced_system_calls(const std::function<void()>& work)
{
    const pid_t child = fork();
    if (child == 0) {
        be_traced(work);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFSTOPPED(status) ||
        ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL) != 0) {
        fail("cannot trace");
    }
    std::vector<long> calls;
    int markers = 0;
    for (long number = 0; (number = next_entry(child)) >= 0;) {
        if (number == marker) {
            ++markers;
        } else if (markers == 1 && std::find(of_memory_and_clock.begin(), of_memory_and_clock.end(),
                                             number) == of_memory_and_clock.end()) {
            calls.push_back(number);
        }
    }
    if (markers != 2) {
        throw std::runtime_error("the traced work did not come to its end");
    }
    return calls;
}

} // namespace korvane::test
