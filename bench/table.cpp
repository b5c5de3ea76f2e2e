#include "bench/table.h"

#include "bench/fail.h"

#include <json-c/json.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace korvane::bench {

namespace {

std::string printed(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string text_of(const table::cell& cell, const column& column)
{
    return column.show ? column.show(std::get<double>(cell)) : std::get<std::string>(cell);
}

json_object* json_of(const table::cell& cell)
{
    const auto* text = std::get_if<std::string>(&cell);
    return text ? json_object_new_string(text->c_str()) : json_object_new_double(std::get<double>(cell));
}

} // namespace

std::string as_time(double seconds)
{
    struct scale {
        double below_s;
        double factor;
        const char* format;
    };
    // From here on three digits round up to the next unit.
    constexpr std::array<scale, 4> scales{{{999.5e-9, 1e9, "%.3g ns"},
                                           {999.5e-6, 1e6, "%.3g us"},
                                           {0.9995, 1e3, "%.3g ms"},
                                           {INFINITY, 1, "%.3g s"}}};
    const scale& scale =
        *std::find_if(scales.begin(), scales.end(), [&](const auto& s) { return seconds < s.below_s; });
    return printed(scale.format, seconds * scale.factor);
}

std::string as_ratio(double ratio)
{
    return printed("%.3f", ratio);
}

std::string as_count(double count)
{
    std::string text = printed("%.0f", count);
    for (std::size_t at = text.size(); at > 3;) {
        at -= 3;
        text.insert(at, ",");
    }
    return text;
}

std::string as_mib(double bytes)
{
    const double mib = bytes / (1024 * 1024);
    return mib < 1'000 ? printed("%.3g MiB", mib) : as_count(mib) + " MiB";
}

void show_progress(const std::string& what)
{
    if (isatty(STDERR_FILENO) != 0) {
        std::fprintf(stderr, "\r\033[K%s", what.c_str());
    }
}

void table::print() const
{
    show_progress("");
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        std::size_t width = columns_[i].name.size();
        for (const auto& row : rows_) {
            width = std::max(width, text_of(row[i], columns_[i]).size());
        }
        widths.push_back(width);
    }
    const auto print_row = [&](const auto& text_at) {
        std::printf("|");
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            const auto width = static_cast<int>(widths[i]);
            std::printf(columns_[i].show ? " %*s |" : " %-*s |", width, text_at(i).c_str());
        }
        std::printf("\n");
    };
    std::printf("\n");
    print_row([&](std::size_t i) { return columns_[i].name; });
    std::printf("|");
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        std::printf("%s%c|", std::string(widths[i] + 1, '-').c_str(), columns_[i].show ? ':' : '-');
    }
    std::printf("\n");
    for (const auto& row : rows_) {
        print_row([&](std::size_t i) { return text_of(row[i], columns_[i]); });
    }
    std::fflush(stdout);
}

void table::write_json(const std::string& path) const
{
    json_object* list = json_object_new_array();
    for (const auto& row : rows_) {
        json_object* object = json_object_new_object();
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            json_object_object_add(object, columns_[i].name.c_str(), json_of(row[i]));
        }
        json_object_array_add(list, object);
    }
    if (json_object_to_file_ext(path.c_str(), list, JSON_C_TO_STRING_PRETTY) != 0) {
        fail("cannot write " + path + ": " + json_util_get_last_err());
    }
    json_object_put(list);
}

} // namespace korvane::bench
