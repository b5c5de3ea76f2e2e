// Real numbers as the store takes them.
#pragma once

#include <array>
#include <charconv>
#include <limits>
#include <string_view>

namespace korvane {

/// A number with six decimals, as "%f" writes it in the C locale: the host's decimal comma must not reach the
/// wire.
class six_decimals {
public:
    explicit six_decimals(double value)
        : end_(std::to_chars(text_.data(), text_.data() + text_.size(), value, std::chars_format::fixed, 6)
                   .ptr)
    {
    }

    six_decimals(const six_decimals&) = delete;
    six_decimals& operator=(const six_decimals&) = delete;

    std::string_view view() const { return {text_.data(), static_cast<std::size_t>(end_ - text_.data())}; }

private:
    // Sign, the digits of the largest double, point and decimals; a fraction of a picture needs eight
    // characters.
    std::array<char, std::numeric_limits<double>::max_exponent10 + 16> text_;
    const char* end_;
};

} // namespace korvane
