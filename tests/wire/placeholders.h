// <<...>> in the texts of a case file.
#pragma once

#include "tests/wire/expected_text.h"

#include <functional>
#include <string_view>

namespace korvane::test {

/// Finds a text that a case file names with "--- let NAME"; null when there is none of this name.
using text_finder = std::function<const expected_text*(std::string_view name)>;

/// True for "now", "line", "blank" and "crlf", which no file can give to a text of its own.
bool is_placeholder(std::string_view name);

/// `text` with every <<...>> replaced; throws std::invalid_argument with what is wrong.
expected_text expand(std::string_view text, const text_finder& find);

} // namespace korvane::test
