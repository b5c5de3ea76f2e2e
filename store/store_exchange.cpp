#include "store/store_exchange.h"

#include "store/send_restful_req.h"
#include "util/guarded.h"
#include "util/json_members.h"

#include <cstdio>

namespace korvane {

namespace {

constexpr int store_port = 10158;
constexpr int store_timeout = 300;

query_reply send_line(request_line& line)
{
    query_reply reply{as_int(result_bad_request), {}};
    if (line.sendable()) {
        std::string no_body;
        reply.result = send_RESTful_req(store_port, line.c_str(), no_body, reply.body, store_timeout);
    }
    return reply;
}

} // namespace

int post_to_store(const char* path, std::string& body)
{
    char head[512];
    std::snprintf(head, sizeof head, "POST %s", path);
    std::string reply;
    const int transport = send_RESTful_req(store_port, head, body, reply, store_timeout);
    if (reply.empty()) {
        return no_reply_body;
    }
    return json_int_member(parse_json(reply.c_str()).get(), "ret", transport);
}

query_reply query_store(request_line& line)
{
    query_reply reply = send_line(line);
    if (line.sendable() && reply.body.empty()) {
        reply.result = no_reply_body;
    }
    return reply;
}

int tell_store(request_line& line)
{
    return send_line(line).result;
}

} // namespace korvane
