// What the terminal behind a descriptor can show.
#pragma once

#include <cstddef>

namespace host {

/// Its width, or 80 when the descriptor is no terminal.
size_t terminal_columns(int descriptor);

/// Whether the locale's letters are UTF-8, so that block characters can be written.
bool locale_is_utf8();

} // namespace host
