// What a query asks for, as options give it, as a request text and in words.
#pragma once

#include <string>
#include <vector>

namespace host {

struct query_filter {
    std::string kind = "HumanDetection";
    std::vector<std::string> channels; ///< none: all
    std::string from;                  ///< a local time, or empty: from the beginning
    std::string to;                    ///< a local time, or empty: until now
    std::string polygon;               ///< "x1,y1,...,x4,y4", or empty: the whole picture
    std::string sort = "desc";
    int skip = 0;
    int limit = 10;
};

/// The request's JSON text. Throws CLI::ValidationError for a filter that the library would take for another
/// one.
std::string request_text(const query_filter& wanted);

/// A request's filter in words: an empty answer is most often a filter that says something else than was
/// meant.
std::string asked_for(const std::string& request);

} // namespace host
