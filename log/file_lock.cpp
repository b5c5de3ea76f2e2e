#include "log/file_lock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <thread>

namespace {

/// A lock that goes away between a failed try and the look at its age was just released: another try costs
/// nothing. Bounded all the same, so that no pattern of other writers can keep a caller here.
constexpr int max_free_tries = 1000;

enum class attempt { taken, held, released, impossible };

bool create_lock(const char* path)
{
    const int file = open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0777);
    if (file < 0) {
        return false;
    }
    close(file);
    return true;
}

attempt try_lock(const char* path, std::time_t& held_since)
{
    if (create_lock(path)) {
        return attempt::taken;
    }
    if (errno != EEXIST) {
        return attempt::impossible;
    }
    struct stat status {};
    if (stat(path, &status) != 0) {
        return attempt::released;
    }
    held_since = status.st_mtime;
    return attempt::held;
}

/// True when the lock is ours; false when it is to be taken over.
bool wait_for_lock(const char* path, int seconds)
{
    const std::time_t start = std::time(nullptr);
    int free_tries = 0;
    for (int tries = 0; tries < seconds;) {
        std::time_t held_since = 0;
        switch (try_lock(path, held_since)) {
        case attempt::taken:
            return true;
        case attempt::impossible: // no holder to wait for
            return false;
        case attempt::released:
            if (++free_tries > max_free_tries) {
                return false;
            }
            break;
        case attempt::held:
            if (held_since + seconds < start) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::seconds(1));
            ++tries;
            break;
        }
    }
    return false;
}

} // namespace

void do_file_lock(const char* path, int seconds)
{
    if (path == nullptr || wait_for_lock(path, seconds)) {
        return;
    }
    unlink(path);
    create_lock(path);
}

int do_file_unlock(char* path)
{
    return path ? unlink(path) : -1;
}
