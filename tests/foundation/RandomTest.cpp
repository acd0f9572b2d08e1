// Tests of SecureRandom32: numbers that do not repeat and use every bit.
#include "foundation/Random.h"

#include <set>

#include <gtest/gtest.h>

TEST(RandomTest, NumbersDoNotRepeat) {
    constexpr int kDraws = 2000;
    std::set<uint32_t> seen;
    for (int i = 0; i < kDraws; ++i) seen.insert(SecureRandom32());
    // 2000 draws from 2^32 values collide with a chance below one in a thousand.
    EXPECT_GE(seen.size(), static_cast<std::size_t>(kDraws - 1));
}

TEST(RandomTest, EveryBitTakesBothValues) {
    uint32_t anySet = 0;
    uint32_t allSet = 0xFFFFFFFFu;
    for (int i = 0; i < 200; ++i) {
        uint32_t value = SecureRandom32();
        anySet |= value;
        allSet &= value;
    }
    EXPECT_EQ(anySet, 0xFFFFFFFFu);
    EXPECT_EQ(allSet, 0u);
}
