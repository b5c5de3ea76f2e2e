// What whole queries and the statistics decoder take from the memory, each measured in a process of its own, and what
// the same work takes by the plain means of json-c.
//
//   memory_bench query FILE.json [LARGEST]   queries of 10 to LARGEST records, 100,000 unless told
//   memory_bench statistics FILE.json
#include "bench/child_process.h"
#include "bench/fail.h"
#include "bench/hand_query.h"
#include "bench/library_calls.h"
#include "bench/peer.h"
#include "bench/samples.h"
#include "bench/statistics_samples.h"
#include "bench/table.h"
#include "tests/support/heap.h"

#include <sys/resource.h>

#include <cstdlib>

namespace korvane::bench {

namespace {

using test::heap_peak_of;

struct memory_use {
    std::size_t heap_peak;     ///< bytes, like the last
    long long blocks;          ///< taken in all
    std::size_t resident_peak; ///< of the whole process
};

template <class Work>
memory_use memory_use_of(Work work)
{
    return in_child<memory_use>([&] {
        const long long blocks_before = test::heap_blocks_taken();
        const std::size_t heap_peak = heap_peak_of(work);
        const long long blocks = test::heap_blocks_taken() - blocks_before;
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return memory_use{heap_peak, blocks, static_cast<std::size_t>(usage.ru_maxrss) * 1024};
    });
}

memory_use query_by_library(std::size_t records)
{
    return memory_use_of([records] {
        std::string request = make_query(records);
        query(request);
    });
}

memory_use query_by_json_c(std::size_t records)
{
    // The request does not matter here: the peer answers any.
    const std::vector<std::string> requests = {"GET /third_party/human_detect HTTP/1.1\r\n\r\n"};
    const auto answer_size =
        in_child<std::size_t>([records] { return make_http_answer(make_reply(records)).size(); });
    return memory_use_of([&] { hand_query(bare_exchanges(requests, answer_size))(); });
}

void add_side(table& table, std::size_t records, const char* name, const memory_use& use)
{
    const auto count = static_cast<double>(records);
    const auto heap_peak = static_cast<double>(use.heap_peak);
    table.add({count, name, heap_peak, heap_peak / count, static_cast<double>(use.blocks) / count,
               static_cast<double>(use.resident_peak)});
}

void measure_queries(const char* file, std::size_t largest)
{
    table table({{"query of records", as_count},
                 {"by"},
                 {"heap at most", as_mib},
                 {"... a record, bytes", as_count},
                 {"blocks a record", as_count},
                 {"process at most", as_mib}});
    for (std::size_t records = 10; records <= largest; records *= 10) {
        show_progress("memory of a query of " + std::to_string(records));
        const peer_process peer([records] { return make_reply(records); });
        add_side(table, records, "library", query_by_library(records));
        add_side(table, records, "json-c tree", query_by_json_c(records));
    }
    table.print();
    table.write_json(file);
}

void measure_statistics(const char* file)
{
    table table({{"statistics"},
                 {"library", as_mib},
                 {"json-c parse", as_mib},
                 {"the buckets", as_mib},
                 {"library a channel, bytes", as_count}});
    for (const query_type& type : query_types) {
        for (const std::size_t channels : channel_counts) {
            const std::string reply = make_statistics(type, channels);
            const auto library = static_cast<double>(heap_peak_of([&] { decode_statistics(reply, type); }));
            const auto parse = static_cast<double>(heap_peak_of([&] { parse_statistics(reply); }));
            // What the caller asked for.
            const auto buckets =
                static_cast<double>(channels * type.buckets * sizeof(people_counting_metadata_information));
            table.add(
                {name_of(type, channels), library, parse, buckets, library / static_cast<double>(channels)});
        }
    }
    table.print();
    table.write_json(file);
}

} // namespace

} // namespace korvane::bench

int main(int argc, char** argv)
{
    using namespace korvane::bench;
    const std::string work = argc > 1 ? argv[1] : "";
    const std::size_t largest = argc == 4 ? std::strtoul(argv[3], nullptr, 10) : 100'000;
    if (work == "query" && (argc == 3 || argc == 4) && largest > 0) {
        measure_queries(argv[2], largest);
    } else if (work == "statistics" && argc == 3) {
        measure_statistics(argv[2]);
    } else {
        fail("usage: memory_bench query FILE.json [LARGEST] | memory_bench statistics FILE.json");
    }
}
