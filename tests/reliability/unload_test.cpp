// A host that loads the library, calls it and unloads it, again and again. This program is not linked with it.
#include "tests/reliability/answering_store.h"
#include "tests/reliability/sample_calls.h"
#include "tests/reliability/test_length.h"
#include "tests/support/files.h"
#include "tests/support/heap.h"
#include "tests/support/sandbox_test.h"

#include <dlfcn.h>
#include <malloc.h>

#include <cstring>

namespace korvane::test {

namespace {

/// The library, from its loading to its unloading.
class loaded_library {
public:
    loaded_library()
        : handle_(dlopen(KORVANE_LIBRARY, RTLD_NOW | RTLD_LOCAL))
    {
        if (handle_ == nullptr) {
            throw std::runtime_error(dlerror());
        }
    }
    ~loaded_library() { dlclose(handle_); }
    loaded_library(const loaded_library&) = delete;
    loaded_library& operator=(const loaded_library&) = delete;

    void* handle() const { return handle_; }

private:
    void* handle_;
};

struct process_state {
    long long blocks;
    long long heap_bytes;
    long long mappings;
    int descriptors;
};

long long mappings()
{
    const std::string maps = read_file("/proc/self/maps");
    return std::count(maps.begin(), maps.end(), '\n');
}

process_state state_now()
{
    const struct mallinfo2 heap = mallinfo2();
    return {heap_blocks_of_this_thread(), static_cast<long long>(heap.uordblks + heap.hblkhd), mappings(),
            open_descriptors()};
}

bool is_loaded()
{
    return read_file("/proc/self/maps").find("libkorvane") != std::string::npos;
}

struct heap_use {
    long long blocks = 0;
    long long bytes = 0;
};

/// The parsed requests that all samples' successful queries keep on purpose, measured with the JSON library that
/// the library itself uses.
heap_use kept_by_one_round()
{
    const loaded_library library;
    void* (*parse)(const char*) = nullptr;
    void* found = dlsym(library.handle(), "json_tokener_parse");
    std::memcpy(&parse, &found, sizeof parse);
    heap_use kept;
    for (const sample_call& call : sample_calls()) {
        if (call.keeps_request) {
            const std::string text = text_of(call, 1);
            const process_state before = state_now();
            parse(text.c_str()); // never released: this is the measure
            const process_state after = state_now();
            kept.blocks += after.blocks - before.blocks;
            kept.bytes += after.heap_bytes - before.heap_bytes;
        }
    }
    return kept;
}

/// Loads, calls everything, unloads.
std::vector<call_result> one_round()
{
    const loaded_library library;
    return make_all_calls(entry_points_of(library.handle()), 1);
}

class reliability_unload : public sandbox_test {};

TEST_F(reliability_unload, a_thousand_times_leaves_nothing_but_the_kept_requests)
{
    ASSERT_FALSE(is_loaded());
    const answering_process store;
    const std::vector<call_result> expected = one_round();
    const heap_use kept = kept_by_one_round();
    ASSERT_GT(kept.blocks, 100);
    for (int i = 0; i < 50; ++i) {
        one_round(); // what the dynamic linker and the heap keep for the next time settles
    }
    const int rounds = by_length(1000, 5000);
    const process_state before = state_now();
    for (int i = 0; i < rounds; ++i) {
        ASSERT_EQ(differences(expected, one_round()), "") << "round " << i;
    }
    const process_state after = state_now();
    EXPECT_FALSE(is_loaded());
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_EQ(after.mappings, before.mappings);
    EXPECT_EQ(after.blocks - before.blocks, rounds * kept.blocks);
    // One parse alone takes the ends of larger blocks, too.
    EXPECT_LE(after.heap_bytes - before.heap_bytes, rounds * kept.bytes);
    std::printf(
        "%d rounds: a round leaves %.2f blocks, %.0f bytes; its kept requests are %lld blocks, %lld bytes\n",
        rounds, static_cast<double>(after.blocks - before.blocks) / rounds,
        static_cast<double>(after.heap_bytes - before.heap_bytes) / rounds, kept.blocks, kept.bytes);
}

} // namespace

} // namespace korvane::test
