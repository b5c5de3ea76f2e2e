// The records' layout is part of the binary interface: a host built against an older header reads these very
// bytes.
#include <korvane/metadata_records.h>

#include <cstddef>

static_assert(sizeof(Tposition_xy) == 66 && offsetof(Tposition_xy, y) == 33);

// offsetof is not defined for types with vector members by the letter of the standard; both compilers support
// it.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

using human = human_detection_metadata_information;
static_assert(offsetof(human, app_id) == 0);
static_assert(offsetof(human, app_name) == 128);
static_assert(offsetof(human, model) == 192);
static_assert(offsetof(human, brand) == 256);
static_assert(offsetof(human, timestamp) == 384);
static_assert(offsetof(human, func_name) == 392);
static_assert(offsetof(human, version) == 520);
static_assert(offsetof(human, task_name) == 648);
static_assert(offsetof(human, description) == 712);
static_assert(offsetof(human, channel_sid) == 840);
static_assert(offsetof(human, stream_id) == 876);
static_assert(offsetof(human, positions) == 880);
static_assert(sizeof(human) == 880 + sizeof(std::vector<Tposition_xy>));

using face = face_recognition_metadata_information;
static_assert(offsetof(face, app_id) == 0);
static_assert(offsetof(face, app_name) == 128);
static_assert(offsetof(face, model) == 192);
static_assert(offsetof(face, brand) == 256);
static_assert(offsetof(face, provider_id) == 384);
static_assert(offsetof(face, timestamp) == 448);
static_assert(offsetof(face, func_name) == 456);
static_assert(offsetof(face, version) == 584);
static_assert(offsetof(face, task_name) == 712);
static_assert(offsetof(face, description) == 776);
static_assert(offsetof(face, channel_sid) == 1288);
static_assert(offsetof(face, stream_id) == 1324);
static_assert(offsetof(face, status) == 1328);
static_assert(offsetof(face, person_id) == 1360);
static_assert(offsetof(face, stranger_id) == 1488);
static_assert(offsetof(face, person_key) == 1616);
static_assert(offsetof(face, person_name) == 2128);
static_assert(offsetof(face, group_name) == 2384);
static_assert(offsetof(face, gender) == 2640);
static_assert(offsetof(face, confidence) == 2664);
static_assert(offsetof(face, age) == 2672);
static_assert(offsetof(face, registered) == 2680);
static_assert(offsetof(face, resultId) == 2681);
static_assert(offsetof(face, positions) == 2752);
static_assert(sizeof(face) == 2752 + sizeof(std::vector<Tposition_xy>));

using object = model_importer_metadata_information;
static_assert(offsetof(object, app_id) == 0);
static_assert(offsetof(object, app_name) == 128);
static_assert(offsetof(object, model) == 192);
static_assert(offsetof(object, brand) == 256);
static_assert(offsetof(object, timestamp) == 384);
static_assert(offsetof(object, func_name) == 392);
static_assert(offsetof(object, version) == 520);
static_assert(offsetof(object, task_name) == 648);
static_assert(offsetof(object, description) == 712);
static_assert(offsetof(object, channel_sid) == 840);
static_assert(offsetof(object, stream_id) == 876);
static_assert(offsetof(object, object_name) == 880);
static_assert(offsetof(object, confidence) == 1008);
static_assert(offsetof(object, positions) == 1016);
static_assert(sizeof(object) == 1016 + sizeof(std::vector<Tposition_xy>));

using counts = people_counting_metadata_information;
static_assert(offsetof(counts, app_id) == 0);
static_assert(offsetof(counts, app_name) == 128);
static_assert(offsetof(counts, model) == 192);
static_assert(offsetof(counts, brand) == 256);
static_assert(offsetof(counts, type) == 384);
static_assert(offsetof(counts, timestamp) == 416);
static_assert(offsetof(counts, end_time) == 424);
static_assert(offsetof(counts, func_name) == 432);
static_assert(offsetof(counts, version) == 560);
static_assert(offsetof(counts, task_name) == 688);
static_assert(offsetof(counts, description) == 752);
static_assert(offsetof(counts, channel_sid) == 880);
static_assert(offsetof(counts, stream_id) == 916);
static_assert(offsetof(counts, people_count_in) == 920);
static_assert(offsetof(counts, people_count_out) == 924);
static_assert(offsetof(counts, positions) == 928);
static_assert(sizeof(counts) == 928 + sizeof(std::vector<Tposition_xy>));

using vault = vault_information;
static_assert(offsetof(vault, vault_id) == 0);
static_assert(offsetof(vault, vault_name) == 256);
static_assert(offsetof(vault, description) == 320);
static_assert(offsetof(vault, index) == 448);
static_assert(offsetof(vault, last_recv_time_str) == 452);
static_assert(sizeof(vault) == 468);
