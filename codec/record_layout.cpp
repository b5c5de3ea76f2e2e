// The records' layout is part of the binary interface: a host built against an older header reads these very
// bytes.
#include <korvane/metadata_records.h>

#include <cstddef>

// offsetof is not defined for types with vector members by the letter of the standard; both compilers support
// it.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

// A macro, as offsetof is one: neither takes a member's name from a function's argument.
#define FIELD(record, member, offset, size)                                                                  \
    static_assert(offsetof(record, member) == (offset) && sizeof(decltype(record::member)) == (size))

namespace {

constexpr std::size_t list_size = sizeof(std::vector<Tposition_xy>);

} // namespace

using vertex = Tposition_xy;
FIELD(vertex, x, 0, 33);
FIELD(vertex, y, 33, 33);
static_assert(sizeof(vertex) == 66);

using human = human_detection_metadata_information;
FIELD(human, app_id, 0, 128);
FIELD(human, app_name, 128, 64);
FIELD(human, model, 192, 64);
FIELD(human, brand, 256, 128);
FIELD(human, timestamp, 384, 8);
FIELD(human, func_name, 392, 128);
FIELD(human, version, 520, 128);
FIELD(human, task_name, 648, 64);
FIELD(human, description, 712, 128);
FIELD(human, channel_sid, 840, 33);
FIELD(human, stream_id, 876, 4);
FIELD(human, positions, 880, list_size);
static_assert(sizeof(human) == 880 + list_size);

using face = face_recognition_metadata_information;
FIELD(face, app_id, 0, 128);
FIELD(face, app_name, 128, 64);
FIELD(face, model, 192, 64);
FIELD(face, brand, 256, 128);
FIELD(face, provider_id, 384, 64);
FIELD(face, timestamp, 448, 8);
FIELD(face, func_name, 456, 128);
FIELD(face, version, 584, 128);
FIELD(face, task_name, 712, 64);
FIELD(face, description, 776, 512);
FIELD(face, channel_sid, 1288, 33);
FIELD(face, stream_id, 1324, 4);
FIELD(face, status, 1328, 32);
FIELD(face, person_id, 1360, 128);
FIELD(face, stranger_id, 1488, 128);
FIELD(face, person_key, 1616, 512);
FIELD(face, person_name, 2128, 256);
FIELD(face, group_name, 2384, 256);
FIELD(face, gender, 2640, 24);
FIELD(face, confidence, 2664, 8);
FIELD(face, age, 2672, 8);
FIELD(face, registered, 2680, 1);
FIELD(face, resultId, 2681, 64);
FIELD(face, positions, 2752, list_size);
static_assert(sizeof(face) == 2752 + list_size);

using object = model_importer_metadata_information;
FIELD(object, app_id, 0, 128);
FIELD(object, app_name, 128, 64);
FIELD(object, model, 192, 64);
FIELD(object, brand, 256, 128);
FIELD(object, timestamp, 384, 8);
FIELD(object, func_name, 392, 128);
FIELD(object, version, 520, 128);
FIELD(object, task_name, 648, 64);
FIELD(object, description, 712, 128);
FIELD(object, channel_sid, 840, 33);
FIELD(object, stream_id, 876, 4);
FIELD(object, object_name, 880, 128);
FIELD(object, confidence, 1008, 8);
FIELD(object, positions, 1016, list_size);
static_assert(sizeof(object) == 1016 + list_size);

using counts = people_counting_metadata_information;
FIELD(counts, app_id, 0, 128);
FIELD(counts, app_name, 128, 64);
FIELD(counts, model, 192, 64);
FIELD(counts, brand, 256, 128);
FIELD(counts, type, 384, 32);
FIELD(counts, timestamp, 416, 8);
FIELD(counts, end_time, 424, 8);
FIELD(counts, func_name, 432, 128);
FIELD(counts, version, 560, 128);
FIELD(counts, task_name, 688, 64);
FIELD(counts, description, 752, 128);
FIELD(counts, channel_sid, 880, 33);
FIELD(counts, stream_id, 916, 4);
FIELD(counts, people_count_in, 920, 4);
FIELD(counts, people_count_out, 924, 4);
FIELD(counts, positions, 928, list_size);
static_assert(sizeof(counts) == 928 + list_size);

using vault = vault_information;
FIELD(vault, vault_id, 0, 256);
FIELD(vault, vault_name, 256, 64);
FIELD(vault, description, 320, 128);
FIELD(vault, index, 448, 4);
FIELD(vault, last_recv_time_str, 452, 16);
static_assert(sizeof(vault) == 468);
