// The filters that the face query and the face group list read alike.
#pragma once

#include "dispatch/query_steps.h"

#include <string>
#include <vector>

namespace korvane {

struct face_filters {
    std::vector<std::string> channels;
    time_range times{};
    std::vector<Tposition_xy> area;
    std::vector<int> ages;
    bool has_gender = false;
    char gender[8] = {};
    std::vector<std::string> person_names;
    std::vector<std::string> person_keys;
    int start_confidence = -2; ///< -2: none
    int end_confidence = -2;
    int registered = -1; ///< 0 or 1; any other: both
    std::vector<std::string> result_ids;
    std::vector<std::string> provider_ids;

    char* gender_or_null() { return has_gender ? gender : nullptr; }
};

/// Reads them all. A channel id or a confidence bound that cannot be used is logged and left out; a gender
/// over seven characters is refused with result_bad_request.
[[nodiscard]] int read_face_filters(json_object* filters, const query_log& log, face_filters& asked);

} // namespace korvane
