#include "store_probe.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace host {

const char* const how_to_start_a_store =
    "nothing listens on 127.0.0.1:10158: no metadata store is running there.\n"
    "Start one in another terminal:  korvane-store --db metadata.db";

bool store_listens()
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(10158);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int handle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool listens =
        handle >= 0 && connect(handle, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    if (handle >= 0) {
        close(handle);
    }
    return listens;
}

} // namespace host
