// What a piece of work really asks of the kernel, seen from outside of the process.
#pragma once

#include <functional>
#include <vector>

namespace korvane::test {

/// The numbers of the system calls that `work` makes in a child, in order, but for those that manage memory and look at the
/// clock. Throws std::runtime_error where processes may not be traced.
std::vector<long> traced_system_calls(const std::function<void()>& work);

} // namespace korvane::test
