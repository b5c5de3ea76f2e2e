// Percent-encoding of query values.
#pragma once

#include <string>

/// Percent-encodes every byte of `value` but letters, digits and - . _ ~ ; empty for an empty value or
/// without memory.
std::string url_encode(const std::string& value);
