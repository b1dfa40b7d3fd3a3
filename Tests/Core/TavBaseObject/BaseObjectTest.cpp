// A small family of classes: a shape with a type of its own, a square and a circle below it, and a stranger beside
// them.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Core/TavBaseObject/TavBaseObject.h"
#include "Foundation/Objects/ZoRef.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

static bool sCallocFails;
extern "C" {
void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size) { return sCallocFails ? nullptr : __real_calloc(count, size); }
}

namespace {

using Object = ZoRef<LuBaseObjectRef>;

TavClassDescription descriptionOf(const char* name)
{
    return {.version = 1, .className = name, .reserved = nullptr, .copyFormattingDescription = nullptr};
}

LuClassID makeClass(const TavClassDescription* description, LuClassID parent, uint32_t flags)
{
    LuClassID made = nullptr;
    EXPECT_EQ(TavBaseClassRegisterClass(description, parent, flags, &made), 0);
    return made;
}

struct Classes {
    TavClassDescription shapeDescription = descriptionOf("Shape"), squareDescription = descriptionOf("Square"),
                        abstractDescription = descriptionOf("Abstract"),
                        strangerDescription = descriptionOf("Stranger");
    LuClassID abstract = makeClass(&abstractDescription, LuBaseGetClassID(), 0);  // between the root and a type
    LuClassID shape = makeClass(&shapeDescription, abstract, kTavBaseClassRegister_OwnType);
    LuClassID square = makeClass(&squareDescription, shape, 0);
    LuClassID circle = makeClass(&squareDescription, shape, 0);
    LuClassID stranger = makeClass(&strangerDescription, LuBaseGetClassID(), kTavBaseClassRegister_OwnType);
};

const Classes& classes()
{
    static const Classes sClasses;
    return sClasses;
}

constexpr size_t kStorageSize = 24;
int sFinalized, sRegistered, sUnregistered, sBarriers;
OSStatus sRegisterStatus;

void countFinalize(LuBaseObjectRef object)
{
    ++sFinalized;
    EXPECT_NE(LuBaseObjectGetVTable(object), nullptr) << "the class's own operations work to the end";
}
Boolean equalFirstByte(LuBaseObjectRef object1, LuBaseObjectRef object2)
{
    return *static_cast<char*>(LuBaseObjectGetDerivedStorage(object1)) ==
           *static_cast<char*>(LuBaseObjectGetDerivedStorage(object2));
}
ZoStringRef describeOrNot(LuBaseObjectRef object)
{
    const char* text = static_cast<const char*>(LuBaseObjectGetDerivedStorage(object));
    return *text ? ZoStringCreateWithCString(nullptr, text, kZoStringEncodingUTF8) : nullptr;
}

constexpr LuBaseClass kFullBase = {.version = 5,
                                   .derivedStorageSize = kStorageSize,
                                   .equal = equalFirstByte,
                                   .finalize = countFinalize,
                                   .copyDebugDescription = describeOrNot};
constexpr LuBaseClass kBareBase = {.version = 1, .derivedStorageSize = 0};
constexpr LuVTable kFull = {.reserved = nullptr, .base = &kFullBase, .derived = nullptr};
constexpr LuVTable kBare = {.reserved = nullptr, .base = &kBareBase, .derived = nullptr};

Object make(const LuVTable& vtable, LuClassID classID = classes().shape, char first = 0)
{
    Object object;
    EXPECT_EQ(LuDerivedObjectCreate(nullptr, &vtable, classID, object.outParam()), 0);
    if (object && vtable.base->derivedStorageSize > 0)
        *static_cast<char*>(LuBaseObjectGetDerivedStorage(object.get())) = first;
    return object;
}

class BaseObject : public ::testing::Test {
protected:
    void SetUp() override
    {
        classes();
        sFinalized = sRegistered = sUnregistered = sBarriers = 0;
        sRegisterStatus = 0;
    }
    void TearDown() override
    {
        TavBaseObjectSetBarrierSupport(nullptr);
        sCallocFails = false;
    }
};

struct Refusal {
    const char* message;
    OSStatus code;
    OSStatus (*operation)();
};

OSStatus createWith(const LuVTable* vtable, LuClassID classID)
{
    LuBaseObjectRef object = nullptr;
    const OSStatus status = LuDerivedObjectCreate(nullptr, vtable, classID, &object);
    EXPECT_EQ(object, nullptr);
    return status;
}

OSStatus createWithBase(const LuBaseClass& base, LuClassID classID, const void* reserved = nullptr)
{
    const LuVTable vtable = {.reserved = reserved, .base = &base, .derived = nullptr};
    return createWith(&vtable, classID);
}
OSStatus createWithVersion(ZoIndex version)  // which is looked at first
{
    return createWithBase({.version = version, .derivedStorageSize = 0}, nullptr, "reserved");
}

OSStatus registerBelow(LuClassID parent, uint32_t flags)
{
    static const TavClassDescription sDescription = descriptionOf("Refused");
    LuClassID made = nullptr;
    const OSStatus status = TavBaseClassRegisterClass(&sDescription, parent, flags, &made);
    EXPECT_EQ(made, nullptr);
    return status;
}
OSStatus registerProtocol(bool withDescription = true)
{
    const TavProtocolDescription description = {};
    LuProtocolID protocol = nullptr;
    return TavBaseProtocolRegisterProtocol(withDescription ? &description : nullptr, 0, &protocol);
}

const Refusal kRefusals[] = {
    {"bad param", -12780, [] { return registerBelow(nullptr, 0); }},
    {"already rooted in Zo", -12780, [] { return registerBelow(classes().shape, 1); }},
    {"already rooted in Zo", -12780, [] { return registerBelow(classes().square, 1); }},
    {"malloc failure", -12786, [] { return sCallocFails = true, registerBelow(LuBaseGetClassID(), 0); }},
    {"malloc failure", -12786, [] { return sCallocFails = true, registerProtocol(); }},
    {"bad param", -12780, [] { return registerProtocol(false); }},
    {"bad param", -12780, [] { return createWith(nullptr, classes().shape); }},
    {"bad param", -12780, [] { return LuDerivedObjectCreate(nullptr, &kFull, classes().shape, nullptr); }},
    {"bad version < 1", -12781, [] { return createWithVersion(0); }},
    {"bad version > 5", -12781, [] { return createWithVersion(6); }},
    {"reserved must be NULL", -12780, [] { return createWithVersion(5); }},
    {"ZoTypeID must not be 0", -12780, [] { return createWith(&kFull, nullptr); }},
    {"ZoTypeID must not be 0", -12780, [] { return createWith(&kFull, classes().abstract); }},
    {"Zo failure", -12786,
     [] {
         return createWithBase({.version = 1, .derivedStorageSize = SIZE_MAX - 20, .finalize = countFinalize},
                               classes().shape);
     }},
};

}  // namespace

