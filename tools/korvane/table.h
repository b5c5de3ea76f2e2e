#pragma once

#include <string>
#include <vector>

namespace host {

/// Prints rows of cells in columns as wide as their widest cell. Cells must be printable().
void print_table(const std::vector<std::vector<std::string>>& rows);

} // namespace host
