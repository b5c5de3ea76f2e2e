#include "bench/child_process.h"

#include "bench/fail.h"
#include "bench/peer.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace korvane::bench {

namespace {

struct pipe_ends {
    int reading;
    int writing;
};

pipe_ends make_pipe()
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        fail_call("pipe");
    }
    return {ends[0], ends[1]};
}

template <class Work>
pid_t start_child(Work work)
{
    const pid_t child = fork();
    if (child < 0) {
        fail_call("fork");
    }
    if (child == 0) {
        work();
        std::_Exit(EXIT_SUCCESS);
    }
    return child;
}

} // namespace

peer_process::peer_process(const std::function<std::string()>& make_answer)
{
    const pipe_ends ready = make_pipe();
    const pipe_ends stop = make_pipe();
    child_ = start_child([&] {
        close(stop.writing);
        peer peer;
        peer.answer_with(make_answer());
        char byte = 0;
        if (write(ready.writing, &byte, 1) != 1 || read(stop.reading, &byte, 1) != 0) {
            fail_call("a pipe of the peer's process");
        }
    });
    close(ready.writing);
    close(stop.reading);
    stop_ = stop.writing;
    char byte = 0;
    if (read(ready.reading, &byte, 1) != 1) {
        fail("the peer's process did not start");
    }
    close(ready.reading);
}

peer_process::~peer_process()
{
    close(stop_);
    waitpid(child_, nullptr, 0);
}

void run_in_child(const std::function<void()>& work, void* result, std::size_t size)
{
    const pipe_ends told = make_pipe();
    const pid_t child = start_child([&] {
        work();
        if (write(told.writing, result, size) != static_cast<ssize_t>(size)) {
            fail_call("write to the parent process");
        }
    });
    close(told.writing);
    if (read(told.reading, result, size) != static_cast<ssize_t>(size)) {
        fail("a child process ended early");
    }
    close(told.reading);
    waitpid(child, nullptr, 0);
}

} // namespace korvane::bench
