// One HTTP/1.1 request and its response, over a connection of its own.
#pragma once

#include "util/json_members.h"

#include <string>

/// Sends `request_head` (method, blank, path and query) with the fixed headers and, when it is not empty,
/// `body`; puts the response's body into `reply`. `timeout` goes to the session. Keeps no state; nothing is
/// logged here but an exception of the host's session.
///
///  0  status 200; `reply` holds the body, empty when no positive Content-Length came
/// -1  no connection    -2  sending failed    -3  no status line    -4  another status
/// -5  the body ended early; `reply` holds what came
///
/// On -1 to -4 `reply` keeps what it held.
int send_RESTful_req(int port, char* request_head, std::string& body, std::string& reply, int timeout);

namespace korvane {

/// The same; `spent` is freed between the request and its response, at the latest at the end.
int send_and_release(int port, const char* request_head, std::string& body, std::string& reply, int timeout,
                     json_owner spent);

} // namespace korvane
