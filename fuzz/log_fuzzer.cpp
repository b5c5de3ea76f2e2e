// korvane_log_debug with its files in memory: the message's text, then, from the end, the numbers to print, the state of
// the five files and of the lock, and how the machine fails.
#include "log/korvane_log.h"

#include "fuzz/check.h"
#include "fuzz/library_call.h"
#include "fuzz/memory_files.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using namespace korvane::fuzz;

namespace {

constexpr const char* folder = "/Vdbglog/.zymux_log";
constexpr const char* lock = "/var/.korvane_log_lock";
constexpr const char* marker = "/tmp/log_korvane_fail";
constexpr off_t full_size = 1'048'576;

using ring = std::array<std::string, 5>;

const ring& ring_files()
{
    static const ring files = [] {
        ring made;
        for (std::size_t i = 0; i < made.size(); ++i) {
            made.at(i) = std::string(folder) + "/.ai_log_" + std::to_string(i);
        }
        return made;
    }();
    return files;
}

memory_machine make_machine(FuzzedDataProvider& input)
{
    memory_machine machine;
    if (input.ConsumeBool()) {
        machine.files[folder];
    }
    for (const std::string& path : ring_files()) {
        if (input.ConsumeBool()) {
            memory_file& file = machine.files[path];
            file.size = full_size - 2 + input.ConsumeIntegralInRange<off_t>(0, 4);
            file.modified.tv_sec = input.ConsumeIntegralInRange<std::time_t>(0, 3);
            file.modified.tv_nsec = input.ConsumeIntegralInRange<long>(0, 2);
        }
    }
    if (input.ConsumeBool()) {
        machine.files[lock].modified.tv_sec = machine.now - input.ConsumeIntegralInRange<std::time_t>(-2, 5);
    }
    return machine;
}

/// The first file with room; else the first that is older than the one before it; else the first, these two emptied.
std::string expected_file(const memory_machine& machine)
{
    const auto older = [&machine](const std::string& a, const std::string& b) {
        const timespec& x = machine.files.at(a).modified;
        const timespec& y = machine.files.at(b).modified;
        return x.tv_sec != y.tv_sec ? x.tv_sec < y.tv_sec : x.tv_nsec < y.tv_nsec;
    };
    const ring& files = ring_files();
    for (const std::string& path : files) {
        if (machine.files.count(path) == 0 || machine.files.at(path).size < full_size) {
            return path;
        }
    }
    for (std::size_t i = 1; i < files.size(); ++i) {
        if (older(files.at(i), files.at(i - 1))) {
            return files.at(i);
        }
    }
    return files.front();
}

struct message {
    std::string text;
    int number = 0;
    long long large = 0;
    double real = 0;
    std::size_t format = 0;
};

using format_call = void (*)(const message&, std::string* expected);

/// Prints to the log, or, for the comparison, to a text.
template <class... Arguments>
void print(std::string* expected, const char* format, Arguments... arguments)
{
    if (expected == nullptr) {
        korvane_log_debug(const_cast<char*>(format), arguments...);
        return;
    }
    const int length = std::snprintf(nullptr, 0, format, arguments...); // NOLINT: the formats are those below
    expected->resize(static_cast<std::size_t>(length) + 1);
    std::snprintf(expected->data(), expected->size(), format, arguments...); // NOLINT
    expected->pop_back();
}

constexpr format_call formats[] = {
    [](const message& m, std::string* to) { print(to, "%s", m.text.c_str()); },
    [](const message& m, std::string* to) {
        print(to, "[korvane](%s:%d) %s", m.text.c_str(), m.number, m.text.c_str());
    },
    [](const message& m, std::string* to) {
        print(to, "%s(%d)- [korvane] ret = %d", m.text.c_str(), m.number, m.number);
    },
    [](const message& m, std::string* to) {
        print(to, "value : %f out of bounds(%d~%d)", m.real, m.number, 100);
    },
    [](const message& m, std::string* to) {
        print(to, "%lld %llu %zu", m.large, static_cast<unsigned long long>(m.large), m.text.size());
    },
    [](const message& m, std::string* to) {
        print(to, "%-*.*s|", m.number % 2000, std::abs(m.number % 2000), m.text.c_str());
    },
    [](const message& m, std::string* to) {
        print(to, "%c%5d%%%e", m.text.empty() ? 'c' : m.text.front(), m.number, m.real);
    },
};

message read_message(FuzzedDataProvider& input)
{
    message made;
    made.format = input.ConsumeIntegralInRange<std::size_t>(0, std::size(formats) - 1);
    made.number = input.ConsumeIntegral<int>();
    made.large = input.ConsumeIntegral<long long>();
    made.real = input.ConsumeFloatingPoint<double>();
    return made;
}

std::vector<memory_machine::outcome> read_outcomes(FuzzedDataProvider& input)
{
    constexpr int errors[] = {0, 0, EINTR, ENOENT, EACCES, EEXIST, ENOSPC, EIO};
    std::vector<memory_machine::outcome> outcomes(input.ConsumeIntegralInRange<std::size_t>(0, 40));
    for (memory_machine::outcome& outcome : outcomes) {
        outcome.error = input.PickValueInArray(errors);
        outcome.written = input.ConsumeIntegralInRange<std::size_t>(0, 40);
        outcome.goes_away = input.ConsumeBool();
    }
    return outcomes;
}

/// "2023/11/14 22:13:20:123456  [ 1234] " and the message.
void check_line(std::string_view written, const std::string& expected)
{
    require(written.size() > 36 && written.back() == '\n', "a line is not whole", written);
    const std::size_t bracket = written.find("] ");
    require(bracket < 45 && written.substr(26, 3) == "  [" && written.substr(4, 1) == "/" &&
                written.substr(10, 1) == " " && written.substr(19, 1) == ":",
            "a line's prefix is not as agreed", written);
    const std::string_view text = written.substr(bracket + 2, written.size() - bracket - 3);
    require(text == expected, "a line's message is another", text);
}

/// On a machine without failures the line is in the right file and nowhere else, and the lock is gone.
void check_machine(const memory_machine& machine, const std::string& file, const std::string& expected)
{
    require(machine.files.count(lock) == 0, "the lock was left behind");
    require(machine.files.count(marker) == 0, "a failure was marked where there was none");
    require(machine.files.count(folder) == 1, "the folder was not made");
    for (const std::string& path : ring_files()) {
        const auto found = machine.files.find(path);
        if (path == file) {
            require(found != machine.files.end(), "the line is not where it belongs", path);
            check_line(found->second.written, expected);
        } else {
            require(found == machine.files.end() || found->second.written.empty(),
                    "a line where none belongs", path);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    memory_machine machine = make_machine(input);
    message sent = read_message(input);
    std::vector<memory_machine::outcome> outcomes = read_outcomes(input);
    const bool whole_machine = outcomes.empty();
    sent.text = input.ConsumeRemainingBytesAsString();

    machine.next_outcome = [&outcomes] {
        memory_machine::outcome next;
        if (!outcomes.empty()) {
            next = outcomes.back();
            outcomes.pop_back();
        }
        return next;
    };
    std::string expected;
    formats[sent.format](sent, &expected);
    const std::string file = expected_file(machine);
    const bool emptied = machine.files.count(file) != 0 && machine.files.at(file).size >= full_size;

    begin_scene(machine);
    errno = EDOM;
    library_survives([&] { formats[sent.format](sent, nullptr); });
    const int left_errno = errno;
    end_scene();

    require(left_errno == EDOM, "the caller's errno was changed");
    require(machine.slept_s <= 3, "a caller was kept waiting");
    if (whole_machine) {
        check_machine(machine, file, expected);
        require(!emptied ||
                    machine.files.at(file).size == static_cast<off_t>(machine.files.at(file).written.size()),
                "a full file was not emptied");
    }
    return 0;
}
