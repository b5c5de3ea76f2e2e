// What JSON is, by a parser that is not the library's.
#pragma once

#include <string>

namespace korvane::test {

/// Bytes of texts pass through the library as they come, UTF-8 or not: only the grammar is judged.
bool is_json(std::string text);

} // namespace korvane::test
