// The filters that not every query knows: one row each, an option to its member of a request.
#pragma once

#include "json.h"

#include <string>
#include <vector>

namespace host {

/// What a filter can be used for.
enum asked_of : unsigned {
    of_humans = 1,
    of_faces = 2,
    of_objects = 4,
    of_persons = 8, ///< the list of the persons seen
};

struct kind_filter;
using filter_values = std::vector<std::string>;

enum class filter_takes { nothing, one_value, values };

/// How a filter's values are written into a request, and told in words.
struct filter_form {
    filter_takes takes;
    /// Throws CLI::ValidationError for values that the library would not take or would take for others.
    void (*add)(json_object* request, const kind_filter& row, const filter_values& values);
    std::string (*words)(json_object* request, const kind_filter& row);
};

struct kind_filter {
    const char* option;
    const char* key;
    const filter_form& form;
    unsigned knows_it; ///< asked_of
    const char* value;
    const char* help;
};

const std::vector<kind_filter>& kind_filters();

/// "faces", "objects" or "faces and objects".
std::string who_knows(const kind_filter& row);

} // namespace host
