#include <cstdio>
#include <string>

#include "Core/TavFormatDescription/TavFormatDescription.h"
#include "Foundation/ZoArray.h"
#include "Foundation/ZoData.h"
#include "Foundation/ZoNumber.h"
#include "Foundation/ZoRef.h"
#include "Foundation/ZoString.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

using Description = ZoRef<LuFormatDescriptionRef>;
using Dictionary = ZoRef<ZoMutableDictionaryRef>;

constexpr OSType kSubType = LU_FOURCC('t', 'x', '3', 'g');

Dictionary dictionary(std::initializer_list<std::pair<ZoStringRef, ZoTypeRef>> pairs)
{
    Dictionary made = zoAdopt(
        ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    for (const auto& [key, value] : pairs) ZoDictionarySetValue(made.get(), key, value);
    return made;
}

ZoRef<ZoArrayRef> array(std::initializer_list<ZoStringRef> strings)
{
    const void* values[8];
    ZoIndex count = 0;
    for (ZoStringRef string : strings) values[count++] = string;
    return zoAdopt(ZoArrayCreate(nullptr, values, count, &kZoTypeArrayCallBacks));
}

Description subtitle(ZoDictionaryRef extensions, OSType subType = kSubType)
{
    Description made;
    EXPECT_EQ(LuFormatDescriptionCreate(nullptr, kLuMediaType_Subtitle, subType, extensions, made.outParam()), 0);
    return made;
}

std::string textOf(ZoStringRef string)
{
    char text[1024] = "";
    ZoStringGetCString(string, text, sizeof text, kZoStringEncodingUTF8);
    return text;
}

}  // namespace

TEST(FormatDescription, KeepsItsTypesAndACopyOfItsExtensions)
{
    const Dictionary inner = dictionary({{ZOSTR("avcC"), ZOSTR("atom")}});
    const Dictionary extensions = dictionary({{ZOSTR("Atoms"), inner.get()}});
    const Description description = subtitle(extensions.get());
    ZoDictionaryRemoveAllValues(inner.get());
    EXPECT_EQ(LuFormatDescriptionGetMediaType(description.get()), LU_FOURCC('s', 'b', 't', 'l'));
    EXPECT_EQ(LuFormatDescriptionGetMediaSubType(description.get()), kSubType);
    const auto copied =
        static_cast<ZoDictionaryRef>(LuFormatDescriptionGetExtension(description.get(), ZOSTR("Atoms")));
    ASSERT_TRUE(copied);
    EXPECT_EQ(ZoDictionaryGetCount(copied), 1) << "a deep copy";
    EXPECT_EQ(LuFormatDescriptionGetExtension(description.get(), ZOSTR("none")), nullptr);

    EXPECT_EQ(LuFormatDescriptionGetMediaType(nullptr), 0u);
    EXPECT_EQ(LuFormatDescriptionGetMediaSubType(nullptr), 0u);
    EXPECT_EQ(LuFormatDescriptionGetExtensions(nullptr), nullptr);
    EXPECT_EQ(LuFormatDescriptionGetExtension(nullptr, ZOSTR("Atoms")), nullptr);
    EXPECT_EQ(TavFormatDescriptionRetain(nullptr), nullptr);
    TavFormatDescriptionRelease(nullptr);
    SignalProbe probe;
    EXPECT_EQ(TavDerivedFormatDescriptionGetDerivedStorage(nullptr), nullptr);
    EXPECT_EQ(probe.message(), "!desc");
    EXPECT_EQ(probe.subsystem(), "<<<< FormatDescription >>>>");
}

TEST(FormatDescription, RefusesWhatItCannotKeep)
{
    LuFormatDescriptionRef untouched = reinterpret_cast<LuFormatDescriptionRef>(&kSubType);
    const LuFormatDescriptionRef before = untouched;
    const Description other = subtitle(nullptr);
    const Dictionary noPropertyList = dictionary({{ZOSTR("key"), other.get()}});
    struct {
        LuMediaType mediaType;
        ZoDictionaryRef extensions;
        LuFormatDescriptionRef* out;
        const char* message;
    } const rows[] = {
        {kLuMediaType_Subtitle, nullptr, nullptr, "!outDesc"},
        {0, nullptr, &untouched, "!mediaType"},
        {kLuMediaType_Subtitle, noPropertyList.get(), &untouched, "couldn't copy extensions dictionary"},
    };
    for (const auto& row : rows) {
        SignalProbe probe;
        EXPECT_EQ(LuFormatDescriptionCreate(nullptr, row.mediaType, kSubType, row.extensions, row.out), -12710);
        EXPECT_EQ(probe.message(), row.message);
        EXPECT_EQ(untouched, before);
    }
}

