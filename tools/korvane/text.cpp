#include "text.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <system_error>

namespace host {

std::string grouped(long long number)
{
    std::string digits = std::to_string(number);
    const ptrdiff_t first_digit = number < 0 ? 1 : 0;
    for (ptrdiff_t at = static_cast<ptrdiff_t>(digits.size()) - 3; at > first_digit; at -= 3) {
        digits.insert(static_cast<size_t>(at), 1, ',');
    }
    return digits;
}

std::string counted(long long number, const char* noun)
{
    return grouped(number) + " " + noun + (number == 1 ? "" : "s");
}

std::string printable(const std::string& text)
{
    std::string shown = text;
    const auto is_control = [](unsigned char letter) { return letter < 0x20 || letter == 0x7f; };
    std::replace_if(shown.begin(), shown.end(), is_control, '?');
    return shown;
}

namespace {

struct letter_range {
    char32_t first;
    char32_t last;
    size_t columns;
};

// Only the blocks that are in use; every other letter has one column.
constexpr letter_range letter_ranges[] = {
    {0x300, 0x36F, 0},     {0x1100, 0x115F, 2},   {0x200B, 0x200F, 0},   {0x2E80, 0xA4CF, 2},
    {0xAC00, 0xD7A3, 2},   {0xF900, 0xFAFF, 2},   {0xFE00, 0xFE0F, 0},   {0xFE30, 0xFE6F, 2},
    {0xFF00, 0xFF60, 2},   {0xFFE0, 0xFFE6, 2},   {0x1F300, 0x1F64F, 2}, {0x1F680, 0x1F6FF, 2},
    {0x1F900, 0x1FAFF, 2}, {0x20000, 0x3FFFD, 2},
};

size_t columns_of(char32_t letter)
{
    for (const letter_range& range : letter_ranges) {
        if (range.first <= letter && letter <= range.last) {
            return range.columns;
        }
    }
    return 1;
}

/// The letter that begins at `at`, which moves behind it. Bytes that are no UTF-8 make some letter, too.
char32_t next_letter(const std::string& text, size_t& at)
{
    const auto head = static_cast<unsigned char>(text[at++]);
    char32_t letter = head < 0x80   ? head
                      : head < 0xE0 ? head & 0x1F
                      : head < 0xF0 ? head & 0x0F
                                    : head & 0x07;
    for (; at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80; ++at) {
        letter = (letter << 6) | (static_cast<unsigned char>(text[at]) & 0x3F);
    }
    return letter;
}

} // namespace

size_t display_width(const std::string& text)
{
    size_t columns = 0;
    for (size_t at = 0; at < text.size();) {
        columns += columns_of(next_letter(text, at));
    }
    return columns;
}

std::string padded(const std::string& text, size_t width)
{
    const size_t used = display_width(text);
    return used < width ? text + std::string(width - used, ' ') : text;
}

std::string system_message()
{
    return std::generic_category().message(errno);
}

} // namespace host
