// The options of a query's filter, for every command that takes them.
#pragma once

#include "query_request.h"

#include <CLI/CLI.hpp>
#include <vector>

namespace host {

/// Declares them; of kind_filters() those that one of `asked` (asked_of) knows. Returns them. `filter` must
/// outlive the app.
std::vector<CLI::Option*> declare_filters(CLI::App& app, query_filter& filter, unsigned asked);

/// A whole number from 0 up, as an int holds it.
CLI::Validator whole_number_range();

} // namespace host
