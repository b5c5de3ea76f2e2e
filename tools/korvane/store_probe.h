#pragma once

namespace host {

/// Says whether anything accepts connections on 127.0.0.1:10158. Connects, sends nothing and hangs up.
bool store_listens();

/// The code of a call that got no reply: the one that calls for a probe.
constexpr unsigned int no_reply = 0xFFFFFFFF;

extern const char* const how_to_start_a_store;

} // namespace host
