// Whole calls of the two entry points against their exchanges with the store alone.
#include "bench/bare_exchange.h"
#include "bench/fail.h"
#include "bench/pairs.h"
#include "bench/peer.h"
#include "bench/samples.h"

#include <korvane/ai_metadata.h>

#include <json-c/json.h>

#include <cstdlib>
#include <functional>
#include <memory>

namespace korvane::bench {

namespace {

void require_done(const char* call, int code)
{
    if (code != 0) {
        fail(std::string(call) + " returned " + std::to_string(code));
    }
}

/// Registers `call` against the exchanges that it makes, and makes sure that these are the same bytes.
template <class Call>
void add_call(const std::string& work, const std::string& unit, std::size_t units, peer& peer,
              const std::string& answer, std::size_t exchanges, Call call)
{
    const auto set_answer = [&peer, answer] { peer.answer_with(answer); };
    set_answer();
    const std::vector<std::string> requests = peer.record(call);
    if (requests.size() != exchanges) {
        fail(work + ": the library made " + std::to_string(requests.size()) + " requests");
    }
    bare_exchanges floor(requests, peer);
    const std::vector<std::string> again = peer.record(std::ref(floor));
    for (std::size_t i = 0; i < exchanges; ++i) {
        require_same(work, requests[i], again.at(i));
    }
    add_pair(work, "bare calls", unit, units, call, floor, set_answer);
}

void add_insert(std::size_t persons, peer& peer)
{
    const auto insert = [report = make_report(persons)]() mutable {
        require_done("insert_ai_metadata", insert_ai_metadata(report.data()));
    };
    add_call("insert/persons:" + std::to_string(persons), "record", persons, peer, make_stored_reply(),
             persons, insert);
}

struct free_block {
    void operator()(void* block) const { std::free(block); }
};
using answer_owner = std::unique_ptr<void, free_block>;

answer_owner query(std::string& request)
{
    void* answer = nullptr;
    require_done("query_ai_metadata", query_ai_metadata(request.data(), &answer));
    return answer_owner(answer);
}

/// Fails unless the library answers with as many records as the store.
void require_listed(const std::string& work, std::string request, std::size_t records)
{
    const answer_owner answer = query(request);
    json_object* tree = json_tokener_parse(static_cast<const char*>(answer.get()));
    json_object* list = nullptr;
    json_object_object_get_ex(tree, "metadatalist", &list);
    const std::size_t listed = list ? json_object_array_length(list) : 0;
    json_object_put(tree);
    if (listed != records) {
        fail(work + ": the library listed " + std::to_string(listed) + " records");
    }
}

void add_query(std::size_t records, peer& peer)
{
    const std::string work = "query/records:" + std::to_string(records);
    const std::string reply = make_reply(records);
    peer.answer_with(reply);
    require_listed(work, make_query(records), records);
    const auto ask = [request = make_query(records)]() mutable { query(request); };
    add_call(work, "query", 1, peer, reply, 1, ask);
}

} // namespace

} // namespace korvane::bench

int main(int argc, char** argv)
{
    korvane::bench::peer peer;
    for (const std::size_t persons : {1U, 100U}) {
        korvane::bench::add_insert(persons, peer);
    }
    for (const std::size_t records : {10U, 100U, 1'000U}) {
        korvane::bench::add_query(records, peer);
    }
    return korvane::bench::run_pairs(argc, argv);
}
