// The cases of a .case file. README.md describes the format.
#pragma once

#include "tests/support/scripted_store.h"
#include "tests/wire/entry_point_calls.h"
#include "tests/wire/expected_text.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::test {

/// What was written in a section, and where.
template <class T>
struct at_line {
    T value{};
    int line = 0;
};

/// A request of the library and the store's answer to it.
struct wire_exchange {
    int line = 0;
    expected_text request_line; ///< "GET /path?query"
    expected_text body;
    std::optional<scripted_reply> reply; ///< none: {"ret":0}
};

struct wire_case {
    std::string name; ///< "file" or "file/case"
    std::string file;
    int line = 0;

    const entry_point_call* call = nullptr;
    std::optional<std::string> input; ///< none: a null pointer
    std::string zone = "UTC0";
    bool decimal_comma = false;
    bool store_is_down = false;

    std::vector<wire_exchange> exchanges;
    at_line<std::optional<unsigned>> result;
    at_line<std::optional<expected_text>> abort_message; ///< instead of a result
    at_line<std::optional<expected_text>> answer;
    at_line<std::vector<expected_text>> log;
};

struct case_file {
    std::vector<wire_case> cases;
    std::vector<std::string> errors; ///< "file:line: what was wrong, what was expected"
};

/// Reads the cases in `text`; `path` is for messages and, without folder and ".case", names the cases.
case_file parse_case_file(const std::string& path, std::string_view text);

} // namespace korvane::test
