#include "util/fixed_text.h"

#include <cstdio>
#include <cstdlib>

namespace korvane {

namespace {

void copy(text_field field, std::string_view text)
{
    if (!text.empty()) {
        std::memcpy(field.data, text.data(), text.size());
    }
    field.data[text.size()] = '\0';
}

bool continues_letter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

bool begins_long_letter(char byte)
{
    return static_cast<unsigned char>(byte) >= 0xC0U;
}

/// The longest length up to `limit` that does not split a letter; `limit` itself where the bytes are not UTF-8.
std::size_t whole_letters(std::string_view text, std::size_t limit)
{
    constexpr std::size_t longest_tail = 3;
    std::size_t length = limit;
    while (length > 0 && limit - length <= longest_tail && continues_letter(text[length])) {
        --length;
    }
    return limit - length <= longest_tail && begins_long_letter(text[length]) ? length : limit;
}

} // namespace

void abort_if_long(text_field field, std::string_view text, const char* name)
{
    if (text.size() >= field.size) {
        std::fprintf(stderr,
                     "libkorvane: \"%s\" has %zu characters, at most %zu are allowed: ending the process\n",
                     name, text.size(), field.size - 1);
        std::abort();
    }
    copy(field, text);
}

void cut(text_field field, std::string_view text)
{
    if (text.size() >= field.size) {
        text = text.substr(0, whole_letters(text, field.size - 1));
    }
    copy(field, text);
}

void cut_bytes(text_field field, std::string_view text)
{
    copy(field, text.substr(0, field.size - 1));
}

void refuse_if_long::operator()(text_field field, std::string_view text, const char* name)
{
    if (refused_ != nullptr) {
        return;
    }
    if (text.size() >= field.size) {
        refused_ = name;
        length_ = text.size();
        limit_ = field.size - 1;
        return;
    }
    copy(field, text);
}

} // namespace korvane
