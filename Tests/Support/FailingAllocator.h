// An allocator that fails at the n-th call and knows how many of its blocks are alive.

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "Foundation/Objects/ZoAllocator.h"

namespace luvia_test {

/// Must outlive what is made with it. May be used from several threads.
class FailingAllocator {
public:
    /// `failAt` 1 fails the first call; 0 fails none.
    explicit FailingAllocator(int64_t failAt = 0) : failAt_(failAt)
    {
        ZoAllocatorContext context = {};
        context.info = this;
        context.allocate = allocate;
        context.reallocate = reallocate;
        context.deallocate = deallocate;
        allocator_ = ZoAllocatorCreate(nullptr, &context);
    }
    ~FailingAllocator()
    {
        EXPECT_EQ(ZoGetRetainCount(allocator_), 1) << "objects of this allocator are still alive";
        ZoRelease(allocator_);
    }
    FailingAllocator(const FailingAllocator&) = delete;
    FailingAllocator& operator=(const FailingAllocator&) = delete;

    ZoAllocatorRef get() const { return allocator_; }
    /// Fails the n-th call from now on; 0 fails none.
    void failAt(int64_t n) { failAt_ = n == 0 ? 0 : calls_ + n; }
    int64_t calls() const { return calls_; }
    int64_t liveBlocks() const { return liveBlocks_; }
    bool hasFailed() const { return hasFailed_; }
    /// A block with these bytes and a NUL, which counts as allocated here.
    char* lend(std::string_view bytes)
    {
        auto* block = static_cast<char*>(allocate(static_cast<ZoIndex>(bytes.size()) + 1, 0, this));
        if (block) *std::copy(bytes.begin(), bytes.end(), block) = 0;
        return block;
    }

private:
    // Kept in front of each block, so that memory of another allocator is noticed and sizes are known.
    struct alignas(16) Header {
        const FailingAllocator* owner;
        size_t size;
    };

    static void* allocate(ZoIndex size, ZoOptionFlags, void* info)
    {
        auto* self = static_cast<FailingAllocator*>(info);
        if (++self->calls_ == self->failAt_) {
            self->hasFailed_ = true;
            return nullptr;
        }
        auto* header = static_cast<Header*>(std::malloc(sizeof(Header) + static_cast<size_t>(size)));
        if (!header) return nullptr;
        *header = {self, static_cast<size_t>(size)};
        ++self->liveBlocks_;
        std::memset(header + 1, 0xA5, static_cast<size_t>(size));  // nobody may count on zeros
        return header + 1;
    }
    static void* reallocate(void* memory, ZoIndex newSize, ZoOptionFlags hint, void* info)
    {
        void* grown = allocate(newSize, hint, info);
        if (!grown) return nullptr;
        const size_t oldSize = (static_cast<Header*>(memory) - 1)->size;
        std::memcpy(grown, memory, oldSize < static_cast<size_t>(newSize) ? oldSize : static_cast<size_t>(newSize));
        deallocate(memory, info);
        return grown;
    }
    static void deallocate(void* memory, void* info)
    {
        auto* self = static_cast<FailingAllocator*>(info);
        Header* header = static_cast<Header*>(memory) - 1;
        EXPECT_EQ(header->owner, self) << "memory given to an allocator that it is not from";
        --self->liveBlocks_;
        header->owner = nullptr;
        std::free(header);
    }

    ZoAllocatorRef allocator_;
    std::atomic<int64_t> failAt_;
    std::atomic<int64_t> calls_ = 0;
    std::atomic<int64_t> liveBlocks_ = 0;
    std::atomic<bool> hasFailed_ = false;
};

/// Runs `operation(allocator)` with its first call failing, then its second, until none fails; each time all that it
/// allocated must be gone when it returns. The failures that it met are counted.
template <typename Operation>
int64_t sweepAllocationFailures(Operation operation, int64_t mostCalls = 10000)
{
    for (int64_t n = 1; n <= mostCalls; ++n) {
        FailingAllocator allocator(n);
        operation(allocator);
        EXPECT_EQ(allocator.liveBlocks(), 0) << "left behind when call " << n << " failed";
        if (!allocator.hasFailed()) return n - 1;
    }
    ADD_FAILURE() << "still failing after " << mostCalls << " calls";
    return mostCalls;
}

}  // namespace luvia_test
