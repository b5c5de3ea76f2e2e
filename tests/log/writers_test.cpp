// Several writers at once: no line is torn, lost or written twice.
#include "tests/log/log_call.h"
#include "tests/support/child_process.h"
#include "tests/support/debug_log.h"
#include "tests/support/sandbox_test.h"

#include <chrono>
#include <cstdio>
#include <map>
#include <thread>

namespace korvane::test {

namespace {

constexpr int writers = 4;

class log_writers : public sandbox_test {
protected:
    /// From a few bytes to more than a page, told by its number.
    static std::string filler(int number)
    {
        return std::string(static_cast<std::size_t>(number * 97 % 6000), 'f');
    }

    static void write_lines(int writer, int count)
    {
        // All begin at the next tenth of a second, or the first would be done before the last begins.
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        std::this_thread::sleep_for(std::chrono::milliseconds(100) - now % std::chrono::milliseconds(100));
        for (int number = 0; number < count; ++number) {
            log("%d %d %s.", writer, number, filler(number).c_str());
        }
    }

    static void expect_all_lines(int count)
    {
        std::map<int, int> next_number; // of each writer
        for (const std::string& message : debug_log_messages()) {
            int writer = -1;
            int number = -1;
            ASSERT_EQ(std::sscanf(message.c_str(), "%d %d ", &writer, &number), 2) << message.substr(0, 100);
            EXPECT_EQ(number, next_number[writer]++) << "of writer " << writer;
            EXPECT_EQ(message,
                      std::to_string(writer) + ' ' + std::to_string(number) + ' ' + filler(number) + '.');
        }
        ASSERT_EQ(next_number.size(), static_cast<std::size_t>(writers));
        for (const auto& [writer, numbers] : next_number) {
            EXPECT_EQ(numbers, count) << "lines of writer " << writer;
        }
    }
};

TEST_F(log_writers, that_are_processes_do_not_disturb_each_other)
{
    constexpr int count = 60;
    const std::vector<child_end> ends = run_in_children(writers, [](int writer) {
        write_lines(writer, count);
        return 0;
    });
    for (const child_end& end : ends) {
        EXPECT_TRUE(end.exited && end.status == 0) << end.describe() << ": " << end.error_output;
    }
    expect_all_lines(count);
}

TEST_F(log_writers, that_are_threads_do_not_disturb_each_other)
{
    constexpr int count = 60;
    std::vector<std::thread> threads;
    for (int writer = 0; writer < writers; ++writer) {
        threads.emplace_back(write_lines, writer, count);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    expect_all_lines(count);
}

} // namespace

} // namespace korvane::test
