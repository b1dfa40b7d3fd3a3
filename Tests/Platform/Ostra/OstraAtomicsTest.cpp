#include "Platform/Ostra/OstraAtomics.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

template <typename Work>
void onThreads(int count, Work work)
{
    std::vector<std::thread> threads;
    for (int index = 0; index < count; ++index) threads.emplace_back(work, index);
    for (std::thread& thread : threads) thread.join();
}

TEST(OstraAtomics, giveTheNewValueAndTheOldWhereNamedSo)
{
    int32_t word32 = INT32_MAX;
    EXPECT_EQ(TavAtomicIncrement32(&word32), INT32_MIN);
    EXPECT_EQ(TavAtomicDecrement32(&word32), INT32_MAX);
    EXPECT_EQ(TavAtomicAdd32(-INT32_MAX + 5, &word32), 5);
    int64_t word64 = UINT32_MAX;
    EXPECT_EQ(TavAtomicIncrement64(&word64), INT64_C(0x100000000));
    EXPECT_EQ(TavAtomicDecrement64(&word64), INT64_C(0xFFFFFFFF));

    uint32_t bits = 0xF0;
    EXPECT_EQ(TavAtomicBitOr32(0x0F, &bits), 0xFFu);
    EXPECT_EQ(TavAtomicBitAnd32(0x3C, &bits), 0x3Cu);
    EXPECT_EQ(TavAtomicBitXor32(0xFF, &bits), 0xC3u);
    EXPECT_EQ(TavAtomicBitOr32Orig(0x0C, &bits), 0xC3u);
    EXPECT_EQ(TavAtomicBitAnd32Orig(0xF0, &bits), 0xCFu);
    EXPECT_EQ(TavAtomicBitXor32Orig(0xFF, &bits), 0xC0u);
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

TEST(OstraAtomics, loseNoUpdateBetweenThreads)
{
    int32_t added = 0, swapped = 0;
    int64_t counted = 0;
    uint32_t toggled = 0;
    onThreads(4, [&](int index) {
        for (int turn = 0; turn < 10000; ++turn) {
            TavAtomicAdd32(index, &added);
            TavAtomicIncrement64(&counted);
            TavAtomicBitXor32(1u << index, &toggled);
            int32_t seen;
            do seen = TavAtomicAdd32(0, &swapped);
            while (!TavAtomicCompareAndSwap32(seen, seen + 1, &swapped));
        }
    });
    EXPECT_EQ(added, 60000);
    EXPECT_EQ(counted, 40000);
    EXPECT_EQ(swapped, 40000);
    EXPECT_EQ(toggled, 0u);
}

// Two threads that each raise a flag and then look at the other's: with full barriers at least one sees the other.
TEST(OstraAtomics, barriersOrderStoresBeforeLoads)
{
    for (int turn = 0; turn < 100; ++turn) {
        int32_t raised[2] = {}, saw[2] = {}, ready = 0;
        onThreads(2, [&](int index) {
            TavAtomicIncrement32(&ready);
            while (__atomic_load_n(&ready, __ATOMIC_RELAXED) < 2) std::this_thread::yield();
            __atomic_store_n(&raised[index], 1, __ATOMIC_RELAXED);
            TavMemoryBarrier();
            saw[index] = __atomic_load_n(&raised[1 - index], __ATOMIC_RELAXED);
        });
        ASSERT_TRUE(saw[0] || saw[1]) << "turn " << turn;
    }
}

}  // namespace
