// Between millisecond timestamps and local time. Safe in any number of threads.
#pragma once

#include <cstddef>

/// Writes the local date and time of `ms` milliseconds since the epoch into `out`, at most 128 bytes.
void timestamp_to_date(long long ms, char* out);

/// Seconds by which local time is ahead of UTC now.
long get_timezone_diff();

/// Writes the start of the local hour or day (`unit` "hour" or "day") that holds the decimal milliseconds
/// `ms_text`, as millisecond text of at most 24 bytes. Any other unit leaves `out` as it is.
void trans_timestamp_to_timepoint(char* unit, char* ms_text, char* out);

namespace korvane {

constexpr std::size_t date_size = 128;

/// timestamp_to_date without asking for the zone again: for many conversions after one tzset().
void write_date(long long ms, char (&out)[date_size]);

/// The local day of `ms`, likewise; a time before the epoch counts as the huge unsigned number it is on the
/// wire.
void write_day(long long ms, char (&out)[date_size]);

/// The start of the local day of `ms`, at the ends of the 64-bit range that range's end. Asks for the zone.
long long start_of_day_ms(long long ms);

/// Milliseconds since the epoch, by the wall clock.
unsigned long long wall_clock_ms();

} // namespace korvane
