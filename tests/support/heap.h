// The heap as the calling thread uses it: counted, and made to fail. Linked into a program, this stands in front of the C
// library's allocation functions; operator new, strdup and the like come through here too. What other threads do is neither
// counted nor hindered.
#pragma once

#include <cstddef>

namespace korvane::test {

/// Under AddressSanitizer or ThreadSanitizer nothing below has an effect, and every count is 0: their allocators cannot be
/// stood in front of.
bool heap_is_watched();

/// Blocks that the calling thread has taken less those it has given back, since it began.
long long heap_blocks_of_this_thread();

/// Blocks that the calling thread has taken since it began; one that grows counts once.
long long heap_blocks_taken();

/// Begins to follow how many bytes the calling thread holds.
void start_heap_peak();

/// Ends that; the most that it held at one time, beyond what it held at the start.
std::size_t heap_peak();

template <class Work>
std::size_t heap_peak_of(Work work)
{
    start_heap_peak();
    work();
    return heap_peak();
}

/// Which of the calling thread's allocations fail, as if there were no memory: null, and errno is ENOMEM.
struct failing_allocations {
    std::size_t number = 0;      ///< the first to fail, counted from 1; 0: none
    bool all_from_there = false; ///< and every later one
    std::size_t size_from = 0;   ///< only blocks of at least so many bytes are counted, and fail

    /// Called at each failure; may not allocate.
    void (*at_failure)(std::size_t size) = nullptr;
};

void fail_allocations(const failing_allocations& which);

/// Ends it, and says how many failed.
std::size_t stop_failing_allocations();

/// From now on the calling thread's new blocks and those it gives back are filled with bytes that make bad texts, numbers
/// and pointers: what is read before it was written, or after it was given back, shows.
void spoil_heap_blocks();

} // namespace korvane::test
