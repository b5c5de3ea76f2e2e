#include "local_time.h"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace host {

const char* const local_time_forms = "milliseconds since 1970, '2023-11-14', '2023-11-14 22:13:20', now, "
                                     "today, yesterday, or 15m, 2h, 7d (ago)";

namespace {

constexpr long long milliseconds_per_minute = 60'000;

std::tm broken_down(long long milliseconds)
{
    const std::time_t seconds = milliseconds / 1000;
    std::tm moment = {};
    localtime_r(&seconds, &moment);
    return moment;
}

// mktime mends what does not exist, the 31st of February say; here that is an error of the reader's.
bool same_day(const std::tm& left, const std::tm& right)
{
    return left.tm_year == right.tm_year && left.tm_mon == right.tm_mon && left.tm_mday == right.tm_mday;
}

// First or last millisecond of the local day `days` away from the one that `moment` is in.
long long edge_of_day(std::tm moment, int days, day_edge edge)
{
    moment.tm_mday += days + (edge == day_edge::last_moment ? 1 : 0);
    moment.tm_hour = moment.tm_min = moment.tm_sec = 0;
    moment.tm_isdst = -1;
    std::time_t start = std::mktime(&moment);
    // Where the clocks go back over midnight it comes twice; the day begins with the first.
    for (std::tm before = broken_down((start - 1) * 1000LL); same_day(before, moment);
         before = broken_down((start - 1) * 1000LL)) {
        start -= 1 + before.tm_sec + 60L * before.tm_min + 3600L * before.tm_hour;
    }
    return start * 1000LL - (edge == day_edge::last_moment ? 1 : 0);
}

bool is_digits(const std::string& text)
{
    return !text.empty() && text.size() <= 18 && text.find_first_not_of("0123456789") == std::string::npos;
}

std::optional<long long> parse_ago(const std::string& text)
{
    const std::string number = text.substr(0, text.size() - 1);
    if (!is_digits(number) || number.size() > 6) {
        return std::nullopt;
    }
    const char unit = text.back();
    const long long minutes = unit == 'm' ? 1 : unit == 'h' ? 60 : unit == 'd' ? 24 * 60 : 0;
    if (minutes == 0) {
        return std::nullopt;
    }
    return now_in_milliseconds() - std::stoll(number) * minutes * milliseconds_per_minute;
}

std::optional<long long> parse_date(const std::string& text, day_edge edge)
{
    std::tm moment = {};
    moment.tm_isdst = -1;
    const char* rest = strptime(text.c_str(), "%Y-%m-%d", &moment);
    if (rest == nullptr) {
        return std::nullopt;
    }
    const std::tm given = moment;
    if (*rest == '\0') {
        const long long start = edge_of_day(moment, 0, day_edge::first_moment);
        return same_day(given, broken_down(start)) ? std::optional(edge_of_day(moment, 0, edge))
                                                   : std::nullopt;
    }
    if (*rest != ' ' && *rest != 'T') {
        return std::nullopt;
    }
    const char* const clock = rest + 1;
    rest = strptime(clock, "%H:%M:%S", &moment);
    if (rest == nullptr) {
        rest = strptime(clock, "%H:%M", &moment);
    }
    int fraction = 0;
    int used = 0;
    if (rest != nullptr && std::sscanf(rest, ".%3d%n", &fraction, &used) == 1 && used == 4) {
        rest += used;
    }
    if (rest == nullptr || *rest != '\0') {
        return std::nullopt;
    }
    moment.tm_isdst = -1;
    const std::time_t seconds = std::mktime(&moment);
    return same_day(given, moment) ? std::optional(seconds * 1000LL + fraction) : std::nullopt;
}

} // namespace

std::optional<long long> parse_local_time(const std::string& text, day_edge edge)
{
    tzset();
    const long long now = now_in_milliseconds();
    if (text == "now") {
        return now;
    }
    if (text == "today") {
        return edge_of_day(broken_down(now), 0, edge);
    }
    if (text == "yesterday") {
        return edge_of_day(broken_down(now), -1, edge);
    }
    if (is_digits(text)) {
        return std::stoll(text);
    }
    if (text.empty()) {
        return std::nullopt;
    }
    const std::optional<long long> ago = parse_ago(text);
    return ago ? ago : parse_date(text, edge);
}

long long start_of_local_day(long long milliseconds)
{
    tzset();
    return edge_of_day(broken_down(milliseconds), 0, day_edge::first_moment);
}

long long now_in_milliseconds()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::string local_time_text(long long milliseconds)
{
    return local_time_text(milliseconds, "%Y-%m-%d %H:%M:%S");
}

std::string local_time_text(long long milliseconds, const char* format)
{
    const std::tm moment = broken_down(milliseconds);
    char text[64];
    std::strftime(text, sizeof text, format, &moment);
    return text;
}

} // namespace host
