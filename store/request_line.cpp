#include "store/request_line.h"

#include "util/fixed_text.h"
#include "util/url_encode.h"

#include <algorithm>

namespace korvane {

namespace {

bool is_control(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

} // namespace

request_line::request_line(std::string_view method, std::string_view path, std::size_t area_size)
    : max_length_(area_size - 1)
{
    text_.append(method);
    text_.append(" ");
    text_.append(path);
    text_.append("?");
}

void request_line::refuse(const char* reason)
{
    refusal_ = refusal_ ? refusal_ : reason;
}

const char* request_line::refusal() const
{
    const bool too_long = text_.overflowed() || text_.view().size() > max_length_;
    return !refusal_ && too_long ? "it is too long" : refusal_;
}

void request_line::begin(std::string_view name)
{
    if (!first_) {
        text_.append("&");
    }
    first_ = false;
    text_.append(name);
    text_.append("=");
}

/// Appends a value as it stands. With a line break in it the store would see two requests.
void request_line::raw(std::string_view value)
{
    if (std::any_of(value.begin(), value.end(), is_control)) {
        refuse("a value holds a control character");
    }
    text_.append(value);
}

void request_line::encoded(const std::string& value)
{
    if (refusal()) {
        return; // the rest of a list that nobody will get
    }
    const std::string text = url_encode(value);
    if (text.empty() && !value.empty()) { // a filter left out would find too much
        refuse("a value cannot be percent-encoded");
    }
    text_.append(text);
}

void request_line::text(std::string_view name, std::string_view value)
{
    begin(name);
    raw(value);
}

void request_line::flag(std::string_view name, int value)
{
    if (value == 0 || value == 1) {
        text(name, value == 1 ? "true" : "false");
    }
}

void request_line::range_unless(int absent, std::string_view name, int start, int end)
{
    if (start != absent && end != absent) {
        number(std::string("start_").append(name), start);
        number(std::string("end_").append(name), end);
    }
}

void request_line::area(const std::vector<Tposition_xy>& polygon)
{
    constexpr std::string_view x_names[] = {"x1", "x2", "x3", "x4"};
    constexpr std::string_view y_names[] = {"y1", "y2", "y3", "y4"};
    if (polygon.empty()) {
        return;
    }
    if (polygon.size() < std::size(x_names)) {
        refuse("an area needs four corners");
        return;
    }
    for (std::size_t i = 0; i < std::size(x_names); ++i) {
        text(x_names[i], text_of(polygon[i].x));
        text(y_names[i], text_of(polygon[i].y));
    }
}

/// name=OPEN item SEPARATOR item ... CLOSE; nothing for an empty list.
template <class Values, class AppendItem>
void request_line::list(std::string_view name, const list_shape& shape, const Values& values,
                        AppendItem append_item)
{
    if (values.empty()) {
        return;
    }
    begin(name);
    std::string_view before = shape.open;
    for (const auto& value : values) {
        text_.append(before);
        append_item(value);
        before = shape.separator;
    }
    text_.append(shape.close);
}

void request_line::quoted_list(std::string_view name, const std::vector<std::string>& values)
{
    list(name, {"[\"", "\",\"", "\"]"}, values, [this](const std::string& value) { raw(value); });
}

void request_line::quoted_encoded_list(std::string_view name, const std::vector<std::string>& values)
{
    list(name, {"[\"", "\",\"", "\"]"}, values, [this](const std::string& value) { encoded(value); });
}

void request_line::tabbed_encoded_list(std::string_view name, const std::vector<std::string>& values)
{
    list(name, {"", "", ""}, values, [this](const std::string& value) { encoded(value + '\t'); });
}

void request_line::barred_encoded_list(std::string_view name, const std::vector<std::string>& values)
{
    list(name, {"", "|", ""}, values, [this](const std::string& value) { encoded(value); });
}

void request_line::number_list(std::string_view name, const std::vector<int>& values)
{
    list(name, {"[", ",", "]"}, values, [this](int value) { text_.append_number(value); });
}

void request_line::times(unsigned long long start_time, unsigned long long end_time)
{
    number("start_time", start_time);
    number("end_time", end_time);
}

void request_line::paging(int sort_dir, int skip, int limit)
{
    number("sort_dir", sort_dir == 0 ? -1 : sort_dir);
    number("skip", skip);
    number("limit", limit);
}

} // namespace korvane
