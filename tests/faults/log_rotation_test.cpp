// Processes and threads that all write at the same time, through one change of files after the other: every line is there
// exactly once and whole, in the files or in those that the ring has recycled, which are kept aside here and accounted for.
//
// KORVANE_TESTS_LONG=1 has 100,000 lines written.
#include "tests/faults/system_call_faults.h"
#include "tests/log/log_call.h"
#include "tests/support/child_process.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <numeric>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

namespace korvane::test {

namespace {

constexpr int processes = 8;
constexpr int threads = 8;
constexpr std::size_t full = 1'048'576;
constexpr const char* archive_folder = "/Vdbglog/archive"; // on the log's own disk: a file is renamed into it

bool long_form()
{
    const char* wanted = std::getenv("KORVANE_TESTS_LONG");
    return wanted != nullptr && std::string_view(wanted) == "1";
}

/// The message of a line, told by its numbers.
std::string message_of(int writer, int number, std::size_t size)
{
    return std::to_string(writer) + ' ' + std::to_string(number) + ' ' +
           std::string(size + static_cast<std::size_t>((writer * 31 + number * 97) % 3000),
                       static_cast<char>('a' + writer % 26)) +
           '.';
}

/// Reads lines as their files are put aside, and gives their room back to the disk: what is kept of a file is how far it was
/// read, so that bytes that a late writer adds are read as well.
class line_counter {
public:
    line_counter(int writers, int lines, std::size_t size)
        : seen_(static_cast<std::size_t>(writers), std::vector<int>(static_cast<std::size_t>(lines)))
        , size_(size)
    {
    }

    void read_folder(const char* folder, bool at_end)
    {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            read_more(entry.path(), at_end);
        }
    }

    /// How many lines were read `times` times.
    long lines_read(int times) const
    {
        long count = 0;
        for (const std::vector<int>& lines : seen_) {
            count += std::count(lines.begin(), lines.end(), times);
        }
        return count;
    }

    long torn() const { return torn_; }
    std::size_t files() const { return read_.size(); }

    /// Files that were recycled before they were full: by two writers at once, one of which had taken the lock over.
    long files_recycled_early() const { return std::count_if(read_.begin(), read_.end(), recycled_early); }

    long lines_recycled_early() const
    {
        return std::accumulate(read_.begin(), read_.end(), 0L, [](long lines, const auto& file) {
            return lines + (recycled_early(file) ? file.second.lines : 0);
        });
    }

private:
    struct progress {
        off_t bytes = 0;
        long lines = 0;
    };

    static bool recycled_early(const std::pair<const std::string, progress>& file)
    {
        return file.first.rfind(archive_folder, 0) == 0 && file.second.bytes < static_cast<off_t>(full);
    }

    void read_more(const std::string& path, bool at_end)
    {
        const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
        if (file < 0) {
            throw std::runtime_error("cannot read " + path);
        }
        progress& file_read = read_[path];
        off_t& done = file_read.bytes;
        const off_t size = lseek(file, 0, SEEK_END);
        std::string bytes(static_cast<std::size_t>(size - done), '\0');
        const ssize_t count = pread(file, bytes.data(), bytes.size(), done);
        bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        const std::size_t whole =
            bytes.rfind('\n') + 1; // a line being written just now is read the next time
        torn_ += at_end && whole < bytes.size();
        file_read.lines += count_lines(std::string_view(bytes).substr(0, whole));
        done += static_cast<off_t>(whole);
        constexpr off_t page = 4096;
        fallocate(file, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0,
                  std::max<off_t>(done / page * page, 1));
        close(file);
    }

    long count_lines(std::string_view lines)
    {
        long count = 0;
        while (!lines.empty()) {
            const std::size_t line_feed = lines.find('\n');
            count_line(std::string(lines.substr(0, line_feed)));
            lines.remove_prefix(line_feed + 1);
            ++count;
        }
        return count;
    }

    void count_line(const std::string& line)
    {
        int year = 0;
        int process = 0;
        int begin = 0;
        int writer = -1;
        int number = -1;
        if (std::sscanf(line.c_str(), "%4d/%*2d/%*2d %*2d:%*2d:%*2d:%*6d  [%5d] %n%d %d ", &year, &process,
                        &begin, &writer, &number) != 4 ||
            writer < 0 || writer >= static_cast<int>(seen_.size()) || number < 0 ||
            number >= static_cast<int>(seen_[0].size()) ||
            line.compare(static_cast<std::size_t>(begin), std::string::npos,
                         message_of(writer, number, size_)) != 0) {
            ++torn_;
            return;
        }
        ++seen_[static_cast<std::size_t>(writer)][static_cast<std::size_t>(number)];
    }

    std::vector<std::vector<int>> seen_;
    std::size_t size_;
    std::map<std::string, progress> read_; // by path
    long torn_ = 0;
};

class log_rotation : public sandbox_test {
protected:
    void SetUp() override
    {
        sandbox_test::SetUp();
        std::filesystem::remove_all(archive_folder);
        std::filesystem::create_directories(archive_folder);
        std::filesystem::create_directories(log_folder);
    }

    static int write_in_threads(int process, int lines, std::size_t size)
    {
        archive_recycled_logs(archive_folder);
        std::vector<std::thread> all;
        for (int thread = 0; thread < threads; ++thread) {
            all.emplace_back([=] {
                const int writer = process * threads + thread;
                for (int number = 0; number < lines; ++number) {
                    log("%s", message_of(writer, number, size).c_str());
                }
            });
        }
        for (std::thread& thread : all) {
            thread.join();
        }
        return 0;
    }
};

TEST_F(log_rotation, by_64_writers_at_once_keeps_every_line_once_and_whole)
{
    const int lines = long_form() ? 1563 : 40; // a writer
    const std::size_t size = 30'000;
    constexpr int writers = processes * threads;
    line_counter counter(writers, lines, size);

    const auto start = std::chrono::steady_clock::now();
    std::atomic<bool> over{false};
    std::vector<child_end> ends;
    std::thread run([&] {
        ends =
            run_in_children(processes, [&](int process) { return write_in_threads(process, lines, size); });
        over = true;
    });
    while (!over) {
        counter.read_folder(archive_folder, false);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    run.join();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    counter.read_folder(archive_folder, true);
    const std::size_t rotations = counter.files();
    counter.read_folder(log_folder, true);

    for (const child_end& end : ends) {
        EXPECT_TRUE(end.exited && end.status == 0) << end.describe() << ": " << end.error_output;
    }
    const long all = static_cast<long>(writers) * lines;
    EXPECT_EQ(counter.torn(), 0);
    EXPECT_EQ(counter.lines_read(1), all);
    EXPECT_EQ(counter.lines_read(0), 0) << "lines are lost";
    EXPECT_GT(rotations, static_cast<std::size_t>(all) * size / full / 2);
    // A writer that was too slow, and whose lock another took over, may recycle the file that the other just began.
    EXPECT_LE(counter.files_recycled_early(), 1 + static_cast<long>(rotations) / 1000);
    std::printf("%ld lines of %zu bytes and more by %d processes of %d threads in %.1f s: %zu files "
                "recycled, %ld of them "
                "with %ld lines early\n",
                all, size, processes, threads, seconds, rotations, counter.files_recycled_early(),
                counter.lines_recycled_early());
    RecordProperty("lines", static_cast<int>(all));
    RecordProperty("files_recycled", static_cast<int>(rotations));
    RecordProperty("lines_recycled_early", static_cast<int>(counter.lines_recycled_early()));
}

} // namespace

} // namespace korvane::test
