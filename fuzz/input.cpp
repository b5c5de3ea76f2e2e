#include "fuzz/input.h"

#include <algorithm>

namespace korvane::fuzz {

std::vector<std::string_view> split_texts(const std::uint8_t* data, std::size_t size)
{
    std::string_view left(reinterpret_cast<const char*>(data), size);
    std::vector<std::string_view> texts;
    for (std::size_t end = left.find('\0'); end != std::string_view::npos; end = left.find('\0')) {
        texts.push_back(left.substr(0, end));
        left.remove_prefix(end + 1);
    }
    texts.push_back(left);
    return texts;
}

exact_text::exact_text(std::string_view text, std::size_t room)
    : bytes_(std::make_unique<char[]>(text.size() + room + 1))
{
    std::copy(text.begin(), text.end(), bytes_.get());
}

} // namespace korvane::fuzz
