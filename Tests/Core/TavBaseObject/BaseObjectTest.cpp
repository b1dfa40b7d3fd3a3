#include <cstdio>
#include <string>

#include "Core/TavBaseObject/TavBaseObject.h"
#include "Foundation/ZoRef.h"
#include "Foundation/ZoString.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

using Object = ZoRef<LuBaseObjectRef>;

constexpr TavClassDescription kShapeDesc = {1, "TestShape", nullptr, nullptr};
constexpr TavClassDescription kOtherDesc = {1, "TestOther", nullptr, nullptr};
constexpr TavClassDescription kRoundDesc = {1, "TestRound", nullptr, nullptr};

LuClassID registered(const TavClassDescription& description, LuClassID parent, uint32_t flags)
{
    LuClassID made = nullptr;
    EXPECT_EQ(TavBaseClassRegisterClass(&description, parent, flags, &made), 0);
    return made;
}
// A class with a type, one below it without, and a class of another type.
LuClassID shapeClass()
{
    static const LuClassID made = registered(kShapeDesc, TavBaseGetClassID(), kTavBaseClassRegister_OwnType);
    return made;
}
LuClassID roundClass()
{
    static const LuClassID made = registered(kRoundDesc, shapeClass(), 0);
    return made;
}
LuClassID otherClass()
{
    static const LuClassID made = registered(kOtherDesc, LuBaseGetClassID(), kTavBaseClassRegister_OwnType);
    return made;
}

struct Storage {
    int32_t value;
    char more[100];
};
Storage& storageOf(LuBaseObjectRef object) { return *static_cast<Storage*>(LuBaseObjectGetDerivedStorage(object)); }

int gFinalized, gRegistered, gUnregistered;
void finalizeShape(LuBaseObjectRef object)
{
    EXPECT_NE(LuBaseObjectGetVTable(object), nullptr);
    ++gFinalized;
}
Boolean equalShapes(LuBaseObjectRef object1, LuBaseObjectRef object2)
{
    return storageOf(object1).value == storageOf(object2).value;
}
ZoStringRef describeNothing(LuBaseObjectRef) { return nullptr; }
ZoStringRef describeProtocol(LuBaseObjectRef) { return ZoStringCreateCopy(nullptr, ZOSTR("drawn")); }

LuProtocolID protocol(int index)
{
    static LuProtocolID made[3];
    if (!made[index]) {
        const TavProtocolDescription description = {1, "TestProtocol", {}};
        EXPECT_EQ(TavBaseProtocolRegisterProtocol(&description, 0, &made[index]), 0);
    }
    return made[index];
}
constexpr LuBaseProtocol kProtocolBase = {nullptr, describeProtocol};
constexpr LuProtocolVTable kDrawing = {nullptr, &kProtocolBase}, kSilent = {nullptr, nullptr};
constexpr LuProtocolTableEntry kEntries[] = {
    {nullptr, &kSilent},
    {[] { return protocol(0); }, &kDrawing},
    {[] { return protocol(1); }, nullptr},
    {[] { return protocol(0); }, &kSilent},
};
constexpr LuProtocolTable kProtocols = {1, 4, kEntries};

LuBaseClass baseTable(ZoIndex version)
{
    return {.version = version,
            .derivedStorageSize = sizeof(Storage),
            .equal = equalShapes,
            .unused = nullptr,
            .finalize = finalizeShape,
            .copyDebugDescription = describeNothing,
            .copyProperty = nullptr,
            .setProperty = nullptr,
            .notificationBarrier = nullptr,
            .protocolTable = nullptr};
}

Object make(const LuVTable& vtable, LuClassID classID)
{
    Object made;
    EXPECT_EQ(TavDerivedObjectCreate(nullptr, &vtable, classID, made.outParam()), 0);
    return made;
}

std::string textOf(ZoStringRef owned)
{
    const auto string = zoAdopt(owned);
    char text[512] = "";
    ZoStringGetCString(string.get(), text, sizeof text, kZoStringEncodingUTF8);
    return text;
}

std::string formatted(const char* format, auto... arguments)
{
    char text[512];
    snprintf(text, sizeof text, format, arguments...);
    return text;
}

}  // namespace

