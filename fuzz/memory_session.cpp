#include "fuzz/memory_session.h"

#include "fuzz/check.h"
#include "platform/ttcp_session.h"
#include "util/json_members.h"
#include "util/work_area.h"

#include <korvane/ai_metadata.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace korvane::fuzz {

namespace {

constexpr std::string_view fixed_headers =
    " HTTP/1.1\r\nHost: 127.0.0.1:10158\r\nUser-Agent: Zym\r\nAccept: */*\r\n";
constexpr std::string_view body_headers = "Content-Type: text/plain\r\nContent-Length: ";
constexpr std::string_view head_end = "\r\n\r\n";

/// How many requests of a call are stored. A report's results are all walked once for each: small ones can ask for 300,000.
constexpr std::size_t patience = 100;

enum class failure : char { none, connect, head, body, reply };

/// All connections of one call, one after the other.
struct store_state {
    std::vector<std::string_view> answers;
    std::size_t connections = 0;
    bool open = false;
    std::vector<std::string_view> bodies; ///< of the replies that were good
    bool any_ret = false;                 ///< a reply was not: no telling what "ret" was made of it

    // Of the connection that is open.
    failure fails = failure::none;
    std::string reply;
    std::size_t sent = 0; ///< of the reply
    std::size_t piece = std::string::npos;
    bool was_empty = false;
    int packets = 0;
    std::size_t announced = 0; ///< bytes of the request's body
};

store_state state;

bool starts_with(std::string_view text, std::string_view begin)
{
    return text.substr(0, begin.size()) == begin;
}

/// The request line and the headers, byte for byte; returns the length of the body that they announce.
std::size_t check_head(std::string_view head)
{
    const std::size_t line_end = head.find(fixed_headers);
    require(line_end != std::string_view::npos, "a request lacks its headers", head);
    const std::string_view line = head.substr(0, line_end);
    require(starts_with(line, "GET /third_party/") || starts_with(line, "POST /third_party/") ||
                starts_with(line, "DELETE /third_party/"),
            "a request line does not begin with method and path", line);
    require(line.size() < work_area::size, "a request line is too long", line);
    const bool clean = std::none_of(line.begin(), line.end(),
                                    [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; });
    require(clean, "a request line holds a control character", line);
    std::string_view rest = head.substr(line_end + fixed_headers.size());
    std::size_t length = 0;
    if (starts_with(rest, body_headers)) {
        rest.remove_prefix(body_headers.size());
        while (!rest.empty() && rest.front() >= '0' && rest.front() <= '9') {
            length = length * 10 + static_cast<std::size_t>(rest.front() - '0');
            rest.remove_prefix(1);
        }
        require(rest == head_end && length > 0, "a request's headers are not as agreed", head);
    } else {
        require(rest == "\r\n", "a request has more headers than agreed", head);
    }
    require(starts_with(line, "POST ") == (length > 0), "a request with a body is no POST, or one without is",
            head);
    return length;
}

void prepare_answer(std::string_view answer)
{
    if (starts_with(answer, "!")) {
        const char which = answer.size() > 1 ? answer[1] : '\0';
        state.fails = which == 'c'   ? failure::connect
                      : which == 'h' ? failure::head
                      : which == 'b' ? failure::body
                                     : failure::reply;
        return;
    }
    if (starts_with(answer, "~") && answer.size() > 1) {
        state.piece = std::max(static_cast<std::size_t>(answer[1] & 63), std::size_t{1});
        answer.remove_prefix(2);
    }
    if (starts_with(answer, "HTTP/")) {
        state.reply = answer;
        state.any_ret = true;
        return;
    }
    state.reply.assign("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: ");
    state.reply.append(std::to_string(answer.size())).append(head_end).append(answer);
    state.bodies.push_back(answer);
}

void open_connection()
{
    require(!state.open, "a connection is made while another is open");
    state.fails = failure::none;
    state.reply.clear();
    state.sent = 0;
    state.piece = std::string::npos;
    state.was_empty = false;
    state.packets = 0;
    state.announced = 0;
    state.open = true;
    const std::size_t index = state.connections++;
    const std::string_view otherwise = index < patience ? R"({"ret":0})" : R"({"ret":1})";
    prepare_answer(index < state.answers.size() ? state.answers[index] : otherwise);
}

std::string_view left() // of the reply
{
    return std::string_view(state.reply).substr(state.sent);
}

/// As much of the reply as asked for, or as comes at a time.
int take(unsigned char* buffer, std::size_t wanted)
{
    const std::string_view bytes = left().substr(0, std::min(wanted, state.piece));
    std::memcpy(buffer, bytes.data(), bytes.size());
    state.sent += bytes.size();
    return bytes.empty() ? -1 : static_cast<int>(bytes.size());
}

} // namespace

