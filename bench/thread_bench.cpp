// Inserts by several threads at once, beside the bare calls by as many.
#include "bench/bare_exchange.h"
#include "bench/library_calls.h"
#include "bench/pairs.h"
#include "bench/peer.h"
#include "bench/samples.h"

#include <thread>

namespace korvane::bench {

namespace {

constexpr std::size_t thread_counts[] = {1, 2, 4, 8};
constexpr std::size_t persons = 50; ///< of the report that each thread stores
constexpr std::size_t reports = 10; ///< of each thread; a host starts its threads once

/// Runs copies of a call, each on a thread of its own, which makes it for each of its reports.
template <class Call>
auto at_once(std::size_t threads, const Call& call)
{
    return [calls = std::vector<Call>(threads, call)]() mutable {
        std::vector<std::thread> running;
        for (Call& one : calls) {
            running.emplace_back([&one] {
                for (std::size_t i = 0; i < reports; ++i) {
                    one();
                }
            });
        }
        for (std::thread& thread : running) {
            thread.join();
        }
    };
}

void print_throughput(const std::vector<pair_result>& results)
{
    table table({{"insert"},
                 {"library, records/s", as_count},
                 {"of 1 thread", as_ratio},
                 {"bare calls, records/s", as_count},
                 {"of 1 thread", as_ratio}});
    for (const pair_result& result : results) {
        const pair_result& single = results.front();
        table.add({result.work, 1 / result.library_s, single.library_s / result.library_s, 1 / result.rival_s,
                   single.rival_s / result.rival_s});
    }
    table.print();
}

} // namespace

} // namespace korvane::bench

int main(int argc, char** argv)
{
    using namespace korvane::bench;
    // As many threads as the most that ask, so that none waits for another's connection to be served.
    peer peer(*std::rbegin(thread_counts));
    peer.answer_with(make_stored_reply());
    const auto store = [report = make_report(persons)]() mutable { insert(report); };
    const bare_exchanges exchanges(peer.record(store), peer.answer_size());
    for (const std::size_t threads : thread_counts) {
        add_pair("insert/threads:" + std::to_string(threads), "bare calls", "record",
                 threads * reports * persons, at_once(threads, store), at_once(threads, exchanges));
    }
    print_throughput(run_pairs(argc, argv));
}
