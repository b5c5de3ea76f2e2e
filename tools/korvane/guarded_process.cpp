#include "guarded_process.h"

#include "text.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace host {
namespace {

[[noreturn]] void fail(const char* what)
{
    throw std::runtime_error(std::string(what) + ": " + system_message());
}

[[noreturn]] void live_guarded(const std::function<void(int)>& body, int results, int errors, pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(0); // the parent was gone before the line above
    }
    const rlimit no_core = {0, 0}; // an expected end leaves no core file behind
    setrlimit(RLIMIT_CORE, &no_core);
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGPIPE, SIG_DFL);
    dup2(errors, STDERR_FILENO);
    body(results);
    _exit(0); // the parent's buffers are the parent's to write
}

std::string all_text(int file)
{
    std::string text;
    char piece[4096];
    for (off_t at = 0;;) {
        const ssize_t got = pread(file, piece, sizeof piece, at);
        if (got <= 0) {
            return text;
        }
        text.append(piece, static_cast<size_t>(got));
        at += got;
    }
}

std::string last_line(std::string text)
{
    text.erase(text.find_last_not_of('\n') + 1);
    return text.substr(text.rfind('\n') + 1); // npos + 1 is 0: all of it
}

} // namespace

guarded_process::guarded_process(const std::function<void(int)>& body)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        fail("cannot make a pipe");
    }
    results_ = ends[0];
    errors_ = memfd_create("korvane errors", MFD_CLOEXEC);
    std::fflush(nullptr);
    const pid_t parent = getpid();
    process_ = errors_ < 0 ? -1 : fork();
    if (process_ == 0) {
        close(results_);
        live_guarded(body, ends[1], errors_, parent);
    }
    const int error = errno;
    close(ends[1]);
    if (process_ < 0) {
        close(results_);
        close(errors_);
        errno = error;
        fail("cannot start a process for the library's calls");
    }
}

guarded_process::~guarded_process()
{
    close(results_);
    close(errors_);
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
}

size_t guarded_process::read_results(void* to, size_t size) const
{
    size_t have = 0;
    while (have < size) {
        const ssize_t got = read(results_, static_cast<char*>(to) + have, size - have);
        if (got == 0 || (got < 0 && errno != EINTR)) {
            break;
        }
        have += got > 0 ? static_cast<size_t>(got) : 0;
    }
    return have;
}

std::string guarded_process::wait()
{
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = 0;
    error_text_ = all_text(errors_);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
        return "";
    }
    const std::string line = last_line(error_text_);
    const std::string how = WIFSIGNALED(status) ? std::string("signal ") + std::to_string(WTERMSIG(status)) +
                                                      ", " + sigdescr_np(WTERMSIG(status))
                                                : "exit status " + std::to_string(WEXITSTATUS(status));
    return line.empty() ? how : line + " (" + how + ")";
}

void write_results(int results, const void* from, size_t size)
{
    const char* at = static_cast<const char*>(from);
    while (size > 0) {
        const ssize_t wrote = write(results, at, size);
        if (wrote < 0 && errno != EINTR) {
            _exit(1);
        }
        const size_t step = wrote > 0 ? static_cast<size_t>(wrote) : 0;
        at += step;
        size -= step;
    }
}

} // namespace host
