#include "base/MemoryPolicy.h"

#include <malloc.h>

namespace MemoryPolicy {

void keepFreedMemory()
{
    // Setting either one turns off the C library's own adjustment of the
    // other, so both are set. A refusal (another allocator in the process,
    // as under a sanitizer) leaves its defaults, which only cost time.
    mallopt(M_MMAP_THRESHOLD, static_cast<int>(ownMappingBytes));
    mallopt(M_TRIM_THRESHOLD, static_cast<int>(keptFreeBytes));
}

} // namespace MemoryPolicy
