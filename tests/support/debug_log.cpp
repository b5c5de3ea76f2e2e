#include "tests/support/debug_log.h"

#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <regex>
#include <sstream>

namespace korvane::test {

namespace {

constexpr int file_count = 5;

std::optional<log_line> parse_line(const std::string& text)
{
    static const std::regex prefix(R"((\d{4}/\d\d/\d\d \d\d:\d\d:\d\d:\d{6})  \[( *\d{1,})\] )");
    std::smatch found;
    if (!std::regex_search(text, found, prefix, std::regex_constants::match_continuous) ||
        found.length(2) < 5) {
        return std::nullopt;
    }
    return log_line{found[1], std::stoi(found[2]), found.suffix()};
}

template <class Change>
std::vector<std::string> messages_as(Change change)
{
    std::vector<std::string> messages;
    for (const log_line& line : debug_log_lines()) {
        messages.push_back(change(line.message));
    }
    return messages;
}

} // namespace

std::string log_file(int index)
{
    return std::string(log_folder) + "/.ai_log_" + std::to_string(index);
}

std::vector<log_line> debug_log_lines()
{
    std::vector<log_line> lines;
    for (int index = 0; index < file_count; ++index) {
        const std::string bytes = read_file(log_file(index));
        if (!bytes.empty() && bytes.back() != '\n') {
            ADD_FAILURE() << log_file(index) << " does not end with a line feed";
        }
        std::istringstream file(bytes);
        for (std::string text; std::getline(file, text);) {
            if (const auto line = parse_line(text)) {
                lines.push_back(*line);
            } else {
                ADD_FAILURE() << log_file(index)
                              << " holds what is no line of the log: " << text.substr(0, 200);
            }
        }
    }
    return lines;
}

std::vector<std::string> debug_log_messages()
{
    return messages_as([](const std::string& message) { return message; });
}

std::string without_line_number(const std::string& message)
{
    static const std::regex place(R"(^(\w+\(|\[korvane\]\(\w+:)\d+\))");
    return std::regex_replace(message, place, "$1#)");
}

std::vector<std::string> debug_log_texts()
{
    return messages_as(without_line_number);
}

void clear_debug_log()
{
    std::filesystem::remove_all(log_folder);
    std::filesystem::create_directories(log_base_folder);
}

} // namespace korvane::test
