// The border between exceptions and result codes.
#pragma once

#include "log/korvane_log.h"
#include "util/result.h"

#include <cxxabi.h>

#include <exception>

namespace korvane {

/// Runs `work` and returns its code. Nothing may throw across an exported function, not even what a host's session throws:
/// the code is then result_bad_request, and a log line tells why.
template <class Work>
auto guarded(const char* function, Work work) -> decltype(work())
{
    try {
        return work();
    } catch (const std::exception& failure) {
        log_debug("[korvane](%s:%d) %s", function, __LINE__, failure.what());
    } catch (const abi::__forced_unwind&) {
        throw; // the thread is being cancelled; it cannot be kept from it
    } catch (...) {
        log_debug("[korvane](%s:%d) unknown exception", function, __LINE__);
    }
    return static_cast<decltype(work())>(result_bad_request);
}

} // namespace korvane
