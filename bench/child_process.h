// Work in processes of its own, so that their memory is theirs. Begin these before any thread.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace korvane::bench {

/// A peer (peer.h) in a process of its own, until the destructor. `make_answer` runs there.
class peer_process {
public:
    explicit peer_process(const std::function<std::string()>& make_answer);
    ~peer_process();
    peer_process(const peer_process&) = delete;
    peer_process& operator=(const peer_process&) = delete;

private:
    pid_t child_;
    int stop_;
};

/// Runs `work` in a child process and gives the `size` bytes that it left in `result`. Fails (fail.h) when the child
/// does.
void run_in_child(const std::function<void()>& work, void* result, std::size_t size);

/// What `work` returns there, a plain struct.
template <class Result>
Result in_child(const std::function<Result()>& work)
{
    Result result{};
    run_in_child([&] { result = work(); }, &result, sizeof result);
    return result;
}

} // namespace korvane::bench
