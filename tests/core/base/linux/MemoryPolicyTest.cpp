// Freed memory is kept for reuse instead of being handed back to the kernel
// and faulted in afresh. Run in a process of its own: the policy holds for
// the whole process.

#include "base/MemoryPolicy.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <malloc.h>
#include <vector>

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool sanitizerAllocator = true;
#else
constexpr bool sanitizerAllocator = false;
#endif

class MemoryPolicyTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (sanitizerAllocator) {
            GTEST_SKIP() << "the address sanitizer's allocator replaces the C library's, whose policy this checks";
        }
        MemoryPolicy::keepFreedMemory();
    }
};

} // namespace

TEST_F(MemoryPolicyTest, AMegabyteFreedAtTheTopOfTheHeapIsKeptForTheNextAllocations)
{
    // What closing a large map leaves behind: a thousand blocks freed
    // together, each merged with the free space at the top of the heap.
    // (Blocks of 2 KiB: the allocator keeps smaller ones in caches of its
    // own that are never given back.)
    std::vector<void*> blocks;
    for (int n = 0; n < 1024; ++n) {
        blocks.push_back(std::malloc(2048));
    }
    for (auto block = blocks.rbegin(); block != blocks.rend(); ++block) {
        std::free(*block);
    }
    // The C library's own default gives back everything above 128 KiB.
    EXPECT_GE(mallinfo2().keepcost, 1024U * 1024U);
}

TEST_F(MemoryPolicyTest, ABlockBelowAMegabyteComesFromTheHeapNotAMappingOfItsOwn)
{
    const size_t mappedBefore = mallinfo2().hblkhd;
    void* block = std::malloc(MemoryPolicy::ownMappingBytes / 2);
    const size_t mappedWith = mallinfo2().hblkhd;
    std::free(block);
    // The C library's own default maps blocks from 128 KiB on until it has
    // seen one freed.
    EXPECT_EQ(mappedWith, mappedBefore);
}

TEST_F(MemoryPolicyTest, ABlockOfAMegabyteOrMoreIsMappedOnItsOwnAndGivenBackWhenFreed)
{
    const size_t mappedBefore = mallinfo2().hblkhd;
    void* block = std::malloc(MemoryPolicy::ownMappingBytes * 2);
    EXPECT_GE(mallinfo2().hblkhd, mappedBefore + MemoryPolicy::ownMappingBytes * 2);
    std::free(block);
    EXPECT_EQ(mallinfo2().hblkhd, mappedBefore);
}
