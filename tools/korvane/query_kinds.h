// What a query can be about: one row a kind, and how its records are shown.
#pragma once

#include "json.h"

#include <string>
#include <vector>

namespace host {

struct table_column {
    const char* heading;
    std::string (*text)(json_object* record);
};

struct query_kind {
    const char* name;
    std::vector<table_column> columns;
    const char* picture_title; ///< of the picture of its records' positions
};

const std::vector<query_kind>& query_kinds();

} // namespace host
