#include "http_server.h"

#include <arpa/inet.h>
#include <event2/buffer.h>
#include <event2/event.h>
#include <event2/http.h>
#include <event2/listener.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <csignal>
#include <cstring>
#include <system_error>

namespace {

constexpr std::size_t longest_headers = 65'536; // clients send lines of up to 8 KiB
constexpr int idle_seconds = 60;

struct event_releaser {
    void operator()(event_base* base) const { event_base_free(base); }
    void operator()(evhttp* http) const { evhttp_free(http); }
    void operator()(event* one) const { event_free(one); }
    void operator()(evbuffer* buffer) const { evbuffer_free(buffer); }
    void operator()(evconnlistener* listener) const { evconnlistener_free(listener); }
};
template <typename type>
using event_owner = std::unique_ptr<type, event_releaser>;

union socket_address {
    sockaddr any;
    sockaddr_in v4;
    sockaddr_in6 v6;
};

// False when the text is no numeric address.
bool parse_address(const std::string& text, std::uint16_t port, socket_address& result, socklen_t& length)
{
    result = {};
    if (inet_pton(AF_INET, text.c_str(), &result.v4.sin_addr) == 1) {
        result.v4.sin_family = AF_INET;
        result.v4.sin_port = htons(port);
        length = sizeof(result.v4);
        return true;
    }
    result = {};
    if (inet_pton(AF_INET6, text.c_str(), &result.v6.sin6_addr) != 1)
        return false;
    result.v6.sin6_family = AF_INET6;
    result.v6.sin6_port = htons(port);
    length = sizeof(result.v6);
    return true;
}

const char* method_name(evhttp_cmd_type method)
{
    switch (method) {
    case EVHTTP_REQ_GET:
        return "GET";
    case EVHTTP_REQ_POST:
        return "POST";
    case EVHTTP_REQ_HEAD:
        return "HEAD";
    case EVHTTP_REQ_PUT:
        return "PUT";
    case EVHTTP_REQ_DELETE:
        return "DELETE";
    case EVHTTP_REQ_OPTIONS:
        return "OPTIONS";
    case EVHTTP_REQ_TRACE:
        return "TRACE";
    case EVHTTP_REQ_CONNECT:
        return "CONNECT";
    case EVHTTP_REQ_PATCH:
        return "PATCH";
    }
    return "";
}

request read_request(evhttp_request* from)
{
    const std::string uri = evhttp_request_get_uri(from);
    const std::size_t question = uri.find('?');
    evbuffer* input = evhttp_request_get_input_buffer(from);
    std::string body(evbuffer_get_length(input), '\0');
    evbuffer_copyout(input, body.data(), body.size());
    return {method_name(evhttp_request_get_command(from)), uri.substr(0, question),
            question == std::string::npos ? "" : uri.substr(question + 1), std::move(body)};
}

} // namespace

std::string check_loopback_address(const std::string& address)
{
    socket_address parsed;
    socklen_t length = 0;
    if (!parse_address(address, 0, parsed, length))
        return "\"" + address + "\" is no numeric address, expected one like 127.0.0.1 or ::1";
    const bool is_loopback = parsed.any.sa_family == AF_INET
                                 ? ntohl(parsed.v4.sin_addr.s_addr) >> 24 == IN_LOOPBACKNET
                                 : IN6_IS_ADDR_LOOPBACK(&parsed.v6.sin6_addr) != 0;
    if (!is_loopback)
        return address + " is not a loopback address; the store has no access control, so it serves this "
                         "machine only (127.0.0.0/8 or ::1)";
    return {};
}

struct http_server::parts {
    request_handler handler;
    event_owner<event_base> base;
    event_owner<evhttp> http;
    event_owner<event> on_terminate;
    event_owner<event> on_interrupt;
    evhttp_bound_socket* listener = nullptr; // owned by http
    std::string address;
    std::uint16_t port = 0;
    int replies_under_way = 0;
    bool stopping = false;

    static void answer(evhttp_request* from, void* self);
    static void reply_sent(evhttp_request*, void* self);
    static void stop(evutil_socket_t, short, void* self);
    event_owner<event> stop_on(int signal_number);
};

