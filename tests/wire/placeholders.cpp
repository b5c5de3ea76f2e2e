#include "tests/wire/placeholders.h"

#include <charconv>
#include <map>
#include <stdexcept>
#include <string>

namespace korvane::test {

namespace {

template <class Number>
bool read_number(std::string_view text, Number& number, int base)
{
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return read.ec == std::errc() && read.ptr == text.data() + text.size();
}

/// "x0d0a": bytes by their hexadecimal numbers.
bool expand_bytes(std::string_view inside, expected_text& expanded)
{
    if (inside.size() < 3 || inside[0] != 'x' || inside.size() % 2 == 0) {
        return false;
    }
    std::string bytes;
    for (std::size_t at = 1; at < inside.size(); at += 2) {
        unsigned byte = 0;
        if (!read_number(inside.substr(at, 2), byte, 16)) {
            return false;
        }
        bytes += static_cast<char>(byte);
    }
    expanded.append(bytes);
    return true;
}

const expected_text* find_placeholder(std::string_view name)
{
    static const std::map<std::string_view, expected_text> placeholders = {
        {"now", expected_text(expected_text::place::now)},
        {"line", expected_text(expected_text::place::line_number)},
        {"blank", expected_text(" ")},
        {"crlf", expected_text("\r\n")},
    };
    const auto found = placeholders.find(name);
    return found == placeholders.end() ? nullptr : &found->second;
}

/// "name", or a literal in quotes.
bool expand_unit(std::string_view inside, const text_finder& find, expected_text& expanded)
{
    if (inside.size() >= 2 && inside.front() == '"' && inside.back() == '"') {
        expanded.append(inside.substr(1, inside.size() - 2));
        return true;
    }
    const expected_text* named = find_placeholder(inside);
    named = named ? named : find(inside);
    if (named) {
        expanded.append(*named);
    }
    return named != nullptr;
}

/// "unit*count"
bool expand_repetition(std::string_view inside, const text_finder& find, expected_text& expanded)
{
    const std::size_t star = inside.rfind('*');
    unsigned count = 0;
    expected_text unit;
    if (star == std::string_view::npos || !read_number(inside.substr(star + 1), count, 10) ||
        !expand_unit(inside.substr(0, star), find, unit)) {
        return false;
    }
    for (unsigned i = 0; i < count; ++i) {
        expanded.append(unit);
    }
    return true;
}

void expand_placeholder(std::string_view inside, const text_finder& find, expected_text& expanded)
{
    if (!expand_unit(inside, find, expanded) && !expand_repetition(inside, find, expanded) &&
        !expand_bytes(inside, expanded)) {
        throw std::invalid_argument(
            "<<" + std::string(inside) +
            ">> is none of <<now>>, <<line>>, <<blank>>, <<crlf>>, <<x0d0a>>, "
            "<<\"text\"*count>>, and <<name>> or <<name*count>> with a name from \"let\"");
    }
}

} // namespace

bool is_placeholder(std::string_view name)
{
    return find_placeholder(name) != nullptr;
}

expected_text expand(std::string_view text, const text_finder& find)
{
    expected_text expanded;
    while (!text.empty()) {
        const std::size_t open = text.find("<<");
        expanded.append(text.substr(0, open));
        if (open == std::string_view::npos) {
            break;
        }
        text.remove_prefix(open + 2);
        const std::size_t close = text.find(">>");
        if (close == std::string_view::npos) {
            throw std::invalid_argument("a << without its >>");
        }
        expand_placeholder(text.substr(0, close), find, expanded);
        text.remove_prefix(close + 2);
    }
    return expanded;
}

} // namespace korvane::test
