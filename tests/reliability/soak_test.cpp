// A host that runs for a long time: what a million inserts and a hundred thousand queries leave behind.
#include "tests/reliability/answering_store.h"
#include "tests/reliability/sample_calls.h"
#include "tests/reliability/test_length.h"
#include "tests/support/files.h"
#include "tests/support/heap.h"
#include "tests/support/sandbox_test.h"

#include <json-c/json.h>
#include <malloc.h>
#include <unistd.h>

#include <functional>
#include <sstream>

namespace korvane::test {

namespace {

struct process_state {
    long long blocks;     ///< of the heap
    long long heap_bytes; ///< in use
    long long resident_bytes;
    int descriptors;
};

process_state state_now()
{
    const struct mallinfo2 heap = mallinfo2();
    std::istringstream pages(read_file("/proc/self/statm"));
    long long all = 0;
    long long resident = 0;
    pages >> all >> resident;
    return {heap_blocks_of_this_thread(), static_cast<long long>(heap.uordblks + heap.hblkhd),
            resident * sysconf(_SC_PAGESIZE), open_descriptors()};
}

/// What happened between two states.
process_state operator-(const process_state& after, const process_state& before)
{
    return {after.blocks - before.blocks, after.heap_bytes - before.heap_bytes,
            after.resident_bytes - before.resident_bytes, after.descriptors - before.descriptors};
}

/// Runs `work` `count` times, and tells how far it is.
void repeat(const char* what, int count, const std::function<void(int)>& work)
{
    const auto start = std::chrono::steady_clock::now();
    const int tenth = std::max(count / 10, 1);
    for (int i = 0; i < count; ++i) {
        work(i);
        if (long_form() && (i + 1) % tenth == 0) {
            const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
            std::printf("%s: %d of %d, %.0f a second, %lld KiB resident\n", what, i + 1, count,
                        (i + 1) / took.count(), state_now().resident_bytes / 1024);
            std::fflush(stdout);
        }
    }
}

void print(const char* what, int count, const process_state& growth)
{
    std::printf("%d %s: %+lld blocks and %+lld bytes of the heap, %+lld KiB resident, %+d descriptors\n",
                count, what, growth.blocks, growth.heap_bytes, growth.resident_bytes / 1024,
                growth.descriptors);
}

using entry = sample_call::entry;

std::vector<sample_call> calls_where(const std::function<bool(const sample_call&)>& wanted)
{
    std::vector<sample_call> calls;
    std::copy_if(sample_calls().begin(), sample_calls().end(), std::back_inserter(calls), wanted);
    return calls;
}

/// Calls one after the other, `count` in all. Only successful calls are counted on.
void call_in_turn(const char* what, const std::vector<sample_call>& calls, int count)
{
    const entry_points library = linked_entry_points();
    int failures = 0;
    repeat(what, count, [&](int i) {
        const sample_call& call = calls[static_cast<std::size_t>(i) % calls.size()];
        failures += make_call(library, call, i % 90'000'000).code != 0;
    });
    EXPECT_EQ(failures, 0);
}

/// What the bytes may differ by with the same number of blocks: some are a little larger than asked for, because the rest
/// would have been too small for another, and the heap keeps some at hand. It levels out after some ten thousand calls.
constexpr long long heap_noise = 64 << 10;
constexpr long long page_noise = 1 << 20; // what the resident memory may differ by with the heap unchanged

class reliability_soak : public sandbox_test {
protected:
    const answering_process store_;
};

TEST_F(reliability_soak, of_inserts_leaves_nothing)
{
    const auto inserts = calls_where(
        [](const sample_call& c) { return c.where == entry::insert && c.lines == sample_call::log::silent; });
    ASSERT_EQ(inserts.size(), 4U);
    call_in_turn("first inserts", inserts, 1000);
    const int count = by_length(20'000, 1'000'000);
    const process_state before = state_now();
    call_in_turn("inserts", inserts, count);
    const process_state growth = state_now() - before;
    print("inserts", count, growth);
    EXPECT_EQ(growth.blocks, 0);
    EXPECT_LE(growth.heap_bytes, heap_noise);
    EXPECT_LE(growth.resident_bytes, page_noise);
    EXPECT_EQ(growth.descriptors, 0);
}

TEST_F(reliability_soak, of_calls_that_keep_no_request_leaves_nothing)
{
    const auto others = calls_where([](const sample_call& c) {
        return !c.keeps_request && c.where != entry::insert && c.name != std::string("unknown_kind");
    });
    ASSERT_EQ(others.size(), 6U);
    call_in_turn("first look-ups", others, 600);
    const int count = by_length(3000, 120'000);
    const process_state before = state_now();
    call_in_turn("look-ups", others, count);
    const process_state growth = state_now() - before;
    print("look-ups", count, growth);
    EXPECT_EQ(growth.blocks, 0);
    EXPECT_LE(growth.heap_bytes, heap_noise);
    EXPECT_LE(growth.resident_bytes, page_noise);
    EXPECT_EQ(growth.descriptors, 0);
}

TEST_F(reliability_soak, of_calls_that_fail_leaves_nothing)
{
    const auto failing = calls_where([](const sample_call& c) {
        return std::string("unknown_kind dotless_kind out_of_picture no_json").find(c.name) !=
               std::string::npos;
    });
    ASSERT_EQ(failing.size(), 4U);
    const auto fail_in_turn = [&](int count) {
        repeat("failures", count, [&](int i) {
            EXPECT_NE(
                make_call(linked_entry_points(), failing[static_cast<std::size_t>(i) % 4], i % 1000).code, 0);
        });
    };
    fail_in_turn(400);
    const int count = by_length(2000, 100'000);
    const process_state before = state_now();
    fail_in_turn(count);
    const process_state growth = state_now() - before;
    print("failures", count, growth);
    EXPECT_EQ(growth.blocks, 0);
    EXPECT_LE(growth.heap_bytes, heap_noise);
    EXPECT_LE(growth.resident_bytes, page_noise);
    EXPECT_EQ(growth.descriptors, 0);
}

/// Blocks and bytes of the request that `call` leaves, parsed here `count` times.
process_state parsed_requests(const sample_call& call, int count)
{
    const std::string text = text_of(call, 1);
    std::vector<json_object*> trees(static_cast<std::size_t>(count));
    const process_state before = state_now();
    for (json_object*& tree : trees) {
        tree = json_tokener_parse(text.c_str());
    }
    const process_state all = state_now() - before;
    for (json_object* tree : trees) {
        json_object_put(tree);
    }
    return all;
}

TEST_F(reliability_soak, of_queries_leaves_the_parsed_requests_and_nothing_else)
{
    const auto queries = calls_where([](const sample_call& c) { return c.keeps_request; });
    ASSERT_EQ(queries.size(), 4U);
    const int count = by_length(2000, 100'000);
    process_state kept{};
    for (const sample_call& call : queries) {
        const process_state one_kind = parsed_requests(call, count / 4);
        kept.blocks += one_kind.blocks;
        kept.heap_bytes += one_kind.heap_bytes;
    }
    call_in_turn("first queries", queries, 400);
    malloc_trim(0); // the pages of the trees above would hide those that are taken now
    const process_state before = state_now();
    call_in_turn("queries", queries, count);
    const process_state growth = state_now() - before;
    print("queries", count, growth);
    std::printf("%d kept requests, parsed here: %lld blocks and %lld bytes of the heap\n", count, kept.blocks,
                kept.heap_bytes);
    EXPECT_GT(kept.blocks, 4LL * count);
    EXPECT_EQ(growth.blocks, kept.blocks);
    EXPECT_NEAR(static_cast<double>(growth.heap_bytes), static_cast<double>(kept.heap_bytes),
                0.02 * static_cast<double>(kept.heap_bytes) + static_cast<double>(heap_noise));
    EXPECT_NEAR(static_cast<double>(growth.resident_bytes), static_cast<double>(growth.heap_bytes),
                0.05 * static_cast<double>(growth.heap_bytes) + static_cast<double>(page_noise));
    EXPECT_EQ(growth.descriptors, 0);
}

/// A text with `filters` besides the kind.
std::string question(const std::string& filters)
{
    return R"({"metadata":{"function_name":"HumanDetection","start_time":"0","end_time":"5")" + filters +
           "}}";
}

std::string channels(int count)
{
    std::string list = R"(,"channel_guid_list":[)";
    for (int i = 0; i < count; ++i) {
        list += (i > 0 ? ",\"" : "\"") + std::string(32, 'c') + '"';
    }
    return list + "]";
}

/// How large the one block that a successful query keeps is, by the query's text. A number that the library asks for as
/// text holds that text, too.
TEST_F(reliability_soak, measures_what_a_query_keeps)
{
    const std::string as_text =
        R"(,"x1":"0.1","y1":"0.2","x2":"0.9","y2":"0.2","x3":"0.9","y3":"0.8","x4":"0.1","y4":"0.8")";
    const std::string as_numbers =
        R"(,"x1":0.1,"y1":0.2,"x2":0.9,"y2":0.2,"x3":0.9,"y3":0.8,"x4":0.1,"y4":0.8)";
    const struct {
        const char* what;
        std::string filters;
        int blocks_of_texts; ///< for numbers asked for as texts
    } cases[] = {
        {"two times", "", 0},
        {"two times, an area as texts", as_text, 0},
        {"two times, an area as numbers", as_numbers, 16},
        {"two times, 1 channel", channels(1), 0},
        {"two times, 10 channels", channels(10), 0},
        {"two times, 50 channels", channels(50), 0},
    };
    constexpr int count = 500;
    for (const auto& c : cases) {
        const std::string text = question(c.filters);
        const sample_call call{"", entry::query, text.c_str(), sample_call::log::silent, true};
        const process_state tree = parsed_requests(call, count);
        call_in_turn("", {call}, 100);
        const process_state before = state_now();
        call_in_turn("", {call}, count);
        const process_state kept = state_now() - before;
        std::printf("%-30s text of %4zu bytes: keeps %5.0f bytes in %3.0f blocks\n", c.what, text.size(),
                    static_cast<double>(kept.heap_bytes) / count, static_cast<double>(kept.blocks) / count);
        EXPECT_EQ(kept.blocks, tree.blocks + count * c.blocks_of_texts) << c.what;
    }
}

} // namespace

} // namespace korvane::test