void http_server::parts::answer(evhttp_request* from, void* self)
{
    auto* server = static_cast<parts*>(self);
    const reply made = server->handler(read_request(from));
    const event_owner<evbuffer> body(evbuffer_new());
    evbuffer_add(body.get(), made.body.data(), made.body.size());
    evkeyvalq* headers = evhttp_request_get_output_headers(from);
    evhttp_add_header(headers, "Content-Type", "application/json");
    if (!made.allow.empty())
        evhttp_add_header(headers, "Allow", made.allow.c_str());
    ++server->replies_under_way;
    evhttp_request_set_on_complete_cb(from, reply_sent, server);
    evhttp_send_reply(from, made.status, nullptr, body.get()); // null: the status's usual words
}

void http_server::parts::reply_sent(evhttp_request*, void* self)
{
    auto* server = static_cast<parts*>(self);
    if (--server->replies_under_way == 0 && server->stopping)
        event_base_loopbreak(server->base.get());
}

// What was carried out is answered, or a client would send again what is stored. A client that went away never takes its
// reply, so this does not wait for long.
void http_server::parts::stop(evutil_socket_t, short, void* self)
{
    auto* server = static_cast<parts*>(self);
    if (server->replies_under_way == 0) {
        event_base_loopbreak(server->base.get());
    } else if (!server->stopping) {
        evhttp_del_accept_socket(server->http.get(), server->listener);
        const timeval longest_goodbye{1, 0};
        event_base_loopexit(server->base.get(), &longest_goodbye);
    }
    server->stopping = true;
}

event_owner<event> http_server::parts::stop_on(int signal_number)
{
    event_owner<event> on_signal(evsignal_new(base.get(), signal_number, stop, this));
    event_add(on_signal.get(), nullptr);
    return on_signal;
}

http_server::http_server(const std::string& address, std::uint16_t port, request_handler handler)
    : parts_(std::make_unique<parts>())
{
    std::signal(SIGPIPE, SIG_IGN); // a client that goes away early is no reason to end
    parts_->handler = std::move(handler);
    parts_->base.reset(event_base_new());
    parts_->http.reset(evhttp_new(parts_->base.get()));
    evhttp* http = parts_->http.get();
    evhttp_set_max_headers_size(http, static_cast<ev_ssize_t>(longest_headers));
    evhttp_set_max_body_size(http, static_cast<ev_ssize_t>(longest_body));
    evhttp_set_timeout(http, idle_seconds);
    // All methods reach the handler, which knows which path takes which.
    evhttp_set_allowed_methods(http, EVHTTP_REQ_GET | EVHTTP_REQ_POST | EVHTTP_REQ_HEAD | EVHTTP_REQ_PUT |
                                         EVHTTP_REQ_DELETE | EVHTTP_REQ_OPTIONS | EVHTTP_REQ_TRACE |
                                         EVHTTP_REQ_CONNECT | EVHTTP_REQ_PATCH);
    evhttp_set_gencb(http, parts::answer, parts_.get());

    socket_address wanted;
    socklen_t length = 0;
    parse_address(address, port, wanted, length);
    event_owner<evconnlistener> listener(
        evconnlistener_new_bind(parts_->base.get(), nullptr, nullptr,
                                LEV_OPT_CLOSE_ON_FREE | LEV_OPT_CLOSE_ON_EXEC | LEV_OPT_REUSEABLE, SOMAXCONN,
                                &wanted.any, static_cast<int>(length)));
    if (!listener)
        throw std::system_error(errno, std::generic_category());
    getsockname(evconnlistener_get_fd(listener.get()), &wanted.any, &length);
    parts_->address = address;
    parts_->port = ntohs(wanted.any.sa_family == AF_INET ? wanted.v4.sin_port : wanted.v6.sin6_port);
    parts_->listener = evhttp_bind_listener(http, listener.get());
    if (parts_->listener == nullptr)
        throw std::system_error(ENOMEM, std::generic_category());
    static_cast<void>(listener.release());
    parts_->on_terminate = parts_->stop_on(SIGTERM);
    parts_->on_interrupt = parts_->stop_on(SIGINT);
}

http_server::~http_server() = default;

std::string http_server::place() const
{
    const bool is_v6 = parts_->address.find(':') != std::string::npos;
    return (is_v6 ? "[" + parts_->address + "]" : parts_->address) + ":" + std::to_string(parts_->port);
}

void http_server::run()
{
    event_base_dispatch(parts_->base.get());
}
