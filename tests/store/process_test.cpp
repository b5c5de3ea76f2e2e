#include "store_process.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

/// A folder of its own, removed with everything in it.
struct temporary_folder {
    std::filesystem::path path;

    temporary_folder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "store_test_XXXXXX").string();
        path = mkdtemp(name.data());
    }
    ~temporary_folder() { std::filesystem::remove_all(path); }
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;

    std::string file(const std::string& name) const { return (path / name).string(); }
};

TEST(process_test, the_ready_line_names_the_place_and_the_database)
{
    store_process store;
    EXPECT_EQ("korvane-store listening on 127.0.0.1:" + std::to_string(store.port()) + ", database: memory",
              store.ready_line());
    const temporary_folder folder;
    const store_process with_file({"--db", folder.file("a.db")});
    EXPECT_EQ("korvane-store listening on 127.0.0.1:" + std::to_string(with_file.port()) +
                  ", database: " + folder.file("a.db"),
              with_file.ready_line());
}

TEST(process_test, both_signals_end_it_with_a_summary)
{
    for (const int signal_number : {SIGTERM, SIGINT}) {
        store_process store;
        ASSERT_EQ(ok, store.post("human_detect", R"({"timestamp":"1"})"));
        ASSERT_EQ(ok, store.post("human_detect", R"({"timestamp":"2"})"));
        ASSERT_EQ(ok, store.post("face_recognition", R"({"timestamp":"2"})"));
        ASSERT_EQ(ok, store.post("people_counting", R"({"timestamp":"2"})"));
        ASSERT_EQ(R"({"ret":0,"deleted":1})", store.remove("people_counting?timestamp=3"));
        const finished_command finished = store.stop(signal_number);
        EXPECT_EQ(0, finished.status);
        EXPECT_EQ("korvane-store stopped, database holds: human_detect 2, face_recognition 1, model_importer "
                  "0, people_counting 0\n",
                  finished.output);
        EXPECT_EQ("", finished.errors);
    }
}

TEST(process_test, refused_requests_are_shown_unless_quiet)
{
    const std::string refusal =
        R"({"ret":1001,"reason":"body is not JSON: unexpected character at byte 0 of 1"})";
    store_process store;
    ASSERT_EQ(refusal, store.post("human_detect", "}"));
    EXPECT_EQ("refused POST \"/third_party/human_detect\": " + refusal + "\n", store.stop(SIGTERM).errors);
    store_process quiet({"--quiet"});
    ASSERT_EQ(refusal, quiet.post("human_detect", "}"));
    const finished_command finished = quiet.stop(SIGTERM);
    EXPECT_EQ("", finished.output + finished.errors);
}

TEST(process_test, a_busy_port_is_a_clear_error)
{
    const store_process store;
    const std::string port = std::to_string(store.port());
    const finished_command second = run_store({"--port", port});
    EXPECT_EQ(1, second.status);
    EXPECT_EQ("", second.output);
    EXPECT_EQ("korvane-store: cannot listen on 127.0.0.1 port " + port + ": Address already in use\n",
              second.errors);
}

TEST(process_test, only_loopback_addresses_are_served)
{
    for (const char* address : {"0.0.0.0", "192.168.1.1", "::", "128.0.0.1"}) {
        const finished_command refused = run_store({"--port", "0", "--address", address});
        EXPECT_NE(0, refused.status) << address;
        EXPECT_NE(std::string::npos, refused.errors.find(std::string(address) + " is not a loopback address"))
            << refused.errors;
    }
    const finished_command named = run_store({"--port", "0", "--address", "localhost"});
    EXPECT_NE(0, named.status);
    EXPECT_NE(std::string::npos, named.errors.find("\"localhost\" is no numeric address")) << named.errors;
    const store_process other({"--address", "127.1.2.3"});
    EXPECT_EQ("korvane-store listening on 127.1.2.3:" + std::to_string(other.port()) + ", database: memory",
              other.ready_line());
}

TEST(process_test, bad_options_are_refused)
{
    const std::vector<std::string> cases[] = {{"--port", "65536"},
                                              {"--port", "x"},
                                              {"--vault", "IVA"},
                                              {"--vault", "=id"},
                                              {"--vault", std::string(64, 'n') + "=id"},
                                              {"--nonsense"},
                                              {"stray"}};
    for (const std::vector<std::string>& arguments : cases) {
        const finished_command refused = run_store(arguments);
        EXPECT_NE(0, refused.status) << arguments[0];
        EXPECT_NE("", refused.errors) << arguments[0];
        EXPECT_EQ("", refused.output) << arguments[0];
    }
}

TEST(process_test, help_and_version_are_there)
{
    const finished_command help = run_store({"--help"});
    EXPECT_EQ(0, help.status);
    for (const char* option :
         {"--port", "--address", "--db", "--vault", "--no-vault", "--quiet", "--version"})
        EXPECT_NE(std::string::npos, help.output.find(option)) << option;
    const finished_command version = run_store({"--version"});
    EXPECT_EQ(0, version.status);
    EXPECT_EQ(0U, version.output.rfind("korvane-store ", 0)) << version.output;
}

TEST(process_test, a_file_keeps_what_was_acknowledged_even_after_a_kill)
{
    const temporary_folder folder;
    const std::vector<std::string> arguments = {"--db", folder.file("kept.db")};
    constexpr int records = 300;
    {
        store_process store(arguments);
        for (int at = 0; at < records; ++at)
            ASSERT_EQ(ok, store.post("human_detect",
                                     R"({"timestamp":")" + std::to_string(at) + R"(","loc":[[0.5,0.5]]})"));
        EXPECT_EQ(128 + SIGKILL, store.stop(SIGKILL).status);
    }
    store_process again(arguments);
    EXPECT_EQ(listing(records, {R"({"timestamp":"299","loc":[[0.5,0.5]]})"}),
              again.get("human_detect?limit=1&x1=0&y1=0&x2=1&y2=0&x3=1&y3=1&x4=0&y4=1"));
    EXPECT_EQ("korvane-store stopped, database holds: human_detect 300, face_recognition 0, model_importer "
              "0, people_counting 0\n",
              again.stop(SIGTERM).output);
}

TEST(process_test, a_file_of_another_kind_is_left_alone)
{
    const temporary_folder folder;
    std::ofstream(folder.file("text.db"))
        << "This is no database at all, and long enough to be looked at. " << std::string(200, '.');
    const finished_command refused = run_store({"--port", "0", "--db", folder.file("text.db")});
    EXPECT_EQ(1, refused.status);
    EXPECT_EQ("korvane-store: cannot open the database " + folder.file("text.db") +
                  ": file is not a database\n",
              refused.errors);
    const finished_command missing = run_store({"--port", "0", "--db", folder.file("no/such/folder.db")});
    EXPECT_EQ(1, missing.status);
    EXPECT_EQ("korvane-store: cannot open the database " + folder.file("no/such/folder.db") +
                  ": unable to open database file\n",
              missing.errors);
}

} // namespace
