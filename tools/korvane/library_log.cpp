#include "library_log.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sys/stat.h>

namespace host {
namespace {

std::string log_file(size_t index)
{
    return "/Vdbglog/.zymux_log/.ai_log_" + std::to_string(index);
}

// Every line starts with the local time to the microsecond, two blanks and the writer in brackets.
constexpr size_t time_length = sizeof "2023/11/14 22:13:20:000000" - 1;

std::string writer_mark(pid_t writer)
{
    char mark[24];
    std::snprintf(mark, sizeof mark, "  [%5d] ", static_cast<int>(writer));
    return mark;
}

} // namespace

log_position log_end()
{
    log_position position = {};
    for (size_t index = 0; index < position.ends.size(); ++index) {
        struct stat status;
        if (stat(log_file(index).c_str(), &status) == 0) {
            position.ends[index] = {status.st_ino, status.st_size};
        }
    }
    return position;
}

std::vector<std::string> log_lines(pid_t writer, const log_position& from, const log_position& to)
{
    const std::string mark = writer_mark(writer);
    std::vector<std::string> lines;
    for (size_t index = 0; index < to.ends.size(); ++index) {
        // A file that was recycled in between is another one, or shorter: all of it is new.
        const bool same =
            from.ends[index].file == to.ends[index].file && from.ends[index].size <= to.ends[index].size;
        off_t at = same ? from.ends[index].size : 0;
        if (at == to.ends[index].size) {
            continue;
        }
        std::ifstream file(log_file(index));
        file.seekg(at);
        for (std::string line; at < to.ends[index].size && std::getline(file, line);) {
            at += static_cast<off_t>(line.size()) + 1;
            if (line.compare(std::min(time_length, line.size()), mark.size(), mark) == 0) {
                lines.push_back(line);
            }
        }
    }
    std::stable_sort(lines.begin(), lines.end(), [](const std::string& left, const std::string& right) {
        return left.compare(0, time_length, right, 0, time_length) < 0;
    });
    return lines;
}

bool log_folder_exists()
{
    struct stat status;
    return stat("/Vdbglog", &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace host
