#include "count_bars.h"

#include "text.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

constexpr size_t gap = 2;

// U+2588 to U+258F: a full block, and the left eighths of one.
std::string block(size_t eighths)
{
    return std::string("\xE2\x96") + static_cast<char>(0x88 + (8 - eighths));
}

// What is not nothing shows, however small it is beside the greatest.
std::string bar(long long count, long long greatest, size_t width, bool block_letters)
{
    if (count <= 0) {
        return "";
    }
    const size_t steps = block_letters ? 8 : 1;
    const double part = static_cast<double>(count) / static_cast<double>(greatest);
    const auto length =
        static_cast<size_t>(std::max(1L, std::lround(part * static_cast<double>(width * steps))));
    std::string drawn;
    for (size_t full = 0; full < length / steps; ++full) {
        drawn += block_letters ? block(8) : "#";
    }
    return length % steps == 0 ? drawn : drawn + block(length % steps);
}

std::string right(const std::string& text, size_t width)
{
    return std::string(width - std::min(width, display_width(text)), ' ') + text;
}

struct layout {
    size_t label;
    size_t number;
    size_t bar;
};

layout measure(const std::vector<count_series>& all, const count_type& type, size_t columns)
{
    layout widths = {display_width(type.column), sizeof "OUT" - 1, 0};
    for (const count_series& series : all) {
        for (const count_bucket& bucket : series.buckets) {
            widths.label = std::max(widths.label, display_width(bucket.label));
            widths.number = std::max({widths.number, grouped(bucket.in).size(), grouped(bucket.out).size()});
        }
    }
    const size_t taken = widths.label + 2 * (widths.number + gap + 1);
    widths.bar = std::clamp<size_t>(columns > taken ? (columns - taken) / 2 : 0, 8, 40);
    return widths;
}

std::string line(const layout& widths, const std::string& label, const std::string& in,
                 const std::string& in_bar, const std::string& out, const std::string& out_bar)
{
    const std::string text = padded(label, widths.label + gap) + right(in, widths.number) + " " +
                             padded(in_bar, widths.bar + gap) + right(out, widths.number) + " " + out_bar;
    return text.substr(0, text.find_last_not_of(' ') + 1) + "\n";
}

} // namespace

std::string count_bars(const std::vector<count_series>& all, const count_type& type, const bar_style& style)
{
    const layout widths = measure(all, type, style.columns);
    const long long greatest = greatest_count(all);
    std::string text;
    for (const count_series& series : all) {
        const count_sums sums = sums_of(series);
        text += series.title + ": " + grouped(sums.in) + " in, " + grouped(sums.out) + " out\n";
        text += line(widths, type.column, "IN", "", "OUT", "");
        for (const count_bucket& bucket : series.buckets) {
            text += line(widths, bucket.label, grouped(bucket.in),
                         bar(bucket.in, greatest, widths.bar, style.block_letters), grouped(bucket.out),
                         bar(bucket.out, greatest, widths.bar, style.block_letters));
        }
        text += "\n";
    }
    return text;
}

} // namespace host
