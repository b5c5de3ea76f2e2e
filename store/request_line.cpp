#include "store/request_line.h"

#include "util/fixed_text.h"

#include <algorithm>

namespace korvane {

namespace {

bool is_control(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

} // namespace

request_line::request_line(std::string_view method, std::string_view path)
{
    text_.append(method);
    text_.append(" ");
    text_.append(path);
    text_.append("?");
}

/// Appends a value as it stands. With a line break in it the store would see two requests.
void request_line::raw(std::string_view value)
{
    refused_ = refused_ || std::any_of(value.begin(), value.end(), is_control);
    text_.append(value);
}

void request_line::area(const std::vector<Tposition_xy>& polygon)
{
    constexpr std::string_view x_pieces[] = {"x1=", "x2=", "x3=", "x4="};
    constexpr std::string_view y_pieces[] = {"&y1=", "&y2=", "&y3=", "&y4="};
    if (polygon.empty()) {
        return;
    }
    if (polygon.size() < std::size(x_pieces)) {
        refused_ = true; // the store needs all four corners
        return;
    }
    for (std::size_t i = 0; i < std::size(x_pieces); ++i) {
        text_.append(x_pieces[i]);
        raw(text_of(polygon[i].x));
        text_.append(y_pieces[i]);
        raw(text_of(polygon[i].y));
        text_.append("&");
    }
}

void request_line::quoted_list(std::string_view name, const std::vector<std::string>& values)
{
    if (values.empty()) {
        return;
    }
    text_.append(name);
    text_.append("=[");
    for (const std::string& value : values) {
        text_.append("\"");
        raw(value);
        text_.append("\",");
    }
    text_.replace_last(']');
    text_.append("&");
}

void request_line::times(unsigned long long start_time, unsigned long long end_time)
{
    text_.append("start_time=");
    text_.append_number(start_time);
    text_.append("&end_time=");
    text_.append_number(end_time);
}

void request_line::paging(int sort_dir, int skip, int limit)
{
    text_.append("&sort_dir=");
    text_.append_number(sort_dir == 0 ? -1 : sort_dir);
    text_.append("&skip=");
    text_.append_number(skip);
    text_.append("&limit=");
    text_.append_number(limit);
}

} // namespace korvane
