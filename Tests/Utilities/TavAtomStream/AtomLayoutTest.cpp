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
    std::string parent;
    uint8_t parentVersion;
    std::string data;
    bool isFull;
    int children;
};

std::string soundFields(uint16_t version) { return zeros(6) + be16(1) + be16(version) + zeros(60); }

TEST(AtomLayout, findsWhereChildrenStart)
{
    const Row rows[] = {
        {"a plain container", "moov", "", 0, "", false, 0},
        {"media data", "mdat", "", 0, atom("free"), false, kLeaf},
        {"an unknown type", "zzzz", "moov", 0, atom("free"), false, kLeaf},
        {"a type of zeros", zeros(4), "wave", 0, "", false, kLeaf},
        {"sample descriptions", "stsd", "stbl", 0, zeros(8), true, 8},
        {"a visual entry", "avc1", "stsd", 0, zeros(78), false, 78},
        {"the same type elsewhere", "avc1", "moov", 0, zeros(78), false, kLeaf},
        {"a sound entry", "mp4a", "stsd", 0, soundFields(0), false, 28},
        {"a movie file's sound entry of version 1", "mp4a", "stsd", 0, soundFields(1), false, 44},
        {"a movie file's sound entry of version 2", "lpcm", "stsd", 0, soundFields(2), false, 64},
        {"an ISO sound entry of version 1", "mp4a", "stsd", 1, soundFields(1), false, 28},
        {"a sound entry without its fields", "mp4a", "stsd", 0, zeros(3), false, 28},
        {"the decoder's atom of the same name", "mp4a", "wave", 0, zeros(4), false, kLeaf},
        {"metadata as ISO has it", "meta", "udta", 0, zeros(4) + atom("hdlr", zeros(24)), true, 4},
        {"metadata as movie files have it", "meta", "moov", 0, atom("hdlr", zeros(24)), false, 0},
        {"metadata with nothing in it", "meta", "moov", 0, zeros(4), true, 4},
        {"items counted by 16 bits", "iinf", "meta", 0, zeros(6), true, 6},
        {"items counted by 32 bits", "iinf", "meta", 0, be(1, 1) + zeros(7), true, 8},
        {"a tag by whatever name", "cprt", "ilst", 0, atom("data"), false, 0},
        {"a full atom of that name", "cprt", "udta", 0, zeros(8), true, kLeaf},
        {"a name of a free-form tag", "name", "----", 0, zeros(8), true, kLeaf},
        {"a name that is text", "name", "udta", 0, zeros(8), false, kLeaf},
    };
    for (const Row& row : rows) {
        const TavAtomParent parent = {row.parent.empty() ? 0 : fourCC(row.parent.c_str()), row.parentVersion};
        const auto* bytes = reinterpret_cast<const uint8_t*>(row.data.data());
        const TavAtomLayout layout = TavAtomLayoutOf(fourCC(row.type.c_str()), parent, {bytes, row.data.size()});
        EXPECT_EQ(layout.isFull, row.isFull) << row.what;
        EXPECT_EQ(layout.isContainer ? static_cast<int>(layout.childrenOffset) : kLeaf, row.children) << row.what;
    }
}

}  // namespace
