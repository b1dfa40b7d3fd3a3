#include <gtest/gtest.h>

#include <vector>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoObject.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoNumber.h"
#include "Tests/Support/FailingAllocator.h"

// Sizes that no machine has are a status here, not a finding.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace {

using luvia_test::FailingAllocator;

struct Probe {
    ZoRuntimeBase base;
    int64_t value;
    ZoTypeRef next;
    uint8_t rest[200];
};

std::vector<ZoTypeRef> gFinalized;
void (*gWhenFinalized)(ZoTypeRef) = nullptr;
bool gInitSawZeros;

void probeInit(ZoTypeRef object)
{
    const auto* probe = static_cast<const Probe*>(object);
    gInitSawZeros = probe->value == 0 && !probe->next;
    for (uint8_t byte : probe->rest) gInitSawZeros = gInitSawZeros && byte == 0;
}
void probeFinalize(ZoTypeRef object)
{
    gFinalized.push_back(object);
    if (gWhenFinalized) gWhenFinalized(object);
    if (ZoTypeRef next = static_cast<const Probe*>(object)->next) ZoRelease(next);
}
Boolean probeEqual(ZoTypeRef a, ZoTypeRef b)
{
    return static_cast<const Probe*>(a)->value == static_cast<const Probe*>(b)->value;
}
const ZoRuntimeClass kProbeClass = {
    .className = "Probe", .init = probeInit, .finalize = probeFinalize, .equal = probeEqual};
const ZoRuntimeClass kPlainClass = {.className = "Plain"};

class ObjectTest : public testing::Test {
protected:
    void SetUp() override
    {
        static const ZoTypeID probeID = _ZoRuntimeRegisterClass(&kProbeClass);
        static const ZoTypeID plainID = _ZoRuntimeRegisterClass(&kPlainClass);
        probeID_ = probeID;
        plainID_ = plainID;
        gFinalized.clear();
        gWhenFinalized = nullptr;
    }
    Probe* createProbe(ZoAllocatorRef allocator = nullptr, int64_t value = 0)
    {
        ZoTypeRef object =
            _ZoRuntimeCreateInstance(allocator, probeID_, sizeof(Probe) - sizeof(ZoRuntimeBase), nullptr);
        auto* probe = static_cast<Probe*>(const_cast<void*>(object));
        if (probe) probe->value = value;
        return probe;
    }
    ZoTypeID probeID_, plainID_;
};

TEST_F(ObjectTest, registeredClassesAreFoundAgain)
{
    EXPECT_NE(probeID_, plainID_);
    EXPECT_EQ(_ZoRuntimeGetClassWithTypeID(probeID_), &kProbeClass);
    for (ZoTypeID never : {ZoTypeID{0}, ZoTypeID{31}, plainID_ + 1000, ZoTypeID{65536}, UINTPTR_MAX})
        EXPECT_EQ(_ZoRuntimeGetClassWithTypeID(never), nullptr) << never;
    for (ZoIndex size : {INTPTR_MAX, INTPTR_MAX / 2})
        EXPECT_EQ(_ZoRuntimeCreateInstance(nullptr, plainID_, size, nullptr), nullptr);
}

