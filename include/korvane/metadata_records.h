// The fixed-layout records: one analytics result each, as the host and the library exchange them.
//
// Text fields are NUL-terminated char arrays; the size includes the terminator, an empty text is a first byte
// of zero. A value-initialised record is a cleared one. A record owns its vertices: copying it copies them.
// Field order and widths are the binary interface and are pinned by static_asserts.
#pragma once

#include <vector>

/// One polygon vertex: decimal texts of fractions of the picture, 0.0 (left, top) to 1.0 (right, bottom).
struct Tposition_xy {
    char x[33] = {};
    char y[33] = {};
};

/// One person found in a camera picture, with the polygon around them.
struct human_detection_metadata_information {
    char app_id[128] = {};
    char app_name[64] = {};
    char model[64] = {};
    char brand[128] = {};
    long long timestamp = 0; ///< milliseconds since the Unix epoch, 0: none
    char func_name[128] = {};
    char version[128] = {};
    char task_name[64] = {};
    char description[128] = {};
    char channel_sid[33] = {};
    int stream_id = -1; ///< -1: none
    std::vector<Tposition_xy> positions;
};
