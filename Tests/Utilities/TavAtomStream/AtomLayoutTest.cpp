// Where children start, for the types where it is not plain.

#include "Utilities/TavAtomLayout.h"

#include <gtest/gtest.h>

#include "Tests/Support/AtomBuilder.h"

using namespace luvia_test;

namespace {

constexpr int kLeaf = -1;

struct Row {
    const char* what;
    std::string type;
    TavAtomParent parent;
    std::string data;
    bool isFull;
    int children;
};

TavAtomParent in(const char* type, uint8_t version = 0) { return {fourCC(type), version, 0}; }
TavAtomParent entryOf(const char* handler, uint8_t version = 0) { return {fourCC("stsd"), version, fourCC(handler)}; }

std::string soundFields(uint16_t version, const std::string& behind = zeros(60))
{
    return zeros(6) + be16(1) + be16(version) + zeros(18) + behind;
}
/// A record whose color table has `count` entries; `size` bytes follow the table's header.
std::string colors(uint16_t count, size_t size)
{
    return zeros(78) + zeros(6) + be16(static_cast<uint16_t>(count - 1)) + zeros(size);
}
std::string pictureWithoutColors() { return zeros(76) + be16(0xFFFF) + zeros(60); }

TEST(AtomLayout, findsWhereChildrenStart)
{
    const std::string chan = atom("chan", zeros(16));
    const Row rows[] = {
        {"a type of zeros", zeros(4), in("wave"), "", false, kLeaf},
        {"an entry of a known code, without a handler", "avc1", in("stsd"), pictureWithoutColors(), false, 78},
        {"the same type elsewhere", "avc1", in("moov"), zeros(78), false, kLeaf},
        {"an entry of an unknown code, without a handler", "zzzz", in("stsd"), zeros(78), false, kLeaf},
        {"a picture of an unknown code", "zzzz", entryOf("vide"), pictureWithoutColors(), false, 78},
        {"an auxiliary picture of a code that sound has, too", "mp4a", entryOf("auxv"), zeros(76), false, 78},
        {"colors", "rle ", entryOf("vide"), colors(2, 24), false, 102},
        {"colors that the record has no room for", "rle ", entryOf("pict"), colors(2, 15), false, 78},
        {"atoms in place of colors", "avc1", entryOf("vide"), zeros(78) + chan, false, 78},
        {"sound of a code that pictures have, too", "raw ", entryOf("soun"), soundFields(0), false, 28},
        {"a movie file's sound entry of version 1", "mp4a", entryOf("soun"), soundFields(1, zeros(16) + chan), false,
         44},
        {"one without atoms", "mp4a", entryOf("soun"), soundFields(1, be32(1024) + zeros(12)), false, 44},
        {"an ISO one", "mp4a", entryOf("soun", 1), soundFields(1, chan), false, 28},
        {"an ISO one in a table of version 0", "mp4a", entryOf("soun"), soundFields(1, chan + chan), false, 28},
        {"a movie file's sound entry of version 2", "lpcm", entryOf("soun"), soundFields(2, be32(72) + zeros(60)),
         false, 64},
        {"one that is longer", "lpcm", entryOf("soun"), soundFields(2, be32(80) + zeros(60)), false, 72},
        {"one that lies", "lpcm", entryOf("soun"), soundFields(2, be32(0x7FFFFFFF) + zeros(60)), false, 64},
        {"a sound entry without its fields", "mp4a", entryOf("soun"), zeros(3), false, 28},
        {"an entry of another kind", "wvtt", entryOf("text"), zeros(8), false, 8},
        {"the decoder's atom of the same name", "mp4a", in("wave"), zeros(4), false, kLeaf},
        {"metadata as ISO has it", "meta", in("udta"), zeros(4) + atom("hdlr", zeros(24)), true, 4},
        {"metadata as movie files have it", "meta", in("moov"), atom("hdlr", zeros(24)), false, 0},
        {"metadata with nothing in it", "meta", in("moov"), zeros(4), true, 4},
        {"items counted by 16 bits", "iinf", in("meta"), zeros(6), true, 6},
        {"items counted by 32 bits", "iinf", in("meta"), be(1, 1) + zeros(7), true, 8},
        {"a tag by whatever name", "cprt", in("ilst"), atom("data"), false, 0},
        {"a full atom of that name", "cprt", in("udta"), zeros(8), true, kLeaf},
        {"a name of a free-form tag", "name", in("----"), zeros(8), true, kLeaf},
    };
    for (const Row& row : rows) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(row.data.data());
        const TavAtomLayout layout = TavAtomLayoutOf(fourCC(row.type.c_str()), row.parent, {bytes, row.data.size()});
        EXPECT_EQ(layout.isFull, row.isFull) << row.what;
        EXPECT_EQ(layout.isContainer ? static_cast<int>(layout.childrenOffset) : kLeaf, row.children) << row.what;
    }
}

}  // namespace
