// Registers a test for every case of every .case file in this folder.
#include "tests/support/files.h"
#include "tests/support/sandbox_test.h"
#include "tests/wire/case_file.h"
#include "tests/wire/case_run.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <set>

namespace korvane::test {

namespace {

class wire_case_test : public sandbox_test {
public:
    explicit wire_case_test(wire_case wanted)
        : wanted_(std::move(wanted))
    {
    }

    void TestBody() override
    {
        for (const case_failure& failure : run_case(wanted_)) {
            ADD_FAILURE_AT(wanted_.file.c_str(), failure.line) << failure.text;
        }
    }

private:
    wire_case wanted_;
};

/// Stands for what could not be read, so that it is not overlooked.
class unreadable_file_test : public ::testing::Test {
public:
    explicit unreadable_file_test(std::vector<std::string> errors)
        : errors_(std::move(errors))
    {
    }

    void TestBody() override
    {
        for (const std::string& error : errors_) {
            ADD_FAILURE() << error;
        }
    }

private:
    std::vector<std::string> errors_;
};

void register_case(const wire_case& wanted)
{
    ::testing::RegisterTest("wire", wanted.name.c_str(), nullptr, nullptr, wanted.file.c_str(), wanted.line,
                            [wanted]() -> sandbox_test* { return new wire_case_test(wanted); });
}

void register_errors(const std::string& name, const std::string& path, const std::vector<std::string>& errors)
{
    ::testing::RegisterTest("wire_files", name.c_str(), nullptr, nullptr, path.c_str(), 1,
                            [errors]() -> ::testing::Test* { return new unreadable_file_test(errors); });
}

void register_folder(const std::filesystem::path& folder)
{
    std::set<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".case") {
            paths.insert(entry.path());
        }
    }
    if (paths.empty()) {
        register_errors("none", folder, {folder.string() + " holds no .case file"});
    }
    for (const auto& path : paths) {
        const case_file file = parse_case_file(path, read_file(path));
        if (!file.errors.empty()) {
            register_errors(path.stem(), path, file.errors);
            continue;
        }
        for (const wire_case& wanted : file.cases) {
            register_case(wanted);
        }
    }
}

} // namespace

} // namespace korvane::test

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    korvane::test::register_folder(WIRE_CASES_FOLDER);
    return RUN_ALL_TESTS();
}
