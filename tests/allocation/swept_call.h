// Calls of the library that are made again and again, each time with another allocation failing.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace korvane::test {

/// One call, ready to be made once.
class prepared_call {
public:
    prepared_call() = default;
    prepared_call(const prepared_call&) = delete;
    prepared_call& operator=(const prepared_call&) = delete;
    virtual ~prepared_call() = default; ///< gives back all that the call handed out

    /// Makes the call; its code.
    virtual int run() = 0;

    /// What the caller finds in all that it gave the call to fill; the same as before it where nothing was written.
    virtual std::string outcome() const = 0;
};

struct swept_call {
    std::string name;
    std::string reply; ///< what the store answers to each of its requests
    std::function<std::unique_ptr<prepared_call>()> prepare;
};

/// Every entry point with each kind that it takes, every request of the store's client, every codec, and the exported
/// helpers that allocate.
std::vector<swept_call> swept_calls();

} // namespace korvane::test
