// Result codes in words.
#pragma once

#include <optional>
#include <string>

namespace host {

/// Two lines' worth about one code. For a code without a fixed meaning the name is "store_answer".
struct result_text {
    std::string name;
    std::string meaning;
    std::string advice;
};

result_text explain_result(unsigned int code);

/// "0xC4080001 (-1006108671) bad_request".
std::string result_title(unsigned int code);

/// A code as people write it: decimal, signed or unsigned, hexadecimal with or without 0x (without, at least
/// one of a to f), or its name. Nothing when it is none of these or does not fit 32 bits.
std::optional<unsigned int> parse_result(const std::string& text);

} // namespace host
