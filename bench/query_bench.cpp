// query_ai_metadata against the same answer made by the plain means of json-c, and against its exchange alone.
#include "bench/bare_exchange.h"
#include "bench/call_pairs.h"
#include "bench/hand_query.h"
#include "bench/library_calls.h"
#include "bench/samples.h"

namespace korvane::bench {

namespace {

void add_query(std::size_t records, peer& peer)
{
    std::string request = make_query(records);
    timed_call call{"query/records:" + std::to_string(records), "query", 1, make_reply(records), {}, {}};
    call.run = [request]() mutable { query(request); };
    record_requests(call, peer, 1);

    const bare_exchanges exchange(call.requests, peer.answer_size());
    hand_query by_hand(exchange);
    require_same(call.work, by_hand(), query(request).get());
    add_call_pair(call, "json-c tree", peer, by_hand);
    add_call_pair(call, "bare calls", peer, exchange);
}

} // namespace

} // namespace korvane::bench

int main(int argc, char** argv)
{
    using namespace korvane::bench;
    peer store;
    for (const std::size_t records : {10U, 100U, 1'000U, 10'000U}) {
        add_query(records, store);
    }
    run_pairs(argc, argv);
}
