// How the targets take an input apart.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace korvane::fuzz {

/// The texts of an input: zero bytes part them, so each can be handed over as a terminated text.
std::vector<std::string_view> split_texts(const std::uint8_t* data, std::size_t size);

/// A terminated copy of a text in a block of just its size, so that a byte read or written behind it is seen.
class exact_text {
public:
    /// `room`: characters that may be written behind the text.
    explicit exact_text(std::string_view text, std::size_t room = 0);

    char* data() { return bytes_.get(); }
    std::string_view view() const { return bytes_.get(); }

private:
    std::unique_ptr<char[]> bytes_;
};

} // namespace korvane::fuzz
