#include <gtest/gtest.h>

#include "Foundation/PropertyLists/ZoPropertyList.h"

#include <unistd.h>

#include <cmath>
#include <vector>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Tests/Support/Bytes.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/TemporaryFolder.h"

using namespace luvia_test;
using namespace std::string_literals;

namespace {

using List = ZoRef<ZoTypeRef>;

List read(std::string_view bytes, ZoOptionFlags options = 0, ZoErrorRef* error = nullptr)
{
    return zoAdopt<ZoTypeRef>(ZoPropertyListCreateWithData(nullptr, dataOf(bytes).get(), options, nullptr, error));
}

std::string written(ZoTypeRef list, ZoPropertyListFormat format, ZoErrorRef* error = nullptr)
{
    const auto bytes = zoAdopt(ZoPropertyListCreateData(nullptr, list, format, 0, error));
    return bytes ? bytesOf(bytes.get()) : "";
}

std::string reasonOf(ZoErrorRef error) { return error ? textOf(ZoErrorCopyFailureReason(error)) : "(no error)"; }

/// A binary list of objects given as bytes; the first is the root.
std::string binary(const std::vector<std::string>& objects, int offsetWidth = 2, int indexWidth = 1)
{
    std::string bytes = "bplist00", table;
    for (const std::string& object : objects) {
        table += be(bytes.size(), offsetWidth);
        bytes += object;
    }
    const size_t tableStart = bytes.size();
    return bytes + table + zeros(6) + be(static_cast<uint64_t>(offsetWidth), 1) +
           be(static_cast<uint64_t>(indexWidth), 1) + be64(objects.size()) + be64(0) + be64(tableStart);
}

std::string repeated(std::string_view text, int count)
{
    std::string out;
    for (int i = 0; i < count; ++i) out += text;
    return out;
}

std::string nestedXML(int depth) { return repeated("<array>", depth) + repeated("</array>", depth); }

std::string nestedBinary(int depth)
{
    std::vector<std::string> objects;
    for (int i = 1; i < depth; ++i) objects.push_back("\xA1" + be16(static_cast<uint16_t>(i)));
    objects.push_back("\xA0");
    return binary(objects, 4, 2);
}

struct BadList {
    std::string bytes;
    std::string reason;  // how it begins
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
        {good.substr(0, 30), "too short"},
        {withTrailer(good, 26, be(0, 1)), "widths"},
        {withTrailer(good, 25, be(9, 1)), "widths"},
        {withTrailer(good, 24, be64(UINT64_MAX / 2)), "the offset table"},  // more objects than bytes
        {withTrailer(good, 8, be64(1 << 20)), "the offset table"},          // past the end
        {withTrailer(good, 8, be64(3)), "the offset table"},                // in the header
        {withTrailer(good, 16, be64(2)), "the root"},
        {binary({"\xA1\x07"}), "an index"},
        {binary({"\xA1\0"s}), "a container is within itself"},
        {binary({"\xD1\0\1"s, "\x09"}), "a container is within itself"},  // as its own key
        {binary({"\xA1\1", "\xA1\0"s}), "a container is within itself"},
        {binary({"\xAF\x13" + be64(UINT64_C(1) << 63)}), "an object leaves"},
        {binary({"\x6F\x13" + be64(UINT64_MAX)}), "an object leaves"},
        {binary({"\x44zz"}), "an object leaves"},
        {binary({"\x5F\x20"}), "a count"},
        {binary({"\x15" + zeros(32)}), "an integer of more"},
        {binary({"\x14" + be64(1) + be64(0)}), "an integer beyond"},
        {binary({"\x14" + be64(1) + be64(1ULL << 63)}), "an integer beyond"},
        {binary({"\x21" + zeros(2)}), "a real"},
        {binary({"\x32" + zeros(4)}), "a date"},
        {binary({"\xD1\x01\x01", "\x09"}), "a key"},
        {binary({"\x61" + be16(0xD800)}), "a string"},
        {binary({"\x51\x80"}), "a string"},
        {binary({"\x70"}), "an object of unknown kind"},
        {binary({"\x0F"}), "an object of unknown kind"},
        {nestedBinary(kZoPropertyListMaximumDepth + 1), "nested"},
        {binary(levels), "shared objects"},  // sixty doublings
    };
}

