// Every lock that takes an allocator, made with one that gives out: creation gives nothing and keeps nothing.

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "Foundation/ZoRef.h"
#include "Platform/Common/CommonSynchronization.h"

namespace {

struct Budget {
    int left;
    int live;
};

ZoRef<ZoAllocatorRef> allocatorWith(Budget* budget)
{
    ZoAllocatorContext context = {};
    context.info = budget;
    context.allocate = [](ZoIndex size, ZoOptionFlags, void* info) -> void* {
        auto* b = static_cast<Budget*>(info);
        if (b->left-- <= 0) return nullptr;
        ++b->live;
        return std::malloc(size_t(size));
    };
    context.deallocate = [](void* memory, void* info) {
        --static_cast<Budget*>(info)->live;
        std::free(memory);
    };
    return zoAdopt(ZoAllocatorCreate(nullptr, &context));
}

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
        bool made = false;
        for (int allocations = 0; !made && allocations < 10; ++allocations) {
            Budget budget = {allocations, 0};
            const ZoRef<ZoAllocatorRef> allocator = allocatorWith(&budget);
            void* object = k.create(allocator.get());
            made = object != nullptr;
            if (made) {
                EXPECT_EQ(budget.live, allocations) << "all of its memory comes from the allocator";
                EXPECT_GT(ZoGetRetainCount(allocator.get()), 1);
                EXPECT_EQ(k.destroy(object), 0);
            }
            EXPECT_EQ(budget.live, 0);
            EXPECT_EQ(ZoGetRetainCount(allocator.get()), 1);
        }
        EXPECT_TRUE(made);
    }
}

}  // namespace
