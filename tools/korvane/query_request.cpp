#include "query_request.h"

#include "json.h"
#include "text.h"

#include <CLI/Error.hpp>
#include <CLI/StringTools.hpp>
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <optional>

namespace host {
namespace {

void add_channels(json_object* filter, const std::vector<std::string>& wanted)
{
    json_object* channels = json_object_new_array();
    json_object_object_add(filter, "channel_guid_list", channels);
    for (const std::string& channel : wanted) {
        check_channel(channel);
        json_object_array_add(channels, json_object_new_string(channel.c_str()));
    }
}

bool is_fraction(const std::string& text)
{
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    return !text.empty() && text.size() <= 32 &&
           text.find_first_not_of("0123456789.eE+-") == std::string::npos && *end == '\0' && value >= 0 &&
           value <= 1;
}

void add_polygon(json_object* filter, const std::string& text)
{
    const std::vector<std::string> numbers = CLI::detail::split(text, ',');
    if (numbers.size() != 8 || !std::all_of(numbers.begin(), numbers.end(), is_fraction)) {
        throw CLI::ValidationError("--polygon",
                                   "'" + text +
                                       "': expected four corners x1,y1,x2,y2,x3,y3,x4,y4 as fractions of "
                                       "the picture from 0 to 1");
    }
    for (size_t index = 0; index < numbers.size(); ++index) {
        const std::string key = (index % 2 == 0 ? "x" : "y") + std::to_string(index / 2 + 1);
        json_object_object_add(filter, key.c_str(), json_object_new_string(numbers[index].c_str()));
    }
}

void add_time(json_object* filter, const char* key, long long time)
{
    json_object_object_add(filter, key, json_object_new_string(std::to_string(time).c_str()));
}

void add_times(json_object* filter, const query_filter& wanted)
{
    const long long from = wanted.from.empty() ? 0 : time_of("--from", wanted.from, day_edge::first_moment);
    const long long to = wanted.to.empty() ? std::numeric_limits<long long>::max()
                                           : time_of("--to", wanted.to, day_edge::last_moment);
    if (from > to) {
        throw CLI::ValidationError("--from",
                                   local_time_text(from) + " is later than --to, " + local_time_text(to));
    }
    if (!wanted.from.empty()) {
        add_time(filter, "start_time", from);
    }
    if (!wanted.to.empty()) {
        add_time(filter, "end_time", to);
    }
}

void add_filters_of_kind(json_object* filter, const query_filter& wanted, unsigned asked)
{
    for (const kind_filter& row : kind_filters()) {
        const auto given = wanted.of_kind.find(row.option);
        if (given == wanted.of_kind.end() || given->second.empty()) {
            continue;
        }
        if ((row.knows_it & asked) == 0) {
            throw CLI::ValidationError(row.option,
                                       "is for " + who_knows(row) + " only: say which with --kind");
        }
        row.form.add(filter, row, given->second);
    }
}

json_object* add_filters(json_object* request, const query_filter& wanted, const char* kind, unsigned asked)
{
    json_object* filter = json_object_new_object();
    json_object_object_add(request, "metadata", filter);
    if (kind != nullptr) {
        json_object_object_add(filter, "function_name", json_object_new_string(kind));
    }
    if (!wanted.channels.empty()) {
        add_channels(filter, wanted.channels);
    }
    add_times(filter, wanted);
    if (!wanted.polygon.empty()) {
        add_polygon(filter, wanted.polygon);
    }
    add_filters_of_kind(filter, wanted, asked);
    return filter;
}

std::string words_of_kind(json_object* filter)
{
    std::string words;
    for (const kind_filter& row : kind_filters()) {
        const std::string value = row.form.words(filter, row);
        std::string name = row.option + 2; // without its dashes
        std::replace(name.begin(), name.end(), '-', ' ');
        if (!value.empty()) {
            words.append(", ").append(name).append(" ").append(value);
        }
    }
    return words;
}

} // namespace

void check_channel(const std::string& channel)
{
    if (channel.size() != 32) { // the library would leave it out, and a query without channels means all
        throw CLI::ValidationError("--channel",
                                   "'" + channel + "' has " +
                                       counted(static_cast<long long>(channel.size()), "character") +
                                       "; a channel identifier has 32");
    }
}

long long time_of(const std::string& option, const std::string& text, day_edge edge)
{
    const std::optional<long long> time = parse_local_time(text, edge);
    if (!time) {
        throw CLI::ValidationError(option, "'" + text + "' is no time; expected " + local_time_forms);
    }
    return *time;
}

std::string query_text(const query_kind& kind, const query_filter& wanted, const query_page& page)
{
    const json_owner request(json_object_new_object());
    json_object* filter = add_filters(request.get(), wanted, kind.name, kind.asked);
    json_object_object_add(filter, "sort_dir", json_object_new_int(page.sort == "asc" ? 1 : -1));
    json_object_object_add(filter, "skip", json_object_new_int(page.skip));
    json_object_object_add(filter, "limit", json_object_new_int(page.limit));
    return json_object_to_json_string_ext(request.get(), JSON_C_TO_STRING_PLAIN);
}

std::string persons_text(const query_filter& wanted)
{
    const json_owner request(json_object_new_object());
    add_filters(request.get(), wanted, nullptr, of_persons);
    return json_object_to_json_string_ext(request.get(), JSON_C_TO_STRING_PLAIN);
}

std::string asked_for(const std::string& request)
{
    const json_owner parsed(json_tokener_parse(request.c_str()));
    json_object* filter = json_member(parsed.get(), "metadata");
    const std::string from = json_text(filter, "start_time");
    const std::string to = json_text(filter, "end_time");
    std::string words = from.empty() ? "from the beginning"
                                     : "from " + local_time_text(std::strtoll(from.c_str(), nullptr, 10));
    words += to.empty() ? " until now" : " to " + local_time_text(std::strtoll(to.c_str(), nullptr, 10));
    json_object* channels = json_member(filter, "channel_guid_list");
    if (json_object_is_type(channels, json_type_array) && json_object_array_length(channels) > 0) {
        words += json_object_array_length(channels) == 1 ? ", channel " : ", channels ";
        for (size_t index = 0; index < json_object_array_length(channels); ++index) {
            words += index > 0 ? ", " : "";
            words += json_object_get_string(json_object_array_get_idx(channels, index));
        }
    }
    words += json_member(filter, "x1") != nullptr ? ", overlapping the polygon" : "";
    return printable(words + words_of_kind(filter));
}

} // namespace host
