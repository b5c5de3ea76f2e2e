// <<...>> in the texts of a case file.
#pragma once

#include "tests/wire/expected_text.h"

#include <map>
#include <string>
#include <string_view>

namespace korvane::test {

/// The texts that a case file names with "--- let NAME".
using named_texts = std::map<std::string, expected_text, std::less<>>;

/// `text` with every <<...>> replaced; throws std::invalid_argument with what is wrong.
expected_text expand(std::string_view text, const named_texts& names);

} // namespace korvane::test
