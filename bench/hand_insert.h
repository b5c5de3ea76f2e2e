// The insert's stand-in: what storing a report of human detection takes at least, written by hand over json-c.
#pragma once

namespace korvane::bench {

/// As insert_ai_metadata, for a report that is as it should be: it is parsed and walked, each person's body is put
/// together by memcpy and to_chars and sent with the system calls of the library, and the reply is parsed for its
/// "ret". Returns 0, or -1 for any failure.
int insert_by_hand(const char* report);

} // namespace korvane::bench
