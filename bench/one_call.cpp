// One call, for a look at its system calls or its instructions:
//
//   strace -o FILE one_call WORK [COUNT]
//   valgrind --tool=callgrind --toggle-collect=measured_call one_call WORK [COUNT]
//
// The call is made twice, and the second time is what counts: the first also pays for what the process keeps. strace
// sees this thread alone, not the peer's, and the call lies between the two lines written; callgrind's toggle counts
// it alone. COUNT is the number of persons in the report or of records in the reply.
#include "bench/bare_exchange.h"
#include "bench/fail.h"
#include "bench/hand_insert.h"
#include "bench/hand_log.h"
#include "bench/hand_query.h"
#include "bench/library_calls.h"
#include "bench/peer.h"
#include "bench/samples.h"
#include "log/korvane_log.h"

#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <string_view>

namespace {

const std::function<void()>* call = nullptr;

void mark(std::string_view line)
{
    if (write(STDOUT_FILENO, line.data(), line.size()) < 0) {
        korvane::bench::fail_call("write");
    }
}

} // namespace

extern "C" [[gnu::noinline]] void measured_call()
{
    (*call)();
}

namespace korvane::bench {

namespace {

void call_twice(const std::function<void()>& work)
{
    work();
    call = &work;
    mark("measured call begins\n");
    measured_call();
    mark("measured call ends\n");
}

void require_same_requests(const std::vector<std::string>& expected, const std::vector<std::string>& actual)
{
    for (std::size_t i = 0; i < expected.size(); ++i) {
        require_same("request " + std::to_string(i), expected[i], i < actual.size() ? actual[i] : "");
    }
}

void run_insert(bool by_hand, std::size_t persons)
{
    peer peer;
    peer.answer_with(make_stored_reply());
    std::string report = make_report(persons);
    const auto library = [&] { insert(report); };
    const auto hand = [&] { require_done("insert_by_hand", insert_by_hand(report.c_str())); };
    require_same_requests(peer.record(library), peer.record(hand));
    by_hand ? call_twice(hand) : call_twice(library);
}

void run_query(std::string_view by, std::size_t records)
{
    peer peer;
    peer.answer_with(make_reply(records));
    std::string request = make_query(records);
    const auto library = [&] { query(request); };
    const std::vector<std::string> requests = peer.record(library);
    if (by == "library") {
        call_twice(library);
    } else if (by == "tree") {
        call_twice(hand_query(bare_exchanges(requests, peer.answer_size())));
    } else {
        constexpr std::size_t chunk = 1023;
        call_twice(bare_exchanges(requests, peer.answer_size(), chunk));
    }
}

void run_log(bool by_hand)
{
    const auto library = [] {
        char format[] = "[korvane](%s:%d) get human metadata failed, ret = %d";
        korvane_log_debug(format, "query_human_metadata", 128, -1);
    };
    prepare_log(0);
    library();
    const std::string line = log_text(0);
    by_hand ? call_twice([&] { log_by_hand(line); }) : call_twice(library);
}

struct work {
    const char* name;
    std::function<void(std::size_t)> run;
};

const work works[] = {
    {"insert", [](std::size_t count) { run_insert(false, count); }},
    {"insert-by-hand", [](std::size_t count) { run_insert(true, count); }},
    {"query", [](std::size_t count) { run_query("library", count); }},
    {"query-by-json-c", [](std::size_t count) { run_query("tree", count); }},
    {"query-by-chunks", [](std::size_t count) { run_query("chunks", count); }},
    {"log", [](std::size_t) { run_log(false); }},
    {"log-by-hand", [](std::size_t) { run_log(true); }},
};

} // namespace

} // namespace korvane::bench

int main(int argc, char** argv)
{
    using namespace korvane::bench;
    const std::string_view name = argc > 1 ? argv[1] : "";
    const std::size_t count = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 1;
    for (const work& work : works) {
        if (name == work.name) {
            work.run(count);
            return 0;
        }
    }
    fail("usage: one_call WORK [COUNT], WORK one of: insert insert-by-hand query query-by-json-c "
         "query-by-chunks "
         "log log-by-hand");
}
