#include "people_counting.h"

#include "query_string.h"
#include "refusal.h"

#include <cstdint>

namespace {

const record_kind& people_counting()
{
    static const record_kind kind = {
        "people_counting",
        with_header(127,
                    {
                        {"type", member_type::text, 31, kept::in_record},
                        {"end_time", member_type::time, 0, kept::in_record},
                        {"people_count_in", member_type::integer, 0, kept::as_column},
                        {"people_count_out", member_type::integer, 0, kept::as_column},
                    }),
        read_vertex_list,
    };
    return kind;
}

struct statistics_query {
    std::int64_t start;
    std::int64_t end; ///< 0: no end
    std::int64_t interval;
    std::string channel; ///< empty: all
};

statistics_query read_statistics_query(const std::string& raw_query)
{
    const query_parameters parameters(raw_query,
                                      {"query_type", "interval", "timestamp", "end_time", "channel_sid"});
    const std::string_view type = parameters.require("query_type");
    if (type != "15-min" && type != "hour" && type != "day")
        throw refusal(ret_code::bad_parameter,
                      "parameter query_type is " + quoted(type) + ", expected 15-min, hour or day");
    const auto integer = [&](std::string_view name) { return read_integer(name, parameters.require(name)); };
    statistics_query query = {integer("timestamp"), integer("end_time"), integer("interval"),
                              std::string(parameters.find("channel_sid").value_or(""))};
    if (query.interval <= 0)
        throw refusal(ret_code::bad_parameter, "parameter interval is " +
                                                   quoted(parameters.require("interval")) +
                                                   ", expected milliseconds, 1 or more");
    return query;
}

} // namespace

people_counting_table::people_counting_table(database& db)
    : database_(db)
    , records_(db, people_counting())
{
}

std::string people_counting_table::add(const std::string& body)
{
    records_.add(parse_json_object(body).get());
    return R"({"ret":0})";
}

std::string people_counting_table::query(const std::string& raw_query) const
{
    const statistics_query wanted = read_statistics_query(raw_query);
    result_rows rows = database_.query(
        "SELECT channel_sid, ?1 + (timestamp - ?1) / ?3 * ?3 AS bucket,"
        " COALESCE(SUM(people_count_in), 0), COALESCE(SUM(people_count_out), 0) FROM people_counting"
        " WHERE timestamp >= ?1 AND (timestamp <= ?2 OR ?2 = 0) AND (channel_sid = ?4 OR ?4 = '')"
        " GROUP BY channel_sid, bucket ORDER BY channel_sid, bucket",
        {wanted.start, wanted.end, wanted.interval, wanted.channel});
    std::string text = R"({"ret":0,"datas":[)";
    for (bool first = true; rows.next(); first = false) {
        const std::string channel =
            rows.is_null(0) ? "" : R"("channel_sid":)" + json_quoted(rows.text(0)) + ",";
        text += std::string(first ? "" : ",") + R"({"_id":{)" + channel + R"("timestamp":)" +
                std::to_string(rows.integer(1)) + R"(},"sum_in":)" + std::to_string(rows.integer(2)) +
                R"(,"sum_out":)" + std::to_string(rows.integer(3)) + "}";
    }
    return text + "]}";
}

std::string people_counting_table::remove(const std::string& raw_query)
{
    const query_parameters parameters(raw_query, {"timestamp"});
    const std::int64_t cut_off = read_integer("timestamp", parameters.require("timestamp"));
    transaction change(database_);
    const std::int64_t deleted =
        database_.change("DELETE FROM people_counting WHERE timestamp < ?", {cut_off});
    change.commit();
    return R"({"ret":0,"deleted":)" + std::to_string(deleted) + "}";
}