TEST_F(ObjectTest, aFullTableOfClassesIsAStatus)
{
    EXPECT_EXIT(
        {
            int registered = 0;
            while (_ZoRuntimeRegisterClass(&kPlainClass) != 0 && registered < 100000) ++registered;
            const bool stillFull = _ZoRuntimeRegisterClass(&kPlainClass) == 0;
            _exit(registered > 60000 && registered < 65536 && stillFull ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ObjectTest, livesUntilItsLastReferenceGoes)
{
    FailingAllocator allocator;
    for (ZoAllocatorRef from : {ZoAllocatorRef{nullptr}, kZoAllocatorMalloc, allocator.get()}) {
        gFinalized.clear();
        Probe* probe = createProbe(from);
        EXPECT_TRUE(gInitSawZeros);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(probe) % 16, 0u);
        EXPECT_EQ(ZoGetTypeID(probe), probeID_);
        EXPECT_EQ(ZoRetain(probe), probe);
        EXPECT_EQ(ZoGetRetainCount(probe), 2);
        ZoRelease(probe);
        EXPECT_TRUE(gFinalized.empty());
        EXPECT_EQ(ZoGetAllocator(probe), from == allocator.get() ? from : kZoAllocatorDefault);
        ZoRelease(probe);
        EXPECT_EQ(gFinalized, std::vector<ZoTypeRef>{probe});
    }
    EXPECT_EQ(allocator.liveBlocks(), 0);
    EXPECT_EQ(createProbe(kZoAllocatorNull), nullptr);
}

// An allocator's info is let go of only when the last object made with it is gone.
TEST_F(ObjectTest, anObjectKeepsItsAllocator)
{
    static int balance;
    static bool isAlive;
    balance = 0;
    isAlive = true;
    ZoAllocatorContext context = {};
    context.retain = [](const void* info) {
        ++balance;
        return info;
    };
    context.release = [](const void*) {
        --balance;
        isAlive = false;
    };
    context.allocate = [](ZoIndex size, ZoOptionFlags, void*) { return std::malloc(static_cast<size_t>(size)); };
    context.deallocate = [](void* memory, void*) {
        EXPECT_TRUE(isAlive);
        std::free(memory);
    };
    ZoAllocatorRef allocator = ZoAllocatorCreate(nullptr, &context);
    EXPECT_EQ(balance, 1);
    Probe* probe = createProbe(allocator);
    ZoRelease(allocator);
    EXPECT_EQ(balance, 1);
    ZoRelease(probe);
    EXPECT_EQ(balance, 0);
}

TEST(Allocators, doWhatTheirCallbacksDo)
{
    for (ZoIndex size : {ZoIndex{0}, ZoIndex{-1}, INTPTR_MIN, INTPTR_MAX})
        EXPECT_EQ(ZoAllocatorAllocate(nullptr, size, 0), nullptr) << size;
    EXPECT_EQ(ZoAllocatorAllocate(kZoAllocatorNull, 8, 0), nullptr);
    char bytes[8];
    ZoAllocatorDeallocate(kZoAllocatorNull, bytes);
    ZoAllocatorDeallocate(nullptr, nullptr);

    FailingAllocator allocator;
    void* memory = ZoAllocatorReallocate(allocator.get(), nullptr, 4, 0);
    std::memcpy(memory, "abcd", 4);
    memory = ZoAllocatorReallocate(allocator.get(), memory, 400, 0);
    EXPECT_EQ(std::memcmp(memory, "abcd", 4), 0);
    EXPECT_EQ(ZoAllocatorReallocate(allocator.get(), memory, 0, 0), nullptr);
    EXPECT_EQ(allocator.liveBlocks(), 0);

    ZoAllocatorContext context = {};
    context.preferredSize = [](ZoIndex size, ZoOptionFlags, void*) { return (size + 63) / 64 * 64 - 64; };
    const auto rounding = zoAdopt(ZoAllocatorCreate(nullptr, &context));
    EXPECT_EQ(ZoAllocatorGetPreferredSizeForSize(rounding.get(), 65, 0), 65) << "never less than what is asked for";
    EXPECT_EQ(ZoAllocatorAllocate(rounding.get(), 65, 0), nullptr) << "no allocate callback";
}

TEST_F(ObjectTest, constantObjectsAreNotCounted)
{
    int three = 3;
    const ZoTypeRef constants[] = {
        ZOSTR("text"),       kZoBooleanTrue,     kZoBooleanFalse,  kZoNull,
        kZoAllocatorDefault, kZoAllocatorMalloc, kZoAllocatorNull, ZoNumberCreate(nullptr, kZoNumberIntType, &three)};
    for (ZoTypeRef constant : constants) {
        for (int i = 0; i < 3; ++i) ZoRelease(constant);
        EXPECT_EQ(ZoRetain(constant), constant);
        EXPECT_EQ(_ZoTryRetain(constant), constant);
        EXPECT_EQ(ZoGetRetainCount(constant), INTPTR_MAX);
        EXPECT_FALSE(_ZoIsDeallocating(constant));
        EXPECT_EQ(ZoGetAllocator(constant), kZoAllocatorDefault);
        EXPECT_NE(_ZoRuntimeGetClassWithTypeID(ZoGetTypeID(constant)), nullptr);
        EXPECT_EQ(ZoHash(constant), ZoHash(constant));
    }
}

TEST_F(ObjectTest, equalityIsOfOneType)
{
    auto a = zoAdopt(createProbe(nullptr, 1)), b = zoAdopt(createProbe(nullptr, 1)),
         c = zoAdopt(createProbe(nullptr, 2));
    EXPECT_TRUE(ZoEqual(a.get(), b.get()));
    EXPECT_FALSE(ZoEqual(a.get(), c.get()));
    auto plain = zoAdopt(_ZoRuntimeCreateInstance(nullptr, plainID_, 8, nullptr));
    auto other = zoAdopt(_ZoRuntimeCreateInstance(nullptr, plainID_, 8, nullptr));
    EXPECT_FALSE(ZoEqual(plain.get(), other.get())) << "no equal callback: identity";
    EXPECT_TRUE(ZoEqual(plain.get(), plain.get()));
    EXPECT_FALSE(ZoEqual(a.get(), plain.get()));
    int one = 1;
    EXPECT_FALSE(ZoEqual(ZoNumberCreate(nullptr, kZoNumberIntType, &one), kZoBooleanTrue));
}

// Finalizers use their object like any other code does; who knows it weakly hears of its end before.
TEST_F(ObjectTest, aDyingObjectDiesOnce)
{
    static std::vector<ZoTypeRef> observed;
    __ZoRuntimeSetWeakReferenceReleaseObserver([](ZoTypeRef object) {
        EXPECT_TRUE(gFinalized.empty() && _ZoIsDeallocating(object) && !_ZoTryRetain(object));
        observed.push_back(object);
    });
    gWhenFinalized = [](ZoTypeRef object) {
        EXPECT_TRUE(_ZoIsDeallocating(object) && !_ZoTryRetain(object));
        ZoRetain(object);
        EXPECT_TRUE(_ZoIsDeallocating(object) && !_ZoTryRetain(object));
        ZoRelease(object);
    };
    ZoRelease(createProbe());
    EXPECT_TRUE(observed.empty()) << "no weak reference, no call";
    gFinalized.clear();
    Probe* probe = createProbe();
    _ZoSetWeaklyReferenced(probe);
    EXPECT_EQ(_ZoTryRetain(probe), probe);
    EXPECT_FALSE(_ZoIsDeallocating(probe));
    ZoRelease(probe);
    EXPECT_EQ(ZoGetRetainCount(probe), 1);
    ZoRelease(probe);
    EXPECT_EQ(gFinalized, std::vector<ZoTypeRef>{probe});
    EXPECT_EQ(observed, std::vector<ZoTypeRef>{probe});
    __ZoRuntimeSetWeakReferenceReleaseObserver(nullptr);
}

// Each owner releases the next one in its finalizer.
TEST_F(ObjectTest, aLongChainOfOwnersNeedsLittleStack)
{
    constexpr size_t kLength = 500000;
    FailingAllocator allocator;
    ZoTypeRef head = nullptr;
    for (size_t i = 0; i < kLength; ++i) {
        Probe* probe = createProbe(i % 3 == 0 ? allocator.get() : nullptr);
        probe->next = head;
        head = probe;
        if (i % 5 != 0) continue;
        head = ZoArrayCreate(nullptr, &head, 1, &kZoTypeArrayCallBacks);
        ZoRelease(probe);
    }
    ZoRelease(head);
    EXPECT_EQ(gFinalized.size(), kLength);
    EXPECT_EQ(allocator.liveBlocks(), 0);
}

TEST(Ref, givesEveryReferenceBackOnce)
{
    auto array = zoAdopt(ZoArrayCreateMutable(nullptr, 0, nullptr));
    ZoMutableArrayRef object = array.get();
    {
        auto second = ZoRef<ZoMutableArrayRef>::retain(object);
        EXPECT_EQ(ZoGetRetainCount(object), 2);
        auto& same = second;
        second = std::move(same);
        ZoRef<ZoMutableArrayRef> third = std::move(second);
        EXPECT_FALSE(second);
        EXPECT_EQ(ZoGetRetainCount(object), 2);
        third.reset(third.release());
        EXPECT_EQ(ZoGetRetainCount(object), 2);
        *third.outParam() = nullptr;
        EXPECT_EQ(ZoGetRetainCount(object), 1);
    }
    EXPECT_EQ(ZoGetRetainCount(object), 1);
    EXPECT_FALSE(ZoRef<ZoArrayRef>::retain(nullptr));
}

}  // namespace
