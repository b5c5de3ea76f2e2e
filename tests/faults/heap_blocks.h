// How many blocks of the heap a thread has taken and not given back. Linked into a program, it counts behind malloc.
#pragma once

namespace korvane::test {

/// Blocks that the calling thread has taken less those it has given back, since it began. Under a sanitizer always 0: its
/// allocator cannot be stood in front of, and LeakSanitizer looks for what is left behind.
long long heap_blocks_of_this_thread();

/// The next blocks of at least this many bytes cannot be had by the calling thread; 0 lifts the limit. Nothing under a sanitizer.
void refuse_blocks_from(unsigned long size);

} // namespace korvane::test
