#include "tests/host_session/scripted_session.h"

#include "platform/ttcp_session.h"

#include <algorithm>

namespace korvane::test {

session_script& script()
{
    static session_script the_script;
    return the_script;
}

session_record& record()
{
    static session_record the_record;
    return the_record;
}

namespace {

template <class T>
T take_first(std::deque<T>& from)
{
    T first = std::move(from.front());
    from.pop_front();
    return first;
}

} // namespace

} // namespace korvane::test

using korvane::test::record;
using korvane::test::script;

TTCPSession::TTCPSession(char* host, int port, bool first_flag, int timeout, bool second_flag, char* text,
                         int number)
{
    record().constructed.push_back({host, port, first_flag, timeout, second_flag, text == nullptr, number});
    KORVANE_SESSION_SOCKET = script().connects ? script().handle : -1;
}

TTCPSession::~TTCPSession()
{
    ++record().destroyed;
}

int TTCPSession::SendPacket(unsigned char* data, int length)
{
    if (script().send_that_fails == record().sent.size()) {
        KORVANE_SESSION_SOCKET = -1;
    }
    record().sent.emplace_back(reinterpret_cast<const char*>(data), static_cast<std::size_t>(length));
    return script().send_result;
}

int TTCPSession::ReadLine(unsigned char* buffer, int max)
{
    record().line_limits.push_back(max);
    if (script().lines.empty()) {
        return script().after_lines;
    }
    const std::string line = korvane::test::take_first(script().lines);
    std::copy_n(line.begin(), std::min<std::size_t>(line.size(), static_cast<std::size_t>(max)), buffer);
    return static_cast<int>(line.size());
}

int TTCPSession::RecvPacket(unsigned char* buffer, int length, bool flag)
{
    record().receive_lengths.push_back(length);
    record().every_receive_flag = record().every_receive_flag && flag;
    const korvane::test::scripted_receive next =
        script().receives.empty() ? script().after_receives : korvane::test::take_first(script().receives);
    std::copy(next.bytes.begin(), next.bytes.end(), buffer);
    return next.bytes.empty() ? next.none : static_cast<int>(next.bytes.size());
}
