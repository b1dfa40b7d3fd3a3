// A description's life: what is refused, what is kept, what it says of itself, what happens without memory.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoSet.h"
#include "Foundation/URLs/ZoURL.h"
#include "Tests/Core/TavFormatDescription/Extensions.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

constexpr OSType kCounted = LU_FOURCC('c', 'n', 't', 'd');

struct CountedStorage {
    long double alignedForEveryType;
    ZoStringRef owned;
    char rest[100];
};

struct Counted {
    static inline int finalized = 0;
    static inline bool sawExtensions = false;
    static inline Boolean answer = true;

    static inline ZoTypeRef keys = nullptr, atomKeys = nullptr;
    static Boolean equal(LuFormatDescriptionRef, LuFormatDescriptionRef, ZoTypeRef keysToIgnore,
                         ZoTypeRef atomKeysToIgnore)
    {
        keys = keysToIgnore;
        atomKeys = atomKeysToIgnore;
        return answer;
    }
    static ZoStringRef copyDebugDesc(LuFormatDescriptionRef)
    {
        return ZoStringCreateWithCString(nullptr, "\t\tcounted", kZoStringEncodingUTF8);
    }
    static void finalize(LuFormatDescriptionRef description)
    {
        ++finalized;
        sawExtensions = LuFormatDescriptionGetExtension(description, ZOSTR("key")) != nullptr;
        auto* storage = static_cast<CountedStorage*>(TavDerivedFormatDescriptionGetDerivedStorage(description));
        if (storage->owned) ZoRelease(storage->owned);
    }
};

constexpr TavDerivedFormatDescriptionCallbacks kCountedCallbacks = {.version = 0,
                                                                    .derivedStorageSize = sizeof(CountedStorage),
                                                                    .equal = Counted::equal,
                                                                    .copyDebugDesc = Counted::copyDebugDesc,
                                                                    .finalize = Counted::finalize};

class FormatDescription : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(TavDerivedFormatDescriptionRegister(kCounted, &kCountedCallbacks), 0);
        ASSERT_TRUE(describe());  // registers the generic kind
        Counted::finalized = 0;
        Counted::answer = true;
    }
};

OSStatus registerWith(uint32_t version, bool hasEqual)
{
    TavDerivedFormatDescriptionCallbacks callbacks = kCountedCallbacks;
    callbacks.version = version;
    if (!hasEqual) callbacks.equal = nullptr;
    return TavDerivedFormatDescriptionRegister(LU_FOURCC('b', 'a', 'd', ' '), &callbacks);
}

ZoRef<ZoDictionaryRef> notAPropertyList()
{
    const auto url = zoAdopt(ZoURLCreateWithString(nullptr, ZOSTR("file:///a"), nullptr));
    return zoAdopt(ZoDictionaryCreateCopy(nullptr, dictionary({{ZOSTR("link"), url.get()}}).get()));
}

struct Refusal {
    const char* message;
    const char* operation;
    OSStatus code;
    OSStatus (*call)(LuFormatDescriptionRef* out);
};

#define REFUSES(operation, code, message, ...)     \
    {                                              \
        message, #operation, code, [](auto* out) { \
            (void)out;                             \
            __VA_ARGS__                            \
        }                                          \
    }
