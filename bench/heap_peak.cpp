#include "bench/heap_peak.h"

#include <malloc.h>

#include <algorithm>

// The C library's own, which the definitions below stand in front of.
extern "C" {
void* __libc_malloc(std::size_t size) noexcept;                    // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(std::size_t count, std::size_t size) noexcept; // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* block, std::size_t size) noexcept;      // NOLINT(bugprone-reserved-identifier)
void __libc_free(void* block) noexcept;                            // NOLINT(bugprone-reserved-identifier)
}

namespace korvane::bench {

namespace {

// The thread that counts is the only one at work.
bool counting = false;
long long held = 0;
long long peak = 0;

long long size_of(void* block)
{
    return block ? static_cast<long long>(malloc_usable_size(block)) : 0;
}

void count(long long change)
{
    held += change;
    peak = std::max(peak, held);
}

} // namespace

void start_heap_count()
{
    held = 0;
    peak = 0;
    counting = true;
}

std::size_t stop_heap_count()
{
    counting = false;
    return static_cast<std::size_t>(peak);
}

} // namespace korvane::bench

using namespace korvane::bench;

extern "C" {

void* malloc(std::size_t size) noexcept
{
    void* block = __libc_malloc(size);
    if (counting) {
        count(size_of(block));
    }
    return block;
}

void* calloc(std::size_t number, std::size_t size) noexcept
{
    void* block = __libc_calloc(number, size);
    if (counting) {
        count(size_of(block));
    }
    return block;
}

void* realloc(void* block, std::size_t size) noexcept
{
    const long long before = counting ? size_of(block) : 0;
    void* moved = __libc_realloc(block, size);
    if (counting && (moved != nullptr || size == 0)) {
        count(size_of(moved) - before);
    }
    return moved;
}

void free(void* block) noexcept
{
    if (counting) {
        count(-size_of(block));
    }
    __libc_free(block);
}
}
