// The log line's stand-in: the system calls of korvane_log_debug in its order, and nothing formatted.
#pragma once

#include <string>
#include <string_view>

namespace korvane::bench {

/// Writes a line that is ready into the log's ring of files, under the log's lock file.
void log_by_hand(std::string_view line);

/// Empties the log's folder, makes it if missing, and fills so many of the ring's five files, the first ones.
void prepare_log(int full_files);

/// What the ring's file of this index holds.
std::string log_text(int index);

} // namespace korvane::bench
