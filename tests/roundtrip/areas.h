// Squares in a picture, as reports and queries spell them.
#pragma once

#include <string>

namespace korvane::test {

/// "position" of a report: the square from (from, from) to (to, to).
inline std::string square(const std::string& from, const std::string& to)
{
    return R"([{"x":)" + from + R"(,"y":)" + from + R"(},{"x":)" + to + R"(,"y":)" + from + R"(},{"x":)" +
           to + R"(,"y":)" + to + R"(},{"x":)" + from + R"(,"y":)" + to + "}]";
}

/// The corner members of a query for the same square.
inline std::string area(const std::string& from, const std::string& to)
{
    return R"("x1":)" + from + R"(,"y1":)" + from + R"(,"x2":)" + to + R"(,"y2":)" + from + R"(,"x3":)" + to +
           R"(,"y3":)" + to + R"(,"x4":)" + from + R"(,"y4":)" + to;
}

} // namespace korvane::test
