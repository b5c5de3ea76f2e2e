// The library's debug log, as a reader sees it: five files under /Vdbglog/.zymux_log that are filled as a
// ring, shared by all processes. A line carries the id of the process that wrote it.
#pragma once

#include <array>
#include <string>
#include <sys/types.h>
#include <vector>

namespace host {

/// Where each of the five files ends. Plain data: it travels through a pipe.
struct log_position {
    struct file_end {
        ino_t file;
        off_t size;
    };
    std::array<file_end, 5> ends;
};

log_position log_end();

/// The lines that process `writer` wrote between two positions, oldest first, without their line feeds.
std::vector<std::string> log_lines(pid_t writer, const log_position& from, const log_position& to);

/// Whether the library has a place to log to. Without one it says nothing, and a message should tell that.
bool log_folder_exists();

} // namespace host
