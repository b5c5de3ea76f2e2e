#include "svg.h"

#include "text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace host {

const char* const ink = "#1f2933";
const char* const faint_ink = "#66727f";

void begin_svg(std::string& svg, double width, double height)
{
    add_svg(svg,
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" "
            "viewBox=\"0 0 %.0f %.0f\" font-family=\"sans-serif\">\n",
            width, height, width, height);
    add_svg(svg, "<style>.mark{font-size:13px;fill:%s}.note{font-size:15px;fill:%s}</style>\n", faint_ink,
            faint_ink);
    svg += "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
}

void add_svg(std::string& svg, const char* format, ...)
{
    char piece[512];
    va_list values;
    va_start(values, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start is the line above
    std::vsnprintf(piece, sizeof piece, format, values);
    va_end(values);
    svg += piece;
}

void add_svg_text(std::string& svg, double x, double y, const char* attributes, const std::string& text)
{
    add_svg(svg, "<text x=\"%.1f\" y=\"%.1f\" %s>", x, y, attributes);
    svg += svg_escaped(text) + "</text>\n";
}

void add_svg_title(std::string& svg, double x, const std::string& title)
{
    char style[80];
    std::snprintf(style, sizeof style, "font-size=\"26\" font-weight=\"600\" fill=\"%s\"", ink);
    add_svg_text(svg, x, 48, style, title);
}

std::string svg_escaped(const std::string& text)
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

std::string cut_to(const std::string& text, size_t bytes)
{
    size_t end = std::min(bytes, text.size());
    while (end < text.size() && end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
        --end; // not inside a letter
    }
    return end < text.size() ? text.substr(0, end) + " ..." : text;
}

} // namespace host
