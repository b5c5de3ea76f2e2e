#include "bench/hand_query.h"

#include <json-c/json.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace korvane::bench {

namespace {

json_object* local_date(json_object* timestamp)
{
    const std::time_t seconds = std::strtoll(json_object_get_string(timestamp), nullptr, 10) / 1000;
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[128];
    std::strftime(text, sizeof text, "%Y-%m-%d %X", &local);
    return json_object_new_string(text);
}

void add_text(json_object* row, const char* name, json_object* record, const char* member)
{
    json_object* value = json_object_object_get(record, member);
    json_object_object_add(row, name, json_object_new_string(json_object_get_string(value)));
}

json_object* six_decimals(json_object* number)
{
    const double value = json_object_get_double(number);
    char text[64];
    std::snprintf(text, sizeof text, "%f", value);
    return json_object_new_double_s(value, text);
}

/// [{"x":..., "y":...}, ...] of [[x, y], ...].
json_object* make_position(json_object* loc)
{
    json_object* position = json_object_new_array();
    const std::size_t count = json_object_array_length(loc);
    for (std::size_t i = 0; i < count; ++i) {
        json_object* pair = json_object_array_get_idx(loc, i);
        json_object* vertex = json_object_new_object();
        json_object_object_add(vertex, "x", six_decimals(json_object_array_get_idx(pair, 0)));
        json_object_object_add(vertex, "y", six_decimals(json_object_array_get_idx(pair, 1)));
        json_object_array_add(position, vertex);
    }
    return position;
}

json_object* make_row(json_object* record)
{
    json_object* row = json_object_new_object();
    json_object_object_add(row, "date", local_date(json_object_object_get(record, "timestamp")));
    add_text(row, "appName", record, "app_name");
    add_text(row, "model", record, "model");
    add_text(row, "brand", record, "brand");
    add_text(row, "version", record, "version");
    add_text(row, "task_name", record, "task_name");
    add_text(row, "timestamp", record, "timestamp");
    add_text(row, "channel_sid", record, "channel_sid");
    const int stream_id = json_object_get_int(json_object_object_get(record, "stream_id"));
    json_object_object_add(row, "stream_id", json_object_new_int(stream_id == 0 ? 1 : stream_id));
    add_text(row, "description", record, "description");
    json_object_object_add(row, "position", make_position(json_object_object_get(record, "loc")));
    return row;
}

json_object* make_answer(json_object* reply)
{
    json_object* datas = json_object_object_get(reply, "datas");
    json_object* rows = json_object_new_array();
    const std::size_t count = json_object_array_length(datas);
    for (std::size_t i = 0; i < count; ++i) {
        json_object_array_add(rows, make_row(json_object_array_get_idx(datas, i)));
    }
    json_object* answer = json_object_new_object();
    const int total = json_object_get_int(json_object_object_get(reply, "totalCounts"));
    json_object_object_add(answer, "count", json_object_new_int(total));
    json_object_object_add(answer, "metadatalist", rows);
    return answer;
}

} // namespace

std::string answer_by_hand(const char* reply)
{
    tzset();
    json_object* tree = json_tokener_parse(reply);
    json_object* answer = make_answer(tree);
    std::string text = json_object_to_json_string(answer);
    json_object_put(answer);
    json_object_put(tree);
    return text;
}

std::string hand_query::operator()()
{
    exchange_();
    const std::string_view answer = exchange_.answer();
    return answer_by_hand(answer.data() + answer.find("\r\n\r\n") + 4);
}

} // namespace korvane::bench
