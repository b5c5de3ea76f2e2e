// How much of the heap a piece of work holds at most. Linked into a program, it puts a count around malloc.
#pragma once

#include <cstddef>

namespace korvane::bench {

/// Begins to count at 0.
void start_heap_count();

/// Ends the count and gives the most bytes that were held at one time, beyond those from before the start.
std::size_t stop_heap_count();

template <class Work>
std::size_t heap_peak_of(Work work)
{
    start_heap_count();
    work();
    return stop_heap_count();
}

} // namespace korvane::bench
