#include "Foundation/PropertyLists/ZoPropertyList.h"

#include <unistd.h>

#include <cmath>
#include <vector>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Tests/Support/Bytes.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/Objects.h"

using namespace luvia_test;

namespace {

using List = ZoRef<ZoTypeRef>;

ZoRef<ZoDataRef> data(std::string_view bytes)
{
    return zoAdopt(
        ZoDataCreate(nullptr, reinterpret_cast<const uint8_t*>(bytes.data()), static_cast<ZoIndex>(bytes.size())));
}

List read(std::string_view bytes, ZoOptionFlags options = 0, ZoErrorRef* error = nullptr)
{
    return zoAdopt<ZoTypeRef>(ZoPropertyListCreateWithData(nullptr, data(bytes).get(), options, nullptr, error));
}

std::string written(ZoTypeRef list, ZoPropertyListFormat format, ZoErrorRef* error = nullptr)
{
    const auto bytes = zoAdopt(ZoPropertyListCreateData(nullptr, list, format, 0, error));
    if (!bytes) return {};
    return {reinterpret_cast<const char*>(ZoDataGetBytePtr(bytes.get())),
            static_cast<size_t>(ZoDataGetLength(bytes.get()))};
}

std::string reasonOf(ZoErrorRef error) { return error ? textOf(ZoErrorCopyFailureReason(error)) : "(no error)"; }

/// A binary list of objects given as bytes, with one byte an index; the first is the root.
std::string binary(const std::vector<std::string>& objects, int offsetWidth = 2)
{
    std::string bytes = "bplist00", table;
    for (const std::string& object : objects) {
        table += be(bytes.size(), offsetWidth);
        bytes += object;
    }
    const size_t tableStart = bytes.size();
    return bytes + table + zeros(6) + be(static_cast<uint64_t>(offsetWidth), 1) + be(1, 1) + be64(objects.size()) +
           be64(0) + be64(tableStart);
}

std::string repeated(std::string_view text, int count)
{
    std::string out;
    for (int i = 0; i < count; ++i) out += text;
    return out;
}

std::string nestedXML(int depth) { return repeated("<array>", depth) + repeated("</array>", depth); }

std::string nestedBinary(int depth)  // two bytes an index
{
    std::string bytes = "bplist00", table;
    for (int i = 0; i < depth; ++i) {
        table += be(bytes.size(), 4);
        bytes += i + 1 < depth ? "\xA1" + be16(static_cast<uint16_t>(i + 1)) : "\xA0";
    }
    const size_t tableStart = bytes.size();
    return bytes + table + zeros(6) + be(4, 1) + be(2, 1) + be64(static_cast<uint64_t>(depth)) + be64(0) +
           be64(tableStart);
}

struct BadList {
    const char* what;
    std::string bytes;
    const char* reason;  // how it begins
};

std::string withTrailer(std::string bytes, size_t fromEnd, std::string_view replacement)
{
    return bytes.replace(bytes.size() - fromEnd, replacement.size(), replacement);
}

std::vector<BadList> badBinaryLists()
{
    const std::string good = binary({"\xA1\x01", "\x10\x05"});
    std::vector<std::string> levels;
    for (int i = 0; i < 60; ++i)
        levels.push_back("\xA2" + be(static_cast<uint64_t>(i + 1), 1) + be(static_cast<uint64_t>(i + 1), 1));
    levels.push_back("\xA0");
    return {
        {"no room for a trailer", good.substr(0, 30), "too short"},
        {"offsets of no bytes", withTrailer(good, 26, be(0, 1)), "widths"},
        {"indices of 9 bytes", withTrailer(good, 25, be(9, 1)), "widths"},
        {"more objects than bytes", withTrailer(good, 24, be64(UINT64_MAX / 2)), "the offset table"},
        {"an offset table past the end", withTrailer(good, 8, be64(1 << 20)), "the offset table"},
        {"an offset table in the header", withTrailer(good, 8, be64(3)), "the offset table"},
        {"a root that is not there", withTrailer(good, 16, be64(2)), "the root"},
        {"an index that is not there", binary({"\xA1\x07"}), "an index"},
        {"an array in itself", binary({std::string("\xA1\x00", 2)}), "a container is within itself"},
        {"a dictionary as its own key", binary({std::string("\xD1\x00\x01", 3), "\x09"}),
         "a container is within itself"},
        {"two arrays in each other", binary({"\xA1\x01", std::string("\xA1\x00", 2)}), "a container is within itself"},
        {"a count of 2^63", binary({"\xAF\x13" + be64(UINT64_C(1) << 63)}), "an object leaves"},
        {"a string of 2^64 - 1", binary({"\x6F\x13" + be64(UINT64_MAX)}), "an object leaves"},
        {"data past its end",
         binary({"\x44"
                 "ab"}),
         "an object leaves"},
        {"a count that is no integer", binary({"\x5F\x20"}), "a count"},
        {"an integer of 32 bytes", binary({"\x15" + zeros(32)}), "an integer of more"},
        {"an integer of 65 bits", binary({"\x14" + be64(1) + be64(0)}), "an integer beyond"},
        {"a real of 2 bytes", binary({"\x21" + zeros(2)}), "a real"},
        {"a date of 4 bytes", binary({"\x32" + zeros(4)}), "a date"},
        {"a key that is no string", binary({"\xD1\x01\x01", "\x09"}), "a key"},
        {"half a surrogate pair", binary({"\x61" + be16(0xD800)}), "a string"},
        {"a byte above ASCII", binary({"\x51\x80"}), "a string"},
        {"a kind that is none", binary({"\x70"}), "an object of unknown kind"},
        {"a filler byte", binary({"\x0F"}), "an object of unknown kind"},
        {"nested once too often", nestedBinary(kZoPropertyListMaximumDepth + 1), "nested"},
        {"sixty doublings", binary(levels), "shared objects"},
    };
}

std::vector<BadList> badXMLLists()
{
    const auto plist = [](const std::string& body) { return "<plist version=\"1.0\">" + body + "</plist>"; };
    return {
        {"nothing", "", "line 1: no element"},
        {"no value", plist(""), "no value"},
        {"an entity of its own",
         "<!DOCTYPE plist [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;\">]>" + plist("<string>&b;</string>"),
         "line 1: entities"},
        {"an entity from a file",
         "<!DOCTYPE plist [<!ENTITY a SYSTEM \"file:///etc/passwd\">]>" + plist("<string>&a;</string>"),
         "line 1: entities"},
        {"an entity from elsewhere", "<!DOCTYPE plist SYSTEM \"x.dtd\">" + plist("<string>&a;</string>"),
         "line 1: an unknown entity"},
        {"an element that is none", plist("<set/>"), "line 1: unknown element"},
        {"an element within a value", plist("<string><true/></string>"), "line 1: an element within"},
        {"two roots", plist("<true/><true/>"), "line 1: an element out of place"},
        {"a plist within", plist("<array><plist/></array>"), "line 1: a plist element"},
        {"a key without a value", plist("<dict><key>a</key></dict>"), "line 1: a key without"},
        {"a value without a key", plist("<dict><true/></dict>"), "line 1: an element out of place"},
        {"a key after a key", plist("<dict><key>a</key><key>b</key></dict>"), "line 1: an element out of place"},
        {"a key in an array", plist("<array>\n<key>a</key></array>"), "line 2: an element out of place"},
        {"a key as the root", plist("<key>a</key>"), "line 1: a key outside"},
        {"text between values", plist("<array>a<true/></array>"), "line 1: text outside"},
        {"text in a boolean", plist("<true>1</true>"), "line 1: text within"},
        {"an empty integer", plist("<integer/>"), "line 1: not an integer"},
        {"an integer of 65 bits", plist("<integer>18446744073709551616</integer>"), "line 1: not an integer"},
        {"a negative one of 65 bits", plist("<integer>-9223372036854775809</integer>"), "line 1: not an integer"},
        {"two signs", plist("<integer>--1</integer>"), "line 1: not an integer"},
        {"a real with a tail", plist("<real>1.5x</real>"), "line 1: not a real"},
        {"the 29th of February 1900", plist("<date>1900-02-29T00:00:00Z</date>"), "line 1: not a date"},
        {"the 25th hour", plist("<date>2000-01-01T24:00:00Z</date>"), "line 1: not a date"},
        {"base64 of a foreign character", plist("<data>AA*A</data>"), "line 1: not base64"},
        {"base64 cut short", plist("<data>AAA</data>"), "line 1: not base64"},
        {"base64 that goes on behind its end", plist("<data>AA==AAAA</data>"), "line 1: not base64"},
        {"padding alone", plist("<data>====</data>"), "line 1: not base64"},
        {"nested once too often", plist(nestedXML(kZoPropertyListMaximumDepth + 1)), "line 1: nested"},
        {"bytes that are not UTF-8", plist("<string>\xFF</string>"), "line 1: not well-formed"},
    };
}

/// A list with something of each kind.
List sample()
{
    return read(
        "<plist><dict><key>n</key><integer>-300</integer><key>r</key><real>1.5</real><key>t</key><true/>"
        "<key>d</key><date>2024-02-29T12:34:56Z</date><key>b</key><data>AAECAw==</data><key>s</key><string>caf&#233;</"
        "string>"
        "<key>a</key><array><dict/><array/><string>text of more than "
        "15</string><integer>18446744073709551615</integer></array>"
        "</dict></plist>");
}

TEST(PropertyList, refusesWhatIsNone)
{
    for (const auto& table : {badBinaryLists(), badXMLLists()})
        for (const BadList& row : table) {
            ZoErrorRef error = nullptr;
            EXPECT_FALSE(read(row.bytes, 0, &error)) << row.what;
            const auto owned = zoAdopt(error);
            EXPECT_EQ(reasonOf(error).substr(0, std::string(row.reason).size()), row.reason) << row.what;
            if (!error) continue;
            EXPECT_EQ(ZoErrorGetCode(error), kZoPropertyListErrorCorrupt) << row.what;
            EXPECT_TRUE(ZoEqual(ZoErrorGetDomain(error), kZoErrorDomainPropertyList));
        }
}

// Two million indices that all objects share would be read again for each.
TEST(PropertyList, objectsThatOverlapCostNoTime)
{
    constexpr size_t kCount = 200000;
    std::string bytes = "bplist00", table;
    for (size_t i = 0; i < kCount; ++i) {
        table += be(8 + i * 6 % 600000, 4);
        bytes += "\xAF\x12" + be32(kCount);
    }
    const size_t tableStart = bytes.size();
    bytes += table + zeros(6) + be(4, 1) + be(1, 1) + be64(kCount) + be64(0) + be64(tableStart);
    ZoErrorRef error = nullptr;
    EXPECT_FALSE(read(bytes, 0, &error));
    EXPECT_TRUE(error);
    zoAdopt(error).reset();
}

TEST(PropertyList, depthIsBoundedAlikeWhenReadAndWritten)
{
    for (const std::string& bytes :
         {nestedXML(kZoPropertyListMaximumDepth), nestedBinary(kZoPropertyListMaximumDepth)}) {
        const List list = read(bytes, kZoPropertyListMutableContainers);
        ASSERT_TRUE(list);
        for (const ZoPropertyListFormat format : {kZoPropertyListXMLFormat_v1_0, kZoPropertyListBinaryFormat_v1_0}) {
            EXPECT_TRUE(ZoEqual(list.get(), read(written(list.get(), format)).get()));
            const auto outer = zoAdopt(ZoArrayCreateMutable(nullptr, 0, &kZoTypeArrayCallBacks));
            ZoArrayAppendValue(outer.get(), list.get());
            ZoErrorRef error = nullptr;
            EXPECT_EQ(written(outer.get(), format, &error), "");
            EXPECT_EQ(reasonOf(zoAdopt(error).get()), "nested too deep");
        }
    }
}

TEST(PropertyList, writingRefusesWhatAFormCannotCarry)
{
    const auto knot = zoAdopt(ZoArrayCreateMutable(nullptr, 0, &kZoTypeArrayCallBacks));
    ZoArrayAppendValue(knot.get(), knot.get());
    ZoArrayAppendValue(knot.get(), knot.get());
    const auto keyed = dictionary();
    ZoDictionarySetValue(keyed.get(), number(1).get(), kZoBooleanTrue);
    const auto date = zoAdopt(ZoDateCreate(nullptr, 3e11)), never = zoAdopt(ZoDateCreate(nullptr, NAN));
    const UniChar half = 0xD800;
    const auto broken = zoAdopt(ZoStringCreateMutable(nullptr, 0));
    ZoStringAppendCharacters(broken.get(), &half, 1);
    struct Row {
        ZoTypeRef object;
        const char *xml, *binary;  // reasons, or nothing where it works
    };
    const auto control = str("a\x01"), last = str("\xEF\xBF\xBF");
    const Row kTable[] = {
        {knot.get(), "a container is within itself", "a container is within itself"},
        {keyed.get(), "a key is not a string", "a key is not a string"},
        {broken.get(), "a string with an unpaired surrogate", "a string with an unpaired surrogate"},
        {date.get(), "a date outside of the years 1 to 9999", nullptr},
        {never.get(), "a date outside of the years 1 to 9999", nullptr},
        {control.get(), "a string with a control character, which XML does not have", nullptr},
        {last.get(), "a string with U+FFFE or U+FFFF, which XML does not have", nullptr},
        {kZoNull, "an object that is not of an XML property list", nullptr},
        {kZoAllocatorDefault ? static_cast<ZoTypeRef>(kZoAllocatorDefault) : ZoAllocatorGetDefault(),
         "an object that is not of an XML property list", "an object that is not of a property list"},
    };
    for (const Row& row : kTable)
        for (const bool isXML : {true, false}) {
            ZoErrorRef error = nullptr;
            const std::string bytes = written(row.object, isXML ? 100 : 200, &error);
            const auto owned = zoAdopt(error);
            const char* reason = isXML ? row.xml : row.binary;
            EXPECT_EQ(reasonOf(error), reason ? reason : "(no error)");
            EXPECT_EQ(bytes.empty(), reason != nullptr);
            if (error) {
                EXPECT_EQ(ZoErrorGetCode(error), kZoPropertyListErrorUnsupported);
            }
        }
    EXPECT_FALSE(zoAdopt<ZoTypeRef>(ZoPropertyListCreateDeepCopy(nullptr, knot.get(), 0)));
    ZoArrayRemoveAllValues(knot.get());

    const auto odd = str("a\r\nb\rc\td<&>");
    EXPECT_TRUE(ZoEqual(odd.get(), read(written(odd.get(), 100)).get()));
}

TEST(PropertyList, argumentsThatAreNone)
{
    ZoErrorRef error = nullptr;
    ZoPropertyListFormat format = 7;
    const auto codeOf = [&error] {
        const auto owned = zoAdopt(std::exchange(error, nullptr));
        return owned ? ZoErrorGetCode(owned.get()) : 0;
    };
    EXPECT_FALSE(ZoPropertyListCreateWithData(nullptr, nullptr, 0, &format, &error));
    EXPECT_EQ(codeOf(), kZoPropertyListErrorBadArgument);
    EXPECT_EQ(format, 0);
    EXPECT_FALSE(ZoPropertyListCreateWithData(nullptr, data("<true/>").get(), 3, nullptr, &error));
    EXPECT_EQ(codeOf(), kZoPropertyListErrorBadArgument);
    EXPECT_FALSE(ZoPropertyListCreateData(nullptr, nullptr, 100, 0, &error));
    EXPECT_EQ(codeOf(), kZoPropertyListErrorBadArgument);
    EXPECT_FALSE(ZoPropertyListCreateData(nullptr, kZoBooleanTrue, 300, 0, &error));
    EXPECT_EQ(codeOf(), kZoPropertyListErrorBadArgument);
    EXPECT_TRUE(zoAdopt<ZoTypeRef>(ZoPropertyListCreateWithData(nullptr, data("<true/>").get(), 0, &format, &error)));
    EXPECT_EQ(format, kZoPropertyListXMLFormat_v1_0);
    EXPECT_EQ(codeOf(), 0);
}

// One array that stands in two places: immutable readers may share it, mutable ones must not.
TEST(PropertyList, mutableContainersAreNotShared)
{
    const std::string bytes = binary({"\xA2\x01\x01", "\xA1\x02",
                                      "\x51"
                                      "s"});
    const auto at = [](ZoTypeRef array, ZoIndex index) {
        return ZoArrayGetValueAtIndex(static_cast<ZoArrayRef>(array), index);
    };
    for (const ZoOptionFlags options : {kZoPropertyListMutableContainers, kZoPropertyListMutableContainersAndLeaves}) {
        const List list = read(bytes, options);
        ASSERT_TRUE(list);
        auto* first = static_cast<ZoMutableArrayRef>(const_cast<void*>(at(list.get(), 0)));
        if (options == kZoPropertyListMutableContainersAndLeaves)
            ZoStringAppend(static_cast<ZoMutableStringRef>(const_cast<void*>(at(first, 0))), ZOSTR("!"));
        else
            ZoArrayAppendValue(first, kZoBooleanTrue);
        EXPECT_EQ(ZoArrayGetCount(first), options == kZoPropertyListMutableContainers ? 2 : 1);
        const auto* second = at(list.get(), 1);
        EXPECT_EQ(ZoArrayGetCount(static_cast<ZoArrayRef>(second)), 1);
        EXPECT_TRUE(ZoEqual(at(second, 0), ZOSTR("s")));
        EXPECT_FALSE(ZoEqual(first, second));
    }
}

// What is shared is written once, so that a list that a file spells out in little room goes back into it.
TEST(PropertyList, sharingIsKeptInTheBinaryForm)
{
    const std::string shared = binary({"\xA3\x01\x01\x01", "\xA2\x02\x02", "\x5F\x10\x28" + std::string(40, 'x')});
    const std::string back = written(read(shared).get(), kZoPropertyListBinaryFormat_v1_0);
    EXPECT_LT(back.size(), shared.size() + 8);
    EXPECT_TRUE(ZoEqual(read(shared).get(), read(back).get()));
}

// Two hundred references to one leaf are one leaf when they are read; only who wants a copy of each pays for each.
TEST(PropertyList, whatWasWrittenOfSharedLeavesIsReadBack)
{
    const std::string bytesOfLeaf(65536, 'x');
    const auto leaf = data(std::string_view(bytesOfLeaf));
    const auto list = zoAdopt(ZoArrayCreateMutable(nullptr, 0, &kZoTypeArrayCallBacks));
    for (int i = 0; i < 200; ++i) ZoArrayAppendValue(list.get(), leaf.get());
    const std::string bytes = written(list.get(), kZoPropertyListBinaryFormat_v1_0);
    EXPECT_LT(bytes.size(), 67000u);
    for (const ZoOptionFlags options : {kZoPropertyListImmutable, kZoPropertyListMutableContainersAndLeaves})
        EXPECT_TRUE(ZoEqual(list.get(), read(bytes, options).get()));

    const std::string indices(255, '\1');
    const auto often = binary({"\xAF\x10\xFF" + indices, "\xAF\x10\xFF" + std::string(255, '\2'),
                               "\x4F\x11\x40" + zeros(1) + std::string(16384, 'x')});
    EXPECT_TRUE(read(often));
    EXPECT_FALSE(read(often, kZoPropertyListMutableContainersAndLeaves)) << "a gigabyte";
}

TEST(PropertyList, readsOffsetsOfEveryWidth)
{
    for (int width = 1; width <= 8; ++width)
        EXPECT_TRUE(ZoEqual(read(binary({"\xA2\x01\x01", "\x10\x05"}, width)).get(),
                            read("<plist><array><integer>5</integer><integer>5</integer></array></plist>").get()))
            << width;
}

// Every allocation of the objects may fail: a list or the code for it, never another list.
TEST(PropertyList, readingAndCopyingReportAFailedAllocation)
{
    const List list = sample();
    for (const ZoPropertyListFormat format : {kZoPropertyListXMLFormat_v1_0, kZoPropertyListBinaryFormat_v1_0}) {
        const std::string good = written(list.get(), format);
        const auto bytes = data(std::string_view(good));
        EXPECT_GT(sweepAllocationFailures([&](FailingAllocator& allocator) {
                      ZoErrorRef error = nullptr;
                      const List other = zoAdopt<ZoTypeRef>(
                          ZoPropertyListCreateWithData(allocator.get(), bytes.get(), 2, nullptr, &error));
                      EXPECT_TRUE(other ? !allocator.hasFailed() && ZoEqual(list.get(), other.get())
                                        : !error || ZoErrorGetCode(error) == kZoPropertyListErrorAllocation);
                      zoAdopt(error).reset();
                  }),
                  20);
    }
}

TEST(PropertyList, readsFromStreams)
{
    const TemporaryFolder folder;
    const std::string bytes = written(sample().get(), kZoPropertyListBinaryFormat_v1_0);
    writeFile(folder / "list", bytes + "tail");
    const auto url = zoAdopt(ZoURLCreateWithFileSystemPath(nullptr, str((folder / "list").string()).get(), 0, false));
    const auto readWith = [&url](bool open, ZoIndex length, ZoIndex& code) {
        const auto stream = zoAdopt(ZoReadStreamCreateWithFile(nullptr, url.get()));
        EXPECT_EQ(open && ZoReadStreamOpen(stream.get()), open);
        ZoErrorRef error = nullptr;
        auto list =
            zoAdopt<ZoTypeRef>(ZoPropertyListCreateWithStream(nullptr, stream.get(), length, 0, nullptr, &error));
        code = error ? ZoErrorGetCode(error) : 0;
        zoAdopt(error).reset();
        EXPECT_FALSE(open && ZoReadStreamOpen(stream.get()));
        return list;
    };
    ZoIndex code;
    EXPECT_TRUE(ZoEqual(sample().get(), readWith(true, static_cast<ZoIndex>(bytes.size()), code).get()));
    EXPECT_FALSE(readWith(true, 0, code));
    EXPECT_EQ(code, kZoPropertyListErrorCorrupt);
    EXPECT_FALSE(readWith(false, 0, code));
    EXPECT_EQ(code, kZoPropertyListErrorStream);
    const auto directory = zoAdopt(ZoURLCreateWithFileSystemPath(nullptr, str(folder.path().string()).get(), 0, true));
    const auto stream = zoAdopt(ZoReadStreamCreateWithFile(nullptr, directory.get()));
    EXPECT_FALSE(ZoReadStreamOpen(stream.get()));
}

}  // namespace