TEST_F(BaseObject, refusesWithOneSignal)
{
    for (const Refusal& row : kRefusals) {
        SCOPED_TRACE(row.message);
        const SignalProbe probe;
        EXPECT_EQ(row.operation(), row.code);
        sCallocFails = false;
        EXPECT_EQ(probe.count(), 1u);
        EXPECT_EQ(probe.code(), row.code);
        EXPECT_EQ(probe.message(), row.message);
    }
    EXPECT_EQ(sFinalized, 0) << "what was never completed is not finalized";
}

TEST_F(BaseObject, sharesTheTypeOfItsNearestClassThatHasOne)
{
    const ZoTypeID type = LuBaseClassGetZoTypeID(classes().shape);
    EXPECT_NE(type, 0u);
    EXPECT_EQ(LuBaseClassGetZoTypeID(classes().square), type);
    EXPECT_EQ(LuBaseClassGetZoTypeID(classes().abstract), 0u);
    EXPECT_EQ(LuBaseClassGetZoTypeID(LuBaseGetClassID()), 0u);
    EXPECT_EQ(LuBaseClassGetZoTypeID(nullptr), 0u);
    EXPECT_NE(LuBaseClassGetZoTypeID(classes().stranger), type);

    const Object square = make(kFull, classes().square);
    EXPECT_EQ(ZoGetTypeID(square.get()), type);
    EXPECT_EQ(LuBaseObjectGetClassID(square.get()), classes().square);
    EXPECT_STREQ(_ZoRuntimeGetClassWithTypeID(type)->className, "Shape");
}

// The run-time has room for so many types; the process that takes them all is one of its own.
TEST(BaseObjectDeathTest, hasNoClassWhereTheRunTimeHasNoRoom)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto fails = [] {
        static const ZoRuntimeClass sFiller = {.version = 0, .className = "Filler"};
        while (_ZoRuntimeRegisterClass(&sFiller) != 0) continue;
        const SignalProbe probe;
        return registerBelow(LuBaseGetClassID(), kTavBaseClassRegister_OwnType) == -1 && probe.code() == -1 &&
               probe.message() == "Zo failure" &&
               registerBelow(LuBaseGetClassID(), kTavBaseClassRegister_OwnType) == -1;
    };
    EXPECT_EXIT(std::_Exit(fails() ? 0 : 1), ::testing::ExitedWithCode(0), "");
}

