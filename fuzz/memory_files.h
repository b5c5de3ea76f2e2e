// The machine that the log writes to, in memory: the linker puts it in the place of the C library's calls (-Wl,--wrap of
// open, close, write, stat, mkdir, unlink, nanosleep and time) for as long as a scene is on. Any call can be made to fail.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace korvane::fuzz {

struct memory_file {
    off_t size = 0;
    timespec modified{};
    std::string written; ///< during the scene
};

struct memory_machine {
    std::map<std::string, memory_file, std::less<>> files; ///< folders too
    std::time_t now = 1'700'000'000;
    int slept_s = 0;
    int calls = 0;

    /// What the next call does; an empty one always succeeds.
    struct outcome {
        int error = 0;           ///< errno; 0: success
        std::size_t written = 0; ///< the most that a write takes; 0: all
        bool goes_away = false;  ///< before the call, somebody removes the file
    };
    std::function<outcome()> next_outcome;
};

/// From here to end_scene() the files are those of `machine`; one thread.
void begin_scene(memory_machine& machine);
void end_scene();

} // namespace korvane::fuzz
