// Real numbers as the store takes them.
#pragma once

#include <array>
#include <limits>
#include <string_view>

namespace korvane {

/// Writes a number with six decimals, as "%f" does in the C locale: the host's decimal comma must not reach the wire.
/// Returns the end of what it wrote, null when that does not fit.
char* write_six_decimals(char* first, char* last, double value);

/// The same in an area of its own.
class six_decimals {
public:
    explicit six_decimals(double value)
        : end_(write_six_decimals(text_.data(), text_.data() + text_.size(), value))
    {
    }

    six_decimals(const six_decimals&) = delete;
    six_decimals& operator=(const six_decimals&) = delete;

    std::string_view view() const { return {text_.data(), static_cast<std::size_t>(end_ - text_.data())}; }

private:
    // Sign, the digits of the largest double, point and decimals.
    std::array<char, std::numeric_limits<double>::max_exponent10 + 16> text_;
    const char* end_;
};

} // namespace korvane
