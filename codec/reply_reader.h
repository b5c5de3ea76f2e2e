// Reads the records of a store reply: {"ret": ..., "totalCounts": ..., "overThreshold": ..., "datas": [{...},
// ...]}.
#pragma once

#include "util/fixed_text.h"
#include "util/json_members.h"

#include <korvane/metadata_records.h>

#include <string>
#include <vector>

namespace korvane {

/// The "ret" of a store that has nothing to return.
constexpr int ret_nothing = -101;

/// The reading half of a kind's member list; record_writer is the writing half. A member that the row lacks
/// leaves its field as it is. Texts longer than their field are cut.
class reply_row {
public:
    explicit reply_row(json_object* row)
        : row_(row)
    {
    }

    template <std::size_t size>
    void text(const char* name, char (&field)[size])
    {
        if (json_object* value = json_member(row_, name)) {
            cut(field, json_text(value));
        }
    }

    template <std::size_t size>
    void write_only_text(const char* /*name*/, char (&/*field*/)[size])
    {
    }

    void time(const char* name, long long& milliseconds)
    {
        if (json_object* value = json_member(row_, name)) {
            milliseconds = json_text_number(value);
        }
    }

    void number_unless(int /*absent*/, const char* name, int& value) { get_json_int(row_, name, &value); }
    void real_unless(double /*absent*/, const char* name, double& value)
    {
        get_json_double(row_, name, &value);
    }
    void real_from(double /*minimum*/, const char* name, double& value)
    {
        get_json_double(row_, name, &value);
    }

    void boolean(const char* name, bool& value)
    {
        if (json_object* member = json_member(row_, name)) {
            value = json_object_get_boolean(member) != 0;
        }
    }

    /// [[x,y],...]
    void vertex_pairs(const char* name, std::vector<Tposition_xy>& polygon);

    /// {"coordinates":[ring, ...]}: the vertices of all rings, without each ring's last, which repeats its
    /// first.
    void closed_ring(const char* name, std::vector<Tposition_xy>& polygon);

private:
    json_object* row_;
};

/// A reply parsed, its head read.
struct store_reply {
    json_owner tree;
    json_elements rows{nullptr};
};

/// Sets `ret` when the reply has one; then, unless it is ret_nothing, `over` when it has one, and `total`. A
/// reply that is not JSON or does not count has a total of 0 and no rows.
store_reply open_reply(const std::string& reply, int& ret, long long& total, int& over);

/// Runs `append`, which appends to `records`; when it cannot finish, nothing of it stays.
template <class Record, class Append>
void append_whole(std::vector<Record>& records, Append append)
{
    const std::size_t before = records.size();
    try {
        append();
    } catch (...) {
        records.resize(before);
        throw;
    }
}

/// Appends the records of `reply` to `records`; `members` is the kind's member list.
template <class Record, class Members>
void read_records(const std::string& reply, std::vector<Record>& records, int& ret, long long& total,
                  int& over, Members members)
{
    store_reply opened = open_reply(reply, ret, total, over);
    append_whole(records, [&] {
        records.reserve(records.size() + opened.rows.size());
        opened.rows.use_up([&](json_object* element) {
            reply_row row(element);
            members(row, records.emplace_back());
        });
    });
}

} // namespace korvane
