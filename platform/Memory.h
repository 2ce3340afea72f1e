#pragma once

// The process's memory, given back to the system where the allocator would keep it.
//
// Every lock makes its pictures anew (the background and the cover windows' pictures, several
// megabytes each) and frees them when it ends. glibc raises its mmap threshold after the first
// such buffer is freed and from then on serves them from the heap, where the free pages between
// live blocks stay resident for as long as the program runs.
namespace Memory {
// At start, before anything is allocated: large buffers each get a mapping of their own, given
// back whole when they are freed.
void keepLargeBuffersMapped();
// After a lock has ended: the heap's free pages are returned (malloc_trim).
void releaseFreePages();
} // namespace Memory