TEST(FormatDescription, LeaksNothingAtAnyFailingAllocation)
{
    const Dictionary extensions = dictionary({{ZOSTR("key"), ZOSTR("a value that is longer than a few bytes")}});
    const Description registers = subtitle(nullptr);
    bool failed = true;
    for (int64_t n = 1; failed; ++n) {
        ASSERT_LT(n, 100);
        FailingAllocator allocator(n);
        SignalProbe probe;
        LuFormatDescriptionRef description = nullptr;
        const OSStatus status =
            LuFormatDescriptionCreate(allocator.get(), kLuMediaType_Text, kSubType, extensions.get(), &description);
        failed = allocator.hasFailed();
        EXPECT_EQ(status == 0, description != nullptr);
        if (n == 1) {
            EXPECT_EQ(status, -12711);
            EXPECT_EQ(probe.message(), "allocation failed");
        }
        TavFormatDescriptionRelease(description);
        EXPECT_EQ(allocator.liveBlocks(), 0);
    }
}

TEST(FormatDescription, EqualityLooksAtTypesAndAllExtensions)
{
    const Dictionary plain = dictionary({{ZOSTR("a"), ZOSTR("1")}});
    const Dictionary verbatim =
        dictionary({{ZOSTR("a"), ZOSTR("1")}, {kLuFormatDescriptionExtension_VerbatimISOSampleEntry, ZOSTR("record")}});
    const Description one = subtitle(plain.get()), same = subtitle(plain.get()), none = subtitle(nullptr),
                      withRecord = subtitle(verbatim.get()), otherCodec = subtitle(plain.get(), kSubType + 1);
    Description made;
    LuFormatDescriptionCreate(nullptr, kLuMediaType_Text, kSubType, plain.get(), made.outParam());
    const Description text = std::move(made);

    EXPECT_TRUE(LuFormatDescriptionEqual(one.get(), same.get()));
    EXPECT_TRUE(LuFormatDescriptionEqual(none.get(), subtitle(dictionary({}).get()).get()));
    for (const Description* different : {&none, &withRecord, &otherCodec, &text}) {
        EXPECT_FALSE(LuFormatDescriptionEqual(one.get(), different->get()));
        EXPECT_FALSE(LuFormatDescriptionEqualIgnoringExtensionKeys(one.get(), different->get(), nullptr, nullptr));
    }
    EXPECT_TRUE(LuFormatDescriptionEqual(nullptr, nullptr));
    EXPECT_FALSE(LuFormatDescriptionEqual(one.get(), nullptr));
    EXPECT_TRUE(LuFormatDescriptionEqualIgnoringExtensionKeys(nullptr, nullptr, ZOSTR("a"), nullptr));
    EXPECT_FALSE(LuFormatDescriptionEqualIgnoringExtensionKeys(nullptr, one.get(), ZOSTR("a"), nullptr));
    // Ignoring any key, even one that neither has, ignores the verbatim records.
    EXPECT_TRUE(LuFormatDescriptionEqualIgnoringExtensionKeys(one.get(), withRecord.get(), ZOSTR("none"), nullptr));
    EXPECT_TRUE(LuFormatDescriptionEqualIgnoringExtensionKeys(one.get(), withRecord.get(), nullptr, ZOSTR("none")));
    EXPECT_TRUE(LuFormatDescriptionEqualIgnoringExtensionKeys(one.get(), none.get(), ZOSTR("a"), nullptr));
    EXPECT_FALSE(LuFormatDescriptionEqualIgnoringExtensionKeys(one.get(), otherCodec.get(), ZOSTR("a"), nullptr));
}

