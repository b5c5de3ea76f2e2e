#include "bench/bare_calls.h"

#include "bench/fail.h"
#include "bench/peer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>

namespace korvane::bench {

int make_socket()
{
    const int made = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (made < 0) {
        fail_call("socket");
    }
    return made;
}

void connect_to_store(int socket)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(store_port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail_call("connect");
    }
}

void send_all(int connection, std::string_view bytes, int flags)
{
    if (send(connection, bytes.data(), bytes.size(), flags | MSG_NOSIGNAL) !=
        static_cast<ssize_t>(bytes.size())) {
        fail_call("send");
    }
}

void receive_all(int connection, char* bytes, std::size_t size, std::size_t most_at_once)
{
    while (size > 0) {
        const ssize_t count = recv(connection, bytes, std::min(size, most_at_once), 0);
        if (count <= 0) {
            fail_call("recv");
        }
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
}

std::string_view receive_reply(int connection, copied_area& area)
{
    constexpr std::string_view blank_line = "\r\n\r\n";
    constexpr std::string_view announced = "Content-Length: ";
    for (ssize_t count = 1; count > 0;) {
        const auto room = static_cast<std::size_t>(area.bytes + copied_area::size - area.end) - 1;
        count = recv(connection, area.end, room, 0);
        area.end += count > 0 ? count : 0;
        const std::string_view reply = area.view();
        const std::size_t head_size = reply.find(blank_line) + blank_line.size();
        const std::size_t length_at = reply.find(announced);
        if (head_size < blank_line.size() || length_at > head_size) {
            continue;
        }
        const std::size_t size = std::strtoul(area.bytes + length_at + announced.size(), nullptr, 10);
        if (reply.size() >= head_size + size) {
            *area.end = '\0';
            return reply.substr(9, 3) == "200" ? reply.substr(head_size) : std::string_view();
        }
    }
    return {};
}

} // namespace korvane::bench
