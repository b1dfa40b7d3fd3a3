#include "Platform/Ostra/OstraAtomics.h"

#include <gtest/gtest.h>

namespace {

TEST(OstraAtomics, giveTheNewValueAndTheOldWhereNamedSo)
{
    int32_t word32 = INT32_MAX;
    EXPECT_EQ(TavAtomicIncrement32(&word32), INT32_MIN);
    EXPECT_EQ(TavAtomicDecrement32(&word32), INT32_MAX);
    EXPECT_EQ(TavAtomicAdd32(-INT32_MAX + 5, &word32), 5);
    uint32_t bits = 0xF0;
    EXPECT_EQ(TavAtomicBitXor32(0xFF, &bits), 0x0Fu);
    EXPECT_EQ(TavAtomicBitOr32Orig(0x30, &bits), 0x0Fu);
    EXPECT_EQ(bits, 0x3Fu);

    EXPECT_FALSE(TavAtomicCompareAndSwap32(6, 9, &word32));
    EXPECT_EQ(word32, 5);
    EXPECT_TRUE(TavAtomicCompareAndSwap32(5, 9, &word32));
    EXPECT_EQ(word32, 9);
    void* pointer = nullptr;
    EXPECT_TRUE(TavAtomicCompareAndSwapPtr(nullptr, &word32, &pointer));
    EXPECT_FALSE(TavAtomicCompareAndSwapPtr(nullptr, &bits, &pointer));
    EXPECT_EQ(pointer, &word32);
}

}  // namespace
