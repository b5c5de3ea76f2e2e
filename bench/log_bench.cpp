// One line of the debug log against its system calls alone.
#include "bench/fail.h"
#include "bench/hand_log.h"
#include "bench/pairs.h"
#include "log/korvane_log.h"

namespace korvane::bench {

namespace {

void log_by_library()
{
    // As most lines of the library are.
    char format[] = "[korvane](%s:%d) get human metadata failed, ret = %d";
    korvane_log_debug(format, "query_human_metadata", 128, -1);
}

void add_line(int full_files)
{
    const std::string work = "log line/full files:" + std::to_string(full_files);
    prepare_log(full_files);
    log_by_library();
    const std::string line = log_text(full_files);
    if (line.empty() || line.back() != '\n') {
        fail(work + ": the library wrote \"" + line + "\"");
    }
    const auto log_line = [line] { log_by_hand(line); };
    log_line();
    require_same(work, line + line, log_text(full_files));
    add_pair(work, "bare calls", "line", 1, log_by_library, log_line, [=] { prepare_log(full_files); });
}

} // namespace

} // namespace korvane::bench

int main(int argc, char** argv)
{
    for (const int full_files : {0, 4}) {
        korvane::bench::add_line(full_files);
    }
    korvane::bench::run_pairs(argc, argv);
}
