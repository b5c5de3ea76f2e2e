#include "tests/faults/system_call_faults.h"

#include "tests/faults/documented_errors.h"
#include "tests/support/debug_log.h"
#include "tests/support/files.h"
#include "tests/support/heap.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

namespace korvane::test {

namespace {

constexpr std::size_t most_calls = 8192;

/// A script at work, and what it has seen.
struct scene {
    const fault_script& script;
    std::size_t room; ///< left on the disk
    witnessed seen;
    std::size_t calls = 0;                ///< also those beyond what is kept
    std::size_t calls_that_may_fail = 0;  ///< those that the script counts
    std::vector<const char*> interrupted; ///< functions whose next call works
    std::time_t clock_ahead = 0;          ///< seconds
};

thread_local scene* active = nullptr;

bool scripted(scene& now, const char* name)
{
    const fault_script& script = now.script;
    if (!script.only.empty() && script.only != name) {
        return false;
    }
    const std::size_t index = now.calls_that_may_fail++;
    return index >= script.at && index - script.at < script.times;
}

bool interrupted_now(scene& now, const char* name)
{
    if (!now.script.interrupted_first || !is_documented(name, EINTR)) {
        return false;
    }
    const auto same = [&](const char* other) { return std::strcmp(name, other) == 0; };
    const auto before = std::find_if(now.interrupted.begin(), now.interrupted.end(), same);
    if (before != now.interrupted.end()) {
        now.interrupted.erase(before);
        return false;
    }
    now.interrupted.push_back(name);
    return true;
}

/// Books a call; the error with which it is to fail, 0 for none.
int error_of_call(const char* name, const char* path = "")
{
    scene& now = *active;
    ++now.calls;
    if (now.seen.calls.size() < now.seen.calls.capacity()) { // what is seen must not need memory
        system_call call{name, {}, 0, heap_blocks_of_this_thread()};
        std::strncat(call.path, path, sizeof call.path - 1);
        now.seen.calls.push_back(call);
    }
    if (scripted(now, name)) {
        ++now.seen.injected;
        return now.script.error;
    }
    return interrupted_now(now, name) ? EINTR : 0;
}

template <class Result>
Result booked(Result result)
{
    const int error = errno;
    if (active != nullptr && active->calls <= active->seen.calls.capacity()) {
        active->seen.calls.back().result = static_cast<long>(result);
    }
    errno = error;
    return result;
}

/// Makes a call under the script: it fails, or the C library's own function is called.
template <class Call>
auto under_script(const char* name, const char* path, Call call) -> decltype(call())
{
    if (active == nullptr) {
        return call();
    }
    if (const int error = error_of_call(name, path)) {
        errno = error;
        return booked(static_cast<decltype(call())>(-1));
    }
    return booked(call());
}

/// The same for calls that have their effect though they report a failure: a descriptor is gone after close in any case, and a
/// connection goes on being made after a signal.
template <class Call>
int under_script_but_done(const char* name, bool (*done_despite)(int error), Call call)
{
    if (active == nullptr) {
        return call();
    }
    const int error = error_of_call(name);
    const int result = error == 0 || done_despite(error) ? call() : -1;
    if (error != 0) {
        errno = error;
    }
    return booked(error != 0 ? -1 : result);
}

std::size_t piece_of(std::size_t size)
{
    return active != nullptr ? std::min(size, active->script.piece) : size;
}

/// Writes what the disk has room for.
template <class Write>
ssize_t write_into_room(std::size_t size, Write write)
{
    if (active == nullptr) {
        return write(size);
    }
    if (active->room == 0) {
        if (active->script.at_full) {
            scene* const interrupted = std::exchange(active, nullptr);
            interrupted->script.at_full();
            active = interrupted;
        }
        errno = ENOSPC;
        return -1;
    }
    const ssize_t written = write(std::min(piece_of(size), active->room));
    if (written > 0 && active->room != no_limit) {
        active->room -= static_cast<std::size_t>(written);
    }
    return written;
}

std::time_t clock_error()
{
    if (active == nullptr || active->script.clock_step == 0) {
        return 0;
    }
    ++active->seen.clock_looks;
    active->clock_ahead += active->script.clock_step;
    return active->clock_ahead;
}

template <class Function>
Function next_definition(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

char archive_folder[64];
std::atomic<int> archived{0};

bool to_be_archived(const char* path)
{
    const std::string_view log_files = "/Vdbglog/.zymux_log/.ai_log_";
    return archive_folder[0] != '\0' && std::strncmp(path, log_files.data(), log_files.size()) == 0;
}

int archive(const char* path)
{
    char kept[128];
    std::snprintf(kept, sizeof kept, "%s/%d_%d", archive_folder, static_cast<int>(getpid()), ++archived);
    return rename(path, kept);
}

} // namespace

witnessed with_faults(const fault_script& script, const std::function<void()>& work)
{
    scene now{script, script.room, {}, 0, 0, {}, 0};
    now.seen.calls.reserve(most_calls);
    now.interrupted.reserve(16);
    is_documented("open", EINTR); // the table is made now, not by the work
    const int descriptors_before = open_descriptors();
    const long long blocks_before = heap_blocks_of_this_thread();
    struct ending {
        ~ending() { active = nullptr; }
    } at_end;
    active = &now;
    work();
    active = nullptr;
    now.seen.blocks_left = heap_blocks_of_this_thread() - blocks_before;
    now.seen.descriptors_left = open_descriptors() - descriptors_before;
    return now.seen;
}

void archive_recycled_logs(const std::string& folder)
{
    std::snprintf(archive_folder, sizeof archive_folder, "%s", folder.c_str());
}

} // namespace korvane::test

using namespace korvane::test;

// What the kernel offers, in front of the C library's definitions. The names of those are looked up and not linked, so that a
// sanitizer's own may stand in between.
extern "C" {

int socket(int domain, int type, int protocol) noexcept
{
    static const auto next = next_definition<int (*)(int, int, int)>("socket");
    return under_script("socket", "", [&] { return next(domain, type, protocol); });
}

int setsockopt(int socket, int level, int name, const void* value, socklen_t size) noexcept
{
    static const auto next = next_definition<int (*)(int, int, int, const void*, socklen_t)>("setsockopt");
    return under_script("setsockopt", "", [&] { return next(socket, level, name, value, size); });
}

int getsockopt(int socket, int level, int name, void* value, socklen_t* size) noexcept
{
    static const auto next = next_definition<int (*)(int, int, int, void*, socklen_t*)>("getsockopt");
    return under_script("getsockopt", "", [&] { return next(socket, level, name, value, size); });
}

int connect(int socket, const sockaddr* peer, socklen_t size)
{
    static const auto next = next_definition<int (*)(int, const sockaddr*, socklen_t)>("connect");
    return under_script_but_done(
        "connect", [](int error) { return error == EINTR || error == EINPROGRESS; },
        [&] { return next(socket, peer, size); });
}

ssize_t send(int socket, const void* bytes, size_t size, int flags)
{
    static const auto next = next_definition<ssize_t (*)(int, const void*, size_t, int)>("send");
    return under_script("send", "", [&] { return next(socket, bytes, piece_of(size), flags); });
}

ssize_t recv(int socket, void* bytes, size_t size, int flags)
{
    static const auto next = next_definition<ssize_t (*)(int, void*, size_t, int)>("recv");
    return under_script("recv", "", [&] { return next(socket, bytes, piece_of(size), flags); });
}

int poll(pollfd* waiting, nfds_t count, int timeout)
{
    static const auto next = next_definition<int (*)(pollfd*, nfds_t, int)>("poll");
    return under_script("poll", "", [&] { return next(waiting, count, timeout); });
}

int close(int file)
{
    static const auto next = next_definition<int (*)(int)>("close");
    return under_script_but_done(
        "close", [](int) { return true; }, [&] { return next(file); });
}

int open(const char* path, int flags, ...)
{
    static const auto next = next_definition<int (*)(const char*, int, ...)>("open");
    va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return under_script("open", path, [&] { return next(path, flags, mode); });
}

int stat(const char* path, struct stat* status) noexcept
{
    static const auto next = next_definition<int (*)(const char*, struct stat*)>("stat");
    return under_script("stat", path, [&] { return next(path, status); });
}

int fstat(int file, struct stat* status) noexcept
{
    static const auto next = next_definition<int (*)(int, struct stat*)>("fstat");
    return under_script("fstat", "", [&] { return next(file, status); });
}

int mkdir(const char* path, mode_t mode) noexcept
{
    static const auto next = next_definition<int (*)(const char*, mode_t)>("mkdir");
    return under_script("mkdir", path, [&] { return next(path, mode); });
}

int unlink(const char* path) noexcept
{
    static const auto next = next_definition<int (*)(const char*)>("unlink");
    return under_script("unlink", path, [&] { return to_be_archived(path) ? archive(path) : next(path); });
}

int ftruncate(int file, off_t size) noexcept
{
    static const auto next = next_definition<int (*)(int, off_t)>("ftruncate");
    return under_script("ftruncate", "", [&] { return next(file, size); });
}

off_t lseek(int file, off_t offset, int whence) noexcept
{
    static const auto next = next_definition<off_t (*)(int, off_t, int)>("lseek");
    return under_script("lseek", "", [&] { return next(file, offset, whence); });
}

ssize_t write(int file, const void* bytes, size_t size)
{
    static const auto next = next_definition<ssize_t (*)(int, const void*, size_t)>("write");
    return under_script("write", "", [&] {
        return write_into_room(size, [&](std::size_t part) { return next(file, bytes, part); });
    });
}

int nanosleep(const timespec* wanted, timespec* left)
{
    static const auto next = next_definition<int (*)(const timespec*, timespec*)>("nanosleep");
    if (active == nullptr) {
        return next(wanted, left);
    }
    const int result = under_script("nanosleep", "", [] { return 0; });
    active->seen.sleeps += result == 0;
    return result;
}

// Looks at the clock are no system calls on today's machines, and cannot fail.

time_t time(time_t* result) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    const time_t seconds = now.tv_sec + clock_error();
    if (result != nullptr) {
        *result = seconds;
    }
    return seconds;
}

int gettimeofday(timeval* now, void*) noexcept
{
    timespec exact{};
    clock_gettime(CLOCK_REALTIME, &exact);
    now->tv_sec = exact.tv_sec + clock_error();
    now->tv_usec = static_cast<suseconds_t>(exact.tv_nsec / 1000);
    return 0;
}
}
