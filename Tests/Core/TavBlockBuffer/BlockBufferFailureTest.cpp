// Every allocation made to fail, one after the other: a status, nothing leaked, and the buffer as it was.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "Foundation/Objects/ZoRef.h"
#include "Tests/Core/TavBlockBuffer/BlockSource.h"
#include "Tests/Support/FailingAllocator.h"
#include "Utilities/TavBlockBufferUtilities.h"

using namespace luvia_test;
using Buffer = ZoRef<LuBlockBufferRef>;

static std::string dumpOf(LuBlockBufferRef buffer)
{
    std::string dump = std::to_string(LuBlockBufferGetDataLength(buffer)) + "\n";
    const auto append = [](void* context, const char* line) {
        if (line) *static_cast<std::string*>(context) += std::string(line) + "\n";
        return 0;
    };
    TavBlockBufferHexDumpWithEmitter(buffer, 0, 0, 0, 0, kTavBlockBufferHexDump_MarkSubBlocks, append, &dump);
    return dump;
}

// Builds a buffer by everything that allocates; false at the first failure.
static bool build(FailingAllocator& memory, LuBlockBufferRef buffer, LuBlockBufferRef references)
{
    const LuBlockBufferCustomBlockSource source = sourceFrom(memory.get());
    Buffer custom;
    const auto holds = [&](const std::function<OSStatus()>& append) {
        const std::string before = dumpOf(buffer);
        const OSStatus status = append();
        if (status == 0) return true;
        EXPECT_TRUE(status == kTavBlockBufferStructureAllocationFailedErr ||
                    status == kTavBlockBufferBlockAllocationFailedErr)
            << status;
        EXPECT_EQ(dumpOf(buffer), before);
        return false;
    };
    const auto now = kLuBlockBufferAssureMemoryNowFlag;
    return holds(
               [&] { return LuBlockBufferAppendMemoryBlock(buffer, nullptr, 5, memory.get(), nullptr, 0, 5, now); }) &&
           holds([&] { return LuBlockBufferAppendMemoryBlock(buffer, nullptr, 6, nullptr, &source, 0, 6, now); }) &&
           holds([&] { return LuBlockBufferAppendBufferReference(buffer, references, 0, 0, 0); }) &&
           holds([&] { return LuBlockBufferAppendMemoryBlock(buffer, nullptr, 7, nullptr, &source, 0, 7, 0); }) &&
           holds([&] { return LuBlockBufferAppendBufferReference(buffer, references, 1, 0, 0); }) &&
           holds([&] { return TavBlockBufferAppendBytes(buffer, "loose bytes", 11); }) &&
           // Stops at a block that cannot be had; those before it stay.
           LuBlockBufferAssureBlockMemory(buffer) == 0 &&
           LuBlockBufferCreateContiguous(memory.get(), buffer, nullptr, &source, 0, 0, 0, custom.outParam()) == 0;
}

TEST(BlockBufferFailure, leavesTheBufferAsItWasAtEveryAllocation)
{
    // References to different buffers, so that flattening them opens a chain half-way, and makes it one of many tables.
    std::string text = "0123456789abcdefghij";
    Buffer references;
    ASSERT_EQ(LuBlockBufferCreateEmpty(nullptr, 5, 0, references.outParam()), 0);
    for (size_t i = 0; i < text.size(); ++i) {
        Buffer target;
        ASSERT_EQ(LuBlockBufferCreateWithMemoryBlock(nullptr, &text[i], 1, kZoAllocatorNull, nullptr, 0, 1, 0,
                                                     target.outParam()),
                  0);
        ASSERT_EQ(LuBlockBufferAppendBufferReference(references.get(), target.get(), 0, 0, 0), 0);
    }
    const int64_t failures = sweepAllocationFailures([&](FailingAllocator& memory) {
        Buffer buffer;
        const bool done = LuBlockBufferCreateEmpty(memory.get(), 1, 0, buffer.outParam()) == 0 &&
                          build(memory, buffer.get(), references.get());
        EXPECT_NE(done, memory.hasFailed());
        if (!buffer) return;
        // One that failed can be gone on with.
        memory.failAt(0);
        EXPECT_EQ(LuBlockBufferAppendBufferReference(buffer.get(), references.get(), 0, 0, 0), 0);
        std::string copied(20, '?');
        const size_t length = LuBlockBufferGetDataLength(buffer.get());
        EXPECT_EQ(LuBlockBufferCopyDataBytes(buffer.get(), length - 20, 20, copied.data()), 0);
        EXPECT_EQ(copied, text);
    });
    EXPECT_GT(failures, 15);
}
