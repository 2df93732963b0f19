#include "base/MemoryPolicy.h"

namespace MemoryPolicy {

void keepFreedMemory()
{
    // The system allocator keeps freed regions in its per-core magazines and
    // gives them back only under memory pressure: there is nothing to ask.
}

} // namespace MemoryPolicy
