// The host's side of TTCPSession: does what a test tells it to and remembers what it was asked.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace korvane::test {

/// One result of RecvPacket: bytes, or a number of none (0 or negative).
struct scripted_receive {
    std::string bytes;
    int none = 0;
};

struct session_script {
    bool connects = true;
    int handle = 5;                             ///< of a connection
    std::optional<std::size_t> send_that_fails; ///< which SendPacket call, from 0
    int send_result = 0;                        ///< what SendPacket returns
    std::deque<std::string> lines;
    int after_lines = -1; ///< what ReadLine returns when there are no more
    std::deque<scripted_receive> receives;
    scripted_receive after_receives{{}, -1};
};

struct session_arguments {
    std::string host;
    int port;
    bool first_flag;
    int timeout;
    bool second_flag;
    bool text_is_null;
    int number;
};

struct session_record {
    std::vector<session_arguments> constructed;
    int destroyed = 0;
    std::vector<std::string> sent;
    std::vector<int> line_limits;
    std::vector<int> receive_lengths;
    bool every_receive_flag = true;
};

/// What the sessions made from now on do, and what was asked of them since; one thread only.
session_script& script();
session_record& record();

} // namespace korvane::test
