#include <gtest/gtest.h>

#include "Tests/Core/TavTag/Tags.h"
#include "Tests/Support/AtomBuilder.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SignalProbe.h"
#include "Utilities/TavAtomStream.h"

using namespace luvia_test;

namespace {

OSStatus readBack(const std::string& bytes, Collection* out)
{
    LuTagCollectionRef read = nullptr;
    const OSStatus status = LuTagCollectionCreateFromData(dataOf(bytes).get(), nullptr, &read);
    *out = Collection::adopt(const_cast<LuMutableTagCollectionRef>(read));
    return status;
}

const std::string kInfo = fullAtom("tgin", 0, 0, "tag coll");
std::string list(uint32_t count, const std::string& tags) { return fullAtom("tgli", 0, 0, be32(count) + tags); }
const std::string kVideo = "mdia" + be32(5) + be64(fourCC("vide"));
const std::string kLeft = "eyes" + be32(7) + be64(1);

TEST(TagCollectionAtoms, areWrittenAsLaidDown)
{
    const auto collection = collectionOf({kLuTagMediaTypeVideo, kLuTagStereoLeftEye});
    const auto data = zoAdopt(LuTagCollectionCopyAsData(collection.get(), nullptr));
    EXPECT_EQ(bytesOf(data.get()), atom("tgco", kInfo + list(2, kLeft + kVideo)));
    const auto none = zoAdopt(LuTagCollectionCopyAsData(collectionOf({}).get(), nullptr));
    EXPECT_EQ(bytesOf(none.get()), atom("tgco", kInfo + list(0, "")));
}

TEST(TagCollectionAtoms, comeBackToTheBitAndMutable)
{
    LuTag odd = LuTagMakeWithFloat64Value(0xFFFFFFFF, -0.0);
    odd.dataType |= 0x40000000;
    const auto collection = collectionOf({odd});
    const auto data = zoAdopt(LuTagCollectionCopyAsData(collection.get(), nullptr));
    Collection back;
    ASSERT_EQ(readBack(bytesOf(data.get()), &back), 0);
    EXPECT_TRUE(tagsOf(back.get()) == Tags{odd});
    EXPECT_EQ(LuTagCollectionAddTag(back.get(), numbered(1)), 0);
}

TEST(TagCollectionAtoms, areReadWithCare)
{
    struct Row {
        const char* what;
        std::string bytes;
        OSStatus status;
        ZoIndex count;
        const char* message;
    };
    const char* const kBadLength = "Invalid atomDataLength < sizeof(LuTagInfoAtom)";
    const Row rows[] = {
        {"no collection", atom("free"), 0, 0, ""},
        {"between other atoms", atom("free") + atom("tgco", atom("skip") + list(1, kLeft)) + atom("free"), 0, 1, ""},
        {"lists add up", atom("tgco", list(2, kLeft + kVideo) + list(2, kVideo + kVideo)), 0, 2, ""},
        {"collections add up", atom("tgco", list(1, kLeft)) + atom("tgco", list(1, kVideo)), 0, 2, ""},
        {"seven bytes", "tgcotgc", kLuTagCollectionError_ParamErr, 0,
         "ZoDataGetLength() should have more than 8 bytes"},
        {"another version of the info", atom("tgco", fullAtom("tgin", 1, 0, "tag coll")),
         kLuTagCollectionError_InvalidTagCollectionDataVersion, 0, "Version 0 expected for 'tgin' atom"},
        {"another version of the list", atom("tgco", fullAtom("tgli", 1, 0, be32(0))),
         kLuTagCollectionError_InvalidTagCollectionDataVersion, 0, "Version 0 expected for 'tgli' atom"},
        {"a short info", atom("tgco", fullAtom("tgin", 0, 0, "tag col")),
         kLuTagCollectionError_InvalidTagCollectionData, 0, kBadLength},
        {"first signature", atom("tgco", fullAtom("tgin", 0, 0, "tagscoll")),
         kLuTagCollectionError_InvalidTagCollectionData, 0, "signature1 is not 'tag '"},
        {"second signature", atom("tgco", fullAtom("tgin", 0, 0, "tag call")),
         kLuTagCollectionError_InvalidTagCollectionData, 0, "signature2 is not 'coll'"},
        {"a list without a count", atom("tgco", fullAtom("tgli", 0, 0, "123")),
         kLuTagCollectionError_InvalidTagCollectionData, 0, kBadLength},
        {"a byte too many", atom("tgco", list(1, kLeft + "x")), kLuTagCollectionError_InvalidTagCollectionData, 0,
         kBadLength},
        {"a count of more than there is", atom("tgco", list(0xFFFFFFFF, kLeft)),
         kLuTagCollectionError_InvalidTagCollectionData, 0, kBadLength},
        {"an empty collection atom", atom("tgco"), kTavAtomStream_OffsetOutsideOfParent, 0, ""},
    };
    for (const Row& row : rows) {
        Collection read;
        SignalProbe probe;
        EXPECT_EQ(readBack(row.bytes, &read), row.status) << row.what;
        EXPECT_EQ(read ? LuTagCollectionGetCount(read.get()) : 0, row.count) << row.what;
        EXPECT_EQ(probe.message(), row.message) << row.what;
    }
    const std::string whole = atom("tgco", kInfo + list(2, kLeft + kVideo));
    for (size_t length = 0; length < whole.size(); ++length) {
        Collection read;
        EXPECT_NE(readBack(whole.substr(0, length), &read), 0) << length;
        EXPECT_EQ(read.get(), nullptr);
    }
}

// In one list or each in one of its own: the time of the square would be minutes.
TEST(TagCollectionAtoms, areReadHoweverMany)
{
    std::string tags, lists;
    constexpr uint32_t kCount = 100000;
    for (uint32_t i = 0; i < kCount; ++i) {
        tags += be32(i * 0x9E3779B9u) + be32(2) + be64(kCount - i);
        lists += list(1, tags.substr(tags.size() - 16));
    }
    Collection one, each;
    ASSERT_EQ(readBack(atom("tgco", list(kCount, tags)), &one), 0);
    ASSERT_EQ(readBack(atom("tgco", lists), &each), 0);
    EXPECT_EQ(LuTagCollectionGetCount(one.get()), kCount);
    EXPECT_TRUE(ZoEqual(one.get(), each.get()));
}

TEST(TagCollectionDictionary, isReadWithCare)
{
    const auto read = [](const void* element, bool hasArray, const char* message) {
        const auto tags =
            array(element ? std::initializer_list<ZoTypeRef>{element} : std::initializer_list<ZoTypeRef>{});
        const auto form = dictionary(
            {{kLuTagCollectionTagsArrayKey, hasArray ? static_cast<ZoTypeRef>(tags.get()) : ZOSTR("no array")}});
        const auto untouched = reinterpret_cast<LuTagCollectionRef>(uintptr_t{8});
        LuTagCollectionRef out = untouched;
        SignalProbe probe;
        const OSStatus status = LuTagCollectionCreateFromDictionary(form.get(), nullptr, &out);
        EXPECT_EQ(out, untouched);
        EXPECT_EQ(probe.message(), message);
        return status;
    };
    const auto invalid = zoAdopt(LuTagCopyAsDictionary(kLuTagInvalid, nullptr));
    EXPECT_EQ(read(nullptr, false, "ZoDictionary does not contain a tags array"),
              kLuTagCollectionError_InvalidTagCollectionDictionary);
    EXPECT_EQ(read(ZOSTR("tag"), true, "tagDictionary is NULL or not a ZoDictionary"), kLuTagCollectionError_ParamErr);
    EXPECT_EQ(read(invalid.get(), true, "LuTag dictionary did not produce a valid LuTag"),
              kLuTagCollectionError_InternalError);
}

TEST(TagCollectionText, showsKindAndTags)
{
    EXPECT_EQ(textOf(LuTagCollectionCopyDescription(nullptr, collectionOf({kLuTagStereoLeftEye}).get())),
              "LuMutableTagCollection{\n{category:'eyes' value:0x1 <flags>}\n}");
    LuTagCollectionRef fixed = nullptr;
    LuTagCollectionCreate(nullptr, nullptr, 0, &fixed);
    EXPECT_EQ(textOf(ZoCopyDescription(fixed)), "LuTagCollection{\n}");
    ZoRelease(fixed);
}

}  // namespace
