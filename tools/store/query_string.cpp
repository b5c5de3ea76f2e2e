#include "query_string.h"

#include "refusal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace {

refusal bad_value(std::string_view name, std::string_view value, std::string_view expected)
{
    return refusal(ret_code::bad_parameter, "parameter " + std::string(name) + " is " + quoted(value) +
                                                ", expected " + std::string(expected));
}

std::vector<std::string> split(std::string_view text, std::string_view separator)
{
    std::vector<std::string> pieces;
    for (std::size_t begin = 0;;) {
        const std::size_t end = text.find(separator, begin);
        pieces.emplace_back(text.substr(begin, end - begin));
        if (end == std::string_view::npos)
            return pieces;
        begin = end + separator.size();
    }
}

// What stands between `open` and `close`; none when the value is not framed so.
std::optional<std::string_view> inside(std::string_view value, std::string_view open, std::string_view close)
{
    if (value.size() < open.size() + close.size() || value.substr(0, open.size()) != open ||
        value.substr(value.size() - close.size()) != close)
        return std::nullopt;
    return value.substr(open.size(), value.size() - open.size() - close.size());
}

std::string percent_decode(std::string_view name, std::string_view value)
{
    std::string decoded;
    for (std::size_t at = 0; at < value.size(); ++at) {
        if (value[at] != '%') {
            decoded += value[at];
            continue;
        }
        unsigned char byte = 0;
        const std::string_view digits = value.substr(at + 1, 2);
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
        if (error != std::errc() || end != digits.data() + 2)
            throw bad_value(name, value, "two hexadecimal digits behind every %");
        decoded += static_cast<char>(byte);
        at += 2;
    }
    return decoded;
}

std::vector<std::string> decode_each(std::string_view name, std::vector<std::string> items)
{
    for (std::string& item : items)
        item = percent_decode(name, item);
    return items;
}

template <typename number>
bool read_whole(std::string_view text, number& result)
{
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, result);
    return error == std::errc() && stop == end;
}

} // namespace

query_parameters::query_parameters(std::string_view raw, const std::vector<std::string_view>& known)
{
    while (!raw.empty()) {
        const std::string_view piece = raw.substr(0, raw.find('&'));
        raw.remove_prefix(std::min(piece.size() + 1, raw.size()));
        const std::size_t equals = piece.find('=');
        const std::string_view name = piece.substr(0, equals);
        const bool is_known =
            equals != std::string_view::npos && std::find(known.begin(), known.end(), name) != known.end();
        if (is_known && find(name))
            throw refusal(ret_code::unknown_parameter, "parameter " + std::string(name) + " is given twice");
        if (is_known) {
            parameters_.emplace_back(name, piece.substr(equals + 1));
        } else if (!parameters_.empty()) {
            std::string_view& value = parameters_.back().second; // a raw '&': still the value before it
            value = {value.data(), static_cast<std::size_t>(piece.data() + piece.size() - value.data())};
        } else if (!piece.empty()) {
            throw refusal(ret_code::unknown_parameter, "unknown parameter " + quoted(name));
        }
    }
}

std::optional<std::string_view> query_parameters::find(std::string_view name) const
{
    for (const auto& [known_name, value] : parameters_)
        if (known_name == name)
            return value;
    return std::nullopt;
}

std::string_view query_parameters::require(std::string_view name) const
{
    if (const auto value = find(name))
        return *value;
    throw refusal(ret_code::missing_parameter, "parameter " + std::string(name) + " is missing");
}

std::int64_t read_integer(std::string_view name, std::string_view value)
{
    std::int64_t number = 0;
    if (read_whole(value, number))
        return number;
    std::uint64_t wrapped = 0;
    if (read_whole(value, wrapped))
        return static_cast<std::int64_t>(wrapped);
    throw bad_value(name, value, "a whole number");
}

double read_number(std::string_view name, std::string_view value)
{
    double number = 0;
    if (!read_whole(value, number) || !std::isfinite(number))
        throw bad_value(name, value, "a number");
    return number;
}

bool read_boolean(std::string_view name, std::string_view value)
{
    if (value != "true" && value != "false")
        throw bad_value(name, value, "true or false");
    return value == "true";
}

std::vector<std::string> read_quoted_list(std::string_view name, std::string_view value)
{
    const auto items = inside(value, "[\"", "\"]");
    if (!items)
        throw bad_value(name, value, "a list like [\"a\",\"b\"]");
    return split(*items, "\",\"");
}

std::vector<std::string> read_encoded_quoted_list(std::string_view name, std::string_view value)
{
    return decode_each(name, read_quoted_list(name, value));
}

std::vector<std::string> read_tab_list(std::string_view name, std::string_view value)
{
    const std::string items = percent_decode(name, value);
    if (items.empty() || items.back() != '\t')
        throw bad_value(name, value, "%09 behind every item");
    return split(std::string_view(items).substr(0, items.size() - 1), "\t");
}

std::vector<std::string> read_bar_list(std::string_view name, std::string_view value)
{
    return decode_each(name, split(value, "|"));
}

std::vector<std::int64_t> read_integer_list(std::string_view name, std::string_view value)
{
    const auto items = inside(value, "[", "]");
    if (!items)
        throw bad_value(name, value, "a list like [1,2]");
    std::vector<std::int64_t> numbers;
    for (const std::string& item : split(*items, ","))
        numbers.push_back(read_integer(name, item));
    return numbers;
}
