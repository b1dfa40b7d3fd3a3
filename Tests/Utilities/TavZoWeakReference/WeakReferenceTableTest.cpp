// Tables and holders of weakly held objects: keys, dead entries and their clean-up, and what runs outside the locks.

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <thread>
#include <vector>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoData.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/SignalProbe.h"
#include "Utilities/TavZoUtilities_Boxing.h"
#include "Utilities/TavZoWeakReferenceHolder.h"
#include "Utilities/TavZoWeakReferenceTable.h"

using namespace luvia_test;

namespace {

using Table = ZoRef<TavZoWeakReferenceTableRef>;

ZoRef<ZoTypeRef> makeObject() { return zoAdopt(ZoTypeRef{ZoDataCreate(nullptr, nullptr, 0)}); }

Table makeTable(uint32_t options)
{
    Table table;
    EXPECT_EQ(TavZoWeakReferenceTableCreate(nullptr, options, table.outParam()), 0);
    return table;
}

ZoRef<ZoTypeRef> valueOf(const Table& table, uint64_t key)
{
    return zoAdopt(TavZoWeakReferenceTableCopyValue(table.get(), key));
}

TEST(WeakReferenceTable, generatesKeysThatStayApart)
{
    const auto one = makeTable(0), other = makeTable(kTavZoWeakReferenceTableOption_Use32BitKeys);
    const auto third = makeTable(0);
    const auto object = makeObject();
    uint64_t first = 0, again = 0, small = 0, thirdKey = 0;
    EXPECT_EQ(TavZoWeakReferenceTableAddValueAndGetKey(one.get(), object.get(), &first), 0);
    EXPECT_EQ(TavZoWeakReferenceTableAddValueAndGetKey(one.get(), object.get(), &again), 0);
    EXPECT_EQ(TavZoWeakReferenceTableAddValueAndGetKey(other.get(), object.get(), &small), 0);
    EXPECT_EQ(TavZoWeakReferenceTableAddValueAndGetKey(third.get(), object.get(), &thirdKey), 0);
    EXPECT_EQ(again, first + 1);
    EXPECT_EQ(thirdKey, first + 20000);
    EXPECT_LE(small, UINT32_MAX);
    EXPECT_EQ(TavZoWeakReferenceTableGetKey(one.get(), object.get()), again);  // the last of several
    EXPECT_EQ(TavZoWeakReferenceTableGetKey(one.get(), makeObject().get()), 0u);
}

TEST(WeakReferenceTable, refuses)
{
    const auto own = makeTable(0), clients = makeTable(kTavZoWeakReferenceTableOption_ClientProvidesKeys);
    const auto object = makeObject();
    uint64_t key = 77;
    SignalProbe probe;
    EXPECT_EQ(TavZoWeakReferenceTableAddValueAndGetKey(clients.get(), object.get(), &key),
              kTavZoWeakReferenceTableError_WrongKindOfTable);
    EXPECT_EQ(key, 77u);
    EXPECT_EQ(TavZoWeakReferenceTableAddValueAndGetKey(own.get(), nullptr, &key),
              kTavZoWeakReferenceTableError_ParamErr);
    EXPECT_EQ(key, 0u);
    EXPECT_EQ(TavZoWeakReferenceTableAddValueAssociatedWithKey(own.get(), object.get(), 1),
              kTavZoWeakReferenceTableError_WrongKindOfTable);
    EXPECT_EQ(TavZoWeakReferenceTableAddValueAssociatedWithKey(clients.get(), object.get(), 0),
              kTavZoWeakReferenceTableError_ParamErr);
    EXPECT_EQ(probe.message(), "key must not be zero");
    EXPECT_EQ(probe.subsystem(), "<<<< WEAKREFTABLE >>>>");
    EXPECT_EQ(probe.count(), 4u);
}

// Against a map, with the count of operations that each clean-up waits for.
TEST(WeakReferenceTable, agreesWithAModel)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto table = makeTable(kTavZoWeakReferenceTableOption_ClientProvidesKeys);
    std::map<uint64_t, ZoRef<ZoTypeRef>> model;  // a dead object stands as nothing
    int operations = 0;
    const auto counted = [&] {
        if (++operations % 100 == 0) std::erase_if(model, [](const auto& entry) { return !entry.second; });
    };
    for (int step = 0; step < 20000; ++step) {
        const uint64_t key = 1 + random() % 60;
        const auto found = model.find(key);
        switch (random() % 5) {
            case 0: {
                auto object = makeObject();
                const bool isFree = found == model.end() || !found->second;
                ASSERT_EQ(TavZoWeakReferenceTableAddValueAssociatedWithKey(table.get(), object.get(), key),
                          isFree ? 0 : kTavZoWeakReferenceTableError_KeyAlreadyInUse);
                ASSERT_EQ(TavZoWeakReferenceTableGetKey(table.get(), object.get()), isFree ? key : 0);
                if (isFree) model[key] = std::move(object);
                counted();
                break;
            }
            case 1:
                if (found != model.end()) found->second.reset();
                break;
            case 2: {
                const bool isThere = found != model.end();
                if (isThere) model.erase(found);
                ASSERT_EQ(TavZoWeakReferenceTableRemoveValue(table.get(), key),
                          isThere ? 0 : kTavZoWeakReferenceTableError_KeyNotFound);
                counted();
                break;
            }
            case 3:
                ASSERT_EQ(valueOf(table, key).get(), found == model.end() ? nullptr : found->second.get());
                counted();
                break;
            default: {
                ZoRef<ZoDictionaryRef> values;
                ASSERT_EQ(TavZoWeakReferenceTableCopyValues(table.get(), values.outParam()), 0);
                ZoIndex alive = 0;
                for (const auto& [k, object] : model) {
                    if (!object) continue;
                    ++alive;
                    const auto number = zoAdopt(TavZoNumberCreateUInt64(nullptr, k));
                    ASSERT_EQ(ZoDictionaryGetValue(values.get(), number.get()), object.get());
                }
                ASSERT_EQ(ZoDictionaryGetCount(values.get()), alive);
                counted();
            }
        }
    }
}

