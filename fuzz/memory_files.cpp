#include "fuzz/memory_files.h"

#include "fuzz/check.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {
int __real_open(const char* path, int flags, ...);
int __real_close(int file);
ssize_t __real_write(int file, const void* bytes, size_t size);
int __real_stat(const char* path, struct stat* status);
int __real_mkdir(const char* path, mode_t mode);
int __real_unlink(const char* path);
int __real_nanosleep(const timespec* wanted, timespec* left);
std::time_t __real_time(std::time_t* out);

int __wrap_open(const char* path, int flags, ...);
int __wrap_close(int file);
ssize_t __wrap_write(int file, const void* bytes, size_t size);
int __wrap_stat(const char* path, struct stat* status);
int __wrap_mkdir(const char* path, mode_t mode);
int __wrap_unlink(const char* path);
int __wrap_nanosleep(const timespec* wanted, timespec* left);
std::time_t __wrap_time(std::time_t* out);
}

namespace korvane::fuzz {

namespace {

// The fuzzer's own thread, which watches over the memory, keeps the real machine.
thread_local memory_machine* scene = nullptr;

constexpr int first_handle = 1'000'000;
std::map<int, std::string> open_files;

/// -1 with errno when the call is to fail.
int begin_call(const char* path, memory_machine::outcome& outcome)
{
    ++scene->calls;
    outcome = scene->next_outcome ? scene->next_outcome() : memory_machine::outcome{};
    if (outcome.goes_away && path != nullptr) {
        scene->files.erase(path);
    }
    errno = outcome.error;
    return outcome.error == 0 ? 0 : -1;
}

int fail_with(int error)
{
    errno = error;
    return -1;
}

int open_file(const char* path, int flags)
{
    memory_machine::outcome outcome;
    if (begin_call(path, outcome) != 0) {
        return -1;
    }
    const bool there = scene->files.count(path) != 0;
    if (there && (flags & O_EXCL) != 0) {
        return fail_with(EEXIST);
    }
    if (!there && (flags & O_CREAT) == 0) {
        return fail_with(ENOENT);
    }
    memory_file& file = scene->files[path];
    if (!there) {
        file.modified.tv_sec = scene->now;
    }
    const int handle = first_handle + scene->calls;
    open_files[handle] = path;
    return handle;
}

ssize_t write_file(int file, std::string_view bytes)
{
    require(open_files.count(file) != 0, "bytes for a file that is not open");
    const std::string& path = open_files[file];
    memory_machine::outcome outcome;
    if (begin_call(nullptr, outcome) != 0) {
        return -1;
    }
    const std::string_view taken = bytes.substr(0, outcome.written > 0 ? outcome.written : bytes.size());
    memory_file& written = scene->files[path];
    written.written.append(taken);
    written.size += static_cast<off_t>(taken.size());
    return static_cast<ssize_t>(taken.size());
}

int stat_file(const char* path, struct stat& status)
{
    memory_machine::outcome outcome;
    if (begin_call(path, outcome) != 0) {
        return -1;
    }
    const auto found = scene->files.find(path);
    if (found == scene->files.end()) {
        return fail_with(ENOENT);
    }
    status = {};
    status.st_size = found->second.size;
    status.st_mtim = found->second.modified;
    return 0;
}

int remove_file(const char* path)
{
    memory_machine::outcome outcome;
    if (begin_call(path, outcome) != 0) {
        return -1;
    }
    return scene->files.erase(path) != 0 ? 0 : fail_with(ENOENT);
}

} // namespace

void begin_scene(memory_machine& machine)
{
    open_files.clear();
    scene = &machine;
}

void end_scene()
{
    scene = nullptr;
    require(open_files.empty(), "a file was left open");
}

} // namespace korvane::fuzz

using korvane::fuzz::scene;

int __wrap_open(const char* path, int flags, ...)
{
    if (scene != nullptr) {
        return korvane::fuzz::open_file(path, flags);
    }
    va_list more;
    va_start(more, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return __real_open(path, flags, mode);
}

int __wrap_close(int file)
{
    if (scene == nullptr) {
        return __real_close(file);
    }
    korvane::fuzz::require(korvane::fuzz::open_files.erase(file) == 1, "a file was closed that is not open");
    return 0;
}

ssize_t __wrap_write(int file, const void* bytes, size_t size)
{
    return scene == nullptr ? __real_write(file, bytes, size)
                            : korvane::fuzz::write_file(file, {static_cast<const char*>(bytes), size});
}

int __wrap_stat(const char* path, struct stat* status)
{
    return scene == nullptr ? __real_stat(path, status) : korvane::fuzz::stat_file(path, *status);
}

int __wrap_mkdir(const char* path, mode_t mode)
{
    if (scene == nullptr) {
        return __real_mkdir(path, mode);
    }
    korvane::fuzz::memory_machine::outcome outcome;
    if (korvane::fuzz::begin_call(nullptr, outcome) != 0) {
        return -1;
    }
    scene->files[path];
    return 0;
}

int __wrap_unlink(const char* path)
{
    return scene == nullptr ? __real_unlink(path) : korvane::fuzz::remove_file(path);
}

int __wrap_nanosleep(const timespec* wanted, timespec* left)
{
    if (scene == nullptr) {
        return __real_nanosleep(wanted, left);
    }
    scene->now += wanted->tv_sec;
    scene->slept_s += static_cast<int>(wanted->tv_sec);
    return 0;
}

std::time_t __wrap_time(std::time_t* out)
{
    return scene == nullptr ? __real_time(out) : scene->now;
}
// NOLINTEND(bugprone-reserved-identifier)