TEST(BaseObject, ClassesFormATreeWithOneTypeOnEachPath)
{
    EXPECT_NE(LuBaseClassGetZoTypeID(shapeClass()), 0u);
    EXPECT_EQ(LuBaseClassGetZoTypeID(roundClass()), LuBaseClassGetZoTypeID(shapeClass()));
    EXPECT_NE(LuBaseClassGetZoTypeID(otherClass()), LuBaseClassGetZoTypeID(shapeClass()));
    EXPECT_EQ(LuBaseClassGetZoTypeID(kTavBaseClassID), 0u);
    EXPECT_EQ(LuBaseClassGetZoTypeID(nullptr), 0u);

    LuClassID none = nullptr;
    SignalProbe probe;
    EXPECT_EQ(TavBaseClassRegisterClass(&kRoundDesc, roundClass(), kTavBaseClassRegister_OwnType, &none), -12780);
    EXPECT_EQ(probe.message(), "already rooted in Zo");
    EXPECT_EQ(TavBaseClassRegisterClass(nullptr, shapeClass(), 0, &none), -12780);
    EXPECT_EQ(TavBaseClassRegisterClass(&kRoundDesc, nullptr, 0, &none), -12780);
    EXPECT_EQ(TavBaseClassRegisterClass(&kRoundDesc, shapeClass(), 0, nullptr), -12780);
    EXPECT_EQ(TavBaseProtocolRegisterProtocol(nullptr, 0, nullptr), -12780);
    EXPECT_EQ(probe.message(), "bad param");
    EXPECT_EQ(none, nullptr);

    const LuBaseClass base = baseTable(1);
    const LuVTable vtable = {nullptr, &base, nullptr};
    const Object round = make(vtable, roundClass());
    EXPECT_EQ(ZoGetTypeID(round.get()), LuBaseClassGetZoTypeID(shapeClass()));
    EXPECT_EQ(LuBaseObjectGetClassID(round.get()), roundClass());
    EXPECT_TRUE(LuBaseObjectIsMemberOfClass(round.get(), roundClass()));
    EXPECT_TRUE(LuBaseObjectIsMemberOfClass(round.get(), shapeClass()));
    EXPECT_TRUE(LuBaseObjectIsMemberOfClass(round.get(), LuBaseGetClassID()));
    EXPECT_FALSE(LuBaseObjectIsMemberOfClass(round.get(), otherClass()));
    EXPECT_FALSE(LuBaseObjectIsMemberOfClass(round.get(), nullptr));
    EXPECT_FALSE(LuBaseObjectIsMemberOfClass(make(vtable, shapeClass()).get(), roundClass()));
    EXPECT_TRUE(ZoTypeIsLuBaseObject(round.get()));
    EXPECT_FALSE(ZoTypeIsLuBaseObject(ZOSTR("text")));
}

TEST(BaseObject, CreationChecksTheTableBeforeItAllocates)
{
    const LuBaseClass base = baseTable(5), tooOld = baseTable(0), tooNew = baseTable(6);
    LuBaseClass tooLarge = baseTable(1);
    tooLarge.derivedStorageSize = SIZE_MAX - 4;
    const LuVTable good = {nullptr, &base, nullptr}, old = {nullptr, &tooOld, nullptr},
                   future = {&good, &tooNew, nullptr}, reserved = {&good, &base, nullptr},
                   large = {nullptr, &tooLarge, nullptr};
    struct {
        const LuVTable* vtable;
        LuClassID classID;
        OSStatus status;
        const char* message;
    } const rows[] = {
        {nullptr, shapeClass(), -12780, "bad param"},
        {&old, shapeClass(), -12781, "bad version < 1"},
        {&future, shapeClass(), -12781, "bad version > 5"},
        {&reserved, nullptr, -12780, "reserved must be NULL"},
        {&good, nullptr, -12780, "ZoTypeID must not be 0"},
        {&good, LuBaseGetClassID(), -12780, "ZoTypeID must not be 0"},
        {&large, shapeClass(), -12786, "Zo failure"},
        {&good, shapeClass(), 0, ""},
    };
    for (const auto& row : rows) {
        SignalProbe probe;
        Object object;
        EXPECT_EQ(LuDerivedObjectCreate(nullptr, row.vtable, row.classID, object.outParam()), row.status);
        EXPECT_EQ(probe.message(), row.message);
        EXPECT_EQ(!object, row.status != 0);
    }
    EXPECT_EQ(LuDerivedObjectCreate(nullptr, &good, shapeClass(), nullptr), -12780);
    FailingAllocator none(1);
    LuBaseObjectRef object = nullptr;
    EXPECT_EQ(LuDerivedObjectCreate(none.get(), &good, shapeClass(), &object), -12786);
}

