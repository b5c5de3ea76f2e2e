// A text expected byte for byte, but for the places that change from run to run.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::test {

/// Wall clock around the call under test, in milliseconds since the epoch.
struct time_window {
    long long begin_ms = 0;
    long long end_ms = 0;
};

class expected_text {
public:
    enum class place {
        now,         ///< milliseconds since the epoch, within the call
        line_number, ///< any number: a line of the library's sources
    };

    expected_text() = default;
    explicit expected_text(std::string_view literal) { append(literal); }
    explicit expected_text(place varying) { append(varying); }

    void append(std::string_view literal);
    void append(place varying);
    void append(const expected_text& other);

    bool empty() const { return parts_.empty(); }
    bool is_literal() const;

    /// Bytes; a moment counts as the 13 digits it has until the year 2286.
    std::size_t size() const;

    /// As a case file spells it: varying places as <<now>> and <<line>>.
    std::string spelled() const;

    /// Where `actual` departs from it first; none when it is as expected.
    std::optional<std::size_t> mismatch(std::string_view actual, const time_window& window) const;

private:
    struct part {
        std::string literal; ///< empty: a varying place
        place varying = place::now;
    };

    std::vector<part> parts_;
};

/// Expected and actual text, one above the other with control characters spelled out, and the place where
/// they part.
std::string describe_mismatch(const expected_text& expected, std::string_view actual, std::size_t at);

} // namespace korvane::test
