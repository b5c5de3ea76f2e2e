#include "codec/face.h"

#include "codec/header_members.h"
#include "codec/record_writer.h"
#include "codec/reply_reader.h"
#include "util/guarded.h"

namespace korvane {

namespace {

struct face_members {
    template <class Io, class Record>
    void operator()(Io& io, Record& record) const
    {
        app_members(io, record);
        io.text("provider_id", record.provider_id);
        func_name_member(io, record);
        timestamp_member(io, record);
        task_members(io, record);
        channel_members(io, record);
        description_member(io, record); // behind the channel here
        io.write_only_text("status", record.status);
        io.text("person_id", record.person_id);
        io.text("stranger_id", record.stranger_id);
        io.text("person_key", record.person_key);
        io.text("person_name", record.person_name);
        io.text("group_name", record.group_name);
        io.text("gender", record.gender);
        io.real_from(-1.0, "age", record.age); // an app's -1 means "could not tell" and is stored ...
        io.real_unless(-2.0, "confidence", record.confidence); // ... and so is any confidence but "none"
        io.boolean("registered", record.registered);
        io.text("resultId", record.resultId);
        io.closed_ring("loc", record.positions);
    }
};

} // namespace

void write_face(const face_recognition_metadata_information& record, std::string& text)
{
    record_writer writer("trans_face_metadata_info_to_string");
    face_members()(writer, record);
    writer.finish(text);
}

void read_faces(const std::string& reply, std::vector<face_recognition_metadata_information>& records,
                int& ret, long long& total, int& over)
{
    read_records(reply, records, ret, total, over, face_members());
}

void read_face_groups(const std::string& reply, std::vector<face_recognition_metadata_information>& records,
                      int& ret, long long& total)
{
    const json_owner tree = parse_json(reply.c_str());
    get_json_int(tree.get(), "ret", &ret);
    if (ret == ret_nothing) {
        return;
    }
    total = json_int_member(tree.get(), "totalItems", 0);
    json_elements names(json_member(tree.get(), "datas"));
    append_whole(records, [&] {
        records.reserve(records.size() + names.size());
        names.use_up(
            [&](json_object* name) { cut_bytes(records.emplace_back().person_name, json_text(name)); });
    });
}

} // namespace korvane

// By value, as the interface has it.
// NOLINTBEGIN(performance-unnecessary-value-param)
int trans_face_metadata_info_to_string(face_recognition_metadata_information record, std::string& out)
{
    return korvane::guarded(__func__, [&] {
        korvane::write_face(record, out);
        return 0;
    });
}

int trans_string_to_face_metadata_info(std::string text,
                                       std::vector<face_recognition_metadata_information>& list, int& ret,
                                       long long& total, int& over)
{
    return korvane::guarded(__func__, [&] {
        korvane::read_faces(text, list, ret, total, over);
        return 0;
    });
}

int trans_string_to_face_group_list_metadata_info(std::string text,
                                                  std::vector<face_recognition_metadata_information>& records,
                                                  int& ret, long long& total)
{
    return korvane::guarded(__func__, [&] {
        korvane::read_face_groups(text, records, ret, total);
        return 0;
    });
}
// NOLINTEND(performance-unnecessary-value-param)
