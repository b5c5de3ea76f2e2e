#include "codec/people_counting.h"

#include "codec/header_members.h"
#include "codec/record_writer.h"
#include "util/guarded.h"

namespace korvane {

namespace {

/// Written only: what comes back from the store are statistics, not records.
struct people_counting_members {
    template <class Io, class Record>
    void operator()(Io& io, Record& record) const
    {
        app_members(io, record);
        func_name_member(io, record);
        io.text("type", record.type);
        timestamp_member(io, record);
        io.time("end_time", record.end_time);
        task_members(io, record);
        description_member(io, record);
        channel_members(io, record);
        io.number_from(0, "people_count_in", record.people_count_in);
        io.number_from(0, "people_count_out", record.people_count_out);
        io.vertex_pairs("loc", record.positions);
    }
};

} // namespace

void write_people_counting(const people_counting_metadata_information& record, std::string& text)
{
    record_writer writer("trans_people_counting_metadata_info_to_string");
    people_counting_members()(writer, record);
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
