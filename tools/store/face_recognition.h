#pragma once

#include "detections.h"

/// Faces, of registered persons and of strangers.
const detection_kind& face_recognition();

/// GET of the group list: the names of the persons seen in the faces that match, each once, the one seen last
/// first. Faces without a name do not count. The reply's text.
std::string query_face_groups(database& db, const std::string& raw_query);

/// POST of {"threshold":"N"}: keeps the N newest faces. The reply's text.
std::string check_face_threshold(database& db, const detection_table& faces, const std::string& body);