const Refusal kRefusals[] = {
    REFUSES(TavDerivedFormatDescriptionRegister, -12710, "!callbacks",
            return TavDerivedFormatDescriptionRegister(kCounted, nullptr);),
    REFUSES(TavDerivedFormatDescriptionRegister, -12710, "callbacks->version != 0", return registerWith(1, true);),
    REFUSES(TavDerivedFormatDescriptionRegister, -12710, "callbacks->equal == NULL", return registerWith(0, false);),
    REFUSES(LuFormatDescriptionCreate, -12710, "!outDesc",
            return LuFormatDescriptionCreate(nullptr, kSubtitle, 1, nullptr, nullptr);),
    REFUSES(TavDerivedFormatDescriptionCreate, -12710, "NULL == descOut",
            return TavDerivedFormatDescriptionCreate(nullptr, 0, 1, nullptr, nullptr);),
    REFUSES(LuFormatDescriptionCreate, -12710, "!mediaType",
            return LuFormatDescriptionCreate(nullptr, 0, kSubType, nullptr, out);),
    REFUSES(TavDerivedFormatDescriptionCreate, -12710, "couldn't copy extensions dictionary",
            return TavDerivedFormatDescriptionCreate(nullptr, kCounted, 1, notAPropertyList().get(), out);),
    REFUSES(LuFormatDescriptionCreate, -12711, "allocation failed",
            TavDerivedFormatDescriptionCallbacks huge = kCountedCallbacks;
            huge.derivedStorageSize = SIZE_MAX - 8;
            TavDerivedFormatDescriptionRegister(LU_FOURCC('h', 'u', 'g', 'e'), &huge);
            return LuFormatDescriptionCreate(nullptr, LU_FOURCC('h', 'u', 'g', 'e'), 1, nullptr, out);),
    REFUSES(TavDerivedFormatDescriptionGetDerivedStorage, -12710, "!desc",
            return TavDerivedFormatDescriptionGetDerivedStorage(nullptr) ? OSStatus{0} : OSStatus{-12710};),
};

}  // namespace

TEST_F(FormatDescription, refusesWithOneSignalAndLeavesTheOutParameterAlone)
{
    const auto before = describe();
    for (const Refusal& row : kRefusals) {
        SCOPED_TRACE(row.message);
        LuFormatDescriptionRef out = before.get();
        const SignalProbe probe;
        EXPECT_EQ(row.call(&out), row.code);
        EXPECT_EQ(out, before.get());
        EXPECT_EQ(probe.count(), 1u);
        EXPECT_EQ(probe.code(), row.code);
        EXPECT_EQ(probe.message(), row.message);
        EXPECT_EQ(probe.function(), row.operation);
        EXPECT_EQ(probe.subsystem(), "<<<< FormatDescription >>>>");
    }
    EXPECT_EQ(Counted::finalized, 1) << "the one whose extensions could not be copied";
}

TEST_F(FormatDescription, keepsTypesAndADeepCopyOfItsExtensions)
{
    const Extensions extensions{{"key", "value"}, {"nested", {{"inner", "1"}}}};
    const auto description = describe(extensions.dictionary(), LU_FOURCC('?', '?', '?', '?'), 0);
    EXPECT_EQ(LuFormatDescriptionGetMediaType(description.get()), LU_FOURCC('?', '?', '?', '?'));
    EXPECT_EQ(LuFormatDescriptionGetMediaSubType(description.get()), 0u);

    const Value other("other");
    auto* inner = static_cast<ZoMutableDictionaryRef>(
        const_cast<void*>(ZoDictionaryGetValue(extensions.dictionary(), ZOSTR("nested"))));
    ZoDictionarySetValue(inner, ZOSTR("inner"), other.get());
    ZoDictionaryRemoveAllValues(static_cast<ZoMutableDictionaryRef>(const_cast<void*>(extensions.get())));
    const Extensions asGiven{{"key", "value"}, {"nested", {{"inner", "1"}}}};
    EXPECT_TRUE(ZoEqual(LuFormatDescriptionGetExtensions(description.get()), asGiven.get()));
    EXPECT_TRUE(ZoEqual(LuFormatDescriptionGetExtension(description.get(), ZOSTR("key")), ZOSTR("value")));
    EXPECT_EQ(LuFormatDescriptionGetExtension(description.get(), ZOSTR("none")), nullptr);
}

TEST_F(FormatDescription, answersForAnAbsentDescription)
{
    const auto without = describe();
    EXPECT_EQ(LuFormatDescriptionGetMediaType(nullptr), 0u);
    EXPECT_EQ(LuFormatDescriptionGetMediaSubType(nullptr), 0u);
    EXPECT_EQ(LuFormatDescriptionGetExtensions(nullptr), nullptr);
    EXPECT_EQ(LuFormatDescriptionGetExtension(nullptr, ZOSTR("key")), nullptr);
    EXPECT_EQ(LuFormatDescriptionGetExtension(without.get(), ZOSTR("key")), nullptr);
    EXPECT_EQ(LuFormatDescriptionGetExtension(without.get(), nullptr), nullptr);
    EXPECT_EQ(TavFormatDescriptionRetain(nullptr), nullptr);
    TavFormatDescriptionRelease(nullptr);
}

