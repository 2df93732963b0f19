#pragma once

#include <cstddef>

// How the program's freed memory is kept, set once at start by both
// programs (and by the benchmarks, so that they measure what the programs
// do).
//
// Left to itself, the C library on Linux hands memory back to the kernel as
// soon as a few hundred kilobytes lie free at the top of the heap, and the
// next allocation faults it in afresh, page by page. Saving a large tally
// map and opening it again frees and takes about a megabyte each time: half
// a millisecond of work took over three on a virtual machine, the rest page
// faults. Keeping a few megabytes of freed memory for reuse costs at most
// that much resident memory and saves the faults.
namespace MemoryPolicy {

// Freed memory the allocator keeps before giving any back, in bytes.
constexpr std::size_t keptFreeBytes = 4 * 1024 * 1024;
// Blocks this large and larger are mapped on their own and given back as
// soon as they are freed; smaller ones come from the heap and are reused.
constexpr std::size_t ownMappingBytes = 1024 * 1024;

// Asks the allocator to keep freed memory as above. Harmless to call more
// than once; where the allocator already keeps freed memory, nothing to do.
void keepFreedMemory();

} // namespace MemoryPolicy
