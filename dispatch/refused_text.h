#pragma once

#include "util/fixed_text.h"

namespace korvane {

/// Logs, under a handler's name, the text that did not fit, and gives the code for it.
[[nodiscard]] int refused_text(const char* function, int line, const refuse_if_long& copy);

} // namespace korvane
