// Whatever is cut off or turned over, all sources tell the same, and what they tell fits the bytes.

#include <gtest/gtest.h>

#include "Tests/Support/AtomBuilder.h"
#include "Tests/Support/AtomTranscript.h"

using namespace luvia_test;

namespace {

void expectAllAlike(const std::string& bytes, const std::string& what)
{
    for (const bool allowZeroSize : {false, true}) {
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

TEST(AtomStreamDamage, isReadAlikeFromEverySource)
{
    const std::string uuid = "0123456789abcdef";
    const std::string files[] = {
        // one of each header, nested
        atom("moov", fullAtom("mvhd", 1, 0x020304, zeros(5)) + atom("trak", atom("tkhd") + wideAtom("mdia", "xyz"))) +
            atom("free"),
        uuidAtom(uuid, "data") + wideAtom("mdat", atom("inne", atom("core"))),
        atomHeader(1, "uuid") + be64(36) + uuid + "tail" + atom("meta", zeros(4) + atom("hdlr", "abc")),
        atom("skip") + atomHeader(0, "mdat") + "to the end",
    };
    for (const std::string& file : files) {
        for (size_t length = 1; length <= file.size(); ++length)
            expectAllAlike(file.substr(0, length), "cut at " + std::to_string(length));
        for (size_t bit = 0; bit < file.size() * 8; ++bit) {
            std::string damaged = file;
            damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
            expectAllAlike(damaged, "bit " + std::to_string(bit));
        }
    }
}

}  // namespace
