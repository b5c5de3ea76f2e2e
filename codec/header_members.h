// The members that the records of every kind have, each named once for the whole tree.
//
// `Io` is a record_writer or a reply_row. The kinds put these runs in different orders and their own members
// between them; the members are reached by name, so each record keeps its own layout in memory.
#pragma once

namespace korvane {

template <class Io, class Record>
void app_members(Io& io, Record& record)
{
    io.text("app_id", record.app_id);
    io.text("app_name", record.app_name);
    io.text("model", record.model);
    io.text("brand", record.brand);
}

template <class Io, class Record>
void func_name_member(Io& io, Record& record)
{
    io.write_only_text("func_name", record.func_name); // the path asked for tells the kind
}

template <class Io, class Record>
void timestamp_member(Io& io, Record& record)
{
    io.time("timestamp", record.timestamp);
}

template <class Io, class Record>
void task_members(Io& io, Record& record)
{
    io.text("version", record.version);
    io.text("task_name", record.task_name);
}

template <class Io, class Record>
void description_member(Io& io, Record& record)
{
    io.text("description", record.description);
}

template <class Io, class Record>
void channel_members(Io& io, Record& record)
{
    io.text("channel_sid", record.channel_sid);
    io.number_unless(-1, "stream_id", record.stream_id);
}

} // namespace korvane