memory_store::memory_store(std::vector<std::string_view> answers)
{
    state.answers = std::move(answers);
    state.connections = 0;
    state.open = false;
    state.bodies.clear();
    state.any_ret = false;
}

memory_store::~memory_store()
{
    require(!state.open, "a connection was left open");
}

bool memory_store::may_have_caused(int code) const
{
    const auto is_code = [code](const result_meaning& meaning) {
        return static_cast<unsigned>(code) == meaning.code;
    };
    const auto has_ret = [code](std::string_view body) {
        return json_int_member(parse_json(std::string(body).c_str()).get(), "ret", 0) == code;
    };
    return state.any_ret || std::any_of(std::begin(result_meanings), std::end(result_meanings), is_code) ||
           std::any_of(state.bodies.begin(), state.bodies.end(), has_ret);
}

} // namespace korvane::fuzz

using korvane::fuzz::failure;
using korvane::fuzz::require;
using korvane::fuzz::state;

TTCPSession::TTCPSession(char* host, int port, bool, int timeout, bool, char* text, int)
{
    require(std::strcmp(host, "127.0.0.1") == 0 && port == 10158 && timeout == 300 && text == nullptr,
            "a session for another peer than the store", host);
    korvane::fuzz::open_connection();
    socket_handle = state.fails == failure::connect ? -1 : 5;
}

TTCPSession::~TTCPSession()
{
    state.open = false;
    require(state.packets < 1 || state.fails != failure::none ||
                state.packets == (state.announced > 0 ? 2 : 1),
            "a request was not sent whole");
}

int TTCPSession::SendPacket(unsigned char* data, int length)
{
    const std::string_view bytes(reinterpret_cast<char*>(data), static_cast<std::size_t>(length));
    ++state.packets;
    if (state.packets == 1) {
        state.announced = korvane::fuzz::check_head(bytes);
    } else {
        require(state.packets == 2 && bytes.size() == state.announced,
                "a body is not as long as its head says", bytes);
        require(bytes.size() < korvane::work_area::size, "a body is too long", bytes);
    }
    if (state.fails == (state.packets == 1 ? failure::head : failure::body)) {
        socket_handle = -1;
        return -1;
    }
    return length;
}

int TTCPSession::ReadLine(unsigned char* buffer, int max)
{
    require(socket_handle >= 0 && max == 1023, "a line is asked for in another way than agreed");
    const std::string_view rest = korvane::fuzz::left();
    const std::size_t line = std::min(rest.find('\n'), rest.size() - 1) + 1; // 0 at the end
    const std::size_t piece = std::exchange(state.piece, std::string::npos); // lines come whole
    const int length = korvane::fuzz::take(buffer, std::min(line, static_cast<std::size_t>(max)));
    state.piece = piece;
    return length;
}

int TTCPSession::RecvPacket(unsigned char* buffer, int length, bool)
{
    require(socket_handle >= 0 && length > 0 && length <= 1023,
            "a chunk is asked for in another way than agreed");
    if (state.piece != std::string::npos && !std::exchange(state.was_empty, !state.was_empty)) {
        return 0;
    }
    return korvane::fuzz::take(buffer, static_cast<std::size_t>(length));
}
