#include "tests/wire/placeholders.h"

#include <charconv>
#include <stdexcept>

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

/// "name", or a literal in quotes.
bool expand_unit(std::string_view inside, const named_texts& names, expected_text& expanded)
{
    if (inside.size() >= 2 && inside.front() == '"' && inside.back() == '"') {
        expanded.append(inside.substr(1, inside.size() - 2));
        return true;
    }
    const auto named = names.find(inside);
    if (named != names.end()) {
        expanded.append(named->second);
    }
    return named != names.end();
}

/// "unit*count"
bool expand_repetition(std::string_view inside, const named_texts& names, expected_text& expanded)
{
    const std::size_t star = inside.rfind('*');
    unsigned count = 0;
    expected_text unit;
    if (star == std::string_view::npos || !read_number(inside.substr(star + 1), count, 10) ||
        !expand_unit(inside.substr(0, star), names, unit)) {
        return false;
    }
    for (unsigned i = 0; i < count; ++i) {
        expanded.append(unit);
    }
    return true;
}

void expand_placeholder(std::string_view inside, const named_texts& names, expected_text& expanded)
{
    if (inside == "now") {
        expanded.append(expected_text::place::now);
    } else if (inside == "line") {
        expanded.append(expected_text::place::line_number);
    } else if (inside == "blank") {
        expanded.append(" ");
    } else if (inside == "crlf") {
        expanded.append("\r\n");
    } else if (!expand_unit(inside, names, expanded) && !expand_repetition(inside, names, expanded) &&
               !expand_bytes(inside, expanded)) {
        throw std::invalid_argument(
            "<<" + std::string(inside) +
            ">> is none of <<now>>, <<line>>, <<blank>>, <<crlf>>, <<x0d0a>>, "
            "<<\"text\"*count>>, and <<name>> or <<name*count>> with a name from \"let\"");
    }
}

} // namespace

expected_text expand(std::string_view text, const named_texts& names)
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
        expand_placeholder(text.substr(0, close), names, expanded);
        text.remove_prefix(close + 2);
    }
    return expanded;
}

} // namespace korvane::test
