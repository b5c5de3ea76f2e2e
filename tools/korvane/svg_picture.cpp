#include "svg_picture.h"

#include "position.h"
#include "svg.h"
#include "text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace host {
namespace {

// The page, in SVG units: the camera's view is `view_width` wide, the rest follows.
constexpr double view_width = 960;
constexpr double left_edge = 64;
constexpr double top_edge = 104;
constexpr double right_margin = 40;
constexpr double below_view = 112;

const char* const seen_colour = "#d1361b";

std::vector<json_object*> records_with_position(json_object* records)
{
    std::vector<json_object*> found;
    for (size_t index = 0; records != nullptr && index < json_object_array_length(records); ++index) {
        json_object* record = json_object_array_get_idx(records, index);
        if (position_of(record) != nullptr) {
            found.push_back(record);
        }
    }
    return found;
}

// How many polygons lie over each other where most do, by their boxes on a coarse grid: exact enough for a
// shade.
int most_in_one_place(const std::vector<json_object*>& records)
{
    constexpr size_t cells = 64;
    std::vector<int> seen(cells * cells);
    for (json_object* record : records) {
        const box around = box_around(position_of(record));
        const auto cell = [](double part) {
            return static_cast<size_t>(std::clamp(part, 0.0, 0.999) * cells);
        };
        for (size_t row = cell(around.top); row <= cell(around.bottom); ++row) {
            for (size_t column = cell(around.left); column <= cell(around.right); ++column) {
                ++seen[row * cells + column];
            }
        }
    }
    return std::max(1, *std::max_element(seen.begin(), seen.end()));
}

// The place seen most often is nearly opaque, whether that is 3 times or 3000.
double opacity_for(int most)
{
    return std::clamp(1 - std::pow(0.04, 1.0 / most), 0.012, 0.4);
}

void add_axes(std::string& svg, double height)
{
    for (const double part : {0.0, 0.25, 0.5, 0.75, 1.0}) {
        char mark[16];
        std::snprintf(mark, sizeof mark, "%g", part);
        const double x = left_edge + part * view_width;
        const double y = top_edge + part * height;
        add_svg(svg, "<path d=\"M%.1f %.1fv6M%.1f %.1fh-6\" stroke=\"%s\"/>\n", x, top_edge + height,
                left_edge, y, faint_ink);
        add_svg_text(svg, x, top_edge + height + 22, "class=\"mark\" text-anchor=\"middle\"", mark);
        add_svg_text(svg, left_edge - 12, y + 4, "class=\"mark\" text-anchor=\"end\"", mark);
        if (part > 0 && part < 1) {
            add_svg(svg, "<path d=\"M%.1f %.1fv%.1fM%.1f %.1fh%.0f\" stroke=\"#dde3e8\"/>\n", x, top_edge,
                    height, left_edge, y, view_width);
        }
    }
}

void add_polygons(std::string& svg, const std::vector<json_object*>& records, double height, double opacity)
{
    add_svg(svg,
            "<g clip-path=\"url(#view)\" fill=\"%s\" fill-opacity=\"%.3f\" stroke=\"%s\" "
            "stroke-opacity=\"%.3f\">\n",
            seen_colour, opacity, seen_colour, std::min(0.8, 2 * opacity));
    for (json_object* record : records) {
        json_object* position = position_of(record);
        svg += "<polygon points=\"";
        for (size_t index = 0; index < json_object_array_length(position); ++index) {
            json_object* vertex = json_object_array_get_idx(position, index);
            add_svg(svg, "%s%.1f,%.1f", index > 0 ? " " : "",
                    left_edge + json_object_get_double(json_member(vertex, "x")) * view_width,
                    top_edge + json_object_get_double(json_member(vertex, "y")) * height);
        }
        svg += "\"><title>" +
               svg_escaped(json_text(record, "date") + " " + json_text(record, "description")) +
               "</title></polygon>\n";
    }
    svg += "</g>\n";
}

// Swatches of how dark a place is that was seen once, and up to the one seen most often.
void add_legend(std::string& svg, double y, int most, double opacity)
{
    double x = left_edge;
    int shown = 0;
    for (const int times : {1, most / 8, most / 4, most / 2, most}) {
        if (times <= shown) {
            continue;
        }
        shown = times;
        add_svg(svg,
                "<rect x=\"%.1f\" y=\"%.1f\" width=\"34\" height=\"20\" fill=\"%s\" fill-opacity=\"%.3f\" "
                "stroke=\"#c3ccd4\"/>\n",
                x, y, seen_colour, 1 - std::pow(1 - opacity, times));
        add_svg_text(svg, x + 42, y + 15, "class=\"mark\"",
                     times == 1 ? "seen once" : grouped(times) + " times");
        x += 132;
    }
}

std::string time_range(const std::vector<json_object*>& records)
{
    if (records.empty()) {
        return "";
    }
    const auto earlier = [](json_object* left, json_object* right) {
        return json_object_get_int64(json_member(left, "timestamp")) <
               json_object_get_int64(json_member(right, "timestamp"));
    };
    const auto [first, last] = std::minmax_element(records.begin(), records.end(), earlier);
    return json_text(*first, "date") + " to " + json_text(*last, "date");
}

} // namespace

std::string svg_picture(json_object* records, const picture_labels& labels)
{
    const std::vector<json_object*> drawn = records_with_position(records);
    const double height = view_width / labels.aspect;
    const double page_width = left_edge + view_width + right_margin;
    const double page_height = top_edge + height + below_view;
    std::string svg;
    begin_svg(svg, page_width, page_height);
    add_svg(svg,
            "<clipPath id=\"view\"><rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\"/></clipPath>\n",
            left_edge, top_edge, view_width, height);
    add_svg(svg,
            "<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" fill=\"#f4f6f8\" stroke=\"%s\"/>\n",
            left_edge, top_edge, view_width, height, faint_ink);
    add_svg_title(svg, left_edge, labels.title);
    add_svg_text(svg, left_edge, 78, "class=\"note\"",
                 drawn.empty()
                     ? "nothing to draw"
                     : counted(static_cast<long long>(drawn.size()), "polygon") + ", " + time_range(drawn));
    add_axes(svg, height);
    const int most = most_in_one_place(drawn);
    add_polygons(svg, drawn, height, opacity_for(most));
    add_legend(svg, top_edge + height + 46, most, opacity_for(most));
    add_svg_text(svg, left_edge, top_edge + height + 92, "class=\"mark\"",
                 cut_to("Asked for: " + labels.asked_for, 125));
    svg += "</svg>\n";
    return svg;
}

} // namespace host
