// Storing one record, for the library's own use.
#pragma once

#include "util/json_members.h"

#include <korvane/metadata_records.h>

namespace korvane {

/// What the methods of ai_CDataBaseComm do, with the same result. `spent` is what the record was read from, or null: it is
/// freed while the store is at work on the request and this thread would only wait: 2 % off an insert of one record, 4 off
/// one of a hundred.
int store_human(const human_detection_metadata_information& record, json_owner spent);
int store_face(const face_recognition_metadata_information& record, json_owner spent);
int store_model(const model_importer_metadata_information& record, json_owner spent);
int store_people_counting(const people_counting_metadata_information& record, json_owner spent);

} // namespace korvane
