// The exported helpers, each against its contract worked out in another way: a letter that says which, then its texts.
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "fuzz/library_call.h"
#include "util/coordinates.h"
#include "util/json_members.h"
#include "util/text_checks.h"
#include "util/time_conversions.h"
#include "util/url_encode.h"

#include <korvane/ai_metadata.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

using namespace korvane::fuzz;

namespace {

constexpr auto bad_request = static_cast<int>(korvane::result_bad_request);

void encode(std::string_view text)
{
    const std::string value(text);
    std::string encoded;
    library_survives([&] { encoded = url_encode(value); });
    constexpr std::string_view kept = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~";
    std::string expected;
    for (const char c : value) {
        constexpr std::string_view digits = "0123456789ABCDEF";
        const auto byte = static_cast<unsigned char>(c);
        if (kept.find(c) != std::string_view::npos) {
            expected += c;
        } else {
            expected.append({'%', digits[byte >> 4U], digits[byte & 15U]});
        }
    }
    require(encoded == expected, "a value is not percent-encoded as agreed", encoded);
}

void check_abnormal(std::string_view text)
{
    exact_text given(text);
    int result = 1;
    library_survives([&] { result = check_abnormal_char(given.data()); });
    const bool abnormal = text.substr(0, 1) == " " || text.find_first_of("?^|+*\\\"'/:;=,<>`") != text.npos;
    require(result == (abnormal ? -1 : 0), "an abnormal text passed, or another did not");
}

void move_blanks(std::string_view text)
{
    exact_text given(text);
    int others = -1;
    library_survives([&] { others = removeBlank(given.data()); });
    std::string expected(text);
    const auto blanks =
        std::stable_partition(expected.begin(), expected.end(), [](char c) { return c != ' '; });
    require(given.view() == expected && others == blanks - expected.begin(),
            "blanks are not moved as agreed");
}

/// The caller's block has room for two more characters, and not one more.
void quote_timestamp(std::string_view text)
{
    exact_text given(text, 2);
    int result = 1;
    const bool returned =
        library_survives([&] { result = trans_time_to_string(given.data()); }, {"timestamp"});
    if (!returned || result != 0) {
        require(given.view() == text, "a text that is refused was changed");
        require(!returned || result == bad_request, "a result that the function has not");
        return;
    }
    require(given.view().find("\"timestamp\":\"") != text.npos, "a timestamp was not quoted", given.view());
}

/// Zones with and without daylight saving, with a midnight that is skipped, far from Greenwich.
void choose_zone(char letter)
{
    constexpr const char* zones[] = {"UTC0",
                                     "CST-8",
                                     "CET-1CEST,M3.5.0,M10.5.0/3",
                                     "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45",
                                     "<-03>3<-02>,M10.3.0/0,M2.3.0/0",
                                     "<-12>12"};
    setenv("TZ", zones[static_cast<unsigned char>(letter) % std::size(zones)], 1);
}

void convert_time(std::string_view text)
{
    choose_zone(text.empty() ? 'a' : text.front());
    exact_text digits(text.substr(std::min<std::size_t>(1, text.size())));
    exact_text hour({}, 23);
    exact_text day({}, 23);
    exact_text date({}, 127);
    exact_text untouched("as it was");
    char hour_unit[] = "hour";
    char day_unit[] = "day";
    char no_unit[] = "days";
    const long long ms = std::strtoll(digits.data(), nullptr, 10);
    long zone_s = 0;
    library_survives([&] {
        trans_timestamp_to_timepoint(hour_unit, digits.data(), hour.data());
        trans_timestamp_to_timepoint(day_unit, digits.data(), day.data());
        trans_timestamp_to_timepoint(no_unit, digits.data(), untouched.data());
        timestamp_to_date(ms, date.data());
        zone_s = get_timezone_diff();
    });
    require(untouched.view() == "as it was", "a unit that is none was taken for one");
    require(zone_s > -86'400 && zone_s < 86'400 && zone_s % 900 == 0, "no zone is so far away");
    const long long moment = ms / 1000 * 1000;
    const long long hour_ms = std::strtoll(hour.data(), nullptr, 10);
    const long long day_ms = std::strtoll(day.data(), nullptr, 10);
    require(hour_ms <= moment && moment - hour_ms < 3'600'000, "the hour's start is not of this hour",
            hour.view());
    require(day_ms <= moment && moment - day_ms < 90'000'000, "the day's start is not of this day",
            day.view());
    require(!date.view().empty(), "a time without a date");
}

void check_range(std::string_view text)
{
    exact_text axis(text.substr(std::min(sizeof(double), text.size())));
    double value = 0.0;
    std::memcpy(&value, text.data(), std::min(sizeof value, text.size()));
    int result = 1;
    library_survives([&] { result = check_coordinate_range(value, axis.data()); });
    const bool checked = axis.view() == "x" || axis.view() == "y";
    const bool outside = checked && (value < 0.0 || value > 1.0);
    require(result == (outside ? static_cast<int>(korvane::result_out_of_picture) : 0),
            "a coordinate outside passed, or another did not");
}

/// The getters, with a key and an object.
void read_members(std::string_view key_text, json_object* object)
{
    exact_text key(key_text);
    json_object* member = nullptr;
    json_object_object_get_ex(object, key.data(), &member);
    const char* text = member ? json_object_get_string(member) : nullptr;
    exact_text copy(text ? text : "as it was");
    int number = 7;
    double real = 7.5;
    long long timestamp = 77;
    if (text) {
        copy.data()[0] = '\0';
    }
    library_survives([&] {
        get_json_int(object, key.data(), &number);
        get_json_double(object, key.data(), &real);
        get_json_string(object, key.data(), copy.data());
        get_json_timestamp(object, &timestamp);
    });
    require(copy.view() == (text ? text : "as it was"), "a member's text was not copied as it is",
            copy.view());
    require(number == (member ? json_object_get_int(member) : 7), "a member's number is another");
    require(member || real == 7.5, "a member that is missing has a number");
    if (json_object_is_type(member, json_type_double) || json_object_is_type(member, json_type_int)) {
        const double expected = json_object_get_double(member);
        require(real == expected || (real != real && expected != expected), "a member's number is another");
    }
}

void read_polygon(json_object* object)
{
    std::vector<Tposition_xy> polygon;
    library_survives([&] { set_xy_position(object, polygon); },
                     {"x1", "y1", "x2", "y2", "x3", "y3", "x4", "y4"});
    require(polygon.size() <= 4, "a polygon with more corners than there are keys");
    for (const Tposition_xy& corner : polygon) {
        require_terminated(corner.x, "x");
        require_terminated(corner.y, "y");
    }
}

void read_json(std::string_view text)
{
    const std::size_t zero = std::min(text.find('\0'), text.size());
    const std::string json(text.substr(std::min(zero + 1, text.size())));
    const korvane::json_owner object = korvane::parse_json(json.c_str());
    read_members(text.substr(0, zero), object.get());
    read_polygon(object.get());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string_view terminated = text.substr(0, text.find('\0'));
    switch (data[0]) {
    case 'u':
        encode(text);
        break;
    case 'c':
        check_abnormal(terminated);
        break;
    case 'b':
        move_blanks(terminated);
        break;
    case 'q':
        quote_timestamp(terminated);
        break;
    case 't':
        convert_time(terminated);
        break;
    case 'x':
        check_range(text);
        break;
    case 'j':
        read_json(text);
        break;
    default:
        return -1;
    }
    return 0;
}
