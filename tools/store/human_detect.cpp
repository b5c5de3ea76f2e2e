#include "human_detect.h"

const detection_kind& human_detect()
{
    static const detection_kind kind = {
        {"human_detect", with_header(127, {}), read_vertex_list},
        with_common_filters({}),
    };
    return kind;
}
