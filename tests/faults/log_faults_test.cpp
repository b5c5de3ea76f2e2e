// Every system call of a log line fails in every way that the manual knows. A line is written whole or not at all, never waits
// longer than it may, leaves the host as it was, and the next line is written.
#include "tests/faults/documented_errors.h"
#include "tests/faults/faults_test.h"
#include "tests/faults/system_call_trace.h"
#include "tests/log/log_call.h"
#include "tests/support/child_process.h"
#include "tests/support/debug_log.h"
#include "tests/support/files.h"

#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>

namespace korvane::test {

namespace {

constexpr std::size_t full = 1'048'576;
constexpr int most_sleeps = 3; // of a second each
constexpr int caller_errno = EDOM;

bool is(const system_call& call, std::string_view name)
{
    return call.name == name;
}

bool names_a_log_file(const system_call& call)
{
    return std::string_view(call.path).find("/.ai_log_") != std::string_view::npos;
}

void make_file(int index, std::time_t age)
{
    write_file(log_file(index), std::string(full - 1, 'o') + '\n');
    set_modified(log_file(index), std::time(nullptr) - age);
}

/// What a line finds.
struct scene {
    const char* name;
    void (*set)();
    bool written = true; ///< whether the line is, when nothing fails
    std::size_t message_size = 20;
    std::size_t piece = no_limit;
    std::size_t room = no_limit;

    fault_script script() const
    {
        fault_script script;
        script.piece = piece;
        script.room = room;
        return script;
    }
};

void one_line_there()
{
    std::filesystem::create_directories(log_folder);
    write_file(log_file(0), "2024/01/01 00:00:00:000000  [    1] earlier\n");
}

const scene scenes[] = {
    {"no folder yet", [] {}},
    {"a file with room", one_line_there},
    {"two files full",
     [] {
         one_line_there();
         make_file(0, 20);
         make_file(1, 10);
     }},
    {"all files full",
     [] {
         one_line_there();
         for (int index = 0; index < 5; ++index) {
             make_file(index, index < 2 ? 10 - index : 100 - index); // the newest is file 1
         }
     }},
    {"a lock left behind long ago",
     [] {
         one_line_there();
         write_file(log_lock, "");
         set_modified(log_lock, std::time(nullptr) - 3600);
     }},
    {"a lock just left behind",
     [] {
         one_line_there();
         write_file(log_lock, "");
     }},
    {"a lock from the future",
     [] {
         one_line_there();
         write_file(log_lock, "");
         set_modified(log_lock, std::time(nullptr) + 3600);
     }},
    {"a large line in short writes", one_line_there, true, 5000, 700},
    {"a disk that fills within the line", one_line_there, false, 5000, no_limit, 700},
    {"a full disk", one_line_there, false, 20, no_limit, 0},
    {"no base folder", [] { rmdir(log_base_folder); }, false},
};

class log_faults : public faults_test {
protected:
    static void set(const scene& at)
    {
        clear_debug_log();
        unlink(log_lock);
        unlink(log_failure_marker);
        at.set();
    }

    static std::string message_of(const scene& at, const char* mark)
    {
        return mark + std::string(at.message_size, 'm') + '.';
    }

    static witnessed log_under(const fault_script& script, const std::string& message)
    {
        int kept_errno = 0;
        const witnessed seen = with_faults(script, [&] {
            errno = caller_errno;
            log("%s", message.c_str());
            kept_errno = errno;
        });
        EXPECT_EQ(kept_errno, caller_errno);
        return seen;
    }

    /// How many lines end with `message`; everything else in the files has to be whole lines, too.
    static int lines_with(const std::string& message, const std::string& mark)
    {
        int whole = 0;
        int marks = 0;
        for (int index = 0; index < 5; ++index) {
            const std::string bytes = read_file(log_file(index));
            EXPECT_TRUE(bytes.empty() || bytes.back() == '\n') << log_file(index) << " ends in a torn line";
            for (std::size_t at = 0; (at = bytes.find(mark, at)) != std::string::npos; at += mark.size()) {
                ++marks;
                whole += bytes.compare(at, message.size() + 1, message + '\n') == 0;
            }
        }
        EXPECT_EQ(whole, marks) << "a torn line";
        return whole;
    }

