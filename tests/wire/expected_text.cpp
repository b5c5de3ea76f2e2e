#include "tests/wire/expected_text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>

namespace korvane::test {

namespace {

constexpr std::size_t digits_of_a_moment = 13;

std::size_t digits_at(std::string_view text, std::size_t from)
{
    const auto* const begin = text.data() + from;
    const auto* const end = text.data() + text.size();
    return static_cast<std::size_t>(std::find_if(begin, end, [](char c) { return c < '0' || c > '9'; }) -
                                    begin);
}

bool is_within(std::string_view digits, const time_window& window)
{
    long long moment = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), moment);
    return read.ec == std::errc() && window.begin_ms <= moment && moment <= window.end_ms;
}

/// Control characters and bytes outside of ASCII as \xNN, a line feed also as a line break.
std::string visible(std::string_view text)
{
    std::string shown;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\r') {
            shown += "\\r";
        } else if (c == '\n') {
            shown += "\\n\n    ";
        } else if (byte < 0x20 || byte >= 0x7f) {
            char escape[5];
            std::snprintf(escape, sizeof escape, "\\x%02x", byte);
            shown += escape;
        } else {
            shown += c;
        }
    }
    return shown;
}

std::string around(std::string_view text, std::size_t at)
{
    constexpr std::size_t context = 30;
    const std::size_t from = at > context ? at - context : 0;
    return (from > 0 ? "..." : "") + visible(text.substr(from, at - from)) + "  >>>  " +
           visible(text.substr(at, context)) + (at + context < text.size() ? "..." : "");
}

} // namespace

void expected_text::append(std::string_view literal)
{
    if (literal.empty()) {
        return;
    }
    if (parts_.empty() || parts_.back().literal.empty()) {
        parts_.emplace_back();
    }
    parts_.back().literal += literal;
}

void expected_text::append(place varying)
{
    parts_.push_back({{}, varying});
}

void expected_text::append(const expected_text& other)
{
    for (const part& p : other.parts_) {
        if (p.literal.empty()) {
            append(p.varying);
        } else {
            append(p.literal);
        }
    }
}

bool expected_text::is_literal() const
{
    return std::none_of(parts_.begin(), parts_.end(), [](const part& p) { return p.literal.empty(); });
}

std::size_t expected_text::size() const
{
    std::size_t size = 0;
    for (const part& p : parts_) {
        size += p.literal.empty() ? digits_of_a_moment : p.literal.size();
    }
    return size;
}

std::string expected_text::spelled() const
{
    std::string text;
    for (const part& p : parts_) {
        text += !p.literal.empty() ? p.literal : p.varying == place::now ? "<<now>>" : "<<line>>";
    }
    return text;
}

std::optional<std::size_t> expected_text::mismatch(std::string_view actual, const time_window& window) const
{
    std::size_t at = 0;
    for (const part& p : parts_) {
        if (p.literal.empty()) {
            const std::size_t digits = digits_at(actual, at);
            if (digits == 0 || (p.varying == place::now && !is_within(actual.substr(at, digits), window))) {
                return at;
            }
            at += digits;
            continue;
        }
        const std::string_view here = actual.substr(at, p.literal.size());
        if (here != p.literal) {
            const auto parted = std::mismatch(here.begin(), here.end(), p.literal.begin()).first;
            return at + static_cast<std::size_t>(parted - here.begin());
        }
        at += p.literal.size();
    }
    return at == actual.size() ? std::nullopt : std::optional(at);
}

std::string describe_mismatch(const expected_text& expected, std::string_view actual, std::size_t at)
{
    return "expected:\n    " + visible(expected.spelled()) + "\nactual:\n    " + visible(actual) +
           "\nthey part at byte " + std::to_string(at) + " of the actual text:\n    " + around(actual, at);
}

} // namespace korvane::test
