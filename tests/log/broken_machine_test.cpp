// The log on a machine whose folders are missing, read-only, full or in the way: a line costs no time,
// nothing worse than its loss happens, and where the log file can be written it is.
#include "tests/log/log_call.h"
#include "tests/support/child_process.h"
#include "tests/support/debug_log.h"
#include "tests/support/files.h"
#include "tests/support/sandbox_test.h"

#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>

namespace korvane::test {

namespace {

class log_on_a_broken_machine : public sandbox_test {
protected:
    /// Breaks something in a child and writes a line there; the child fails when that took long.
    static void log_in_child(const std::function<std::string()>& breaking)
    {
        const child_end end = run_in_child([&] {
            const std::string error = breaking();
            if (!error.empty()) {
                std::fprintf(stderr, "cannot set the scene: %s", error.c_str());
                return 1;
            }
            const auto start = std::chrono::steady_clock::now();
            log("message");
            const auto took = std::chrono::steady_clock::now() - start;
            if (took > std::chrono::milliseconds(500)) {
                std::fprintf(stderr, "the line took %lld ms",
                             static_cast<long long>(
                                 std::chrono::duration_cast<std::chrono::milliseconds>(took).count()));
                return 1;
            }
            return 0;
        });
        EXPECT_TRUE(end.exited && end.status == 0) << end.describe() << ": " << end.error_output;
    }

    static std::string mount_small(const char* folder, unsigned long flags, const char* options)
    {
        const std::string error = enter_private_mounts();
        if (error.empty() && mount("small", folder, "tmpfs", flags, options) != 0) {
            return std::string("cannot mount over ") + folder;
        }
        return error;
    }

    /// A root with some of the library's folders only.
    static std::string change_root(const std::string& root)
    {
        const std::string error = enter_private_mounts();
        if (error.empty() && (chroot(root.c_str()) != 0 || chdir("/") != 0)) {
            return "cannot change the root";
        }
        return error;
    }

    static void expect_the_line()
    {
        EXPECT_EQ(debug_log_messages(), std::vector<std::string>{"message"});
        EXPECT_FALSE(exists(log_failure_marker));
        EXPECT_FALSE(exists(log_lock));
    }

    static void expect_the_marker()
    {
        EXPECT_TRUE(exists(log_failure_marker));
        EXPECT_EQ(read_file(log_failure_marker), "");
        EXPECT_FALSE(exists(log_lock));
    }
};

TEST_F(log_on_a_broken_machine, writes_the_line_though_var_is_read_only)
{
    log_in_child([] { return mount_small("/var", MS_RDONLY, ""); });
    expect_the_line();
}

TEST_F(log_on_a_broken_machine, writes_the_line_though_var_is_full)
{
    log_in_child([] { return mount_small("/var", 0, "nr_inodes=1"); });
    expect_the_line();
}

TEST_F(log_on_a_broken_machine, writes_the_line_though_var_is_missing)
{
    const std::string root = "/tmp/root_without_var";
    std::filesystem::create_directories(root + log_base_folder);
    std::filesystem::create_directories(root + "/tmp");
    log_in_child([&] { return change_root(root); });
    const std::string bytes = read_file(root + log_file(0));
    EXPECT_EQ(bytes.substr(std::min<std::size_t>(bytes.size(), 36)), "message\n") << bytes;
    EXPECT_FALSE(exists(root + log_failure_marker));
}

TEST_F(log_on_a_broken_machine, marks_the_failure_when_the_base_folder_is_missing)
{
    ASSERT_EQ(rmdir(log_base_folder), 0);
    log_in_child([] { return std::string(); });
    EXPECT_FALSE(exists(log_base_folder)) << "only the last folder is ever made";
    expect_the_marker();
}

TEST_F(log_on_a_broken_machine, marks_the_failure_when_the_base_folder_is_read_only)
{
    log_in_child([] { return mount_small(log_base_folder, MS_RDONLY, ""); });
    expect_the_marker();
}

TEST_F(log_on_a_broken_machine, marks_the_failure_when_a_file_stands_in_the_folders_place)
{
    write_file(log_folder, "in the way");
    log_in_child([] { return std::string(); });
    EXPECT_EQ(read_file(log_folder), "in the way");
    expect_the_marker();
}

TEST_F(log_on_a_broken_machine, marks_the_failure_when_a_folder_stands_in_the_files_place)
{
    std::filesystem::create_directories(log_file(0));
    log_in_child([] { return std::string(); });
    expect_the_marker();
}

TEST_F(log_on_a_broken_machine, empties_an_earlier_marker)
{
    write_file(log_failure_marker, "earlier");
    ASSERT_EQ(rmdir(log_base_folder), 0);
    log_in_child([] { return std::string(); });
    expect_the_marker();
}

TEST_F(log_on_a_broken_machine, does_not_follow_a_link_in_the_markers_place)
{
    write_file("/tmp/precious", "kept");
    ASSERT_EQ(symlink("/tmp/precious", log_failure_marker), 0);
    ASSERT_EQ(rmdir(log_base_folder), 0);
    log_in_child([] { return std::string(); });
    EXPECT_EQ(read_file("/tmp/precious"), "kept");
}

TEST_F(log_on_a_broken_machine, does_nothing_when_not_even_the_marker_can_be_made)
{
    const std::string root = "/tmp/root_without_anything";
    std::filesystem::create_directories(root);
    log_in_child([&] { return change_root(root); });
    EXPECT_TRUE(std::filesystem::is_empty(root));
}

TEST_F(log_on_a_broken_machine, loses_the_line_on_a_full_disk_without_a_marker)
{
    log_in_child([]() -> std::string {
        const std::string error = mount_small(log_base_folder, 0, "size=4k");
        if (!error.empty()) {
            return error;
        }
        std::filesystem::create_directories(log_folder);
        write_file(std::string(log_folder) + "/filler", std::string(4096, 'f'));
        return {};
    });
    EXPECT_FALSE(exists(log_failure_marker));
    EXPECT_FALSE(exists(log_lock));
}

TEST_F(log_on_a_broken_machine, loses_the_line_without_descriptors)
{
    log_in_child([]() -> std::string {
        const rlimit none{3, 3}; // the three standard ones are open
        closefrom(3);
        return setrlimit(RLIMIT_NOFILE, &none) == 0 ? "" : "setrlimit failed";
    });
    EXPECT_FALSE(exists(log_folder) && !debug_log_lines().empty());
}

} // namespace

} // namespace korvane::test
