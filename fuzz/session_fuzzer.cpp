// send_RESTful_req with a host's TTCPSession, linked in the place of the carried one, whose every result is the input's:
// the bytes that the store answers with, then, from the end, what each call of the session does.
#include "fuzz/check.h"
#include "fuzz/http_reply.h"
#include "fuzz/library_call.h"
#include "platform/ttcp_session.h"
#include "store/send_restful_req.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstring>
#include <string>

using namespace korvane::fuzz;

namespace {

enum class step : std::uint8_t {
    whole,    ///< all that was asked for, or the whole line
    short_,   ///< fewer bytes
    nothing,  ///< 0
    failure,  ///< a negative number
    too_many, ///< says that it gave more than was asked for
    kMaxValue = too_many
};

struct session_script {
    std::string_view left;
    std::vector<step> steps; ///< the next one is the last
    bool connects = true;
    int sends = 2; ///< packets that can be sent
    int calls = 0; ///< of ReadLine and RecvPacket
};

session_script script;

int give(unsigned char* buffer, std::size_t whole)
{
    ++script.calls;
    step next = step::whole;
    if (!script.steps.empty()) {
        next = script.steps.back();
        script.steps.pop_back();
    }
    if (next == step::nothing) {
        return 0;
    }
    if (next == step::failure) {
        return -1;
    }
    const std::size_t count = std::min(next == step::short_ ? (whole + 1) / 2 : whole, script.left.size());
    std::memcpy(buffer, script.left.data(), count);
    script.left.remove_prefix(count);
    if (next == step::too_many) {
        return static_cast<int>(whole) + 1;
    }
    return count > 0 ? static_cast<int>(count) : -1;
}

/// What no session's behaviour may make of it: an endless loop.
int most_calls(std::size_t bytes)
{
    constexpr int lines = 101;
    constexpr int empty_receives = 101;
    return lines + empty_receives * (static_cast<int>(bytes) + 2);
}

} // namespace

TTCPSession::TTCPSession(char* /*host*/, int /*port*/, bool, int /*timeout*/, bool, char*, int)
{
    socket_handle = script.connects ? 0 : -1; // 0 is a connection too
}

TTCPSession::~TTCPSession() = default;

int TTCPSession::SendPacket(unsigned char* /*data*/, int length)
{
    if (script.sends-- <= 0) {
        socket_handle = -1;
    }
    return length;
}

int TTCPSession::ReadLine(unsigned char* buffer, int max)
{
    const std::size_t line_feed = script.left.find('\n');
    const std::size_t line = line_feed == std::string_view::npos ? script.left.size() : line_feed + 1;
    return give(buffer, std::min(line, static_cast<std::size_t>(max)));
}

int TTCPSession::RecvPacket(unsigned char* buffer, int length, bool)
{
    return give(buffer, static_cast<std::size_t>(length));
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    script.connects = input.ConsumeIntegral<std::uint8_t>() != 255;
    script.sends = input.ConsumeIntegral<std::uint8_t>() % 4 == 3 ? 1 : 2;
    script.calls = 0;
    script.steps.resize(input.ConsumeIntegralInRange<std::size_t>(0, 255));
    std::generate(script.steps.begin(), script.steps.end(), [&] { return input.ConsumeEnum<step>(); });
    const bool as_agreed = script.connects && script.sends == 2 && script.steps.empty();
    const std::string bytes = input.ConsumeRemainingBytesAsString();
    script.left = bytes;

    std::string head = "POST /path";
    std::string body = "{}";
    std::string reply = "before";
    int code = 1;
    library_survives([&] { code = send_RESTful_req(10158, head.data(), body, reply, 300); });

    require(code <= 0 && code >= -5, "a result that the transport has not");
    require(code > -1 || code < -4 || reply == "before", "a failed exchange changed the reply", reply);
    require(script.calls <= most_calls(bytes.size()), "a session was asked too often");
    require(reply.size() <= bytes.size() + 1023 * 256 || reply == "before", "a reply out of nothing");
    if (as_agreed) {
        const exchange_result expected = expected_result(bytes);
        require(code == expected.code, "another result than the bytes give");
        require((code != 0 && code != -5) || reply == expected.reply, "another reply than the bytes give",
                reply);
    }
    return 0;
}
