// Times as people give and read them: local, to the millisecond inside.
#pragma once

#include <optional>
#include <string>

namespace host {

/// What a time without a time of day means: the start of a range takes its first moment, the end its last.
enum class day_edge { first_moment, last_moment };

/// Milliseconds since the Unix epoch for: a whole number (milliseconds); "2023-11-14", "2023-11-14 22:13",
/// "2023-11-14 22:13:20", "2023-11-14T22:13:20.250"; "now", "today", "yesterday"; "15m", "2h", "7d" (that
/// long ago). Nothing when it is none of these, or no such time exists.
std::optional<long long> parse_local_time(const std::string& text, day_edge edge);

extern const char* const local_time_forms;

/// The first millisecond of the local day that holds the moment.
long long start_of_local_day(long long milliseconds);

long long now_in_milliseconds();

/// "2023-11-14 22:13:20".
std::string local_time_text(long long milliseconds);

/// As strftime writes it, at most 63 bytes.
std::string local_time_text(long long milliseconds, const char* format);

} // namespace host
