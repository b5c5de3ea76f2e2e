#include "tests/support/child_process.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace korvane::test {

namespace {

[[noreturn]] void be_the_child(const std::function<int()>& work, int error_pipe)
{
    const rlimit no_core{0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    dup2(error_pipe, STDERR_FILENO);
    close(error_pipe);
    int status = 70;
    try {
        status = work();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "exception in the child: %s\n", failure.what());
    }
    std::fflush(nullptr);
    _exit(status);
}

struct running_child {
    pid_t process;
    int error_pipe;
};

running_child start_child(const std::function<int()>& work)
{
    int pipe_ends[2];
    if (pipe2(pipe_ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe2 failed");
    }
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        be_the_child(work, pipe_ends[1]);
    }
    close(pipe_ends[1]);
    return {child, pipe_ends[0]};
}

std::string read_all(int file)
{
    std::string all;
    char part[4096];
    for (ssize_t count = 0; (count = read(file, part, sizeof part)) != 0;) {
        if (count > 0) {
            all.append(part, static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            break;
        }
    }
    return all;
}

child_end end_of(const running_child& child)
{
    child_end end;
    end.error_output = read_all(child.error_pipe);
    close(child.error_pipe);
    int state = 0;
    if (child.process < 0 || waitpid(child.process, &state, 0) != child.process) {
        throw std::runtime_error("fork or waitpid failed");
    }
    end.exited = WIFEXITED(state);
    end.status = WIFEXITED(state) ? WEXITSTATUS(state) : 0;
    end.signal = WIFSIGNALED(state) ? WTERMSIG(state) : 0;
    return end;
}

bool write_once(const char* path, std::string_view text)
{
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    const bool written = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(file);
    return written;
}

} // namespace

bool child_end::aborted() const
{
    return !exited && signal == SIGABRT;
}

std::string child_end::describe() const
{
    return exited ? "exited with " + std::to_string(status)
                  : "ended by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
}

child_end run_in_child(const std::function<int()>& work)
{
    return end_of(start_child(work));
}

std::vector<child_end> run_in_children(int count, const std::function<int(int)>& work)
{
    std::vector<running_child> children;
    for (int i = 0; i < count; ++i) {
        children.push_back(start_child([&work, i] { return work(i); }));
    }
    std::vector<child_end> ends;
    std::transform(children.begin(), children.end(), std::back_inserter(ends), end_of);
    return ends;
}

std::string enter_private_mounts()
{
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return std::string("unshare: ") + std::strerror(errno);
    }
    // The same user as before, or the kernel would refuse to make files for one it has no number for.
    write_once("/proc/self/setgroups", "deny");
    if (!write_once("/proc/self/uid_map", user + " " + user + " 1") ||
        !write_once("/proc/self/gid_map", group + " " + group + " 1")) {
        return std::string("uid_map: ") + std::strerror(errno);
    }
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return std::string("mount: ") + std::strerror(errno);
    }
    return {};
}

} // namespace korvane::test
