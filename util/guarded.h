// The border between exceptions and result codes.
#pragma once

#include "log/korvane_log.h"
#include <korvane/ai_metadata.h>

#include <exception>

namespace korvane {

/// A code as the functions of the interface return it.
constexpr int as_int(result_code code)
{
    return static_cast<int>(code);
}

/// Runs `work` and returns its code. Nothing may throw across an exported function: where memory runs out the
/// code is result_bad_request.
template <class Work>
auto guarded(const char* function, Work work) -> decltype(work())
{
    try {
        return work();
    } catch (const std::exception& failure) {
        log_debug("[korvane](%s:%d) %s", function, __LINE__, failure.what());
        return static_cast<decltype(work())>(result_bad_request);
    }
}

} // namespace korvane
