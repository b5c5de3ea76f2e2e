// The system calls of an exchange with the store, for whatever talks to it without the library.
#pragma once

#include "bench/copied_area.h"

#include <cstddef>
#include <string_view>

namespace korvane::bench {

/// A socket that connect_to_store takes. Fails (fail.h), like the others.
int make_socket();

/// Connects it to the peer or store on 127.0.0.1:10158.
void connect_to_store(int socket);

void send_all(int connection, std::string_view bytes, int flags = 0);

/// Receives `size` bytes into `bytes`, at most `most_at_once` with a call.
void receive_all(int connection, char* bytes, std::size_t size, std::size_t most_at_once);

/// Receives a whole reply into the empty `area` and gives its body, terminated; empty when the status is not 200 or the
/// reply ends early.
std::string_view receive_reply(int connection, copied_area& area);

} // namespace korvane::bench