// Bodies of a plist element, or whole documents.
std::vector<BadList> badXMLLists()
{
    return {
        {"", "no element"},
        {"<plist></plist>", "no value"},
        {"<!DOCTYPE plist [<!ENTITY a \"a\"><!ENTITY b \"&a;&a;\">]><plist><string>&b;</string></plist>", "entities"},
        {"<!DOCTYPE plist [<!ENTITY a SYSTEM \"file:///etc/passwd\">]><plist><string>&a;</string></plist>", "entities"},
        {"<!DOCTYPE plist SYSTEM \"x.dtd\"><plist><string>&a;</string></plist>", "an unknown entity"},
        {"<set/>", "unknown element"},
        {"<string><true/></string>", "an element within"},
        {"<true/><true/>", "an element out of place"},
        {"<array><plist/></array>", "a plist element"},
        {"<dict><key>a</key></dict>", "a key without"},
        {"<dict><true/></dict>", "an element out of place"},
        {"<dict><key>a</key><key>b</key></dict>", "an element out of place"},
        {"<array>\n<key>a</key></array>", "line 2: an element out of place"},
        {"<key>a</key>", "a key outside"},
        {"<array>a<true/></array>", "text outside"},
        {"<true>1</true>", "text within"},
        {"<integer/>", "not an integer"},
        {"<integer>18446744073709551616</integer>", "not an integer"},
        {"<integer>-9223372036854775809</integer>", "not an integer"},
        {"<integer>--1</integer>", "not an integer"},
        {"<real>1.5x</real>", "not a real"},
        {"<date>1900-02-29T00:00:00Z</date>", "not a date"},
        {"<date>2000-01-01T24:00:00Z</date>", "not a date"},
        {"<data>AA*A</data>", "not base64"},
        {"<data>AAA</data>", "not base64"},
        {"<data>AA==AAAA</data>", "not base64"},
        {"<data>====</data>", "not base64"},
        {nestedXML(kZoPropertyListMaximumDepth + 1), "nested"},
        {"<string>\xFF</string>", "not well-formed"},
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
    const auto refuses = [](const std::string& bytes, const std::string& expected) {
        ZoErrorRef error = nullptr;
        EXPECT_FALSE(read(bytes, 0, &error)) << expected;
        const auto owned = zoAdopt(error);
        std::string reason = reasonOf(error);
        if (reason.starts_with("line 1: ")) reason.erase(0, 8);
        EXPECT_EQ(reason.substr(0, expected.size()), expected) << testing::PrintToString(bytes);
        if (!error) return;
        EXPECT_EQ(ZoErrorGetCode(error), kZoPropertyListErrorCorrupt) << expected;
        EXPECT_TRUE(ZoEqual(ZoErrorGetDomain(error), kZoErrorDomainPropertyList));
    };
    for (const BadList& row : badBinaryLists()) refuses(row.bytes, row.reason);
    for (const BadList& row : badXMLLists()) {
        const bool isDocument = row.bytes.empty() || row.bytes.starts_with("<!") || row.bytes.starts_with("<plist");
        refuses(isDocument ? row.bytes : "<plist version=\"1.0\">" + row.bytes + "</plist>", row.reason);
    }
}

// Two hundred thousand arrays over the same bytes would be read again for each.
TEST(PropertyList, objectsThatOverlapCostNoTime)
{
    constexpr size_t kCount = 200000;
    std::string bytes = binary(std::vector<std::string>(kCount, "\xAF\x12" + be32(kCount)), 4);
    EXPECT_FALSE(read(bytes));
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
    const auto least = number(INT64_MIN);
    EXPECT_TRUE(ZoEqual(least.get(), read(written(least.get(), 100)).get()));
}

TEST(PropertyList, argumentsThatAreNone)
{
    ZoPropertyListFormat format = 7;
    const auto data = dataOf("<true/>");
    const auto codeOf = [](auto create, auto... arguments) {
        ZoErrorRef error = nullptr;
        EXPECT_FALSE(create(nullptr, arguments..., &error));
        const auto owned = zoAdopt(error);
        return owned ? ZoErrorGetCode(owned.get()) : 0;
    };
    EXPECT_EQ(codeOf(ZoPropertyListCreateWithData, nullptr, 0, &format), kZoPropertyListErrorBadArgument);
    EXPECT_EQ(format, 0);
    EXPECT_EQ(codeOf(ZoPropertyListCreateWithData, data.get(), 3, nullptr), kZoPropertyListErrorBadArgument);
    EXPECT_EQ(codeOf(ZoPropertyListCreateData, nullptr, 100, 0), kZoPropertyListErrorBadArgument);
    EXPECT_EQ(codeOf(ZoPropertyListCreateData, kZoBooleanTrue, 300, 0), kZoPropertyListErrorBadArgument);
    EXPECT_TRUE(zoAdopt<ZoTypeRef>(ZoPropertyListCreateWithData(nullptr, data.get(), 0, &format, nullptr)));
    EXPECT_EQ(format, kZoPropertyListXMLFormat_v1_0);
}

// One array that stands in two places: immutable readers may share it, mutable ones must not.
TEST(PropertyList, mutableContainersAreNotShared)
{
    const std::string bytes = binary({"\xA2\x01\x01", "\xA1\x02", "\x51s"});
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
    const auto leaf = dataOf(std::string_view(bytesOfLeaf));
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
        EXPECT_TRUE(ZoEqual(read(binary({"\x10\x05"}, width)).get(), number(5).get())) << width;
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
