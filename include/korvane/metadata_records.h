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

/// One face: a recognised, registered person or a stranger.
struct face_recognition_metadata_information {
    char app_id[128] = {};
    char app_name[64] = {};
    char model[64] = {};
    char brand[128] = {};
    char provider_id[64] = {}; ///< the provider of the face library; stands inside the common header here
    long long timestamp = 0;   ///< milliseconds since the Unix epoch, 0: none
    char func_name[128] = {};
    char version[128] = {}; ///< of the model
    char task_name[64] = {};
    char description[512] = {}; ///< wider than the other kinds'
    char channel_sid[33] = {};
    int stream_id = -1; ///< -1: none
    char status[32] = {};
    char person_id[128] = {};
    char stranger_id[128] = {};
    char person_key[512] = {}; ///< in the face library
    char person_name[256] = {};
    char group_name[256] = {};
    char gender[24] = {};
    double confidence = -2.0; ///< 0 to 100, -2.0: none
    double age = -2.0;        ///< years, -2.0: none
    bool registered = false;
    char resultId[64] = {};
    std::vector<Tposition_xy> positions;
};

/// One object found by an imported detection model.
struct model_importer_metadata_information {
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
    int stream_id = -1;         ///< -1: none
    char object_name[128] = {}; ///< the class of the object
    double confidence = 0;      ///< 0 to 100, 0: none
    std::vector<Tposition_xy> positions;
};

/// People counted at a line or zone, or one bucket of a statistics answer.
struct people_counting_metadata_information {
    char app_id[128] = {};
    char app_name[64] = {};
    char model[64] = {};
    char brand[128] = {};
    char type[32] = {};      ///< never filled by reports; stands inside the common header here
    long long timestamp = 0; ///< milliseconds since the Unix epoch; of a bucket: its start
    long long end_time = 0;  ///< milliseconds; never filled by reports
    char func_name[128] = {};
    char version[128] = {};
    char task_name[64] = {};
    char description[128] = {};
    char channel_sid[33] = {};
    int stream_id = -1; ///< -1: none
    int people_count_in = 0;
    int people_count_out = 0;
    std::vector<Tposition_xy> positions;
};

/// A storage area of the metadata store.
struct vault_information {
    char vault_id[256] = {};
    char vault_name[64] = {};
    char description[128] = {};
    int index = -1; ///< -1: none
    char last_recv_time_str[16] = {};
};
