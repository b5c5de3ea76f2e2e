#include "tests/log/log_call.h"
#include "tests/support/debug_log.h"
#include "tests/support/files.h"
#include "tests/support/sandbox_test.h"

#include <sys/stat.h>

#include <array>
#include <filesystem>

namespace korvane::test {

namespace {

constexpr std::size_t full = 1'048'576;

class log_files : public sandbox_test {
protected:
    static void make_file(int index, std::size_t size, std::time_t modified = 1'700'000'000,
                          long nanoseconds = 0)
    {
        std::filesystem::create_directories(log_folder);
        write_file(log_file(index), std::string(size - 1, 'o') + '\n');
        set_modified(log_file(index), modified, nanoseconds);
    }

    /// Writes a line; the file it went to, -1 for none or several.
    static int file_of_a_line()
    {
        const std::string message = "the new line";
        log("%s", message.c_str());
        int found = -1;
        for (int index = 0; index < 5; ++index) {
            if (read_file(log_file(index)).find(message) != std::string::npos) {
                found = found == -1 ? index : -1;
            }
        }
        return found;
    }
};

TEST_F(log_files, begin_with_a_folder_and_file_0)
{
    const mode_t before = umask(0);
    EXPECT_EQ(file_of_a_line(), 0);
    umask(before);
    struct stat status {};
    ASSERT_EQ(stat(log_folder, &status), 0);
    EXPECT_EQ(status.st_mode, S_IFDIR | 0755U);
    EXPECT_FALSE(exists(log_file(1)));
}

TEST_F(log_files, are_used_while_they_have_room)
{
    const struct {
        std::size_t size;
        int file;
    } cases[] = {{1, 0}, {full - 1, 0}, {full, 1}, {full + 1, 1}, {3 * full, 1}};
    for (const auto& c : cases) {
        clear_debug_log();
        make_file(0, c.size);
        EXPECT_EQ(file_of_a_line(), c.file) << c.size;
    }
}

TEST_F(log_files, keep_their_earlier_lines)
{
    make_file(0, full - 1);
    EXPECT_EQ(file_of_a_line(), 0);
    EXPECT_EQ(read_file(log_file(0)).substr(0, full - 1), std::string(full - 2, 'o') + '\n');
}

TEST_F(log_files, are_tried_from_0_to_4)
{
    for (int room = 0; room < 5; ++room) { // the one file that is missing or has room
        for (const bool missing : {true, false}) {
            clear_debug_log();
            for (int index = 0; index < 5; ++index) {
                if (index != room) {
                    make_file(index, full);
                } else if (!missing) {
                    make_file(index, 10);
                }
            }
            EXPECT_EQ(file_of_a_line(), room) << (missing ? "missing" : "with room");
        }
    }
}

TEST_F(log_files, that_are_all_full_are_recycled_after_the_newest)
{
    const struct {
        std::array<int, 5> ages; ///< modification times, in seconds after some moment
        int recycled;
    } cases[] = {
        {{1, 2, 3, 4, 5}, 0}, // rising: the newest is the last, the first follows it
        {{6, 2, 3, 4, 5}, 1}, {{6, 7, 3, 4, 5}, 2}, {{6, 7, 8, 4, 5}, 3},
        {{6, 7, 8, 9, 5}, 4}, {{1, 1, 1, 1, 1}, 0}, // never decreasing
        {{1, 1, 2, 2, 2}, 0}, {{5, 4, 3, 2, 1}, 1}, // the first that is earlier than the one before it
        {{1, 9, 2, 8, 3}, 2}, {{1, 2, 3, 2, 1}, 3},
    };
    for (const auto& c : cases) {
        clear_debug_log();
        for (int index = 0; index < 5; ++index) {
            make_file(index, full, 1'700'000'000 + c.ages[static_cast<std::size_t>(index)]);
        }
        EXPECT_EQ(file_of_a_line(), c.recycled);
        for (int index = 0; index < 5; ++index) {
            const std::size_t size = read_file(log_file(index)).size();
            if (index == c.recycled) {
                EXPECT_LT(size, 200U) << "only the new line is to be in the recycled file";
            } else {
                EXPECT_EQ(size, full) << "file " << index << " is to stay as it was";
            }
        }
    }
}

TEST_F(log_files, that_are_all_full_are_told_apart_by_nanoseconds)
{
    const struct {
        std::array<long, 5> nanoseconds;
        int recycled;
    } cases[] = {
        {{1, 2, 3, 4, 5}, 0},
        {{4, 5, 1, 2, 3}, 2},
        {{2, 3, 4, 5, 1}, 4},
        {{999'999'998, 999'999'999, 999'999'997, 999'999'997, 999'999'997}, 2},
    };
    for (const auto& c : cases) {
        clear_debug_log();
        for (int index = 0; index < 5; ++index) {
            make_file(index, full, 1'700'000'000, c.nanoseconds[static_cast<std::size_t>(index)]);
        }
        EXPECT_EQ(file_of_a_line(), c.recycled);
    }
}

TEST_F(log_files, that_are_all_full_are_told_apart_by_seconds_before_nanoseconds)
{
    for (int index = 0; index < 5; ++index) { // every later file is a second newer and has fewer nanoseconds
        make_file(index, full, 1'700'000'000 + index, 900 - index);
    }
    EXPECT_EQ(file_of_a_line(), 0);
}

TEST_F(log_files, keep_the_newest_lines_in_a_ring)
{
    // About eight files' worth: every file has been recycled at least once or twice at the end.
    const std::string filler(2000, 'f');
    constexpr int lines = 4200;
    for (int i = 0; i < lines; ++i) {
        log("%06d %s", i, filler.c_str());
    }
    std::vector<int> kept;
    for (const std::string& message : debug_log_messages()) {
        kept.push_back(std::stoi(message.substr(0, 6)));
    }
    std::sort(kept.begin(), kept.end());
    ASSERT_FALSE(kept.empty());
    EXPECT_EQ(kept.back(), lines - 1);
    EXPECT_EQ(kept.back() - kept.front() + 1, static_cast<int>(kept.size()))
        << "lines are missing in between";
    EXPECT_GE(kept.size() * filler.size(), 4 * full) << "less than four full files are kept";
}

} // namespace

} // namespace korvane::test
