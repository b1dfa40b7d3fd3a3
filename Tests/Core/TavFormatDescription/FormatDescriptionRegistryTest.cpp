// The registry of kinds: before there is one, without memory for one, and raced. What depends on the state of the
// process runs in a process of its own.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <thread>
#include <vector>

#include "Platform/Ostra/OstraSynchronization.h"
#include "Tests/Core/TavFormatDescription/Extensions.h"
#include "Tests/Support/HandOver.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {
std::atomic<bool> sNewFails;
std::atomic<bool> sMutexesFail;
}  // namespace

extern "C" {
void* __real__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t&);
void* __wrap__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t&);
TavSimpleMutexRef __real_TavSimpleMutexCreate(void);
TavSimpleMutexRef __wrap_TavSimpleMutexCreate(void);

void* __wrap__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& nothrow)
{
    return sNewFails ? nullptr : __real__ZnwmRKSt9nothrow_t(size, nothrow);
}
TavSimpleMutexRef __wrap_TavSimpleMutexCreate(void) { return sMutexesFail ? nullptr : __real_TavSimpleMutexCreate(); }
}

namespace {

Boolean never(LuFormatDescriptionRef, LuFormatDescriptionRef, ZoTypeRef, ZoTypeRef) { return false; }
Boolean always(LuFormatDescriptionRef, LuFormatDescriptionRef, ZoTypeRef, ZoTypeRef) { return true; }

TavDerivedFormatDescriptionCallbacks kindWith(decltype(&always) equal, size_t storageSize = 0)
{
    return {
        .version = 0, .derivedStorageSize = storageSize, .equal = equal, .copyDebugDesc = nullptr, .finalize = nullptr};
}

bool createFails(const char* message, OSStatus code)
{
    LuFormatDescriptionRef description = nullptr;
    const SignalProbe probe;
    const OSStatus status = TavDerivedFormatDescriptionCreate(nullptr, kSubtitle, kSubType, nullptr, &description);
    return status == code && !description && probe.message() == message && probe.code() == code;
}

OSStatus registerNew()
{
    const TavDerivedFormatDescriptionCallbacks kind = kindWith(always);
    return TavDerivedFormatDescriptionRegister(LU_FOURCC('n', 'e', 'w', '1'), &kind);
}
bool registerFails(const char* message)
{
    const SignalProbe probe;
    return registerNew() == -12711 && probe.code() == -12711 && probe.message() == message;
}

class FormatDescriptionRegistryDeathTest : public ::testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

/// `condition` in a new process, in which nothing has been registered.
#define EXPECT_IN_NEW_PROCESS(condition) EXPECT_EXIT(std::_Exit((condition) ? 0 : 1), ::testing::ExitedWithCode(0), "")

}  // namespace

TEST_F(FormatDescriptionRegistryDeathTest, isThereFromTheFirstRegistrationOn)
{
    EXPECT_IN_NEW_PROCESS(createFails("!sTavFormatDescriptionRegistry", -12710) && describe() &&
                          LuFormatDescriptionEqual(describe().get(), describe().get()));
    EXPECT_IN_NEW_PROCESS(createFails("!sTavFormatDescriptionRegistry", -12710) && registerNew() == 0 &&
                          createFails("unregistered mediaType", -12710) && describe());
}

TEST_F(FormatDescriptionRegistryDeathTest, isAStatusWhereThereIsNoMemory)
{
    // What signals has its own locks by then.
    EXPECT_IN_NEW_PROCESS(createFails("!sTavFormatDescriptionRegistry", -12710) &&
                          (sMutexesFail = true, registerFails("one-time setup failed")) &&
                          (sMutexesFail = false, registerFails("one-time setup failed")) && !describe());
    EXPECT_IN_NEW_PROCESS(((void)describe(), sNewFails = true, registerFails("callbacks struct")) &&
                          (sNewFails = false, describe()));
}

TEST(FormatDescriptionRegistry, keepsACopyOfTheFirstKindAndDescriptionsTheirs)
{
    constexpr OSType code = LU_FOURCC('1', 's', 't', ' ');
    const auto olderA = describe(nullptr, code), olderB = describe(nullptr, code);  // generic: no such kind yet
    TavDerivedFormatDescriptionCallbacks kind = kindWith(never, 64);
    ASSERT_EQ(TavDerivedFormatDescriptionRegister(code, &kind), 0);
    kind.equal = nullptr;  // the record was copied
    const TavDerivedFormatDescriptionCallbacks later = kindWith(always);
    const SignalProbe probe;
    EXPECT_EQ(TavDerivedFormatDescriptionRegister(code, &later), 0);
    EXPECT_EQ(probe.count(), 0u);
    const auto a = describe(nullptr, code), b = describe(nullptr, code);
    EXPECT_FALSE(LuFormatDescriptionEqual(a.get(), b.get()));
    EXPECT_TRUE(LuFormatDescriptionEqual(olderA.get(), olderB.get()));
    EXPECT_FALSE(LuFormatDescriptionEqual(olderA.get(), a.get()));
}

// Threads register kinds of their own and rivals of one media type, and describe media meanwhile.
TEST(FormatDescriptionRegistry, letsThreadsRegisterAndDescribe)
{
    constexpr int kThreads = 8, kCodes = 40;
    constexpr OSType kShared = LU_FOURCC('s', 'h', 'r', 0), kOwn = LU_FOURCC('o', 'w', 0, 0);
    std::vector<std::vector<Description>> made(kThreads);
    HandOver start;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            start.advance();
            start.await(kThreads);
            for (OSType i = 0; i < kCodes; ++i) {
                const TavDerivedFormatDescriptionCallbacks rival = kindWith(t % 2 ? always : never, 8 * (t + 1));
                TavDerivedFormatDescriptionRegister(kShared + i, &rival);
                const TavDerivedFormatDescriptionCallbacks own = kindWith(always, 16);
                TavDerivedFormatDescriptionRegister(kOwn + static_cast<OSType>(t << 8) + i, &own);
                made[static_cast<size_t>(t)].push_back(describe(nullptr, kShared + i));
                const auto mine = describe(nullptr, kOwn + static_cast<OSType>(t << 8) + i);
                std::memset(TavDerivedFormatDescriptionGetDerivedStorage(mine.get()), 1, 16);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    // All threads must have met the same winner, whoever it was: its `equal` answers for every pair alike.
    for (size_t i = 0; i < kCodes; ++i) {
        const Boolean answer = LuFormatDescriptionEqual(made[0][i].get(), made[1][i].get());
        for (size_t t = 1; t < kThreads; ++t)
            EXPECT_EQ(LuFormatDescriptionEqual(made[0][i].get(), made[t][i].get()), answer) << i;
    }
}