TEST_F(FormatDescription, givesItsKindClearStorageAndFinalizesItOnceBeforeTheExtensionsGo)
{
    const Extensions extensions{{"key", "value"}};
    FailingAllocator dirty;  // hands out memory that is not zero
    LuFormatDescriptionRef description = nullptr;
    ASSERT_EQ(TavDerivedFormatDescriptionCreate(dirty.get(), kCounted, 1, extensions.dictionary(), &description), 0);
    auto* storage = static_cast<CountedStorage*>(TavDerivedFormatDescriptionGetDerivedStorage(description));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(storage) % alignof(CountedStorage), 0u);
    static const char kZeros[sizeof(CountedStorage)] = {};
    EXPECT_EQ(std::memcmp(storage, kZeros, sizeof kZeros), 0);
    storage->owned = ZoStringCreateWithCString(dirty.get(), "goes with its description", kZoStringEncodingUTF8);

    TavFormatDescriptionRelease(TavFormatDescriptionRetain(description));
    EXPECT_EQ(Counted::finalized, 0);
    TavFormatDescriptionRelease(description);
    EXPECT_EQ(Counted::finalized, 1);
    EXPECT_TRUE(Counted::sawExtensions);
    EXPECT_EQ(dirty.liveBlocks(), 0);
}

TEST_F(FormatDescription, answersNothingToAGetterOfAnotherKind)
{
    constexpr OSType kOther = LU_FOURCC('o', 't', 'h', 'r'), kAlso = LU_FOURCC('a', 'l', 's', 'o');
    TavDerivedFormatDescriptionCallbacks other = kCountedCallbacks;
    other.equal = [](LuFormatDescriptionRef, LuFormatDescriptionRef, ZoTypeRef, ZoTypeRef) { return Boolean{true}; };
    other.finalize = nullptr;
    TavDerivedFormatDescriptionRegister(kOther, &other);
    TavDerivedFormatDescriptionRegister(kAlso, &kCountedCallbacks);  // one kind under two media types
    const auto storageOf = [](const Description& description, const TavDerivedFormatDescriptionCallbacks& kind) {
        return TavDerivedFormatDescriptionGetDerivedStorageOfKind(description.get(), &kind);
    };
    const SignalProbe probe;
    for (const OSType type : {kCounted, kAlso}) {
        const auto counted = describe(nullptr, type);
        EXPECT_EQ(storageOf(counted, kCountedCallbacks), TavDerivedFormatDescriptionGetDerivedStorage(counted.get()));
        EXPECT_NE(storageOf(counted, kCountedCallbacks), nullptr);
        EXPECT_EQ(storageOf(counted, other), nullptr);
    }
    EXPECT_EQ(storageOf(describe(nullptr, kOther), kCountedCallbacks), nullptr);
    EXPECT_EQ(storageOf(describe(), kCountedCallbacks), nullptr);
    EXPECT_EQ(storageOf(nullptr, kCountedCallbacks), nullptr);
    EXPECT_EQ(TavDerivedFormatDescriptionGetDerivedStorage(describe().get()), nullptr) << "behind the description";
    EXPECT_EQ(probe.count(), 0u);
}

