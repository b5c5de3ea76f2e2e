#include "count_plot.h"

#include "svg.h"
#include "text.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

// The page, in SVG units: one wide panel, or several in two columns.
constexpr double page_width = 1064;
constexpr double left_edge = 72;
constexpr double first_row = 150;
constexpr double between_columns = 76;
constexpr double between_rows = 92;
constexpr double right_margin = 32;
constexpr double below_rows = 64;

struct colours {
    const char* in = "#2b6cb0";
    const char* out = "#e08a1e";
};
constexpr colours colour;

struct panel {
    double x;
    double y;
    double width;
    double height;
};

panel place_of(size_t index, size_t count)
{
    const double whole = page_width - left_edge - right_margin;
    if (count == 1) {
        return {left_edge, first_row, whole, 360};
    }
    constexpr double height = 170;
    const double width = (whole - between_columns) / 2;
    const size_t column = index % 2;
    const size_t row = index / 2;
    return {left_edge + static_cast<double>(column) * (width + between_columns),
            first_row + static_cast<double>(row) * (height + between_rows), width, height};
}

/// The value between two marks of the axis: 1, 2 or 5 times a power of ten, so that there are three to six.
long long step_for(long long greatest)
{
    const double raw = std::max(1.0, static_cast<double>(greatest) / 6);
    const double power = std::pow(10, std::floor(std::log10(raw)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (raw <= factor * power) {
            return std::llround(factor * power);
        }
    }
    return std::llround(10 * power);
}

struct scale {
    long long step;
    long long top;
};

scale scale_for(const std::vector<count_series>& all)
{
    const long long greatest = std::max(1LL, greatest_count(all));
    const long long step = step_for(greatest);
    return {step, (greatest + step - 1) / step * step};
}

void add_value_axis(std::string& svg, const panel& at, const scale& values)
{
    for (long long value = 0; value <= values.top; value += values.step) {
        const double y =
            at.y + at.height * (1 - static_cast<double>(value) / static_cast<double>(values.top));
        add_svg(svg, "<path d=\"M%.1f %.1fh%.1f\" stroke=\"%s\"/>\n", at.x, y, at.width,
                value == 0 ? faint_ink : "#dde3e8");
        add_svg_text(svg, at.x - 10, y + 4, "class=\"mark\" text-anchor=\"end\"", grouped(value));
    }
    add_svg_text(svg, at.x - 10, at.y - 12, "class=\"mark\" text-anchor=\"end\"", "people");
}

void add_bar(std::string& svg, double x, double width, const panel& at, double part, const char* fill)
{
    const double height = std::max(0.0, part) * at.height;
    add_svg(svg, "<rect x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" fill=\"%s\"/>\n", x,
            at.y + at.height - height, width, height, fill);
}

void add_buckets(std::string& svg, const panel& at, const count_series& series, const scale& values)
{
    const double slot = at.width / static_cast<double>(std::max<size_t>(1, series.buckets.size()));
    const double bar_width = slot * 0.38;
    for (size_t index = 0; index < series.buckets.size(); ++index) {
        const count_bucket& bucket = series.buckets[index];
        const double middle = at.x + slot * (static_cast<double>(index) + 0.5);
        const auto part = [&](long long count) {
            return static_cast<double>(count) / static_cast<double>(values.top);
        };
        svg +=
            "<g class=\"bucket\"><title>" +
            svg_escaped(bucket.label + ": " + grouped(bucket.in) + " in, " + grouped(bucket.out) + " out") +
            "</title>\n";
        add_bar(svg, middle - bar_width, bar_width, at, part(bucket.in), colour.in);
        add_bar(svg, middle, bar_width, at, part(bucket.out), colour.out);
        svg += "</g>\n";
        if (index % series.mark_every == 0) {
            const double y = at.y + at.height;
            add_svg(svg, "<path d=\"M%.1f %.1fv5\" stroke=\"%s\"/>\n", middle, y, faint_ink);
            add_svg_text(svg, middle, y + 21, "class=\"mark\" text-anchor=\"middle\"", bucket.mark);
        }
    }
}

void add_panel(std::string& svg, const panel& at, const count_series& series, const scale& values)
{
    const count_sums sums = sums_of(series);
    add_svg_text(svg, at.x, at.y - 12, "class=\"mark\"",
                 cut_to(series.title, 64) + ": " + grouped(sums.in) + " in, " + grouped(sums.out) + " out");
    add_value_axis(svg, at, values);
    add_buckets(svg, at, series, values);
}

void add_key(std::string& svg)
{
    double x = page_width - right_margin - 120;
    for (const auto& [fill, name] : {std::pair(colour.in, "in"), std::pair(colour.out, "out")}) {
        add_svg(svg, "<rect x=\"%.1f\" y=\"36\" width=\"14\" height=\"14\" fill=\"%s\"/>\n", x, fill);
        add_svg_text(svg, x + 22, 48, "class=\"note\"", name);
        x += 66;
    }
}

} // namespace

std::string count_plot(const std::vector<count_series>& all, const plot_labels& labels)
{
    const panel last = place_of(all.empty() ? 0 : all.size() - 1, all.size());
    std::string svg;
    begin_svg(svg, page_width, last.y + last.height + below_rows);
    add_svg_title(svg, left_edge, labels.title);
    add_svg_text(svg, left_edge, 78, "class=\"note\"",
                 all.empty() ? "nothing to draw" : cut_to(labels.note, 120));
    add_key(svg);
    const scale values = scale_for(all);
    for (size_t index = 0; index < all.size(); ++index) {
        add_panel(svg, place_of(index, all.size()), all[index], values);
    }
    svg += "</svg>\n";
    return svg;
}

} // namespace host
