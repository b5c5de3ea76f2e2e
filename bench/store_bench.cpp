// What a run against a real store needs besides `korvane insert`:
//
//   store_bench reports COUNT            prints so many reports of one person, a line each
//   store_bench post COUNT CONNECTIONS   posts what the library sends for them, by bare system calls, with so many
//                                        connections at a time
#include "bench/bare_calls.h"
#include "bench/fail.h"
#include "bench/hand_encoders.h"
#include "bench/library_calls.h"
#include "bench/peer.h"
#include "bench/samples.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <thread>

namespace korvane::bench {

namespace {

std::string make_body(std::size_t index)
{
    std::string body;
    memcpy_person(make_person(index, 4), body);
    return body;
}

std::string make_head(const std::string& body)
{
    return "POST /third_party/human_detect HTTP/1.1\r\nHost: 127.0.0.1:10158\r\nUser-Agent: Zym\r\n"
           "Accept: */*\r\nContent-Type: text/plain\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n";
}

/// Fails unless what is posted for a report is what the library sends.
void require_same_request(std::size_t index, peer& peer)
{
    std::string report = make_report(1, 1, index);
    const std::string body = make_body(index);
    require_same("report " + std::to_string(index), peer.record([&] { insert(report); }).at(0),
                 make_head(body) + body);
}

void print_reports(std::size_t count)
{
    {
        peer peer;
        peer.answer_with(make_stored_reply());
        require_same_request(0, peer);
        require_same_request(count - 1, peer);
    }
    for (std::size_t i = 0; i < count; ++i) {
        std::puts(make_report(1, 1, i).c_str());
    }
}

void post_every(std::size_t first, std::size_t count, std::size_t step)
{
    for (std::size_t i = first; i < count; i += step) {
        const std::string body = make_body(i);
        const int connection = make_socket();
        connect_to_store(connection);
        send_all(connection, make_head(body));
        send_all(connection, body);
        copied_area reply;
        if (receive_reply(connection, reply) != make_stored_reply()) {
            fail("the store answered \"" + std::string(reply.view()) + "\"");
        }
        close(connection);
    }
}

void post(std::size_t count, std::size_t connections)
{
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < connections; ++i) {
        threads.emplace_back(post_every, i, count, connections);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace

} // namespace korvane::bench

int main(int argc, char** argv)
{
    using namespace korvane::bench;
    const std::string work = argc > 1 ? argv[1] : "";
    const std::size_t count = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 0;
    const std::size_t connections = argc > 3 ? std::strtoul(argv[3], nullptr, 10) : 0;
    if (work == "reports" && count > 0 && argc == 3) {
        print_reports(count);
    } else if (work == "post" && count > 0 && connections > 0) {
        post(count, connections);
    } else {
        fail("usage: store_bench reports COUNT | store_bench post COUNT CONNECTIONS");
    }
}
