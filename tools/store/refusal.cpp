#include "refusal.h"

std::string shortened(std::string_view text)
{
    std::size_t longest = 80;
    if (text.size() <= longest)
        return std::string(text);
    while (longest > 0 && (static_cast<unsigned char>(text[longest]) & 0xc0) == 0x80)
        --longest; // not within a UTF-8 letter
    return std::string(text.substr(0, longest)) + "...";
}

std::string quoted(std::string_view text)
{
    return "\"" + shortened(text) + "\"";
}
