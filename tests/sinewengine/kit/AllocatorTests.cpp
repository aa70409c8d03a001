// SPDX-License-Identifier: MIT
// Alignment, zero fill, spare room and hooks of the engine's allocator.
#include <sinew/IKSolver.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

using namespace Sinew;

std::size_t askedSize, askedAlignment, blocks;

void* dirtyAllocate(std::size_t size, std::size_t alignment)
{
    askedSize = size;
    askedAlignment = alignment;
    ++blocks;
    void* block = std::aligned_alloc(alignment, size);
    return block ? std::memset(block, 0xAB, size) : nullptr;
}
void countedFree(void* block)
{
    --blocks;
    std::free(block);
}

void checkBlock(std::size_t size, std::size_t alignment)
{
    // More room than asked for: size plus alignment, rounded down.
    const std::size_t a = std::max<std::size_t>(alignment, 8), room = (size + a) / a * a;
    auto* block = static_cast<unsigned char*>(alignedAlloc(size, alignment));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % a, 0u) << size << ' ' << alignment;
    for (std::size_t i = 0; i < room; ++i)
        ASSERT_EQ(block[i], 0) << "byte " << i << " of " << size << " at " << alignment;
    std::memset(block, 0xCD, room); // the whole room is ours: sanitizers watch
    alignedFree(block);
}

void checkBlocks()
{
    for (const std::size_t alignment : {0u, 1u, 8u, 16u, 64u, 128u, 4096u})
        for (const std::size_t size : {0u, 1u, 7u, 8u, 127u, 128u, 1000u, 5000u})
            checkBlock(size, alignment);
}

// Blocks of the functions in force now and of hooks installed by tests don't mix: no test leaves one behind.

TEST(Allocator, GivesAlignedZeroedBlocksWithSpareRoom)
{
    for (int repeat = 0; repeat < 3; ++repeat) // memory that was written and freed before
        checkBlocks();
    alignedFree(nullptr);
}

TEST(Allocator, ZeroesWhatItsHooksReturnAndRoutesEverythingThroughThem)
{
    setAllocator(dirtyAllocate, countedFree);
    setAllocator(nullptr, std::free); // ignored
    setAllocator(std::aligned_alloc, nullptr);
    checkBlocks();
    alignedFree(alignedAlloc(100, 128));
    EXPECT_EQ(askedSize, 128u);
    EXPECT_EQ(askedAlignment, 128u);
    alignedFree(alignedAlloc(128, 16));
    EXPECT_EQ(askedSize, 144u);

    BoneDescriptor bones[2];
    bones[0].name = "root";
    bones[1].name = "tip";
    bones[1].parent_name = "root";
    bones[1].rest_translation[1] = 1.0f;
    {
        IKSolver solver;
        solver.setBones(bones, 2);
        solver.addPositionTask("tip")->setTarget(0.5f, 0.5f, 0);
        solver.addOrientationTask("tip");
        solver.addBalanceTask(1, true, true);
        solver.solve(10);
        EXPECT_GT(blocks, 10u);
    }
    EXPECT_EQ(blocks, 0u) << "engine blocks that were never freed";
}

} // namespace
