// Small text helpers for messages and tables.
#pragma once

#include <string>

namespace host {

/// 1234567 as "1,234,567".
std::string grouped(long long number);

/// "1 report", "2 reports".
std::string counted(long long number, const char* noun);

/// `text` with every control character as '?', so that a stored value cannot drive the reader's terminal.
std::string printable(const std::string& text);

/// How many columns a terminal shows `text` in: two for a wide letter of UTF-8 (Chinese, emoji), none for one
/// that joins the letter before it.
size_t display_width(const std::string& text);

/// `text` filled up with blanks to `width` columns.
std::string padded(const std::string& text, size_t width);

/// What errno says, in words.
std::string system_message();

} // namespace host
