// insert_ai_metadata against its exchanges with the store alone, and against libcurl making them.
#include "bench/bare_exchange.h"
#include "bench/call_pairs.h"
#include "bench/curl_exchange.h"
#include "bench/hand_insert.h"
#include "bench/library_calls.h"
#include "bench/samples.h"

namespace korvane::bench {

namespace {

timed_call make_insert(const std::string& work, std::size_t persons, std::size_t results, peer& peer)
{
    // Every result is walked once for each of them.
    const std::size_t records = persons * results * results;
    timed_call call{work, "record", records, make_stored_reply(), {}, {}};
    call.run = [report = make_report(persons, results)]() mutable { insert(report); };
    record_requests(call, peer, records);
    return call;
}

void add_rivals(std::size_t persons, peer& peer)
{
    const timed_call call = make_insert("insert/persons:" + std::to_string(persons), persons, 1, peer);
    add_call_pair(call, "bare calls", peer, bare_exchanges(call.requests, peer.answer_size()));
    add_call_pair(call, "by hand", peer,
                  [report = make_report(persons, 1)] { insert_by_hand(report.c_str()); });
    add_call_pair(call, "libcurl", peer, curl_exchanges(call.requests));
}

void add_results(std::size_t results, peer& peer)
{
    const timed_call call = make_insert("insert/results:" + std::to_string(results), 1, results, peer);
    add_call_pair(call, "bare calls", peer, bare_exchanges(call.requests, peer.answer_size()));
}

} // namespace

} // namespace korvane::bench

int main(int argc, char** argv)
{
    using namespace korvane::bench;
    peer store;
    for (const std::size_t persons : {1U, 100U}) {
        add_rivals(persons, store);
    }
    for (const std::size_t results : {1U, 2U, 5U, 10U}) {
        add_results(results, store);
    }
    run_pairs(argc, argv);
}
