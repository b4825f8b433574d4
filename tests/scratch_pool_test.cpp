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

} // namespace
