// The debug log: one line per failure, in a ring of five files that several processes share.
#pragma once

/// Writes one line, printf-style; the first two arguments are the function's name and a line number. Never
/// fails and never throws; safe from any thread. A line costs a lock file made and removed, a look at up to
/// six files, and an open, write and close, so it is meant for failures and rare notes.
void korvane_log_debug(char* format, ...);

namespace korvane {

/// The same for the library's own use: literal formats, arguments checked by the compiler.
[[gnu::format(printf, 1, 2)]] void log_debug(const char* format, ...);

} // namespace korvane
