#include "tests/support/heap.h"

#include "tests/support/sanitized.h"

#if defined(KORVANE_ADDRESS_SANITIZER) || defined(KORVANE_THREAD_SANITIZER)

namespace korvane::test {

bool heap_is_watched()
{
    return false;
}

long long heap_blocks_of_this_thread()
{
    return 0;
}

long long heap_blocks_taken()
{
    return 0;
}

void start_heap_peak() {}

std::size_t heap_peak()
{
    return 0;
}

void fail_allocations(const failing_allocations& /*which*/) {}

std::size_t stop_failing_allocations()
{
    return 0;
}

void spoil_heap_blocks() {}

} // namespace korvane::test

#else

#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

// The C library's own, which the definitions below stand in front of.
extern "C" {
void* __libc_malloc(std::size_t size) noexcept;                    // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(std::size_t count, std::size_t size) noexcept; // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* block, std::size_t size) noexcept;      // NOLINT(bugprone-reserved-identifier)
void* __libc_memalign(std::size_t alignment,
                      std::size_t size) noexcept; // NOLINT(bugprone-reserved-identifier)
void __libc_free(void* block) noexcept;           // NOLINT(bugprone-reserved-identifier)
}

namespace korvane::test {

namespace {

struct heap_account {
    long long blocks;
    long long taken;
    bool following; ///< the bytes, too
    long long bytes;
    long long peak;
    std::size_t counted; ///< allocations since the order to fail
    std::size_t failed;
    failing_allocations failing;
    bool spoiling;
};

thread_local heap_account account{};

constexpr int spoilt_new = 0xa5;
constexpr int spoilt_old = 0x5a;

long long size_of(void* block)
{
    return block ? static_cast<long long>(malloc_usable_size(block)) : 0;
}

bool fails(std::size_t size)
{
    const failing_allocations& failing = account.failing;
    if (failing.number == 0 || size < failing.size_from) {
        return false;
    }
    const std::size_t number = ++account.counted;
    if (number != failing.number && !(failing.all_from_there && number > failing.number)) {
        return false;
    }
    ++account.failed;
    if (failing.at_failure) {
        failing.at_failure(size);
    }
    errno = ENOMEM;
    return true;
}

void count_bytes(long long change)
{
    account.bytes += change;
    account.peak = std::max(account.peak, account.bytes);
}

void* counted(void* block)
{
    if (block) {
        ++account.blocks;
        ++account.taken;
        if (account.following) {
            count_bytes(size_of(block));
        }
    }
    return block;
}

void* counted_new(void* block)
{
    if (block && account.spoiling) {
        std::memset(block, spoilt_new, malloc_usable_size(block));
    }
    return counted(block);
}

void* resized(void* block, std::size_t size)
{
    const bool sized = account.following || account.spoiling;
    const long long before = sized ? size_of(block) : 0;
    void* moved = __libc_realloc(block, size);
    if (moved == nullptr && size != 0) {
        return nullptr;
    }
    account.blocks += (moved != nullptr) - (block != nullptr);
    account.taken += moved != nullptr && block == nullptr;
    const long long after = sized ? size_of(moved) : 0;
    if (account.following) {
        count_bytes(after - before);
    }
    if (account.spoiling && after > before) {
        std::memset(static_cast<char*>(moved) + before, spoilt_new, static_cast<std::size_t>(after - before));
    }
    return moved;
}

void* aligned(std::size_t alignment, std::size_t size)
{
    return fails(size) ? nullptr : counted_new(__libc_memalign(alignment, size));
}

} // namespace

bool heap_is_watched()
{
    return true;
}

long long heap_blocks_of_this_thread()
{
    return account.blocks;
}

long long heap_blocks_taken()
{
    return account.taken;
}

void start_heap_peak()
{
    account.bytes = 0;
    account.peak = 0;
    account.following = true;
}

std::size_t heap_peak()
{
    account.following = false;
    return static_cast<std::size_t>(account.peak);
}

void fail_allocations(const failing_allocations& which)
{
    account.counted = 0;
    account.failed = 0;
    account.failing = which;
}

std::size_t stop_failing_allocations()
{
    account.failing = {};
    return account.failed;
}

void spoil_heap_blocks()
{
    account.spoiling = true;
}

} // namespace korvane::test

using namespace korvane::test;

extern "C" {

void* malloc(std::size_t size) noexcept
{
    return fails(size) ? nullptr : counted_new(__libc_malloc(size));
}

void* calloc(std::size_t number, std::size_t size) noexcept
{
    return fails(number * size) ? nullptr : counted(__libc_calloc(number, size));
}

void* realloc(void* block, std::size_t size) noexcept
{
    return size != 0 && fails(size) ? nullptr : resized(block, size);
}

void* memalign(std::size_t alignment, std::size_t size) noexcept
{
    return aligned(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return aligned(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept
{
    const int caller_errno = errno;
    void* made = aligned(alignment, size);
    errno = caller_errno;
    if (made == nullptr) {
        return ENOMEM;
    }
    *block = made;
    return 0;
}

void free(void* block) noexcept
{
    if (block) {
        --account.blocks;
        if (account.following) {
            count_bytes(-size_of(block));
        }
        if (account.spoiling) {
            std::memset(block, spoilt_old, malloc_usable_size(block));
        }
    }
    __libc_free(block);
}
}

#endif
