#include "bench/hand_insert.h"

#include "bench/bare_calls.h"
#include "bench/copied_area.h"

#include <json-c/json.h>

#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace korvane::bench {

namespace {

json_object* member(json_object* object, const char* key)
{
    json_object* value = nullptr;
    json_object_object_get_ex(object, key, &value);
    return value;
}

std::string_view text_of(json_object* value)
{
    if (value == nullptr) {
        return {};
    }
    const char* text = json_object_get_string(value);
    return {text, static_cast<std::size_t>(json_object_get_string_len(value))};
}

/// The body's part that all persons of a result have in common.
void put_header(copied_area& body, json_object* report, json_object* result)
{
    body.put("{");
    body.put_text("\"app_id\":\"", text_of(member(report, "appID")));
    body.put_text("\"app_name\":\"", text_of(member(report, "appName")));
    body.put_text("\"model\":\"", text_of(member(report, "model")));
    body.put_text("\"brand\":\"", text_of(member(report, "brand")));
    body.put_text("\"func_name\":\"", "HumanDetection");
    body.put("\"timestamp\":\"");
    body.put_number(json_object_get_int64(member(report, "timestamp")));
    body.put("\",");
    body.put_text("\"version\":\"", text_of(member(result, "version")));
    body.put_text("\"task_name\":\"", text_of(member(result, "task_name")));
}

bool put_coordinate(copied_area& body, json_object* vertex, const char* axis)
{
    json_object* value = member(vertex, axis);
    const double fraction = json_object_get_double(value);
    body.put_six_decimals(fraction);
    return value != nullptr && fraction >= 0.0 && fraction <= 1.0;
}

bool put_polygon(copied_area& body, json_object* position)
{
    const std::size_t count = position ? json_object_array_length(position) : 0;
    if (count == 0) {
        return true;
    }
    body.put("\"loc\":[");
    for (std::size_t i = 0; i < count; ++i) {
        json_object* vertex = json_object_array_get_idx(position, i);
        body.put("[");
        if (!put_coordinate(body, vertex, "x")) {
            return false;
        }
        body.put(",");
        if (!put_coordinate(body, vertex, "y")) {
            return false;
        }
        body.put("],");
    }
    body.end[-1] = ']';
    body.put(",");
    return true;
}

bool put_person(copied_area& body, json_object* report, json_object* person)
{
    body.put_text("\"description\":\"", text_of(member(person, "description")));
    body.put_text("\"channel_sid\":\"", text_of(member(report, "channel_sid")));
    if (json_object* stream_id = member(report, "stream_id")) {
        body.put("\"stream_id\":");
        body.put_number(json_object_get_int(stream_id));
        body.put(",");
    }
    const bool placed = put_polygon(body, member(person, "position"));
    body.end[-1] = '}';
    return placed;
}

/// `option`: SO_SNDTIMEO or SO_RCVTIMEO.
void limit_waits(int socket, int option)
{
    const timeval limit{300, 0};
    setsockopt(socket, SOL_SOCKET, option, &limit, sizeof limit);
}

/// The "ret" of the store's reply, -1 without one. The system calls are the library's.
int post(std::string_view body)
{
    copied_area head;
    head.put("POST /third_party/human_detect HTTP/1.1\r\nHost: 127.0.0.1:10158\r\nUser-Agent: Zym\r\n"
             "Accept: */*\r\nContent-Type: text/plain\r\nContent-Length: ");
    head.put_number(body.size());
    head.put("\r\n\r\n");

    const int connection = make_socket();
    limit_waits(connection, SO_SNDTIMEO);
    connect_to_store(connection);
    send_all(connection, head.view(), MSG_MORE);
    send_all(connection, body);
    limit_waits(connection, SO_RCVTIMEO);
    copied_area reply;
    json_object* tree = json_tokener_parse(receive_reply(connection, reply).data());
    json_object* ret = member(tree, "ret");
    const int code = ret ? json_object_get_int(ret) : -1;
    json_object_put(tree);
    close(connection);
    return code;
}

int store_list(json_object* report, json_object* persons, copied_area& body)
{
    char* header_end = body.end;
    const std::size_t count = json_object_array_length(persons);
    for (std::size_t i = 0; i < count; ++i) {
        body.end = header_end;
        if (!put_person(body, report, json_object_array_get_idx(persons, i)) || post(body.view()) != 0) {
            return -1;
        }
    }
    return 0;
}

int store_result(json_object* report, json_object* result)
{
    json_object* objects = member(result, "objects");
    if (!json_object_is_type(objects, json_type_array)) {
        return -1;
    }
    copied_area body;
    put_header(body, report, result);
    char* header_end = body.end;
    const std::size_t count = json_object_array_length(objects);
    for (std::size_t i = 0; i < count; ++i) {
        json_object* persons = json_object_array_get_idx(objects, i);
        body.end = header_end;
        if (!json_object_is_type(persons, json_type_array) || store_list(report, persons, body) != 0) {
            return -1;
        }
    }
    return 0;
}

int store_report(json_object* report)
{
    json_object* results = member(report, "results");
    if (!json_object_is_type(results, json_type_array) || member(report, "timestamp") == nullptr) {
        return -1;
    }
    const std::size_t count = json_object_array_length(results);
    for (std::size_t i = 0; i < count; ++i) {
        json_object* name = member(json_object_array_get_idx(results, i), "function_name");
        if (text_of(name) != "HumanDetection") {
            return -1;
        }
        for (std::size_t k = 0; k < count; ++k) { // all of them, once for each
            if (store_result(report, json_object_array_get_idx(results, k)) != 0) {
                return -1;
            }
        }
    }
    return 0;
}

} // namespace

int insert_by_hand(const char* report)
{
    json_object* tree = json_tokener_parse(report);
    const int code = store_report(tree);
    json_object_put(tree);
    return code;
}

} // namespace korvane::bench
