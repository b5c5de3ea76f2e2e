#include "svg_picture.h"

#include "position.h"
#include "text.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
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

const char* const ink = "#1f2933";
const char* const faint_ink = "#66727f";
const char* const seen_colour = "#d1361b";

__attribute__((format(printf, 2, 3))) void add(std::string& svg, const char* format, ...)
{
    char piece[512];
    va_list values;
    va_start(values, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start is the line above
    std::vsnprintf(piece, sizeof piece, format, values);
    va_end(values);
    svg += piece;
}

std::string escaped(const std::string& text)
{
    std::string safe;
    for (const char byte : printable(text)) {
        switch (byte) {
        case '&':
            safe += "&amp;";
            break;
        case '<':
            safe += "&lt;";
            break;
        case '>':
            safe += "&gt;";
            break;
        case '"':
            safe += "&quot;";
            break;
        default:
            safe += byte;
        }
    }
    return safe;
}

void add_text(std::string& svg, double x, double y, const char* attributes, const std::string& text)
{
    add(svg, "<text x=\"%.1f\" y=\"%.1f\" %s>", x, y, attributes);
    svg += escaped(text) + "</text>\n";
}

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
        add(svg, "<path d=\"M%.1f %.1fv6M%.1f %.1fh-6\" stroke=\"%s\"/>\n", x, top_edge + height, left_edge,
            y, faint_ink);
        add_text(svg, x, top_edge + height + 22, "class=\"mark\" text-anchor=\"middle\"", mark);
        add_text(svg, left_edge - 12, y + 4, "class=\"mark\" text-anchor=\"end\"", mark);
        if (part > 0 && part < 1) {
            add(svg, "<path d=\"M%.1f %.1fv%.1fM%.1f %.1fh%.0f\" stroke=\"#dde3e8\"/>\n", x, top_edge, height,
                left_edge, y, view_width);
        }
    }
}

void add_polygons(std::string& svg, const std::vector<json_object*>& records, double height, double opacity)
{
    add(svg,
        "<g clip-path=\"url(#view)\" fill=\"%s\" fill-opacity=\"%.3f\" stroke=\"%s\" "
        "stroke-opacity=\"%.3f\">\n",
        seen_colour, opacity, seen_colour, std::min(0.8, 2 * opacity));
    for (json_object* record : records) {
        json_object* position = position_of(record);
        svg += "<polygon points=\"";
        for (size_t index = 0; index < json_object_array_length(position); ++index) {
            json_object* vertex = json_object_array_get_idx(position, index);
            add(svg, "%s%.1f,%.1f", index > 0 ? " " : "",
                left_edge + json_object_get_double(json_member(vertex, "x")) * view_width,
                top_edge + json_object_get_double(json_member(vertex, "y")) * height);
        }
        svg += "\"><title>" + escaped(json_text(record, "date") + " " + json_text(record, "description")) +
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
        add(svg,
            "<rect x=\"%.1f\" y=\"%.1f\" width=\"34\" height=\"20\" fill=\"%s\" fill-opacity=\"%.3f\" "
            "stroke=\"#c3ccd4\"/>\n",
            x, y, seen_colour, 1 - std::pow(1 - opacity, times));
        add_text(svg, x + 42, y + 15, "class=\"mark\"", times == 1 ? "seen once" : grouped(times) + " times");
        x += 132;
    }
}

std::string cut_to(const std::string& text, size_t bytes)
{
    size_t end = std::min(bytes, text.size());
    while (end < text.size() && end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
        --end; // not inside a letter
    }
    return end < text.size() ? text.substr(0, end) + " ..." : text;
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
    add(svg,
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" viewBox=\"0 0 %.0f %.0f\" "
        "font-family=\"sans-serif\">\n",
        page_width, page_height, page_width, page_height);
    add(svg, "<style>.mark{font-size:13px;fill:%s}.note{font-size:15px;fill:%s}</style>\n", faint_ink,
        faint_ink);
    add(svg,
        "<clipPath id=\"view\"><rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\"/></clipPath>\n",
        left_edge, top_edge, view_width, height);
    svg += "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
    add(svg, "<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" fill=\"#f4f6f8\" stroke=\"%s\"/>\n",
        left_edge, top_edge, view_width, height, faint_ink);
    char title_style[80];
    std::snprintf(title_style, sizeof title_style, "font-size=\"26\" font-weight=\"600\" fill=\"%s\"", ink);
    add_text(svg, left_edge, 48, title_style, labels.title);
    add_text(svg, left_edge, 78, "class=\"note\"",
             drawn.empty()
                 ? "nothing to draw"
                 : counted(static_cast<long long>(drawn.size()), "polygon") + ", " + time_range(drawn));
    add_axes(svg, height);
    const int most = most_in_one_place(drawn);
    add_polygons(svg, drawn, height, opacity_for(most));
    add_legend(svg, top_edge + height + 46, most, opacity_for(most));
    add_text(svg, left_edge, top_edge + height + 92, "class=\"mark\"",
             cut_to("Asked for: " + labels.asked_for, 125));
    svg += "</svg>\n";
    return svg;
}

} // namespace host
