#include "tests/faults/reply_rules.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>

namespace korvane::test {

namespace {

constexpr std::size_t longest = 1023; // line, or chunk of a body

std::string take(std::string_view& bytes, std::size_t count)
{
    const std::string taken(bytes.substr(0, count));
    bytes.remove_prefix(taken.size());
    return taken;
}

std::string take_line(std::string_view& bytes)
{
    const std::size_t line_feed = bytes.find('\n');
    return take(bytes, std::min(longest, line_feed == std::string_view::npos ? bytes.size() : line_feed + 1));
}

long take_headers(std::string_view& bytes)
{
    long length = 0;
    for (int count = 0; count < 100 && !bytes.empty(); ++count) {
        const std::string line = take_line(bytes);
        if (strncasecmp(line.c_str(), "Content-Length", 14) == 0) {
            length = line.size() > 16 ? std::strtol(line.c_str() + 16, nullptr, 10) : 0;
        }
        if (line[0] == '\n' || line[0] == '\r') {
            break;
        }
    }
    return length;
}

} // namespace

exchange_end end_of_exchange(std::string_view bytes, const std::string& earlier)
{
    if (bytes.empty()) {
        return {-3, earlier};
    }
    const std::string status = take_line(bytes);
    if (status.size() < 12 || status.compare(9, 3, "200") != 0) {
        return {-4, earlier};
    }
    exchange_end end;
    for (long left = take_headers(bytes); left > 0;) {
        if (bytes.empty()) {
            return {-5, end.reply};
        }
        const std::string chunk = take(bytes, static_cast<std::size_t>(std::min<long>(left, longest)));
        end.reply += chunk.c_str(); // up to its first zero byte
        left -= static_cast<long>(chunk.size());
    }
    return end;
}

} // namespace korvane::test
