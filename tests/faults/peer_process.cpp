#include "tests/faults/peer_process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

namespace korvane::test {

namespace {

[[noreturn]] void serve(std::vector<scripted_reply> replies, int port, int port_pipe, int lifeline)
{
    try {
        scripted_store store(port);
        for (scripted_reply& reply : replies) {
            store.reply_with(std::move(reply));
        }
        port = store.port();
        static_cast<void>(!write(port_pipe, &port, sizeof port));
        char nothing = 0;
        static_cast<void>(!read(lifeline, &nothing, 1)); // comes back when the other end is closed
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "the peer: %s\n", failure.what());
    }
    _exit(0);
}

} // namespace

peer_process::peer_process(std::vector<scripted_reply> replies, int port)
{
    int port_pipe[2];
    int lifeline[2];
    if (pipe2(port_pipe, O_CLOEXEC) != 0 || pipe2(lifeline, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe2 failed");
    }
    child_ = fork();
    if (child_ == 0) {
        close(lifeline[1]);
        serve(std::move(replies), port, port_pipe[1], lifeline[0]);
    }
    close(port_pipe[1]);
    close(lifeline[0]);
    lifeline_ = lifeline[1];
    const bool started = read(port_pipe[0], &port_, sizeof port_) == sizeof port_;
    close(port_pipe[0]);
    if (!started) {
        throw std::runtime_error("the peer does not serve");
    }
}

peer_process::~peer_process()
{
    close(lifeline_);
    waitpid(child_, nullptr, 0);
}

} // namespace korvane::test
