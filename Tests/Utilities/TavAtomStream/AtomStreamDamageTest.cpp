// Whatever is cut off or turned over, all sources tell the same, and what they tell fits the bytes.

#include <gtest/gtest.h>

#include "Tests/Support/AtomBuilder.h"
#include "Tests/Support/AtomTranscript.h"

using namespace luvia_test;

namespace {

const std::string kUUID = "0123456789abcdef";

// One of each header, nested.
std::vector<std::string> smallFiles()
{
    return {
        atom("moov", fullAtom("mvhd", 1, 0x020304, zeros(5)) + atom("trak", atom("tkhd") + wideAtom("mdia", "xyz"))) +
            atom("free"),
        uuidAtom(kUUID, "data") + wideAtom("mdat", atom("inne", atom("core"))),
        atomHeader(1, "uuid") + be64(36) + kUUID + "tail" + atom("meta", zeros(4) + atom("hdlr", "abc")),
        atom("skip") + atomHeader(0, "mdat") + "to the end",
    };
}

void expectAllAlike(const std::string& bytes, const std::string& what)
{
    for (const bool allowZeroSize : {false, true}) {
        if (bytes.empty()) continue;
        AtomInput memory(AtomSource::memory, bytes);
        const std::string expected = transcriptOf(memory, allowZeroSize);
        ASSERT_EQ(expected.find("CURSOR MOVED"), std::string::npos) << what << expected;
        for (const AtomSource source : {AtomSource::blockBuffer, AtomSource::byteStream}) {
            for (const size_t pieceLength : {size_t{1}, size_t{3}, size_t{64}}) {
                AtomInput input(source, bytes, pieceLength);
                ASSERT_EQ(transcriptOf(input, allowZeroSize), expected) << what;
            }
        }
    }
}

TEST(AtomStreamDamage, truncationAtEveryByte)
{
    for (const std::string& file : smallFiles())
        for (size_t length = 0; length <= file.size(); ++length)
            expectAllAlike(file.substr(0, length), "cut at " + std::to_string(length));
}

TEST(AtomStreamDamage, everyBitTurnedOver)
{
    for (const std::string& file : smallFiles())
        for (size_t bit = 0; bit < file.size() * 8; ++bit) {
            std::string damaged = file;
            damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
            expectAllAlike(damaged, "bit " + std::to_string(bit));
        }
}

}  // namespace
