#include "store/store_exchange.h"

#include "log/korvane_log.h"
#include "store/send_restful_req.h"
#include "util/result.h"

namespace korvane {

namespace {

constexpr int store_port = 10158;
constexpr int store_timeout = 300;

/// The result of a request whose reply has no body.
constexpr int no_reply_body = -1;

/// The transport's result; result_bad_request, logged, for a line that may not be sent.
int send_line(request_line& line, std::string& reply)
{
    if (const char* refusal = line.refusal()) {
        log_debug("[korvane](%s:%d) request not sent: %s", "ai_CDataBaseComm", __LINE__, refusal);
        return as_int(result_bad_request);
    }
    std::string no_body;
    return send_RESTful_req(store_port, line.c_str(), no_body, reply, store_timeout);
}

} // namespace

int post_to_store(const char* path, std::string& body, json_owner spent)
{
    std::string head = "POST ";
    head.append(path);
    std::string reply;
    const int transport =
        send_and_release(store_port, head.c_str(), body, reply, store_timeout, std::move(spent));
    if (reply.empty()) {
        return no_reply_body;
    }
    return json_int_member(parse_json(reply.c_str()).get(), "ret", transport);
}

query_reply query_store(request_line& line)
{
    query_reply reply{};
    reply.result = send_line(line, reply.body);
    if (reply.body.empty() && line.refusal() == nullptr) {
        reply.result = no_reply_body;
    }
    return reply;
}

int tell_store(request_line& line)
{
    std::string ignored;
    return send_line(line, ignored);
}

} // namespace korvane
