// People counts as an SVG plot.
#pragma once

#include "count_series.h"

namespace host {

struct plot_labels {
    std::string title;
    std::string note;
};

/// One panel a series, all to one scale, so that they can be compared.
std::string count_plot(const std::vector<count_series>& all, const plot_labels& labels);

} // namespace host
