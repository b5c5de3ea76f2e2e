// The system calls of an exchange with the store, for whatever talks to it without the library.
#pragma once

#include "bench/copied_area.h"

#include <cstddef>
#include <string_view>

namespace korvane::bench {

/// What a connection is given between socket and connect.
enum class socket_options {
    no_delay,
    no_delay_and_time_outs, ///< also the two time-outs of 300 seconds that the library's connections have
};

/// A connection to the peer or store on 127.0.0.1:10158. Fails (fail.h), like the next two.
int connect_to_store(socket_options options);

void send_all(int connection, std::string_view bytes);

/// Receives `size` bytes into `bytes`, at most `most_at_once` with a call.
void receive_all(int connection, char* bytes, std::size_t size, std::size_t most_at_once);

/// Receives a whole reply into the empty `area` and gives its body, terminated; empty when the status is not 200 or the
/// reply ends early.
std::string_view receive_reply(int connection, copied_area& area);

} // namespace korvane::bench
