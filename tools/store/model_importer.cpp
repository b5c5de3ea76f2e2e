#include "model_importer.h"

const detection_kind& model_importer()
{
    static const detection_kind kind = {
        {"model_importer",
         with_header(127,
                     {
                         {"object_name", member_type::text, 127, kept::as_column},
                         {"confidence", member_type::number, 0, kept::as_column},
                     }),
         read_vertex_list},
        with_common_filters({
            {"object_name", text_value, "object_name = ?"},
            {"start_confidence", bound_value, "confidence >= ?"},
            {"end_confidence", bound_value, "confidence BETWEEN 0 AND ?"},
        }),
    };
    return kind;
}
