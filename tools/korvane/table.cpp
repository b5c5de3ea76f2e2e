#include "table.h"

#include "text.h"

#include <algorithm>
#include <cstdio>

namespace host {

void print_table(const std::vector<std::vector<std::string>>& rows)
{
    std::vector<size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t index = 0; index < row.size(); ++index) {
            widths[index] = std::max(widths[index], display_width(row[index]));
        }
    }
    for (const auto& row : rows) {
        std::string line;
        for (size_t index = 0; index < row.size(); ++index) {
            line += padded(row[index], widths[index] + 2);
        }
        std::puts(line.substr(0, line.find_last_not_of(' ') + 1).c_str());
    }
}

} // namespace host
