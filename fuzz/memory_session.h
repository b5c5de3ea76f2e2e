// A metadata store in memory: the TTCPSession that answers what an input says, and looks at every request it is sent.
// Linked in the place of platform/posix_session.cpp.
#pragma once

#include <string_view>
#include <vector>

namespace korvane::fuzz {

/// How the store answers the requests of the calls made during its life: the nth request by the nth text, the others by
/// {"ret":0} up to the 100th, and then {"ret":1}. A text that begins with
///
///   !c  !h  !b  !   fails: no connection; the head or the body cannot be sent; the connection ends without a status line
///   ~N              comes N bytes at a time (N is a character: its code from 1 to 63), with empty receives in between
///   HTTP/           is the whole reply, head and body
///
/// and any other is the body of a reply of status 200.
class memory_store {
public:
    explicit memory_store(std::vector<std::string_view> answers);
    ~memory_store();
    memory_store(const memory_store&) = delete;
    memory_store& operator=(const memory_store&) = delete;

    /// The code is one of the interface's, or came from the store: the "ret" of one of the replies.
    bool may_have_caused(int code) const;
};

} // namespace korvane::fuzz