TEST(WeakReferenceTable, appliesAFunctionThatChangesTheTable)
{
    struct Context {
        TavZoWeakReferenceTableRef table;
        std::vector<ZoRef<ZoTypeRef>> objects;
        int calls = 0;
    };
    const auto table = makeTable(0);
    Context context{table.get(), {}};
    const auto remove = [](uint64_t key, ZoTypeRef, void* argument) {
        auto* self = static_cast<Context*>(argument);
        ++self->calls;
        self->objects.clear();  // last references, from within
        EXPECT_EQ(TavZoWeakReferenceTableRemoveValue(self->table, key), 0);
    };
    EXPECT_EQ(TavZoWeakReferenceTableApplyFunction(table.get(), remove, &context), 0);
    EXPECT_EQ(context.calls, 0);
    uint64_t key = 0;
    for (int i = 0; i < 5; ++i) {
        context.objects.push_back(makeObject());
        EXPECT_EQ(TavZoWeakReferenceTableAddValueAndGetKey(table.get(), context.objects.back().get(), &key), 0);
    }
    EXPECT_EQ(TavZoWeakReferenceTableApplyFunction(table.get(), remove, &context), 0);
    EXPECT_EQ(context.calls, 5);  // all were alive, and held, when it began
    EXPECT_EQ(TavZoWeakReferenceTableRemoveValue(table.get(), key), kTavZoWeakReferenceTableError_KeyNotFound);
}

TEST(WeakReferenceTable, saysWhenMemoryEnds)
{
    const auto object = makeObject();
    sweepAllocationFailures([&](FailingAllocator& allocator) {
        Table table;
        uint64_t key = 0;
        if (TavZoWeakReferenceTableCreate(allocator.get(), 0, table.outParam()) != 0) return;
        const OSStatus status = TavZoWeakReferenceTableAddValueAndGetKey(table.get(), object.get(), &key);
        EXPECT_EQ(valueOf(table, key ? key : 1).get(), status == 0 ? object.get() : nullptr);
    });
}

TEST(WeakReferenceHolder, isTheSameForOneObjectAndOutlivesIt)
{
    auto object = makeObject();
    auto holder = zoAdopt(TavZoWeakReferenceHolderCreateWithReferencedObject(object.get()));
    EXPECT_EQ(zoAdopt(TavZoWeakReferenceHolderCreateWithReferencedObject(object.get())).get(), holder.get());
    EXPECT_EQ(zoAdopt(TavZoWeakReferenceHolderCopyReferencedObject(holder.get())).get(), object.get());
    const ZoTypeRef address = object.get();
    object.reset();
    EXPECT_EQ(TavZoWeakReferenceHolderCopyReferencedObject(holder.get()), nullptr);
    EXPECT_EQ(TavZoWeakReferenceHolderCreateWithReferencedObject(nullptr), nullptr);
    // Another object at the same address evicts the stale holder.
    for (int i = 0; i < 100 && object.get() != address; ++i) object = makeObject();
    const auto fresh = zoAdopt(TavZoWeakReferenceHolderCreateWithReferencedObject(object.get()));
    EXPECT_NE(fresh.get(), holder.get());
    holder.reset();
    EXPECT_EQ(zoAdopt(TavZoWeakReferenceHolderCreateWithReferencedObject(object.get())).get(), fresh.get());
}

TEST(WeakReferenceHolder, isMadeAndLostByManyThreadsAtOnce)
{
    std::vector<ZoRef<ZoTypeRef>> objects;
    for (int i = 0; i < 8; ++i) objects.push_back(makeObject());
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            std::mt19937 random(t);
            for (int i = 0; i < 5000; ++i) {
                const ZoTypeRef object = objects[random() % objects.size()].get();
                const auto holder = zoAdopt(TavZoWeakReferenceHolderCreateWithReferencedObject(object));
                EXPECT_EQ(zoAdopt(TavZoWeakReferenceHolderCopyReferencedObject(holder.get())).get(), object);
            }
        });
    for (auto& thread : threads) thread.join();
}

}  // namespace
