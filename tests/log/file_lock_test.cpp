#include "log/file_lock.h"
#include "tests/support/files.h"
#include "tests/support/sandbox_test.h"

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <thread>

namespace korvane::test {

namespace {

using std::chrono::milliseconds;

class file_lock : public sandbox_test {
protected:
    void SetUp() override
    {
        sandbox_test::SetUp();
        unlink(path_.c_str());
    }

    milliseconds take(int seconds) const { return take(path_, seconds); }

    static milliseconds take(const std::string& path, int seconds)
    {
        const auto start = std::chrono::steady_clock::now();
        do_file_lock(path.c_str(), seconds);
        return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
    }

    /// A lock of another holder, who took it `age` seconds ago.
    void hold_since(std::time_t age) const
    {
        write_file(path_, "another holder");
        set_modified(path_, std::time(nullptr) - age);
    }

    /// Ages are whole seconds: the clock must not go on to the next one between a lock's making and its
    /// judging.
    static void wait_for_a_second_to_begin()
    {
        timespec now{};
        do {
            clock_gettime(CLOCK_REALTIME, &now);
        } while (now.tv_nsec > 300'000'000);
    }

    void expect_taken_over() const
    {
        EXPECT_EQ(read_file(path_), "") << "the lock is still the other holder's";
    }

    std::string path_ = "/tmp/lock";
    static constexpr milliseconds no_sleep{500};
};

TEST_F(file_lock, is_an_empty_file_for_everybody)
{
    const mode_t before = umask(0);
    EXPECT_LT(take(3), no_sleep);
    umask(before);
    struct stat status {};
    ASSERT_EQ(stat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 0);
    EXPECT_EQ(status.st_mode, S_IFREG | 0777U);
}

TEST_F(file_lock, leaves_no_descriptor_open)
{
    const int before = open_descriptors();
    take(3);
    hold_since(100);
    take(3);
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(file_lock, is_removed_by_the_unlock)
{
    take(3);
    EXPECT_EQ(do_file_unlock(path_.data()), 0);
    EXPECT_FALSE(exists(path_));
}

TEST_F(file_lock, unlock_returns_the_removals_result)
{
    EXPECT_EQ(do_file_unlock(path_.data()), -1);
}

TEST_F(file_lock, without_a_path_is_none)
{
    do_file_lock(nullptr, 3);
    EXPECT_EQ(do_file_unlock(nullptr), -1);
}

TEST_F(file_lock, can_be_taken_again_after_the_unlock)
{
    for (int i = 0; i < 100; ++i) {
        EXPECT_LT(take(3), no_sleep);
        EXPECT_EQ(do_file_unlock(path_.data()), 0);
    }
}

TEST_F(file_lock, held_by_another_is_taken_over_after_as_many_seconds_as_asked)
{
    hold_since(0);
    const milliseconds waited = take(3);
    EXPECT_GE(waited, milliseconds(2900));
    EXPECT_LT(waited, milliseconds(3700));
    expect_taken_over();
}

TEST_F(file_lock, held_by_another_costs_one_second_when_one_is_asked)
{
    hold_since(0);
    const milliseconds waited = take(1);
    EXPECT_GE(waited, milliseconds(900));
    EXPECT_LT(waited, milliseconds(1700));
    expect_taken_over();
}

TEST_F(file_lock, released_meanwhile_is_taken_at_the_next_try)
{
    hold_since(0);
    std::thread holder([this] {
        std::this_thread::sleep_for(milliseconds(300));
        unlink(path_.c_str());
    });
    const milliseconds waited = take(3);
    holder.join();
    EXPECT_GE(waited, milliseconds(900));
    EXPECT_LT(waited, milliseconds(1700));
    EXPECT_TRUE(exists(path_));
}

TEST_F(file_lock, left_behind_by_a_crashed_holder_is_taken_over_at_once)
{
    hold_since(3600);
    EXPECT_LT(take(3), no_sleep);
    expect_taken_over();
}

TEST_F(file_lock, is_stale_when_it_is_older_than_the_seconds_asked)
{
    wait_for_a_second_to_begin();
    hold_since(2);
    EXPECT_LT(take(1), no_sleep);
    expect_taken_over();
}

TEST_F(file_lock, is_held_when_it_is_exactly_as_old_as_the_seconds_asked)
{
    wait_for_a_second_to_begin();
    hold_since(1);
    EXPECT_GE(take(1), milliseconds(900));
    expect_taken_over();
}

TEST_F(file_lock, from_the_future_is_a_held_one)
{
    hold_since(-3600);
    EXPECT_GE(take(1), milliseconds(900));
    expect_taken_over();
}

TEST_F(file_lock, is_taken_over_at_once_when_no_second_is_to_be_waited)
{
    for (const int seconds : {0, -1}) {
        hold_since(0);
        EXPECT_LT(take(seconds), no_sleep);
        expect_taken_over();
    }
}

TEST_F(file_lock, that_cannot_be_made_costs_no_sleep)
{
    EXPECT_LT(take("/tmp/no/such/folder/lock", 3), no_sleep);
    write_file("/tmp/plain_file", "");
    EXPECT_LT(take("/tmp/plain_file/lock", 3), no_sleep);
    EXPECT_LT(take("/tmp/" + std::string(300, 'x'), 3), no_sleep);
}

TEST_F(file_lock, gone_again_when_its_age_is_asked_costs_no_sleep)
{
    // A link to nothing: it is there when the lock is to be made, and has no age.
    ASSERT_EQ(symlink("/tmp/nothing", path_.c_str()), 0);
    EXPECT_LT(take(3), no_sleep);
    struct stat status {};
    ASSERT_EQ(lstat(path_.c_str(), &status), 0);
    EXPECT_TRUE(S_ISREG(status.st_mode));
    EXPECT_FALSE(exists("/tmp/nothing"));
}

} // namespace

} // namespace korvane::test