TEST(BaseObject, StorageEqualityAndDescriptionComeFromTheTable)
{
    const LuBaseClass base = baseTable(1);
    LuBaseClass bare = baseTable(1);
    bare.equal = nullptr;
    bare.finalize = nullptr;
    const LuVTable vtable = {nullptr, &base, nullptr}, twin = {nullptr, &base, nullptr},
                   plain = {nullptr, &bare, nullptr};
    gFinalized = 0;
    {
        const Object one = make(vtable, shapeClass()), same = make(vtable, shapeClass()),
                     two = make(vtable, shapeClass()), foreign = make(twin, shapeClass());
        EXPECT_EQ(storageOf(one.get()).value, 0);
        EXPECT_EQ(storageOf(one.get()).more[99], 0);
        storageOf(two.get()).value = 2;
        EXPECT_TRUE(ZoEqual(one.get(), same.get()));
        EXPECT_FALSE(ZoEqual(one.get(), two.get()));
        EXPECT_FALSE(ZoEqual(one.get(), foreign.get())) << "another table";
        EXPECT_EQ(textOf(ZoCopyDescription(one.get())),
                  formatted("<LuBaseObject: instance<%p> storage<%p> class<%p> allocator<%p>>",
                            static_cast<const void*>(one.get()), LuBaseObjectGetDerivedStorage(one.get()),
                            static_cast<const void*>(&vtable), static_cast<const void*>(ZoGetAllocator(one.get()))));
        const Object bare1 = make(plain, shapeClass()), bare2 = make(plain, shapeClass());
        EXPECT_TRUE(ZoEqual(bare1.get(), bare1.get()));
        EXPECT_FALSE(ZoEqual(bare1.get(), bare2.get()));
    }
    EXPECT_EQ(gFinalized, 4);
    EXPECT_EQ(LuBaseObjectGetVTable(nullptr), nullptr);
    EXPECT_EQ(LuBaseObjectGetDerivedStorage(nullptr), nullptr);
}

TEST(BaseObject, ProtocolsAreLookedUpFromVersion3On)
{
    LuBaseClass base = baseTable(3), older = baseTable(2);
    base.protocolTable = older.protocolTable = &kProtocols;
    const LuVTable vtable = {nullptr, &base, nullptr}, oldVTable = {nullptr, &older, nullptr};
    const Object object = make(vtable, shapeClass()), old = make(oldVTable, shapeClass());
    EXPECT_EQ(LuBaseObjectGetProtocolVTable(object.get(), protocol(0)), &kDrawing) << "the first match";
    EXPECT_FALSE(LuBaseObjectImplementsProtocol(object.get(), protocol(1))) << "an entry with an empty table";
    EXPECT_FALSE(LuBaseObjectImplementsProtocol(object.get(), protocol(2)));
    EXPECT_FALSE(LuBaseObjectImplementsProtocol(object.get(), nullptr));
    EXPECT_FALSE(LuBaseObjectImplementsProtocol(nullptr, protocol(0)));
    EXPECT_FALSE(LuBaseObjectImplementsProtocol(old.get(), protocol(0)));

    const auto header = [](const Object& of, int index) {
        return formatted("<LuBaseProtocol on LuBaseObject: protocol<%p> instance<%p> allocator<%p>>{",
                         static_cast<const void*>(protocol(index)), static_cast<const void*>(of.get()),
                         static_cast<const void*>(ZoGetAllocator(of.get())));
    };
    EXPECT_EQ(textOf(LuBaseProtocolCopyDebugDescription(object.get(), protocol(0))), header(object, 0) + "\ndrawn\n}");
    EXPECT_EQ(textOf(LuBaseProtocolCopyDebugDescription(object.get(), protocol(2))),
              header(object, 2) + "UNIMPLEMENTED}");
}

TEST(BaseObject, TheStandardBarrierIsRegisteredFromVersion2On)
{
    static OSStatus sRegisterStatus;
    static const TavBaseObjectBarrierSupport kSupport = {[](LuBaseObjectRef) -> OSStatus {
                                                             ++gRegistered;
                                                             return sRegisterStatus;
                                                         },
                                                         [](LuBaseObjectRef) { ++gUnregistered; },
                                                         [](LuBaseObjectRef) -> OSStatus { return -3; }};
    struct {
        ZoIndex version;
        OSStatus (*barrier)(LuBaseObjectRef);
        int registrations;
    } const rows[] = {
        {1, TavBaseObjectStandardNotificationBarrier, 0},      {2, TavBaseObjectStandardNotificationBarrier, 1},
        {5, TavBaseObjectStandardNotificationBarrier, 1},      {2, nullptr, 0},
        {2, [](LuBaseObjectRef) -> OSStatus { return 0; }, 0},
    };
    for (const auto& row : rows) {
        LuBaseClass base = baseTable(row.version);
        base.notificationBarrier = row.barrier;
        const LuVTable vtable = {nullptr, &base, nullptr};
        const Object early = make(vtable, shapeClass());  // without a notification center there is nothing to wait for
        TavBaseObjectSetBarrierSupport(&kSupport);
        gRegistered = gUnregistered = 0;
        sRegisterStatus = 0;
        const Object object = make(vtable, shapeClass());
        EXPECT_EQ(TavBaseObjectStandardNotificationBarrier(object.get()), -3);
        Object refused;
        sRegisterStatus = -12721;
        EXPECT_EQ(LuDerivedObjectCreate(nullptr, &vtable, shapeClass(), refused.outParam()),
                  row.registrations ? -12721 : 0);
        EXPECT_EQ(!refused, row.registrations != 0);
        EXPECT_EQ(gRegistered, 2 * row.registrations);
        EXPECT_EQ(gUnregistered, row.registrations) << "the one that was refused";
        TavBaseObjectSetBarrierSupport(nullptr);
    }
}
