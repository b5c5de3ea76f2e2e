#include "tests/dispatch/calls.h"

#include <korvane/ai_metadata.h>

#include <gtest/gtest.h>

#include <charconv>
#include <chrono>
#include <cstdlib>

namespace korvane::test {

namespace {

long long now_ms()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

} // namespace

time_since_now::time_since_now()
    : begin_ms_(now_ms())
{
}

std::string time_since_now::marked_in(const std::string& line) const
{
    const std::string name = "end_time=";
    const std::size_t at = line.find(name);
    if (at == std::string::npos) {
        ADD_FAILURE() << "no end_time in " << line;
        return line;
    }
    const char* const number = line.data() + at + name.size();
    long long moment = 0;
    const auto read = std::from_chars(number, line.data() + line.size(), moment);
    EXPECT_LE(begin_ms_, moment) << line;
    EXPECT_GE(now_ms(), moment) << line;
    return line.substr(0, at + name.size()) + "now" + read.ptr;
}

int insert(std::string text)
{
    return insert_ai_metadata(text.data());
}

query_outcome query(std::string text)
{
    char untouched = 0;
    void* answer = &untouched;
    query_outcome outcome{query_ai_metadata(text.data(), &answer), std::nullopt};
    if (answer != &untouched) {
        outcome.answer = static_cast<char*>(answer);
        std::free(answer);
    }
    return outcome;
}

std::string line_of(const std::string& request)
{
    return request.substr(0, request.find(" HTTP/1.1\r\n"));
}

std::string body_of(const std::string& request)
{
    const std::size_t border = request.find("\r\n\r\n");
    return border == std::string::npos ? std::string() : request.substr(border + 4);
}

std::string last_request(scripted_store& store)
{
    const std::vector<std::string> requests = store.requests();
    return requests.empty() ? std::string() : requests.back();
}

} // namespace korvane::test
