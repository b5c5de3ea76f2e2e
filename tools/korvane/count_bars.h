// People counts as a table with bars, for a terminal.
#pragma once

#include "count_series.h"

namespace host {

struct bar_style {
    size_t columns;     ///< of the terminal
    bool block_letters; ///< whether it shows U+2588 and its kin; otherwise the bars are of '#'
};

/// One line a bucket, all series to one scale, so that they can be compared. Lines end with '\n'.
std::string count_bars(const std::vector<count_series>& all, const count_type& type, const bar_style& style);

} // namespace host
