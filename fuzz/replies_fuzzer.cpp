// The readers of the store's replies, and the writers once more with what was read: a line that says which reader (and
// of statistics what was asked for), then the reply.
#include "codec/face.h"
#include "codec/human.h"
#include "codec/model.h"
#include "codec/people_counting.h"
#include "codec/vault.h"
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "fuzz/library_call.h"
#include "util/json_members.h"
#include "util/work_area.h"

#include <cstdio>
#include <set>
#include <string>

using namespace korvane::fuzz;

namespace {

template <class Record>
void check_common_fields(const Record& record)
{
    require_terminated(record.app_id, "app_id");
    require_terminated(record.app_name, "app_name");
    require_terminated(record.model, "model");
    require_terminated(record.brand, "brand");
    require_terminated(record.func_name, "func_name");
    require_terminated(record.version, "version");
    require_terminated(record.task_name, "task_name");
    require_terminated(record.description, "description");
    require_terminated(record.channel_sid, "channel_sid");
    for (const Tposition_xy& vertex : record.positions) {
        require_terminated(vertex.x, "x");
        require_terminated(vertex.y, "y");
    }
}

void check_own_fields(const human_detection_metadata_information& /*record*/) {}

void check_own_fields(const model_importer_metadata_information& record)
{
    require_terminated(record.object_name, "object_name");
}

void check_own_fields(const people_counting_metadata_information& record)
{
    require_terminated(record.type, "type");
}

void check_own_fields(const face_recognition_metadata_information& record)
{
    require_terminated(record.provider_id, "provider_id");
    require_terminated(record.status, "status");
    require_terminated(record.person_id, "person_id");
    require_terminated(record.stranger_id, "stranger_id");
    require_terminated(record.person_key, "person_key");
    require_terminated(record.person_name, "person_name");
    require_terminated(record.group_name, "group_name");
    require_terminated(record.gender, "gender");
    require_terminated(record.resultId, "resultId");
}

/// Terminated fields, and a text that a work area holds.
template <class Record>
void check_records(const std::vector<Record>& records, int (*write)(Record, std::string&))
{
    for (const Record& record : records) {
        check_common_fields(record);
        check_own_fields(record);
        std::string text = "before";
        require(write(record, text) == 0, "a record could not be written");
        require(!text.empty() && text.size() < korvane::work_area::size && text.back() == '}',
                "a record's text is not whole", text);
    }
}

/// "ret" of -101 alone, and everything but "ret" as it was.
bool says_nothing(const std::string& reply)
{
    const korvane::json_owner tree = korvane::parse_json(reply.c_str());
    return korvane::json_int_member(tree.get(), "ret", 0) == -101;
}

template <class Record>
void read_rows(const std::string& reply,
               int (*read)(std::string, std::vector<Record>&, int&, long long&, int&),
               int (*write)(Record, std::string&))
{
    std::vector<Record> records(1);
    int ret = 11;
    long long total = 12;
    int over = 13;
    library_survives(
        [&] { require(read(reply, records, ret, total, over) == 0, "a reply could not be read"); });
    check_records(records, write);
    if (says_nothing(reply)) {
        require(records.size() == 1 && ret == -101 && total == 12 && over == 13,
                "nothing was read as something");
    }
}

void read_groups(const std::string& reply)
{
    std::vector<face_recognition_metadata_information> records(1);
    int ret = 11;
    long long total = 12;
    library_survives([&] {
        require(trans_string_to_face_group_list_metadata_info(reply, records, ret, total) == 0,
                "a reply could not be read");
    });
    check_records(records, trans_face_metadata_info_to_string);
    if (says_nothing(reply)) {
        require(records.size() == 1 && ret == -101 && total == 12, "nothing was read as something");
    }
}

void read_vaults(const std::string& reply)
{
    std::vector<vault_information> vaults(1);
    int ret = 11;
    library_survives(
        [&] { require(trans_string_to_vault_info(reply, vaults, ret) == 0, "a reply could not be read"); });
    for (vault_information& vault : vaults) {
        require_terminated(vault.vault_id, "vault_id");
        require_terminated(vault.vault_name, "vault_name");
        require_terminated(vault.description, "description");
        require_terminated(vault.last_recv_time_str, "last_recv_time_str");
        std::string text;
        require(trans_vault_info_to_string(vault, text) == 0, "a vault could not be written");
        const korvane::json_owner tree = korvane::parse_json(text.c_str());
        require(json_object_is_type(tree.get(), json_type_object), "a vault's text is no JSON object", text);
    }
    require(!says_nothing(reply) || vaults.size() == 1, "nothing was read as something");
}

/// What a statistics query asked for. The library is given the whole range of numbers; but a series is as long as is
/// asked for, and no host asks for more than a day of quarter hours.
struct question {
    unsigned long long interval = 900'000;
    unsigned long long start = 0;
    unsigned long long end = 0;
    int one_channel = 0;

