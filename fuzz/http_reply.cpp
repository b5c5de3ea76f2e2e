#include "fuzz/http_reply.h"

#include <algorithm>
#include <cstdlib>

namespace korvane::fuzz {

namespace {

constexpr std::size_t longest_read = 1023;
constexpr int most_headers = 100;

std::string_view take(std::string_view& bytes, std::size_t count)
{
    const std::string_view taken = bytes.substr(0, count);
    bytes.remove_prefix(taken.size());
    return taken;
}

/// Up to and with the line feed; a line too long comes in parts.
std::string_view take_line(std::string_view& bytes)
{
    const std::size_t line_feed = bytes.find('\n');
    return take(bytes,
                std::min(line_feed == std::string_view::npos ? bytes.size() : line_feed + 1, longest_read));
}

bool is_content_length(std::string_view line)
{
    constexpr std::string_view name = "content-length";
    return line.size() >= name.size() &&
           std::equal(name.begin(), name.end(), line.begin(), [](char lower_case, char c) {
               return lower_case == c || (c >= 'A' && c <= 'Z' && lower_case == c - 'A' + 'a');
           });
}

/// The last Content-Length; its value stands from the 16th byte on.
long take_headers(std::string_view& bytes)
{
    constexpr std::size_t value_at = 16;
    long length = 0;
    for (int count = 0; count < most_headers && !bytes.empty(); ++count) {
        const std::string_view line = take_line(bytes);
        if (is_content_length(line)) {
            length =
                std::strtol(std::string(line.substr(std::min(value_at, line.size()))).c_str(), nullptr, 10);
        }
        if (line.front() == '\r' || line.front() == '\n') {
            break;
        }
    }
    return length;
}

} // namespace

exchange_result expected_result(std::string_view bytes)
{
    if (bytes.empty()) {
        return {-3, {}};
    }
    const std::string_view status = take_line(bytes);
    if (status.size() < 12 || status.substr(9, 3) != "200") {
        return {-4, {}};
    }
    exchange_result expected;
    for (long left = take_headers(bytes); left > 0;) {
        const std::string_view chunk = take(bytes, std::min(static_cast<std::size_t>(left), longest_read));
        if (chunk.empty()) {
            expected.code = -5;
            break;
        }
        expected.reply.append(chunk.substr(0, chunk.find('\0')));
        left -= static_cast<long>(chunk.size());
    }
    return expected;
}

} // namespace korvane::fuzz
