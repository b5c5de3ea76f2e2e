// What a query asks for, as options give it, as a request text and in words.
#pragma once

#include "kind_filters.h"
#include "local_time.h"
#include "query_kinds.h"

#include <map>
#include <string>
#include <vector>

namespace host {

/// What the query of records and the list of persons have in common.
struct query_filter {
    std::vector<std::string> channels;            ///< none: all
    std::string from;                             ///< a local time, or empty: from the beginning
    std::string to;                               ///< a local time, or empty: until now
    std::string polygon;                          ///< "x1,y1,...,x4,y4", or empty: the whole picture
    std::map<std::string, filter_values> of_kind; ///< by option; values of kind_filters()
};

struct query_page {
    std::string sort = "desc";
    int skip = 0;
    int limit = 10;
};

/// A query's JSON text. Throws CLI::ValidationError for a filter that the kind does not know, or that the
/// library would take for another one.
std::string query_text(const query_kind& kind, const query_filter& wanted, const query_page& page);

/// The JSON text that asks for the persons seen. Throws as query_text.
std::string persons_text(const query_filter& wanted);

/// A channel as --channel names it. Throws CLI::ValidationError when the library would not take it.
void check_channel(const std::string& channel);

/// The time that an option names. Throws CLI::ValidationError when it names none.
long long time_of(const std::string& option, const std::string& text, day_edge edge);

/// A request's filter in words: an empty answer is most often a filter that says something else than was
/// meant.
std::string asked_for(const std::string& request);

} // namespace host
