// An allocator that counts what is out, fails at a chosen call, and gives memory of a known content.

#pragma once

#include <cstdlib>
#include <cstring>
#include <unordered_set>

#include "Core/TavBlockBuffer/LuBlockBuffer.h"

namespace luvia_test {

class CountingAllocator {
public:
    static constexpr unsigned char kFreshByte = 0xA5;

    CountingAllocator()
    {
        ZoAllocatorContext context = {};
        context.info = this;
        context.allocate = [](ZoIndex size, ZoOptionFlags, void* info) {
            return static_cast<CountingAllocator*>(info)->take(static_cast<size_t>(size));
        };
        context.deallocate = [](void* memory, void* info) { static_cast<CountingAllocator*>(info)->give(memory); };
        ref_ = ZoAllocatorCreate(kZoAllocatorDefault, &context);
    }
    CountingAllocator(const CountingAllocator&) = delete;
    CountingAllocator& operator=(const CountingAllocator&) = delete;
    ~CountingAllocator() { ZoRelease(ref_); }

    ZoAllocatorRef ref() const { return ref_; }
    /// The same memory as a custom block source.
    LuBlockBufferCustomBlockSource source()
    {
        return {0, [](void* refCon, size_t size) { return static_cast<CountingAllocator*>(refCon)->take(size); },
                [](void* refCon, void* memory, size_t) { static_cast<CountingAllocator*>(refCon)->give(memory); },
                this};
    }

    size_t live() const { return live_.size(); }
    size_t allocations() const { return allocations_; }
    /// The n-th call from now on gives nothing; negative: none.
    void failAt(long n) { callsUntilFailure_ = n; }
    bool hasFailed() const { return hasFailed_; }

    void* take(size_t size)
    {
        if (callsUntilFailure_ >= 0 && callsUntilFailure_-- == 0) {
            hasFailed_ = true;
            return nullptr;
        }
        void* memory = std::malloc(size);
        std::memset(memory, kFreshByte, size);
        live_.insert(memory);
        ++allocations_;
        return memory;
    }
    /// Memory that did not come from here is a fault of the code under test.
    void give(void* memory)
    {
        if (live_.erase(memory) != 1) std::abort();
        std::free(memory);
    }

private:
    ZoAllocatorRef ref_ = nullptr;
    std::unordered_set<void*> live_;
    size_t allocations_ = 0;
    long callsUntilFailure_ = -1;
    bool hasFailed_ = false;
};

}  // namespace luvia_test