TEST_F(BaseObject, isAMemberOfItsClassAndOfThoseAbove)
{
    const Object square = make(kFull, classes().square);
    const struct {
        LuClassID classID;
        bool isMember;
    } rows[] = {{classes().square, true},
                {classes().shape, true},
                {classes().abstract, true},
                {LuBaseGetClassID(), true},
                {classes().circle, false},
                {classes().stranger, false},
                {nullptr, false}};
    for (const auto& row : rows) EXPECT_EQ(LuBaseObjectIsMemberOfClass(square.get(), row.classID), row.isMember);
    const Object shape = make(kFull, classes().shape);
    EXPECT_FALSE(LuBaseObjectIsMemberOfClass(shape.get(), classes().square));
    EXPECT_FALSE(LuBaseObjectIsMemberOfClass(nullptr, classes().shape));

    EXPECT_TRUE(ZoTypeIsLuBaseObject(square.get()));
    EXPECT_FALSE(ZoTypeIsLuBaseObject(nullptr));
}

// An object of a foreign type that holds, by chance, a class where a base object has it.
TEST_F(BaseObject, isToldFromWhatOnlyLooksLikeOne)
{
    struct Foreign {
        ZoRuntimeBase base;
        LuClassID word;
        const void* more;
    };
    static const ZoRuntimeClass sForeignClass = {.version = 0, .className = "Foreign"};
    static const ZoTypeID sForeignType = _ZoRuntimeRegisterClass(&sForeignClass);
    const auto foreign = zoAdopt(static_cast<LuBaseObjectRef>(
        const_cast<void*>(_ZoRuntimeCreateInstance(nullptr, sForeignType, sizeof(LuClassID) * 2, nullptr))));
    for (LuClassID classID : {classes().shape, classes().abstract, LuBaseGetClassID()}) {
        static_cast<Foreign*>(static_cast<void*>(foreign.get()))->word = classID;
        EXPECT_FALSE(LuBaseObjectIsMemberOfClass(foreign.get(), classID));
    }
    EXPECT_FALSE(ZoTypeIsLuBaseObject(foreign.get()));
}

// Made past LuDerivedObjectCreate: it has neither class nor operations, and does no harm.
TEST_F(BaseObject, isHarmlessWithoutATable)
{
    const ZoTypeID type = LuBaseClassGetZoTypeID(classes().shape);
    const auto create = [&] {
        return Object::adopt(static_cast<LuBaseObjectRef>(
            const_cast<void*>(_ZoRuntimeCreateInstance(nullptr, type, 2 * sizeof(void*), nullptr))));
    };
    const Object a = create(), b = create();
    EXPECT_FALSE(ZoEqual(a.get(), b.get()));
    EXPECT_FALSE(LuBaseObjectImplementsProtocol(a.get(), LuProtocolID{}));
    EXPECT_NE(textOf(ZoCopyDescription(a.get())).find("class<"), std::string::npos);
}

TEST_F(BaseObject, startsWithClearStorageAndIsFinalizedOnce)
{
    FailingAllocator dirty;  // hands out memory that is not zero
    LuBaseObjectRef object = nullptr;
    ASSERT_EQ(TavDerivedObjectCreate(dirty.get(), &kFull, classes().square, &object), 0);
    static const char kZeros[kStorageSize] = {};
    EXPECT_EQ(std::memcmp(LuBaseObjectGetDerivedStorage(object), kZeros, kStorageSize), 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(LuBaseObjectGetDerivedStorage(object)) % alignof(max_align_t), 0u);
    EXPECT_EQ(LuBaseObjectGetVTable(object), &kFull);
    std::memset(LuBaseObjectGetDerivedStorage(object), 1, kStorageSize);
    ZoRetain(object);
    ZoRelease(object);
    EXPECT_EQ(sFinalized, 0);
    ZoRelease(object);
    EXPECT_EQ(sFinalized, 1);
    EXPECT_EQ(dirty.liveBlocks(), 0);
    EXPECT_EQ(LuBaseObjectGetVTable(nullptr), nullptr);
    EXPECT_EQ(LuBaseObjectGetDerivedStorage(nullptr), nullptr);
}

