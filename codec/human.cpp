#include "codec/human.h"

#include "codec/header_members.h"
#include "codec/record_writer.h"
#include "codec/reply_reader.h"
#include "util/guarded.h"

namespace korvane {

namespace {

struct human_members {
    template <class Io, class Record>
    void operator()(Io& io, Record& record) const
    {
        app_members(io, record);
        func_name_member(io, record);
        timestamp_member(io, record);
        task_members(io, record);
        description_member(io, record);
        channel_members(io, record);
        io.vertex_pairs("loc", record.positions);
    }
};

} // namespace

void write_human(const human_detection_metadata_information& record, std::string& text)
{
    record_writer writer("trans_human_metadata_info_to_string");
    human_members()(writer, record);
    writer.finish(text);
}

void read_humans(const std::string& reply, std::vector<human_detection_metadata_information>& records,
                 int& ret, long long& total, int& over)
{
    read_records(reply, records, ret, total, over, human_members());
}

} // namespace korvane

// By value, as the interface has it.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
int trans_human_metadata_info_to_string(human_detection_metadata_information record, std::string& text)
{
    return korvane::guarded(__func__, [&] {
        korvane::write_human(record, text);
        return 0;
    });
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
int trans_string_to_human_metadata_info(std::string reply,
                                        std::vector<human_detection_metadata_information>& records, int& ret,
                                        long long& total, int& over)
{
    return korvane::guarded(__func__, [&] {
        korvane::read_humans(reply, records, ret, total, over);
        return 0;
    });
}
