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