TEST(FormatDescription, ComparesExtensionsWithoutNamedKeysAndAtoms)
{
    const ZoStringRef kAtoms = kLuFormatDescriptionExtension_SampleDescriptionExtensionAtoms;
    const Dictionary both = dictionary({{ZOSTR("avcC"), ZOSTR("x")}, {ZOSTR("pasp"), ZOSTR("y")}});
    const Dictionary onlyAVC = dictionary({{ZOSTR("avcC"), ZOSTR("x")}});
    const Dictionary otherAVC = dictionary({{ZOSTR("avcC"), ZOSTR("z")}});
    const Dictionary d1 = dictionary({{kAtoms, both.get()}, {ZOSTR("a"), ZOSTR("1")}, {ZOSTR("b"), ZOSTR("2")}});
    const Dictionary d2 = dictionary({{kAtoms, onlyAVC.get()}, {ZOSTR("a"), ZOSTR("1")}});
    const Dictionary d3 = dictionary({{kAtoms, otherAVC.get()}, {ZOSTR("a"), ZOSTR("9")}});
    const Dictionary noAtoms = dictionary({{ZOSTR("a"), ZOSTR("1")}});
    const Dictionary empty = dictionary({});
    const auto keysAB = array({ZOSTR("a"), ZOSTR("b")});
    const auto bothAtoms = array({ZOSTR("pasp"), ZOSTR("avcC")});
    const int32_t number = 5;
    const auto notAKey = zoAdopt(ZoNumberCreate(nullptr, kZoNumberSInt32Type, &number));
    struct {
        const char* name;
        ZoDictionaryRef dictionary1, dictionary2;
        ZoTypeRef keys, atomKeys;
        bool equal;
    } const rows[] = {
        {"absent is empty", nullptr, empty.get(), nullptr, nullptr, true},
        {"absent is empty, ignoring", nullptr, empty.get(), ZOSTR("a"), ZOSTR("avcC"), true},
        {"absent is not full", nullptr, d2.get(), nullptr, nullptr, false},
        {"everything counts", d1.get(), d2.get(), nullptr, nullptr, false},
        {"one key and one atom", d1.get(), d2.get(), ZOSTR("b"), ZOSTR("pasp"), true},
        {"the key alone is not enough", d1.get(), d2.get(), ZOSTR("b"), nullptr, false},
        {"the atom alone is not enough", d1.get(), d2.get(), nullptr, ZOSTR("pasp"), false},
        {"arrays of both", d1.get(), d3.get(), keysAB.get(), bothAtoms.get(), true},
        {"an atom that differs", d2.get(), d3.get(), ZOSTR("a"), ZOSTR("pasp"), false},
        {"ignored atoms that only one has", d2.get(), noAtoms.get(), nullptr, ZOSTR("avcC"), true},
        {"atoms are ignored as a whole by their key", d1.get(), noAtoms.get(), kAtoms, nullptr, false},
        {"neither string nor array ignores nothing", d1.get(), d2.get(), notAKey.get(), notAKey.get(), false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(TavFormatDescriptionExtensionsDictionariesEqualIgnoringKeys(row.dictionary1, row.dictionary2,
                                                                              row.keys, row.atomKeys),
                  row.equal)
            << row.name;
        EXPECT_EQ(TavFormatDescriptionExtensionsDictionariesEqualIgnoringKeys(row.dictionary2, row.dictionary1,
                                                                              row.keys, row.atomKeys),
                  row.equal)
            << row.name << ", the other way round";
    }
    EXPECT_EQ(ZoDictionaryGetCount(d1.get()), 3) << "compared, not changed";
}

TEST(FormatDescription, DescribesItself)
{
    const Description description = subtitle(nullptr);
    char expected[256];
    snprintf(expected, sizeof expected,
             "<LuSubtitleFormatDescription %p [%p]> {\n\tmediaType:'sbtl' \n\tmediaSubType:'tx3g' \n\tmediaSpecific: "
             "{\n(null) \n\t} \n\textensions: {(null)}\n}",
             static_cast<const void*>(description.get()), static_cast<const void*>(ZoGetAllocator(description.get())));
    EXPECT_EQ(textOf(zoAdopt(ZoCopyDescription(description.get())).get()), expected);
}
