#include "Platform/Ostra/OstraThread.h"

#include <errno.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "Tests/Support/HandOver.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

void* giveBack(void* refcon) { return refcon; }

void* exitWith(void* refcon) { TavThreadExit(refcon); }

TEST(OstraThread, givesWhatItsProcGaveOrExitedWith)
{
    for (const TavThreadProc proc : {giveBack, exitWith}) {
        int mark = 0;
        TavThreadID thread = kTavThreadInvalidID;
        ASSERT_EQ(TavThreadCreate(proc, &mark, kTavThreadPriorityHighest, true, nullptr, &thread), 0);
        EXPECT_TRUE(TavThreadIsValid(thread));
        void* result = nullptr;
        EXPECT_EQ(TavThreadJoin(thread, &result), 0);
        EXPECT_EQ(result, &mark);
    }
}

TEST(OstraThread, refusesWhatCannotBe)
{
    TavThreadID thread = kTavThreadInvalidID;
    const auto refused = [](OSStatus expected, const char* message, OSStatus status, const SignalProbe& probe) {
        EXPECT_EQ(status, expected) << message;
        EXPECT_EQ(probe.message(), message);
    };
    const SignalProbe probe;
    for (const TavThreadPriority priority : {uint32_t{kTavThreadPriorityHighest} + 1, UINT32_MAX})
        refused(kTavThreadParamErr, "Priority out of range",
                TavThreadCreate(giveBack, nullptr, priority, true, nullptr, &thread), probe);
    refused(kTavThreadParamErr, "Must return threadRef so it can be joined",
            TavThreadCreate(giveBack, nullptr, 0, true, nullptr, nullptr), probe);
    refused(kTavThreadParamErr, "NULL proc", TavThreadCreate(nullptr, nullptr, 0, true, nullptr, &thread), probe);
    EXPECT_EQ(probe.subsystem(), "<<<< TAVOSTRATHREAD >>>>");
    EXPECT_FALSE(TavThreadIsValid(thread));
    refused(kTavThreadNotFoundErr, "Thread not found", TavThreadJoin(kTavThreadInvalidID, nullptr), probe);
    refused(kTavThreadNotJoinableErr, "Cannot join thread from itself", TavThreadJoin(TavThreadGetCurrent(), nullptr),
            probe);
}

#ifndef __SANITIZE_THREAD__  // which stops at a join of a detached thread: here on purpose
TEST(OstraThread, oneThatIsNotJoinableIsNotJoined)
{
    HandOver steps;
    TavThreadID thread = kTavThreadInvalidID;
    ASSERT_EQ(TavThreadCreate(
                  [](void* refcon) -> void* {
                      auto* s = static_cast<HandOver*>(refcon);
                      s->await(1);
                      s->reach(2);
                      return nullptr;
                  },
                  &steps, 0, false, nullptr, &thread),
              0);
    EXPECT_EQ(TavThreadJoin(thread, nullptr), kTavThreadNotJoinableErr);
    steps.reach(1);
    EXPECT_TRUE(steps.await(2));
    steps.reach(2);  // takes the lock once more: the thread is out of it
}
#endif

struct Seen {
    char name[16];
    size_t stackSize;
};

void* look(void* refcon)
{
    auto* seen = static_cast<Seen*>(refcon);
    pthread_getname_np(pthread_self(), seen->name, sizeof seen->name);
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
        pthread_attr_getstacksize(&attributes, &seen->stackSize);
        pthread_attr_destroy(&attributes);
    }
    return nullptr;
}

Seen seenWith(ZoStringRef key, ZoTypeRef value)
{
    Seen seen = {};
    TavThreadID thread = kTavThreadInvalidID;
    EXPECT_EQ(TavThreadCreate(look, &seen, 0, true, dictionary({{key, value}}).get(), &thread), 0);
    EXPECT_EQ(TavThreadJoin(thread, nullptr), 0);
    return seen;
}

TEST(OstraThread, hasItsNameBeforeItsProcRuns)
{
    EXPECT_STREQ(seenWith(kTavThreadCreateKey_Identifier, ZOSTR("worker")).name, "worker");
    EXPECT_STREQ(seenWith(kTavThreadCreateKey_Identifier, ZOSTR("com.orvane.luvia.worker")).name, "com.orvane.luvi");
    EXPECT_STREQ(seenWith(kTavThreadCreateKey_Identifier, str("caf\u00e9").get()).name, "caf?");
    const auto longName = str(std::string(1000, 'x'));
    EXPECT_EQ(std::string(seenWith(kTavThreadCreateKey_Identifier, longName.get()).name), std::string(15, 'x'));
    EXPECT_STRNE(seenWith(kTavThreadCreateKey_Identifier, number(5).get()).name, "5");
}

