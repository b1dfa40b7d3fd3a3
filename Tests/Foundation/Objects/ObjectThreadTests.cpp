#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <mutex>
#include <thread>

#include "Foundation/Objects/ZoObject.h"
#include "Tests/Support/Together.h"

using luvia_test::runTogether;

namespace {

std::atomic<int> gFinalized;

const ZoRuntimeClass kCountedClass = {.className = "Counted", .finalize = [](ZoTypeRef) { ++gFinalized; }};

ZoTypeRef createCounted()
{
    static const ZoTypeID typeID = _ZoRuntimeRegisterClass(&kCountedClass);
    return _ZoRuntimeCreateInstance(nullptr, typeID, 32, nullptr);
}

TEST(ObjectThreads, countsAreNotLost)
{
    gFinalized = 0;
    ZoTypeRef object = createCounted();
    constexpr size_t kThreads = 8;
    for (size_t i = 0; i < kThreads; ++i) ZoRetain(object);
    runTogether(kThreads, [&](size_t) {
        for (int i = 0; i < 20000; ++i) {
            ZoRetain(object);
            ZoRelease(object);
        }
        ZoRelease(object);
    });
    EXPECT_EQ(ZoGetRetainCount(object), 1);
    EXPECT_EQ(gFinalized, 0);
    ZoRelease(object);
    EXPECT_EQ(gFinalized, 1);
}

// Weak references: a table knows the object without owning it, under a lock that the object's end takes as well.
std::mutex gTableLock;
ZoTypeRef gKnown;

TEST(ObjectThreads, tryRetainRacesSafelyWithTheLastRelease)
{
    gFinalized = 0;
    __ZoRuntimeSetWeakReferenceReleaseObserver([](ZoTypeRef object) {
        const std::lock_guard guard(gTableLock);
        if (gKnown == object) gKnown = nullptr;
    });
    constexpr int kRounds = 3000;
    std::atomic<int> revived = 0;
    std::barrier round(3);
    const auto seek = [&] {
        for (int i = 0; i < kRounds; ++i) {
            round.arrive_and_wait();
            ZoTypeRef found = nullptr;
            {
                const std::lock_guard guard(gTableLock);
                if (gKnown) found = _ZoTryRetain(gKnown);
            }
            if (found) {
                EXPECT_FALSE(_ZoIsDeallocating(found));
                ++revived;
                ZoRelease(found);
            }
            round.arrive_and_wait();
        }
    };
    std::jthread first(seek), second(seek);
    for (int i = 0; i < kRounds; ++i) {
        ZoTypeRef object = createCounted();
        _ZoSetWeaklyReferenced(object);
        gKnown = object;
        round.arrive_and_wait();
        ZoRelease(object);
        round.arrive_and_wait();
        ASSERT_EQ(gFinalized, i + 1) << "each object ends once, " << revived << " were found alive";
        ASSERT_EQ(gKnown, nullptr);
    }
    __ZoRuntimeSetWeakReferenceReleaseObserver(nullptr);
}

TEST(ObjectThreads, classesAreRegisteredWhileOthersAreLookedUp)
{
    static const ZoRuntimeClass classes[4] = {
        {.className = "0"}, {.className = "1"}, {.className = "2"}, {.className = "3"}};
    runTogether(4, [&](size_t thread) {
        for (int i = 0; i < 200; ++i) {
            const ZoTypeID typeID = _ZoRuntimeRegisterClass(&classes[thread]);
            EXPECT_EQ(_ZoRuntimeGetClassWithTypeID(typeID), &classes[thread]);
            ZoRelease(_ZoRuntimeCreateInstance(nullptr, typeID, 8, nullptr));
        }
    });
}

}  // namespace
