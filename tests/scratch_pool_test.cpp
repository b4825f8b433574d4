#include "inprocess/ScratchPool.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(ScratchPool, AGivenBackBlockIsLentAgainOnlyForItsOwnSize) {
    ScratchPool pool;
    void* a = pool.allocateBlock(4096);
    void* b = pool.allocateBlock(4096);
    ASSERT_TRUE(a && b);
    EXPECT_NE(a, b);
    std::memset(a, 1, 4096);
    pool.releaseBlock(a);
    pool.releaseBlock(nullptr);
    void* c = pool.allocateBlock(100);
    EXPECT_NE(c, a) << "another size takes a block of its own";
    EXPECT_EQ(pool.allocateBlock(4096), a);
    pool.releaseBlock(a);
    pool.releaseBlock(a); // once only
    pool.releaseBlock(b);
    pool.releaseBlock(c);
    EXPECT_EQ(pool.idleBlocks(), 3u);
    EXPECT_NE(pool.allocateBlock(0), nullptr);
}

// Frame-sized blocks, taken in whole huge pages, hold all their bytes and come back the same.
TEST(ScratchPool, FrameSizedBlocksAreWholeAndLentAgain) {
    ScratchPool pool;
    std::size_t const size = 1920u * 1080u * 16u + 12345u;
    auto* a = static_cast<unsigned char*>(pool.allocateBlock(size));
    ASSERT_NE(a, nullptr);
    std::memset(a, 7, size);
    EXPECT_EQ(a[size - 1] + a[0], 14);
    pool.releaseBlock(a);
    EXPECT_EQ(pool.allocateBlock(size), a);
    EXPECT_NE(pool.allocateBlock(size), a);
}

} // namespace
