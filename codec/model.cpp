#include "codec/model.h"

#include "codec/header_members.h"
#include "codec/record_writer.h"
#include "codec/reply_reader.h"
#include "util/guarded.h"

namespace korvane {

namespace {

struct model_members {
    template <class Io, class Record>
    void operator()(Io& io, Record& record) const
    {
        app_members(io, record);
        func_name_member(io, record);
        timestamp_member(io, record);
        task_members(io, record);
        description_member(io, record);
        channel_members(io, record);
        io.text("object_name", record.object_name);
        io.real_unless(0.0, "confidence", record.confidence); // 0 is "none" here, -2.0 for faces
        io.vertex_pairs("loc", record.positions);
    }
};

} // namespace

void write_model(const model_importer_metadata_information& record, std::string& text)
{
    record_writer writer("trans_model_metadata_info_to_string");
    model_members()(writer, record);
    writer.finish(text);
}

void read_models(const std::string& reply, std::vector<model_importer_metadata_information>& records,
                 int& ret, long long& total, int& over)
{
    read_records(reply, records, ret, total, over, model_members());
}

} // namespace korvane

// By value, as the interface has it.
// NOLINTBEGIN(performance-unnecessary-value-param)
int trans_model_metadata_info_to_string(model_importer_metadata_information record, std::string& text)
{
    return korvane::guarded(__func__, [&] {
        korvane::write_model(record, text);
        return 0;
    });
}

int trans_string_to_model_metadata_info(std::string reply,
                                        std::vector<model_importer_metadata_information>& records, int& ret,
                                        long long& total, int& over)
{
    return korvane::guarded(__func__, [&] {
        korvane::read_models(reply, records, ret, total, over);
        return 0;
    });
}
// NOLINTEND(performance-unnecessary-value-param)
