#include "codec/people_counting.h"

#include "codec/header_members.h"
#include "codec/record_writer.h"
#include "util/guarded.h"

namespace korvane {

// Written only: what comes back from the store are statistics, not records.
void write_people_counting(const people_counting_metadata_information& record, std::string& text)
{
    record_writer writer("trans_people_counting_metadata_info_to_string");
    app_members(writer, record);
    func_name_member(writer, record);
    writer.text("type", record.type);
    timestamp_member(writer, record);
    writer.time("end_time", record.end_time);
    task_members(writer, record);
    description_member(writer, record);
    channel_members(writer, record);
    writer.number_from(0, "people_count_in", record.people_count_in);
    writer.number_from(0, "people_count_out", record.people_count_out);
    writer.vertex_pairs("loc", record.positions);
    writer.finish(text);
}

} // namespace korvane

// By value, as the interface has it.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
int trans_people_counting_metadata_info_to_string(people_counting_metadata_information record,
                                                  std::string& out_text)
{
    return korvane::guarded(__func__, [&] {
        korvane::write_people_counting(record, out_text);
        return 0;
    });
}
