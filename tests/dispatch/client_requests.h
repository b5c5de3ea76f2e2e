// What the tests of the metadata store's client have in common.
#pragma once

#include <korvane/metadata_records.h>

#include <string>
#include <vector>

namespace korvane::test {

/// The vertices (1 a), (2 b), (3 c), ...
inline std::vector<Tposition_xy> corners(int count)
{
    std::vector<Tposition_xy> made(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        made[static_cast<std::size_t>(i)].x[0] = static_cast<char>('1' + i);
        made[static_cast<std::size_t>(i)].y[0] = static_cast<char>('a' + i);
    }
    return made;
}

/// What is logged of a query line that may not be sent, before the reason.
inline const std::string not_sent = "[korvane](ai_CDataBaseComm:#) request not sent: ";

} // namespace korvane::test
