#include "bench/bare_exchange.h"

#include <unistd.h>

namespace korvane::bench {

bare_exchanges::bare_exchanges(const std::vector<std::string>& recorded, std::size_t answer_size,
                               std::size_t most_at_once)
    : requests_(recorded.begin(), recorded.end())
    , answer_(answer_size + 1)
    , most_at_once_(most_at_once)
{
}

void bare_exchanges::operator()()
{
    for (const split_request& request : requests_) {
        const int connection = make_socket();
        connect_to_store(connection);
        send_all(connection, request.head);
        if (!request.body.empty()) {
            send_all(connection, request.body);
        }
        receive_all(connection, answer_.data(), answer_.size() - 1, most_at_once_);
        close(connection);
    }
}

} // namespace korvane::bench