TEST_F(BaseObject, leavesEqualityToItsTable)
{
    static constexpr LuVTable kFullToo = kFull;  // the same operations, but another class's
    const Object a = make(kFull, classes().square, 'a'), same = make(kFull, classes().circle, 'a');
    const Object b = make(kFull, classes().square, 'b'), otherTable = make(kFullToo, classes().square, 'a');
    EXPECT_TRUE(ZoEqual(a.get(), same.get()));
    EXPECT_FALSE(ZoEqual(a.get(), b.get()));
    EXPECT_FALSE(ZoEqual(a.get(), otherTable.get()));
    const Object bare = make(kBare), otherBare = make(kBare);
    EXPECT_TRUE(ZoEqual(bare.get(), bare.get()));
    EXPECT_FALSE(ZoEqual(bare.get(), otherBare.get())) << "without an operation only the same one is equal";
}

TEST_F(BaseObject, describesItselfOrIsDescribed)
{
    const Object described = make(kFull, classes().square, 'q');
    EXPECT_EQ(textOf(ZoCopyDescription(described.get())), "q");
    const Object silent = make(kFull), bare = make(kBare);  // an operation that gives nothing, and none
    for (const Object* object : {&silent, &bare}) {
        char expected[200];
        std::snprintf(expected, sizeof expected, "<LuBaseObject: instance<%p> storage<%p> class<%p> allocator<%p>>",
                      static_cast<void*>(object->get()), LuBaseObjectGetDerivedStorage(object->get()),
                      static_cast<const void*>(LuBaseObjectGetVTable(object->get())),
                      static_cast<const void*>(ZoGetAllocator(object->get())));
        EXPECT_EQ(textOf(ZoCopyDescription(object->get())), expected);
    }
}

// MARK: barriers

namespace {

constexpr TavBaseObjectBarrierSupport kCountingSupport = {
    .registerObject = [](LuBaseObjectRef) { return ++sRegistered, sRegisterStatus; },
    .unregisterObject = [](LuBaseObjectRef) { ++sUnregistered; },
    .barrier = [](LuBaseObjectRef) { return OSStatus{++sBarriers}; },
};

LuBaseClass baseWithBarrier(ZoIndex version, OSStatus (*barrier)(LuBaseObjectRef))
{
    return {.version = version, .derivedStorageSize = 0, .finalize = countFinalize, .notificationBarrier = barrier};
}

}  // namespace

TEST_F(BaseObject, registersForBarriersWhereItsTableHasTheStandardOne)
{
    const LuBaseClass standard = baseWithBarrier(2, TavBaseObjectStandardNotificationBarrier);
    const LuBaseClass tooOld = baseWithBarrier(1, TavBaseObjectStandardNotificationBarrier);
    const LuBaseClass own = baseWithBarrier(5, [](LuBaseObjectRef) { return OSStatus{0}; });
    const LuBaseClass none = baseWithBarrier(5, nullptr);
    const struct {
        const LuBaseClass* base;
        int times;
    } rows[] = {{&standard, 1}, {&tooOld, 0}, {&own, 0}, {&none, 0}};
    TavBaseObjectSetBarrierSupport(&kCountingSupport);
    for (const auto& row : rows) {
        const LuVTable vtable = {.reserved = nullptr, .base = row.base, .derived = nullptr};
        sRegistered = sUnregistered = 0;
        Object object = make(vtable);
        EXPECT_EQ(sRegistered, row.times);
        EXPECT_EQ(sUnregistered, 0);
        object.reset();
        EXPECT_EQ(sUnregistered, row.times);
    }
    EXPECT_EQ(TavBaseObjectStandardNotificationBarrier(nullptr), 1);
    TavBaseObjectSetBarrierSupport(nullptr);
    EXPECT_EQ(TavBaseObjectStandardNotificationBarrier(nullptr), 0) << "nothing to wait for without a center";
}

TEST_F(BaseObject, isGoneWhereItCannotBeRegisteredForBarriers)
{
    const LuBaseClass standard = baseWithBarrier(3, TavBaseObjectStandardNotificationBarrier);
    const LuVTable vtable = {.reserved = nullptr, .base = &standard, .derived = nullptr};
    TavBaseObjectSetBarrierSupport(&kCountingSupport);
    sRegisterStatus = -7;
    EXPECT_EQ(createWith(&vtable, classes().shape), -7);
    EXPECT_EQ(sFinalized, 1);
}

