// The result codes as the functions of the interface return them.
#pragma once

#include <korvane/ai_metadata.h>

namespace korvane {

constexpr int as_int(result_code code)
{
    return static_cast<int>(code);
}

} // namespace korvane
