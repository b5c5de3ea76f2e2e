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

size_t display_width(const std::string& text)
{
    const auto begins_letter = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; };
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), begins_letter));
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
