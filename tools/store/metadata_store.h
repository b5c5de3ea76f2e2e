#pragma once

#include "database.h"
#include "detections.h"
#include "people_counting.h"
#include "request.h"
#include "vaults.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// The whole interface under /third_party/ over one database.
class metadata_store {
public:
    metadata_store(const std::string& database_file, std::vector<vault> vaults);

    /// Carries out one request. A request that is refused is answered, too, with a nonzero "ret" and a
    /// "reason"; nothing is thrown.
    reply handle(const request& asked);

    /// The number of records held of each kind, like "human_detect 3, face_recognition 0, ...".
    std::string summary() const;

private:
    struct route {
        std::string_view method;
        std::string_view path;
        std::function<std::string(const request&)> carry_out; ///< makes the reply's text
    };

    std::vector<route> make_routes();
    reply carry_out(const request& asked);

    database database_;
    detection_table human_detect_;
    detection_table face_recognition_;
    detection_table model_importer_;
    people_counting_table people_counting_;
    std::vector<vault> vaults_;
    std::int64_t last_record_ms_ = 0;
    std::vector<route> routes_;
};
