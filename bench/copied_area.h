// Text put together as cheaply as C++ can: by memcpy and to_chars, nothing checked.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace korvane::bench {

struct copied_area {
    static constexpr std::size_t size = 8192;

    char bytes[size]; // not cleared: what is not written is not read
    char* end = bytes;

    copied_area() = default;
    copied_area(const copied_area&) = delete;
    copied_area& operator=(const copied_area&) = delete;

    std::string_view view() const { return {bytes, static_cast<std::size_t>(end - bytes)}; }

    void put(std::string_view piece)
    {
        std::memcpy(end, piece.data(), piece.size());
        end += piece.size();
    }

    /// `before` ends with the quote that opens the text. Nothing for an empty one.
    void put_text(std::string_view before, std::string_view text)
    {
        if (!text.empty()) {
            put(before);
            put(text);
            put("\",");
        }
    }

    template <class Integer>
    void put_number(Integer value)
    {
        end = std::to_chars(end, bytes + size, value).ptr;
    }

    void put_six_decimals(double value)
    {
        end = std::to_chars(end, bytes + size, value, std::chars_format::fixed, 6).ptr;
    }
};

} // namespace korvane::bench
