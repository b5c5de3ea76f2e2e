// What a query can be about: one row a kind, and how its records are shown.
#pragma once

#include "kind_filters.h"

#include <string>
#include <vector>

namespace host {

struct table_column {
    const char* heading;
    std::string (*text)(json_object* record);
};

struct query_kind {
    const char* name;
    const char* short_name;
    asked_of asked;
    std::vector<table_column> columns;
    const char* picture_title; ///< of the picture of its records' positions
};

const std::vector<query_kind>& query_kinds();

/// The kind of a name or short name, letter for letter; null when there is none.
const query_kind* find_kind(const std::string& name);

/// An empty text when `name` is a kind, otherwise what is wrong with it: a check of options.
std::string check_kind(const std::string& name);

} // namespace host