    unsigned long long buckets() const
    {
        const bool forward = static_cast<long long>(end - start) >= 0;
        return interval > 0 && forward ? (end - start) / interval + 1 : 0;
    }
};

constexpr unsigned long long most_buckets = 200;

/// Each channel of the reply has its whole series at most once.
std::size_t count_channels(const std::string& reply)
{
    const korvane::json_owner tree = korvane::parse_json(reply.c_str());
    std::set<std::string> channels;
    for (json_object* row : korvane::json_elements(korvane::json_member(tree.get(), "datas"))) {
        channels.emplace(
            korvane::json_text(korvane::json_member(korvane::json_member(row, "_id"), "channel_sid")));
    }
    return std::max(channels.size(), std::size_t{1});
}

void read_statistics(const std::string& reply, const question& asked)
{
    char channel[] = "door";
    std::vector<people_counting_metadata_information> rows;
    int ret = 11;
    const bool returned = library_survives(
        [&] {
            require(trans_string_to_people_counting_metadata_statistics(
                        reply, asked.one_channel == 1 ? channel : nullptr, nullptr, asked.interval,
                        asked.start, asked.end, rows, ret) == 0,
                    "a reply could not be read");
        },
        {"channel_sid"});
    if (!returned) {
        return;
    }
    require(rows.size() <= count_channels(reply) * asked.buckets(), "a series is longer than was asked for");
    require(!says_nothing(reply) || rows.empty(), "nothing was read as something");
    for (const people_counting_metadata_information& row : rows) {
        const auto offset = static_cast<unsigned long long>(row.timestamp) - asked.start;
        require(offset % asked.interval == 0 && offset / asked.interval < asked.buckets(),
                "a bucket is off the grid");
    }
    check_records(rows, trans_people_counting_metadata_info_to_string);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::vector<std::string_view> texts = split_texts(data, size);
    const std::string head(texts.front());
    const std::string reply(texts.size() > 1 ? texts[1] : std::string_view());
    question asked;
    switch (head.empty() ? '\0' : head.front()) {
    case 'f':
        read_rows(reply, trans_string_to_face_metadata_info, trans_face_metadata_info_to_string);
        break;
    case 'g':
        read_groups(reply);
        break;
    case 'm':
        read_rows(reply, trans_string_to_model_metadata_info, trans_model_metadata_info_to_string);
        break;
    case 'v':
        read_vaults(reply);
        break;
    case 's':
        std::sscanf(head.c_str(), "s %llu %llu %llu %d", &asked.interval, &asked.start, &asked.end,
                    &asked.one_channel);
        if (asked.buckets() > most_buckets) {
            return -1;
        }
        read_statistics(reply, asked);
        break;
    default:
        read_rows(reply, trans_string_to_human_metadata_info, trans_human_metadata_info_to_string);
    }
    return 0;
}
