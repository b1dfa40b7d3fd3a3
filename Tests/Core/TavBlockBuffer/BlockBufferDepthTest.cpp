// Nesting a million deep, on a thread whose stack would not hold a fraction of it.

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "Core/TavBlockBuffer/TavBlockBuffer.h"
#include "Foundation/Objects/ZoRef.h"
#include "Utilities/TavBlockBufferUtilities.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
static constexpr size_t kDepth = 200000;
#else
static constexpr size_t kDepth = 1000000;
#endif

static void onSmallStack(std::function<void()> body)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread;
    const auto run = [](void* opaque) -> void* {
        (*static_cast<std::function<void()>*>(opaque))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

// Each buffer refers to the one before, and has a byte of `bytes` in front of it or behind it, or none.
enum class Own { nothing, front, behind };
static ZoRef<LuBlockBufferRef> nest(size_t depth, Own own, uint8_t* bytes)
{
    ZoRef<LuBlockBufferRef> inner;
    LuBlockBufferCreateWithMemoryBlock(nullptr, bytes, 1, kZoAllocatorNull, nullptr, 0, 1, 0, inner.outParam());
    for (size_t i = 1; i < depth; ++i) {
        ZoRef<LuBlockBufferRef> outer;
        LuBlockBufferCreateEmpty(nullptr, 2, 0, outer.outParam());
        const auto appendByte = [&] {
            return LuBlockBufferAppendMemoryBlock(outer.get(), bytes + i, 1, kZoAllocatorNull, nullptr, 0, 1, 0);
        };
        EXPECT_EQ(own == Own::front ? appendByte() : 0, 0);
        EXPECT_EQ(
            LuBlockBufferAppendBufferReference(outer.get(), inner.get(), 0, 0, kLuBlockBufferDontOptimizeDepthFlag), 0);
        EXPECT_EQ(own == Own::behind ? appendByte() : 0, 0);
        inner = std::move(outer);
    }
    return inner;
}

class BlockBufferDepth : public ::testing::TestWithParam<Own> {};

TEST_P(BlockBufferDepth, isReadAssuredReferredToAndReleasedOnASmallStack)
{
    onSmallStack([] {
        std::vector<uint8_t> bytes(kDepth);
        for (size_t i = 0; i < kDepth; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + i / 251);
        ZoRef<LuBlockBufferRef> top = nest(kDepth, GetParam(), bytes.data());
        std::vector<uint8_t> expected = bytes;
        if (GetParam() == Own::nothing) expected.resize(1);
        if (GetParam() == Own::front) std::reverse(expected.begin(), expected.end());

        ASSERT_EQ(LuBlockBufferGetDataLength(top.get()), expected.size());
        std::vector<uint8_t> copied(expected.size());
        ASSERT_EQ(LuBlockBufferCopyDataBytes(top.get(), 0, copied.size(), copied.data()), 0);
        EXPECT_EQ(copied, expected);
        EXPECT_EQ(LuBlockBufferAssureBlockMemory(top.get()), 0);

        ZoRef<LuBlockBufferRef> reference;
        ASSERT_EQ(LuBlockBufferCreateWithBufferReference(nullptr, top.get(), 0, 0, 0, reference.outParam()), 0);
        EXPECT_EQ(TavBlockBufferCompare(top.get(), reference.get()), 0);
        const ZoRef<ZoStringRef> description = zoAdopt(ZoCopyDescription(top.get()));
        top.reset();
        reference.reset();
    });
}
INSTANTIATE_TEST_SUITE_P(
    All, BlockBufferDepth, ::testing::Values(Own::nothing, Own::front, Own::behind), [](const auto& own) {
        return std::string(own.param == Own::nothing ? "nothing" : own.param == Own::front ? "front" : "behind");
    });

// Buffers that refer to themselves, or to each other in a circle: no data, but an answer.
TEST(BlockBufferCircle, hasNoDataAndDoesNotHang)
{
    // A circle keeps itself alive, as a buffer only grows.
    static LuBlockBufferRef self;
    ASSERT_EQ(LuBlockBufferCreateEmpty(nullptr, 4, 0, &self), 0);
    ASSERT_EQ(LuBlockBufferAppendBufferReference(self, self, 3, SIZE_MAX / 4, kLuBlockBufferPermitEmptyReferenceFlag),
              0);
    char byte = 0;
    EXPECT_EQ(LuBlockBufferCopyDataBytes(self, 0, 1, &byte), kTavBlockBufferBadOffsetParameterErr);
    EXPECT_EQ(LuBlockBufferAssureBlockMemory(self), 0);
    LuBlockBufferRef other = nullptr;
    EXPECT_EQ(LuBlockBufferCreateWithBufferReference(nullptr, self, 0, 0, 0, &other), 0);
    EXPECT_TRUE(LuBlockBufferIsEmpty(other));
    TavBlockBufferRelease(other);
}
