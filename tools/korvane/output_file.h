#pragma once

#include <string>

namespace host {

/// Writes a whole file. Throws std::runtime_error with the name and the reason when that fails.
void write_file(const std::string& name, const std::string& text);

} // namespace host
