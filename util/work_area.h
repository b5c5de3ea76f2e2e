// The bounded text in which request bodies and request lines are put together.
#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace korvane {

/// A text of at most 8191 characters. Appending cannot fail: what does not fit is left out whole and
/// remembered. Who puts a text together asks overflowed() once, at the end, or room() before a piece that may
/// be left out.
class work_area {
public:
    static constexpr std::size_t size = 8192; ///< the terminator included

    void append(std::string_view piece)
    {
        if (piece.size() > room()) {
            overflowed_ = true;
            return;
        }
        std::memcpy(text_.data() + length_, piece.data(), piece.size());
        length_ += piece.size();
    }

    template <class Integer, class = std::enable_if_t<std::is_integral_v<Integer>>>
    void append_number(Integer value)
    {
        std::array<char, 24> digits;
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
        append({digits.data(), static_cast<std::size_t>(end - digits.data())});
    }

    /// Puts `replacement` in the place of the last character; the text is not empty.
    void replace_last(char replacement) { text_[length_ - 1] = replacement; }

    /// Takes the last character back; the text is not empty.
    void remove_last() { --length_; }

    std::size_t room() const { return size - 1 - length_; }
    bool overflowed() const { return overflowed_; }
    std::string_view view() const { return {text_.data(), length_}; }

    /// Terminated, for functions that take a char*.
    char* c_str()
    {
        text_[length_] = '\0';
        return text_.data();
    }

private:
    std::array<char, size> text_; // not cleared: only the first length_ characters are ever looked at
    std::size_t length_ = 0;
    bool overflowed_ = false;
};

} // namespace korvane