TEST(OstraThread, hasTheStackThatItsOptionsAskFor)
{
    const size_t usual = seenWith(kTavThreadCreateKey_StackSize, number(0).get()).stackSize;
    for (const int32_t ignored : {16384, 1, -70000})
        EXPECT_EQ(seenWith(kTavThreadCreateKey_StackSize, number(ignored).get()).stackSize, usual) << ignored;
    EXPECT_EQ(seenWith(kTavThreadCreateKey_StackSize, ZOSTR("65536")).stackSize, usual);
    EXPECT_LT(seenWith(kTavThreadCreateKey_StackSize, number(1 << 20).get()).stackSize, size_t(2) << 20);
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)  // whose threads need more
    EXPECT_LT(seenWith(kTavThreadCreateKey_StackSize, number(16385).get()).stackSize, size_t(65536));
#endif
}

TEST(OstraThread, prioritiesAreIndicesOfATable)
{
    struct Row {
        uint32_t priority;
        int32_t native;
    };
    for (const Row& row :
         {Row{0, 47}, {1, 97}, {5, 0}, {7, 32}, {16, 16}, {25, 4}, {46, 37}, {47, 47}, {UINT32_MAX, 47}}) {
        const SignalProbe probe;
        EXPECT_EQ(TavThreadGetPosixThreadPriorityValue(row.priority), row.native) << row.priority;
        EXPECT_EQ(probe.count(), row.priority > kTavThreadPriorityHighest ? 1u : 0u) << row.priority;
    }
    EXPECT_GE(TavThreadGetMaxLogicalCoreCount(), 1);
}

TEST(OstraThread, onlyThePriorityIsAProperty)
{
    const TavThreadID self = TavThreadGetCurrent();
    const auto priority = number(7);
    struct Row {
        ZoStringRef key;
        ZoTypeRef value;
        OSStatus status;
    };
    const auto unknown = number(kTavThreadPriorityUnknown), tooHigh = number(47), negative = number(-1);
    for (const Row& row : {Row{nullptr, priority.get(), kTavUnsupportedPropertyErr},
                           Row{kTavThreadPropertyKey_ClientPID, priority.get(), kTavUnsupportedPropertyErr},
                           Row{kTavThreadPropertyKey_Priority, nullptr, kTavUnsupportedPropertyErr},
                           Row{kTavThreadPropertyKey_Priority, ZOSTR("7"), kTavUnsupportedPropertyErr},
                           Row{kTavThreadPropertyKey_Priority, unknown.get(), kTavThreadParamErr},
                           Row{kTavThreadPropertyKey_Priority, tooHigh.get(), kTavThreadParamErr},
                           Row{kTavThreadPropertyKey_Priority, negative.get(), kTavThreadParamErr},
                           // Time-sharing threads have no priorities: the system's own answer.
                           Row{kTavThreadPropertyKey_Priority, priority.get(), EINVAL}})
        EXPECT_EQ(TavThreadSetProperty(self, row.key, row.value), row.status);

    ZoTypeRef value = priority.get();
    EXPECT_EQ(TavThreadCopyProperty(self, kTavThreadPropertyKey_ClientPID, nullptr, &value),
              kTavUnsupportedPropertyErr);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(TavThreadCopyProperty(self, kTavThreadPropertyKey_Priority, nullptr, nullptr), kTavThreadParamErr);
    ASSERT_EQ(TavThreadCopyProperty(self, kTavThreadPropertyKey_Priority, nullptr, &value), 0);
    int32_t copied = -1;
    ZoNumberGetValue(static_cast<ZoNumberRef>(value), kZoNumberSInt32Type, &copied);
    EXPECT_EQ(copied, kTavThreadPriorityUnknown);
    ZoRelease(value);
}

TEST(OstraThread, aKeyHasAValueForEachThread)
{
    uint64_t key = UINT64_MAX;
    ASSERT_EQ(TavThreadAllocKey(nullptr, &key), 0);
    int mark = 0;
    EXPECT_EQ(TavThreadGetValue(key), nullptr);
    EXPECT_EQ(TavThreadSetValue(key, &mark), 0);
    std::thread([&] { EXPECT_EQ(TavThreadGetValue(key), nullptr); }).join();
    EXPECT_EQ(TavThreadGetValue(key), &mark);
    EXPECT_EQ(TavThreadGetValue(key | UINT64_C(1) << 32), nullptr);
    EXPECT_EQ(TavThreadSetValue(key | UINT64_C(1) << 32, &mark), EINVAL);
    EXPECT_EQ(TavThreadAllocKey(nullptr, nullptr), kTavThreadParamErr);
}

}  // namespace