TEST_F(FormatDescription, saysWhatItIs)
{
    struct Row {
        OSType mediaType, mediaSubType;
        const char *name, *type, *subType;
    };
    // The name does not depend on the kind; characters of codes are told as they are.
    const Row rows[] = {
        {kLuMediaType_Text, LU_FOURCC('t', 'x', '3', 'g'), "Text", "text", "tx3g"},
        {kLuMediaType_PointCloud, LU_FOURCC('%', '@', 'n', 's'), "PointCloud", "pcld", "%@ns"},
        {LU_FOURCC('n', 'e', 'w', ' '), LU_FOURCC('.', 't', 'x', 't'), "", "new ", ".txt"},
        {kLuMediaType_Video, kSubType, "Video", "vide", "tx3g"},
        {kLuMediaType_AuxiliaryPicture, kSubType, "AuxiliaryPicture", "auxv", "tx3g"},
        {kLuMediaType_Picture, kSubType, "", "pict", "tx3g"},
        {kLuMediaType_TaggedBufferGroup, kSubType, "TaggedBufferGroup", "tbgr", "tx3g"},
    };
    for (const Row& row : rows) {
        const auto description = describe(nullptr, row.mediaType, row.mediaSubType);
        char expected[400];
        std::snprintf(
            expected, sizeof expected,
            "<Lu%sFormatDescription %p [%p]> {\n\tmediaType:'%s' \n\tmediaSubType:'%s' \n\tmediaSpecific: {\n",
            row.name, static_cast<const void*>(description.get()),
            static_cast<const void*>(ZoGetAllocator(description.get())), row.type, row.subType);
        EXPECT_EQ(textOf(ZoCopyDescription(description.get())).rfind(expected, 0), 0u) << expected;
    }
    const Extensions extensions{{"key", "value"}};
    const auto counted = describe(extensions.dictionary(), kCounted);
    const std::string inner = textOf(ZoCopyDescription(extensions.get()));
    EXPECT_TRUE(textOf(ZoCopyDescription(counted.get()))
                    .ends_with("\tmediaSpecific: {\n\t\tcounted \n\t} \n\textensions: {" + inner + "}\n}"));
    // Codes come from files. Whatever their bytes are, the rest of the text must be there.
    for (const OSType code : {0x00000001u, 0xA9A9A9A9u, 0xFFFFFFFFu, 0x0A000D20u}) {
        const auto text = zoAdopt(ZoCopyDescription(describe(nullptr, kSubtitle, code).get()));
        ASSERT_TRUE(text);
        EXPECT_TRUE(ZoStringHasSuffix(text.get(), ZOSTR("{\n(null) \n\t} \n\textensions: {(null)}\n}"))) << code;
    }
}

TEST_F(FormatDescription, takesThePlaceOfItsEqualInASet)
{
    const Extensions extensions{{"key", "value"}};
    const auto one = describe(extensions.dictionary()), same = describe(extensions.dictionary()), other = describe();
    EXPECT_EQ(ZoHash(one.get()), ZoHash(same.get()));
    const void* members[] = {one.get()};
    const auto set = zoAdopt(ZoSetCreate(nullptr, members, 1, &kZoTypeSetCallBacks));
    EXPECT_TRUE(ZoSetContainsValue(set.get(), same.get()));
    EXPECT_FALSE(ZoSetContainsValue(set.get(), other.get()));
}

TEST_F(FormatDescription, asksItsKindOnlyAboutTwoOfOneTypeAndSubtype)
{
    const auto a = describe(nullptr, kCounted, 1), b = describe(nullptr, kCounted, 1);
    const auto other = describe(nullptr, kCounted, 2), third = describe(nullptr, kSubtitle, 1);
    const ZoTypeRef keys = ZOSTR("key"), atomKeys = ZOSTR("atom");
    for (const Boolean answer : {Boolean{true}, Boolean{false}}) {
        Counted::answer = answer;
        EXPECT_EQ(LuFormatDescriptionEqualIgnoringExtensionKeys(a.get(), b.get(), keys, atomKeys), answer);
        EXPECT_EQ(Counted::keys, keys);
        EXPECT_EQ(Counted::atomKeys, atomKeys);
        EXPECT_EQ(LuFormatDescriptionEqual(a.get(), b.get()), answer);
        EXPECT_EQ(Counted::keys, nullptr);
        EXPECT_EQ(Counted::atomKeys, nullptr);
        for (const Description* different : {&other, &third}) {
            EXPECT_FALSE(LuFormatDescriptionEqual(a.get(), different->get()));
            EXPECT_FALSE(LuFormatDescriptionEqualIgnoringExtensionKeys(a.get(), different->get(), keys, nullptr));
        }
    }
}
