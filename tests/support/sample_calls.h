// One good example of everything that goes in and out of the library, every member set: what sweeps take apart.
#pragma once

#include <korvane/metadata_records.h>

#include <cstddef>
#include <string>
#include <vector>

namespace korvane::test {

inline constexpr std::size_t sample_kind_count = 4;

struct sample_query {
    std::string name;
    std::string request;
    std::string reply; ///< of the store
};

struct sample_kind {
    std::string name;
    std::string report;
    std::vector<sample_query> queries;
};

/// In the order of the entry points.
std::vector<sample_kind> sample_kinds();

std::string sample_groups_request();
std::string sample_latest_request(const std::string& kind);

std::string sample_human_reply();
std::string sample_face_reply();
std::string sample_model_reply();
std::string sample_groups_reply();
std::string sample_vaults_reply();

/// Of two channels, hours from `sample_day` on.
std::string sample_statistics_reply();

inline constexpr long long sample_day = 1'699'920'000'000;    ///< a midnight in UTC
inline constexpr long long sample_moment = 1'700'000'000'000; ///< of that day

human_detection_metadata_information sample_human();
face_recognition_metadata_information sample_face();
model_importer_metadata_information sample_model();
people_counting_metadata_information sample_counts();
vault_information sample_vault();

} // namespace korvane::test
