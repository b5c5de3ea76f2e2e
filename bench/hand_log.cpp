#include "bench/hand_log.h"

#include "bench/fail.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <fstream>
#include <iterator>

namespace korvane::bench {

namespace {

constexpr const char* folder = "/Vdbglog/.zymux_log";
constexpr const char* paths[] = {
    "/Vdbglog/.zymux_log/.ai_log_0", "/Vdbglog/.zymux_log/.ai_log_1", "/Vdbglog/.zymux_log/.ai_log_2",
    "/Vdbglog/.zymux_log/.ai_log_3", "/Vdbglog/.zymux_log/.ai_log_4",
};
constexpr const char* lock = "/var/.korvane_log_lock";
constexpr off_t full_size = 1'048'576;

bool is_earlier(const timespec& a, const timespec& b)
{
    return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}

/// The first file with room; when all are full, the first that is older than the one before it, emptied.
const char* choose_file()
{
    timespec modified[std::size(paths)];
    for (std::size_t i = 0; i < std::size(paths); ++i) {
        struct stat status {};
        if (stat(paths[i], &status) != 0 || status.st_size < full_size) {
            return paths[i];
        }
        modified[i] = status.st_mtim;
    }
    std::size_t oldest = 0;
    for (std::size_t i = 1; i < std::size(paths) && oldest == 0; ++i) {
        oldest = is_earlier(modified[i], modified[i - 1]) ? i : 0;
    }
    unlink(paths[oldest]);
    return paths[oldest];
}

} // namespace

void log_by_hand(std::string_view line)
{
    const int held = open(lock, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0777);
    if (held < 0) {
        fail_call("open of the lock file");
    }
    close(held);
    struct stat status {};
    stat(folder, &status);
    const int file = open(choose_file(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    // The line's time and process id: the clock costs no call, the zone one where TZ does not name it.
    tzset();
    getpid();
    if (write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        fail_call("write to the log");
    }
    close(file);
    unlink(lock);
}

void prepare_log(int full_files)
{
    mkdir(folder, 0755);
    for (const char* path : paths) {
        unlink(path);
    }
    for (int i = 0; i < full_files; ++i) {
        const int file = open(paths[i], O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
        if (file < 0 || ftruncate(file, full_size) != 0) {
            fail_call(paths[i]);
        }
        close(file);
    }
}

std::string log_text(int index)
{
    std::ifstream file(paths[index], std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace korvane::bench
