// Weak variables against a model, the shape of the side table, and loads that race with the last release.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoData.h"
#include "Platform/Common/TavNote.h"
#include "Utilities/TavZoWeakReferencePrivate.h"

namespace {

ZoRef<ZoTypeRef> makeObject() { return zoAdopt(ZoTypeRef{ZoDataCreate(nullptr, nullptr, 0)}); }

TavWeakEntry* entryOf(ZoTypeRef object)
{
    return tavWeakFind(TavTableBuf[tavWeakStripeIndex(reinterpret_cast<uintptr_t>(object))], object);
}

bool loads(TavZoWeakReference* variable, ZoTypeRef object)
{
    return zoAdopt(TavZoWeakReferenceLoadAndRetain(variable)).get() == object;
}

TEST(WeakReference, fourVariablesStandInTheEntryAndTheFifthMakesASet)
{
    TavZoWeakReference variables[6] = {};
    auto object = makeObject();
    for (int i = 0; i < 4; ++i) TavZoWeakReferenceInit(&variables[i], object.get());
    ASSERT_TRUE(entryOf(object.get())->isInline());
    TavZoWeakReferenceStore(&variables[4], object.get());
    EXPECT_FALSE(entryOf(object.get())->isInline());
    EXPECT_EQ(entryOf(object.get())->setMask(), 7u);
    EXPECT_EQ(entryOf(object.get())->setCount(), 5u);

    TavZoWeakReferenceStore(&variables[4], object.get());  // the same again: one registration
    EXPECT_EQ(entryOf(object.get())->setCount(), 5u);
    for (auto& variable : variables) TavZoWeakReferenceDestroy(&variable);
    EXPECT_EQ(entryOf(object.get())->setCount(), 0u);  // stays until its object dies
    for (auto& variable : variables) TavZoWeakReferenceInit(&variable, object.get());
    EXPECT_EQ(entryOf(object.get())->setCount(), 6u);
    object.reset();
    for (auto& variable : variables) EXPECT_EQ(variable, nullptr);
}

TEST(WeakReference, aTableGrowsAndShrinksWithItsEntries)
{
    std::vector<TavZoWeakReference> variables(20000);
    std::vector<ZoRef<ZoTypeRef>> objects;
    for (auto& variable : variables) {
        objects.push_back(makeObject());
        TavZoWeakReferenceInit(&variable, objects.back().get());
    }
    for (const TavWeakTable& table : TavTableBuf) EXPECT_GE(table.size(), 2048u);
    objects.resize(3);
    for (const TavWeakTable& table : TavTableBuf) EXPECT_LT(table.size(), 1024u);
    for (size_t i = 0; i < variables.size(); ++i) ASSERT_EQ(variables[i] != nullptr, i < 3);
    for (size_t i = 0; i < 3; ++i) EXPECT_TRUE(loads(&variables[i], objects[i].get()));
}

TEST(WeakReference, agreesWithAModel)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::array<ZoRef<ZoTypeRef>, 40> objects;
    std::array<TavZoWeakReference, 300> variables = {};
    std::array<ZoTypeRef, 300> model = {};
    for (int step = 0; step < 30000; ++step) {
        const size_t v = random() % variables.size();
        auto& object = objects[random() % objects.size()];
        switch (random() % 8) {
            case 0:
                for (auto& expected : model)
                    if (expected == object.get()) expected = nullptr;
                object = random() % 4 ? makeObject() : nullptr;
                break;
            case 1:
                TavZoWeakReferenceDestroy(&variables[v]);
                variables[v] = nullptr;
                model[v] = nullptr;
                break;
            case 2: ASSERT_TRUE(loads(&variables[v], model[v])); break;
            default: TavZoWeakReferenceStore(&variables[v], object.get()); model[v] = object.get();
        }
    }
    for (size_t v = 0; v < variables.size(); ++v) {
        ASSERT_EQ(variables[v], model[v]);
        TavZoWeakReferenceDestroy(&variables[v]);
    }
}

TavZoWeakReference sOwn;

TEST(WeakReference, aFinalizerThatStoresItsObjectLeavesNothingBehind)
{
    static const ZoRuntimeClass sClass = {.className = "Storing", .finalize = [](ZoTypeRef object) {
                                              TavZoWeakReferenceStore(&sOwn, object);
                                              EXPECT_TRUE(loads(&sOwn, nullptr));
                                          }};
    static const ZoTypeID sTypeID = _ZoRuntimeRegisterClass(&sClass);
    for (const bool isReferenced : {false, true}) {
        auto object = zoAdopt(_ZoRuntimeCreateInstance(nullptr, sTypeID, 0, nullptr));
        if (isReferenced) TavZoWeakReferenceStore(&sOwn, object.get());
        object.reset();
        EXPECT_EQ(sOwn, nullptr);
    }
}

TEST(WeakReference, tellsOfVariablesThatWereWrittenByHand)
{
    const int32_t control = gTavLogControl;
    gTavLogControl = kTavLogControl_StandardError;
    testing::internal::CaptureStderr();
    TavZoWeakReference copied = nullptr, overwritten = nullptr;
    auto object = makeObject();
    const auto other = makeObject();
    TavZoWeakReferenceInit(&overwritten, object.get());
    copied = overwritten;
    TavZoWeakReferenceDestroy(&copied);
    overwritten = other.get();
    object.reset();
    const std::string text = testing::internal::GetCapturedStderr();
    gTavLogControl = control;
    EXPECT_NE(text.find("TavRemoveReferrer: Attempted to unregister unknown __weak variable at"), text.npos) << text;
    EXPECT_NE(text.find("instead of"), text.npos) << text;
    EXPECT_EQ(overwritten, other.get());
}

TEST(WeakReference, loadsAndStoresRaceWithLastReleases)
{
    constexpr int kThreads = 4, kRounds = 20000;
    std::array<TavZoWeakReference, 3> shared = {};
    std::atomic<int> loaded = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            std::mt19937 random(static_cast<unsigned>(t));
            for (int i = 0; i < kRounds; ++i) {
                const auto object = makeObject();
                auto& variable = shared[random() % shared.size()];
                TavZoWeakReferenceStore(&variable, object.get());
                if (const auto held = zoAdopt(TavZoWeakReferenceLoadAndRetain(&shared[random() % shared.size()])))
                    loaded += ZoGetTypeID(held.get()) == ZoDataGetTypeID();
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_GT(loaded, 0);
    for (auto& variable : shared) EXPECT_EQ(variable, nullptr);
}

}  // namespace
