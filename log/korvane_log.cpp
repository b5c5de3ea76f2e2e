#include "log/korvane_log.h"

#include "log/file_lock.h"
#include "platform/local_time.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr const char* log_folder = "/Vdbglog/.zymux_log";
constexpr int file_count = 5;
constexpr off_t full_size = 1'048'576;
constexpr int lock_seconds = 3;
char lock_path[] = "/var/.korvane_log_lock";
constexpr const char* failure_marker = "/tmp/log_korvane_fail";

struct file_path {
    char text[sizeof "/Vdbglog/.zymux_log/.ai_log_0"] = "/Vdbglog/.zymux_log/.ai_log_0";
};

file_path path_of(int index)
{
    file_path path;
    path.text[sizeof path.text - 2] = static_cast<char>('0' + index);
    return path;
}

bool earlier(const timespec& a, const timespec& b)
{
    return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}

/// The files are filled as a ring: the first with room is used; when all are full, the one after the newest
/// is emptied.
file_path choose_file()
{
    std::array<timespec, file_count> modified{};
    for (int index = 0; index < file_count; ++index) {
        const file_path path = path_of(index);
        struct stat status {};
        if (stat(path.text, &status) != 0 || status.st_size < full_size) {
            return path;
        }
        modified[static_cast<std::size_t>(index)] = status.st_mtim;
    }
    int oldest = 0;
    for (int index = 1; index < file_count && oldest == 0; ++index) {
        const auto i = static_cast<std::size_t>(index);
        if (earlier(modified[i], modified[i - 1])) {
            oldest = index;
        }
    }
    const file_path path = path_of(oldest);
    // Who took the lock over from a slow writer may have been here just before: its new file holds new lines.
    struct stat status {};
    if (stat(path.text, &status) == 0 && status.st_size >= full_size) {
        unlink(path.text);
    }
    return path;
}

void make_log_folder()
{
    struct stat status {};
    if (stat(log_folder, &status) != 0) {
        mkdir(log_folder, 0755);
    }
}

void mark_failure()
{
    // /tmp is anybody's: a link planted there must not make us empty the file behind it, nor a pipe make us wait.
    const int file =
        open(failure_marker, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666);
    if (file >= 0) {
        close(file);
    }
}

/// Writes a number that is not negative, at least `width` characters wide, and what stands behind it.
char* put(char* at, int value, int width, char filler, std::string_view behind)
{
    std::array<char, 12> digits;
    const auto length =
        std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr - digits.data();
    for (auto i = length; i < width; ++i) {
        *at++ = filler;
    }
    at = std::copy_n(digits.data(), length, at);
    return std::copy(behind.begin(), behind.end(), at);
}

/// One line in the making. The message is formatted before the lock is taken and the prefix under it, so that
/// the lock is held briefly and the lines of a file still stand in order of time; both go out in one write,
/// never torn.
class log_line {
public:
    log_line(const char* format, va_list arguments)
    {
        va_list again;
        va_copy(again, arguments);
        int length = std::vsnprintf(message(), sizeof small_ - prefix_room, format, arguments);
        if (length >= static_cast<int>(sizeof small_ - prefix_room)) {
            length = format_large(format, again, length);
        }
        va_end(again);
        length_ = length > 0 ? static_cast<std::size_t>(length) : 0;
    }

    ~log_line()
    {
        if (text_ != small_) {
            std::free(text_);
        }
    }

    log_line(const log_line&) = delete;
    log_line& operator=(const log_line&) = delete;

    void write_to(int file)
    {
        char prefix[prefix_room];
        const std::size_t prefix_length = make_prefix(prefix);
        char* begin = message() - prefix_length;
        std::memcpy(begin, prefix, prefix_length);
        message()[length_] = '\n'; // in the terminator's place
        const std::size_t size = prefix_length + length_ + 1;
        std::size_t done = 0;
        while (done < size) {
            const ssize_t written = write(file, begin + done, size - done);
            if (written > 0) {
                done += static_cast<std::size_t>(written);
            } else if (written == 0 || errno != EINTR) {
                take_back(file, done);
                return;
            }
        }
    }

private:
    static constexpr std::size_t prefix_room = 96;

    char* message() { return text_ + prefix_room; }

    /// Takes the beginning of a line back that the disk had no room for, or the next line would stand behind it; not
    /// when another writer's line already does.
    static void take_back(int file, std::size_t written)
    {
        const off_t end = lseek(file, 0, SEEK_CUR);
        if (written > 0 && end >= 0 && lseek(file, 0, SEEK_END) == end) {
            static_cast<void>(!ftruncate(file, end - static_cast<off_t>(written)));
        }
    }

    int format_large(const char* format, va_list arguments, int length)
    {
        const auto size = prefix_room + static_cast<std::size_t>(length) + 1;
        if (auto* large = static_cast<char*>(std::malloc(size))) {
            text_ = large;
            return std::vsnprintf(message(), size - prefix_room, format, arguments);
        }
        return static_cast<int>(sizeof small_ - prefix_room -
                                1); // no memory: what fits is better than nothing
    }

    static std::size_t make_prefix(char (&prefix)[prefix_room])
    {
        timeval now{};
        gettimeofday(&now, nullptr);
        tzset();
        const std::tm local = korvane::local_time(now.tv_sec);
        // "%04d/%02d/%02d %02d:%02d:%02d:%06d  [%5d] ", which printf itself takes 6 % of a line's time for
        char* end = prefix;
        end = put(end, local.tm_year + 1900, 4, '0', "/");
        end = put(end, local.tm_mon + 1, 2, '0', "/");
        end = put(end, local.tm_mday, 2, '0', " ");
        end = put(end, local.tm_hour, 2, '0', ":");
        end = put(end, local.tm_min, 2, '0', ":");
        end = put(end, local.tm_sec, 2, '0', ":");
        end = put(end, static_cast<int>(now.tv_usec), 6, '0', "  [");
        end = put(end, static_cast<int>(getpid()), 5, ' ', "] ");
        return static_cast<std::size_t>(end - prefix);
    }

    char small_[1024];
    char* text_ = small_;
    std::size_t length_ = 0;
};

void write_line(const char* format, va_list arguments)
{
    const int caller_errno = errno;
    log_line line(format, arguments);

    do_file_lock(lock_path, lock_seconds);
    make_log_folder();
    const int file = open(choose_file().text, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0) {
        mark_failure();
    } else {
        line.write_to(file);
        close(file);
    }
    do_file_unlock(lock_path);
    errno = caller_errno;
}

} // namespace

void korvane_log_debug(char* format, ...)
{
    if (format == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    write_line(format, arguments);
    va_end(arguments);
}

void korvane::log_debug(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    write_line(format, arguments);
    va_end(arguments);
}