    /// Whether a line is written though `broken` fails with `error`.
    static bool survives(const scene& at, const system_call& broken, int error)
    {
        if (is(broken, "write")) {
            return at.written && error == EINTR;
        }
        return at.written && !is(broken, "mkdir") && !(is(broken, "open") && names_a_log_file(broken));
    }

    static void expect_next_line(const std::string& told)
    {
        std::filesystem::create_directories(log_base_folder);
        const witnessed seen = log_under({}, "next line.");
        EXPECT_EQ(lines_with("next line.", "next"), 1) << "after " << told;
        EXPECT_LE(seen.sleeps, most_sleeps) << "after " << told;
        EXPECT_FALSE(exists(log_lock)) << "after " << told;
        expect_nothing_left(seen, "the line after " + told);
    }

    void expect_fault(const scene& at, const std::vector<system_call>& calls, std::size_t number, int error)
    {
        const system_call& broken = calls[number];
        const std::string told = std::string(at.name) + ": " + broken.name + ' ' + broken.path + " as call " +
                                 std::to_string(number) + " fails with " + std::string(error_name(error));
        set(at);
        fault_script script = at.script();
        script.at = number;
        script.error = error;
        const std::string message = message_of(at, "mark");
        const witnessed seen = log_under(script, message);
        count_faults(seen.injected);

        const bool written = survives(at, broken, error);
        const bool opened = written || is(broken, "write") || at.room != no_limit;
        const bool file_refused = is(broken, "open") && names_a_log_file(broken);
        const bool marked = (!opened || file_refused) &&
                            !(is(broken, "open") && broken.path == std::string(log_failure_marker));
        const bool cannot_take_back = at.room > 0 && at.room != no_limit &&
                                      (is(broken, "ftruncate") || is(broken, "lseek") || is(broken, "fstat"));
        if (!cannot_take_back) {
            EXPECT_EQ(lines_with(message, "mark"), written ? 1 : 0) << told;
        }
        EXPECT_EQ(exists(log_failure_marker), marked) << told;
        EXPECT_EQ(exists(log_lock), number == calls.size() - 1) << told;
        EXPECT_LE(seen.sleeps, most_sleeps) << told;
        expect_nothing_left(seen, told);
        if (!cannot_take_back) {
            expect_next_line(told);
        }
    }
};

TEST_F(log_faults, reach_every_system_call_of_a_line)
{
    for (const scene& at : scenes) {
        if (at.room != no_limit || at.piece != no_limit || at.name == std::string("a lock from the future")) {
            continue; // the kernel has no part in these, and waiting three seconds once will do
        }
        set(at);
        const std::vector<system_call> seen = log_under({}, "message").calls;
        set(at);
        const std::vector<long> traced = traced_system_calls([] { log("message"); });
        expect_faults(traced.size());
        ASSERT_EQ(seen.size(), traced.size()) << at.name;
        for (std::size_t i = 0; i < seen.size(); ++i) {
            const std::vector<long>& numbers = facts_of(seen[i].name).numbers;
            const bool met = std::find(numbers.begin(), numbers.end(), traced[i]) != numbers.end();
            EXPECT_TRUE(met) << at.name << ": call " << i << ", seen as " << seen[i].name << ", is number "
                             << traced[i];
            count_faults(met);
        }
    }
}

TEST_F(log_faults, of_every_call_lose_a_line_whole_or_not_at_all)
{
    for (const scene& at : scenes) {
        set(at);
        const std::vector<system_call> calls = log_under(at.script(), message_of(at, "mark")).calls;
        EXPECT_EQ(lines_with(message_of(at, "mark"), "mark"), at.written ? 1 : 0) << at.name;
        for (std::size_t number = 0; number < calls.size() && !HasFailure(); ++number) {
            const std::vector<int>& errors = facts_of(calls[number].name).errors;
            expect_faults(errors.size());
            for (const int error : errors) {
                expect_fault(at, calls, number, error);
            }
        }
    }
}

TEST_F(log_faults, that_go_on_and_on_cost_a_line_at_most_three_sleeps)
{
    for (const scene& at : scenes) {
        for (const char* name : {"open", "close", "stat", "mkdir", "unlink", "write", "nanosleep"}) {
            set(at);
            const std::string told = std::string(at.name) + ": " + name + " fails for ever";
            fault_script script = at.script();
            script.at = 0;
            script.times = no_limit;
            script.only = name;
            const std::vector<system_call> calm = log_under(at.script(), "calm").calls;
            const bool called =
                std::any_of(calm.begin(), calm.end(), [&](const system_call& c) { return is(c, name); });
            for (const int error : facts_of(name).errors) {
                if (!called || error == EINTR) {
                    continue; // one that is interrupted for ever makes no headway, and no time-out is promised
                }
                set(at);
                script.error = error;
                expect_faults(1);
                const witnessed seen = log_under(script, "message");
                count_faults(seen.injected > 0);
                EXPECT_LE(seen.sleeps, most_sleeps) << told;
                EXPECT_LT(seen.calls.size(), 3000U) << told;
                expect_nothing_left(seen, told);
                expect_next_line(told);
            }
        }
    }
}

TEST_F(log_faults, that_are_short_writes_tear_no_line)
{
    const scene& at = scenes[1];
    for (std::size_t piece = 1; piece <= 60; ++piece) {
        set(at);
        fault_script script;
        script.piece = piece;
        expect_faults(1);
        const std::string message = message_of(at, "mark");
        const witnessed seen = log_under(script, message);
        count_faults(std::count_if(seen.calls.begin(), seen.calls.end(),
                                   [](const auto& c) { return is(c, "write"); }) > 1);
        EXPECT_EQ(lines_with(message, "mark"), 1) << piece;
    }
}

TEST_F(log_faults, that_are_writes_of_nothing_lose_the_line_and_end)
{
    set(scenes[1]);
    const std::size_t before = read_file(log_file(0)).size();
    fault_script script;
    script.piece = 0;
    expect_faults(1);
    const witnessed seen = log_under(script, "mark");
    count_faults(std::count_if(seen.calls.begin(), seen.calls.end(),
                               [](const auto& c) { return is(c, "write") && c.result == 0; }) == 1);
    EXPECT_EQ(read_file(log_file(0)).size(), before);
    expect_nothing_left(seen, "a write of nothing");
    expect_next_line("a write of nothing");
}

TEST_F(log_faults, that_are_disks_full_after_any_byte_leave_no_torn_line)
{
    const scene& at = scenes[1];
    const std::string message = message_of(at, "mark");
    set(at);
    const std::size_t before = read_file(log_file(0)).size();
    log("%s", message.c_str());
    const std::size_t line = read_file(log_file(0)).size() - before;
    for (std::size_t room = 0; room < line; ++room) {
        set(at);
        fault_script script;
        script.room = room;
        expect_faults(1);
        const witnessed seen = log_under(script, message);
        count_faults(std::any_of(seen.calls.begin(), seen.calls.end(),
                                 [](const auto& c) { return is(c, "write") && c.result < 0; }));
        EXPECT_EQ(read_file(log_file(0)).size(), before) << room;
        expect_nothing_left(seen, "a disk full after " + std::to_string(room));
        expect_next_line("a disk full after " + std::to_string(room));
    }
}

TEST_F(log_faults, that_are_a_disk_full_within_a_line_spare_what_another_writer_put_behind_it)
{
    const std::string other = "2024/01/01 00:00:00:000000  [    2] other\n"; // its writer took the lock over
    set(scenes[1]);
    fault_script script;
    script.room = 30;
    script.at_full = [&other] { std::ofstream(log_file(0), std::ios::app) << other; };
    expect_faults(1);
    const witnessed seen = log_under(script, "mark");
    count_faults(std::any_of(seen.calls.begin(), seen.calls.end(),
                             [](const auto& c) { return is(c, "write") && c.result < 0; }));
    const std::string bytes = read_file(log_file(0));
    EXPECT_EQ(bytes.substr(bytes.size() - std::min(bytes.size(), other.size())), other);
}

TEST_F(log_faults, that_are_clocks_put_back_and_forward_delay_no_line_beyond_its_three_tries)
{
    for (const scene& at : scenes) {
        for (const std::time_t step : {-1, 1, -3, 3, -4, 4, -3600, 3600, -1'000'000'000, 1'000'000'000}) {
            set(at);
            fault_script script = at.script();
            script.clock_step = step;
            const std::string told =
                std::string(at.name) + ", a clock put on by " + std::to_string(step) + " s";
            const std::string message = message_of(at, "mark");
            expect_faults(1);
            const witnessed seen = log_under(script, message);
            count_faults(seen.clock_looks > 0);
            EXPECT_EQ(lines_with(message, "mark"), at.written ? 1 : 0) << told;
            EXPECT_LE(seen.sleeps, most_sleeps) << told;
            EXPECT_FALSE(exists(log_lock)) << told;
            expect_nothing_left(seen, told);
        }
    }
}

TEST_F(log_faults, that_are_files_from_the_future_keep_the_log_going_in_five_files)
{
    // As after a clock that was put back: whichever file is ahead of the others, lines are written and four files stay.
    for (int ahead = 0; ahead < 5; ++ahead) {
        set(scenes[3]);
        set_modified(log_file(ahead), std::time(nullptr) + 86'400);
        expect_faults(1);
        int written = 0;
        for (int i = 0; i < 700; ++i) { // more than two files full
            const std::string message = "mark" + std::to_string(i) + std::string(4000, 'm') + '.';
            log("%s", message.c_str());
            written += i == 699 ? lines_with(message, "mark699") : 0;
        }
        EXPECT_EQ(written, 1) << "file " << ahead << " is from the future";
        count_faults(exists(log_file(ahead)));
        const std::filesystem::directory_iterator entries{log_folder};
        EXPECT_EQ(std::distance(begin(entries), end(entries)), 5);
    }
}

TEST_F(log_faults, that_are_too_few_descriptors_lose_a_line_and_no_more)
{
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    for (const scene& at : scenes) {
        set(at);
        const std::string message = message_of(at, "mark");
        const rlimit none{0, before.rlim_max};
        expect_faults(1);
        const witnessed seen = with_faults(at.script(), [&] {
            setrlimit(RLIMIT_NOFILE, &none);
            log("%s", message.c_str());
            setrlimit(RLIMIT_NOFILE, &before);
        });
        count_faults(std::all_of(seen.calls.begin(), seen.calls.end(),
                                 [](const auto& c) { return !is(c, "open") || c.result == -1; }));
        EXPECT_EQ(lines_with(message, "mark"), 0) << at.name;
        EXPECT_LE(seen.sleeps, most_sleeps) << at.name;
        EXPECT_FALSE(exists(log_lock)) << at.name;
        expect_nothing_left(seen, at.name);
        expect_next_line(at.name);
    }
}

TEST_F(log_faults, that_are_a_disk_really_filling_within_a_line_leave_the_earlier_lines_whole)
{
    const child_end end = run_in_child([] {
        const std::string error = enter_private_mounts();
        if (!error.empty() || mount("small", log_base_folder, "tmpfs", 0, "size=64k") != 0) {
            std::fprintf(stderr, "cannot mount over %s: %s", log_base_folder, error.c_str());
            return 1;
        }
        const std::string message(3000, 'm');
        for (int i = 0; i < 40; ++i) { // twice what there is room for
            log("%s", message.c_str());
        }
        const std::string bytes = read_file(log_file(0));
        if (bytes.size() < 40'000 || bytes.back() != '\n') {
            std::fprintf(stderr, "%zu bytes, the last line is torn", bytes.size());
            return 1;
        }
        write_file(log_file(1), ""); // so that the folder has room again
        if (truncate(log_file(0).c_str(), 0) != 0) {
            return 1;
        }
        log("room again");
        return lines_with("room again", "room again") == 1 ? 0 : 2;
    });
    expect_faults(1);
    count_faults(end.exited);
    EXPECT_TRUE(end.exited && end.status == 0) << end.describe() << ": " << end.error_output;
}

} // namespace

} // namespace korvane::test