// MARK: protocols

namespace {

LuProtocolID makeProtocol()
{
    const TavProtocolDescription description = {.version = 1, .protocolName = "Protocol", .reserved = {}};
    LuProtocolID protocol = nullptr;
    EXPECT_EQ(TavBaseProtocolRegisterProtocol(&description, 0, &protocol), 0);
    return protocol;
}

template <int>
LuProtocolID protocol()
{
    static const LuProtocolID sProtocol = makeProtocol();
    return sProtocol;
}
constexpr auto drawing = protocol<0>, silent = protocol<1>, withoutTable = protocol<2>, unknown = protocol<3>;

constexpr LuBaseProtocol kDescribes = {.reserved = nullptr, .copyDebugDescription = [](LuBaseObjectRef) {
                                           return ZoStringCreateWithCString(nullptr, "draws", kZoStringEncodingUTF8);
                                       }};
constexpr LuBaseProtocol kSaysNothing = {
    .reserved = nullptr, .copyDebugDescription = [](LuBaseObjectRef) -> ZoStringRef { return nullptr; }};
constexpr LuProtocolVTable kDrawing = {.reserved = nullptr, .base = &kDescribes};
constexpr LuProtocolVTable kDrawingAgain = {.reserved = nullptr, .base = nullptr};
constexpr LuProtocolVTable kSilent = {.reserved = nullptr, .base = &kSaysNothing};

const LuProtocolTableEntry kEntries[] = {{nullptr, &kDrawingAgain},
                                         {withoutTable, nullptr},
                                         {drawing, &kDrawing},
                                         {silent, &kSilent},
                                         {drawing, &kDrawingAgain}};
constexpr LuProtocolTable kProtocols = {.version = 77, .entryCount = std::size(kEntries), .entries = kEntries};
constexpr LuBaseClass kBaseWithProtocols = {.version = 3, .derivedStorageSize = 0, .protocolTable = &kProtocols};
constexpr LuVTable kWithProtocols = {.reserved = nullptr, .base = &kBaseWithProtocols, .derived = nullptr};

}  // namespace

TEST_F(BaseObject, findsItsProtocols)
{
    const Object object = make(kWithProtocols);
    EXPECT_EQ(LuBaseObjectGetProtocolVTable(object.get(), drawing()), &kDrawing) << "the first entry";
    EXPECT_EQ(LuBaseObjectGetProtocolVTable(object.get(), silent()), &kSilent);
    EXPECT_TRUE(LuBaseObjectImplementsProtocol(object.get(), silent()));
    EXPECT_FALSE(LuBaseObjectImplementsProtocol(object.get(), withoutTable()));
    EXPECT_FALSE(LuBaseObjectImplementsProtocol(object.get(), unknown()));
    EXPECT_FALSE(LuBaseObjectImplementsProtocol(object.get(), nullptr));
    EXPECT_FALSE(LuBaseObjectImplementsProtocol(nullptr, drawing()));

    const LuBaseClass tooOld = {.version = 2, .derivedStorageSize = 0, .protocolTable = &kProtocols};
    const LuVTable tooOldTable = {.reserved = nullptr, .base = &tooOld, .derived = nullptr};
    EXPECT_FALSE(LuBaseObjectImplementsProtocol(make(tooOldTable).get(), drawing()));
    EXPECT_FALSE(LuBaseObjectImplementsProtocol(make(kFull).get(), drawing()));
}

TEST_F(BaseObject, describesItsProtocols)
{
    const Object object = make(kWithProtocols), without = make(kBare);
    const struct {
        LuBaseObjectRef object;
        LuProtocolID protocol;
        const char* rest;
    } rows[] = {{object.get(), drawing(), "\ndraws\n}"},
                {object.get(), silent(), "UNIMPLEMENTED}"},
                {object.get(), withoutTable(), "UNIMPLEMENTED}"},
                {without.get(), drawing(), "UNIMPLEMENTED}"}};
    for (const auto& row : rows) {
        char expected[300];
        std::snprintf(expected, sizeof expected,
                      "<LuBaseProtocol on LuBaseObject: protocol<%p> instance<%p> allocator<%p>>{%s",
                      static_cast<const void*>(row.protocol), static_cast<void*>(row.object),
                      static_cast<const void*>(ZoGetAllocator(row.object)), row.rest);
        EXPECT_EQ(textOf(LuBaseProtocolCopyDebugDescription(row.object, row.protocol)), expected);
    }
}
