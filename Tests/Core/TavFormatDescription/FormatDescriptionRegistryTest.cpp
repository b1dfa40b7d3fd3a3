#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "Core/TavFormatDescription/TavFormatDescription.h"
#include "Foundation/ZoRef.h"
#include "Foundation/ZoString.h"
#include "Tests/Support/HandOver.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

Boolean alwaysEqual(LuFormatDescriptionRef, LuFormatDescriptionRef, ZoTypeRef, ZoTypeRef) { return true; }

constexpr TavDerivedFormatDescriptionCallbacks kPlain = {0, 0, alwaysEqual, nullptr, nullptr};

/// A kind whose storage counts how often it was finalized.
constexpr LuMediaType kCountingType = LU_FOURCC('c', 'n', 't', 'g');
std::atomic<int> gFinalized;
struct Counting {
    uint64_t number;
    uint64_t more[40];
};
void finalizeCounting(LuFormatDescriptionRef description)
{
    EXPECT_EQ(static_cast<Counting*>(TavDerivedFormatDescriptionGetDerivedStorage(description))->more[39], 0u);
    ++gFinalized;
}
Boolean equalCounting(LuFormatDescriptionRef description1, LuFormatDescriptionRef description2, ZoTypeRef keys,
                      ZoTypeRef atomKeys)
{
    const auto numberOf = [](LuFormatDescriptionRef description) {
        return static_cast<Counting*>(TavDerivedFormatDescriptionGetDerivedStorage(description))->number;
    };
    return keys || atomKeys || numberOf(description1) == numberOf(description2);
}
ZoStringRef describeCounting(LuFormatDescriptionRef) { return ZoStringCreateCopy(nullptr, ZOSTR("counting")); }

ZoRef<LuFormatDescriptionRef> counting(uint64_t number)
{
    const TavDerivedFormatDescriptionCallbacks callbacks = {0, sizeof(Counting), equalCounting, describeCounting,
                                                            finalizeCounting};
    EXPECT_EQ(TavDerivedFormatDescriptionRegister(kCountingType, &callbacks), 0);
    ZoRef<LuFormatDescriptionRef> made;
    EXPECT_EQ(TavDerivedFormatDescriptionCreate(nullptr, kCountingType, 1, nullptr, made.outParam()), 0);
    auto* storage = static_cast<Counting*>(TavDerivedFormatDescriptionGetDerivedStorage(made.get()));
    EXPECT_EQ(storage->number, 0u);
    storage->number = number;
    return made;
}

}  // namespace

// In a process of its own, since one registration is enough for all that follows.
TEST(FormatDescriptionRegistryDeathTest, ComesIntoBeingWithTheFirstRegistration)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            SignalProbe probe;
            LuFormatDescriptionRef description = nullptr;
            bool right =
                TavDerivedFormatDescriptionCreate(nullptr, kLuMediaType_Subtitle, 1, nullptr, &description) == -12710;
            right = right && probe.message() == "!sTavFormatDescriptionRegistry";
            // Some kind, but not the generic one.
            right = right && TavDerivedFormatDescriptionRegister(kCountingType, &kPlain) == 0;
            right = right && TavDerivedFormatDescriptionCreate(nullptr, kLuMediaType_Subtitle, 1, nullptr,
                                                               &description) == -12710;
            right = right && probe.message() == "unregistered mediaType";
            right = right && LuFormatDescriptionCreate(nullptr, kLuMediaType_Subtitle, 1, nullptr, &description) == 0;
            _exit(right ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(FormatDescriptionRegistry, RefusesRecordsThatCannotBe)
{
    TavDerivedFormatDescriptionCallbacks otherVersion = kPlain, noEqual = kPlain;
    otherVersion.version = 1;
    noEqual.equal = nullptr;
    SignalProbe probe;
    EXPECT_EQ(TavDerivedFormatDescriptionRegister(kCountingType, nullptr), -12710);
    EXPECT_EQ(probe.message(), "!callbacks");
    EXPECT_EQ(TavDerivedFormatDescriptionRegister(kCountingType, &otherVersion), -12710);
    EXPECT_EQ(probe.message(), "callbacks->version != 0");
    EXPECT_EQ(TavDerivedFormatDescriptionRegister(kCountingType, &noEqual), -12710);
    EXPECT_EQ(probe.message(), "callbacks->equal == NULL");
    EXPECT_EQ(TavDerivedFormatDescriptionCreate(nullptr, kCountingType, 1, nullptr, nullptr), -12710);
    EXPECT_EQ(probe.message(), "NULL == descOut");
}

TEST(FormatDescriptionRegistry, AKindBringsStorageEqualityDescriptionAndFinalization)
{
    gFinalized = 0;
    {
        const auto one = counting(1), same = counting(1), two = counting(2);
        EXPECT_EQ(TavDerivedFormatDescriptionRegister(kCountingType, &kPlain), 0);  // the first registration stands
        EXPECT_TRUE(LuFormatDescriptionEqual(one.get(), same.get()));
        EXPECT_FALSE(LuFormatDescriptionEqual(one.get(), two.get()));
        EXPECT_TRUE(LuFormatDescriptionEqualIgnoringExtensionKeys(one.get(), two.get(), ZOSTR("key"), nullptr));
        EXPECT_TRUE(LuFormatDescriptionEqualIgnoringExtensionKeys(one.get(), two.get(), nullptr, ZOSTR("key")));
        const auto text = zoAdopt(ZoCopyDescription(one.get()));
        EXPECT_NE(ZoStringFind(text.get(), ZOSTR("mediaSpecific: {\ncounting \n"), 0).location, kZoNotFound);
        EXPECT_TRUE(ZoStringHasPrefix(text.get(), ZOSTR("<LuFormatDescription ")));
    }
    EXPECT_EQ(gFinalized, 3);

    // A creation that fails behind the allocation finalizes what is still all zero.
    const auto other = counting(1);
    const void *key = ZOSTR("key"), *value = other.get();
    const auto extensions = zoAdopt(
        ZoDictionaryCreate(nullptr, &key, &value, 1, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    LuFormatDescriptionRef description = nullptr;
    EXPECT_EQ(TavDerivedFormatDescriptionCreate(nullptr, kCountingType, 1, extensions.get(), &description), -12710);
    EXPECT_EQ(description, nullptr);
    EXPECT_EQ(gFinalized, 4);
}

TEST(FormatDescriptionRegistry, KindsRegisterWhileOthersCreate)
{
    HandOver steps;
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (uint32_t t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            steps.advance();
            steps.await(4);
            for (uint32_t i = 0; i < 50; ++i) {
                const LuMediaType ours = LU_FOURCC('k', '0', '0', '0') + i;  // the same for all threads
                LuFormatDescriptionRef description = nullptr;
                failures += TavDerivedFormatDescriptionRegister(ours, &kPlain) != 0;
                failures += LuFormatDescriptionCreate(nullptr, t % 2 ? ours : LuMediaType(kLuMediaType_Text), t,
                                                      nullptr, &description) != 0;
                TavFormatDescriptionRelease(description);
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
}
