// Every lock that takes an allocator, made with one that gives out: creation gives nothing and keeps nothing.

#include <gtest/gtest.h>

#include <functional>

#include "Platform/Common/CommonSynchronization.h"
#include "Tests/Support/FailingAllocator.h"

namespace {

struct Kind {
    const char* name;
    std::function<void*(ZoAllocatorRef)> create;
    std::function<OSStatus(void*)> destroy;
};

template <typename Ref>
Kind kind(const char* name, std::function<Ref(ZoAllocatorRef)> create, OSStatus (*destroy)(Ref))
{
    return {name, create, [destroy](void* object) { return destroy(static_cast<Ref>(object)); }};
}

TEST(SynchronizationAllocation, givesNothingAndKeepsNothingWhenMemoryRunsOut)
{
    const Kind kinds[] = {
        kind<TavSimpleMutexRef>("mutex", TavSimpleMutexCreateWithFlags, TavSimpleMutexDestroy),
        kind<TavReentrantMutexRef>("reentrant mutex", TavReentrantMutexCreateWithFlags, TavReentrantMutexDestroy),
        kind<TavConditionVariableRef>("condition", TavConditionVariableCreateWithFlags, TavConditionVariableDestroy),
        kind<TavSemaphoreRef>(
            "semaphore", [](ZoAllocatorRef a) { return TavSemaphoreCreateWithFlags(a, 0, 1, 0); }, TavSemaphoreDestroy),
        kind<TavReadWriteLockRef>(
            "read-write lock", [](ZoAllocatorRef a) { return TavReadWriteLockCreateWithFlags(a, 1); },
            TavReadWriteLockDestroy),
    };
    for (const Kind& k : kinds) {
        SCOPED_TRACE(k.name);
        const int64_t failures =
            luvia_test::sweepAllocationFailures([&](const luvia_test::FailingAllocator& allocator) {
                void* object = k.create(allocator.get());
                EXPECT_EQ(object ? k.destroy(object) : 0, 0);
                EXPECT_EQ(object == nullptr, allocator.hasFailed());
            });
        EXPECT_GE(failures, 1) << "the memory does not come from the allocator";
    }
}

}  // namespace
