#include "tests/faults/heap_blocks.h"

#include "tests/faults/sanitized.h"

#include <cstddef>

#if defined(KORVANE_ADDRESS_SANITIZER) || defined(KORVANE_THREAD_SANITIZER)

long long korvane::test::heap_blocks_of_this_thread()
{
    return 0;
}

void korvane::test::refuse_blocks_from(unsigned long) {}

#else

#include <cerrno>

// The C library's own, which the definitions below stand in front of.
extern "C" {
void* __libc_malloc(std::size_t size) noexcept;                    // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(std::size_t count, std::size_t size) noexcept; // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* block, std::size_t size) noexcept;      // NOLINT(bugprone-reserved-identifier)
void __libc_free(void* block) noexcept;                            // NOLINT(bugprone-reserved-identifier)
}

namespace {

thread_local long long blocks = 0;
thread_local std::size_t refused_from = 0;

bool refused(std::size_t size)
{
    if (refused_from == 0 || size < refused_from) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

void* counted(void* block)
{
    blocks += block != nullptr;
    return block;
}

} // namespace

long long korvane::test::heap_blocks_of_this_thread()
{
    return blocks;
}

void korvane::test::refuse_blocks_from(unsigned long size)
{
    refused_from = size;
}

extern "C" {

void* malloc(std::size_t size) noexcept
{
    return refused(size) ? nullptr : counted(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) noexcept
{
    return counted(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) noexcept
{
    if (refused(size)) {
        return nullptr;
    }
    void* moved = __libc_realloc(block, size);
    blocks += block == nullptr && moved != nullptr;
    blocks -= block != nullptr && size == 0;
    return moved;
}

void free(void* block) noexcept
{
    blocks -= block != nullptr;
    __libc_free(block);
}
}

#endif
