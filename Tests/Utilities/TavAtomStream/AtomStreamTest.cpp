#include "Utilities/TavAtomStream.h"

#include <gtest/gtest.h>

#include "Tests/Core/TavBlockBuffer/Pieces.h"
#include "Tests/Support/AtomBuilder.h"
#include "Tests/Support/AtomTranscript.h"
#include "Tests/Support/FakeByteStream.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

static size_t sAllocations;

extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size)
{
    ++sAllocations;
    return __real_malloc(size);
}

namespace {

const std::string kUUID = "0123456789abcdef";

// A header that cannot be, the status, and the last that the reporter hears; nothing where the text is empty.
struct BadHeader {
    const char* what;
    std::string bytes;
    OSStatus status;
    std::string text;
};

class AtomStreamOnEverySource : public testing::TestWithParam<AtomSource> {};
INSTANTIATE_TEST_SUITE_P(Sources, AtomStreamOnEverySource, testing::ValuesIn(kAtomSources), [](const auto& source) {
    return std::string(source.param == AtomSource::memory        ? "memory"
                       : source.param == AtomSource::blockBuffer ? "blockBuffer"
                                                                 : "byteStream");
});

TEST_P(AtomStreamOnEverySource, opensOnNoHeaderThatCannotBe)
{
    const BadHeader rows[] = {
        {"too short", "free", kTavAtomStream_OffsetOutsideOfParent, ""},
        {"size below a header", atomHeader(7, "free") + zeros(8), kTavAtomStream_BadLengthInAtom,
         "Atom total length (7) less than an atom header size. Atom 'free' at offset 0."},
        {"size below its own header", atomHeader(12, "uuid") + zeros(24), kTavAtomStream_BadLengthInAtom,
         "Atom size (12) and header size (24) inconsistent for 'uuid' atom at offset 0"},
        {"64-bit size below its own header", atomHeader(1, "free") + be64(8), kTavAtomStream_BadLengthInAtom,
         "Atom size (8) and header size (16) inconsistent for 'free' atom at offset 0"},
        {"negative 64-bit size", atomHeader(1, "free") + be64(UINT64_C(1) << 63), kTavAtomStream_BadLengthInAtom,
         "Atom total length (-9223372036854775808) less than an atom header size. Atom 'free' at offset 0."},
        {"size 0 without leave", atomHeader(0, "mdat"), kTavAtomStream_BadLengthInAtom,
         "Zero sized 'mdat' atom not at top level offset 0"},
        {"no room for a 64-bit size", atomHeader(1, "mdat") + zeros(7), kTavAtomStream_OffsetOutsideOfParent,
         "Attempt to read wide atom size for atom 'mdat' at offset 8 exceeding 15-byte limit"},
        {"no room for an extended type", atomHeader(20, "uuid") + zeros(12), kTavAtomStream_OffsetOutsideOfParent,
         "Attempt to read uuid extended type past end of parent at offset 8 exceeding 20-byte limit"},
        {"past the end",
         atomHeader(17,
                    "\x01"
                    "fre") +
             zeros(8),
         kTavAtomStream_BadLengthInAtom,
         "Atom total length (17) exceeds container's length. Atom '0x01667265' at offset 0."},
    };
    for (const BadHeader& row : rows) {
        AtomInput input(GetParam(), row.bytes);
        SignalProbe probe;
        TavAtomStream stream;
        EXPECT_EQ(input.open(&stream), row.status) << row.what;
        EXPECT_EQ(probe.count(), 0u) << row.what << " is only reported: " << probe.message();
        const auto messages = input.messages();
        const std::string expected = row.text.empty() ? "" : std::to_string(row.status) + ": " + row.text;
        EXPECT_EQ(messages.empty() ? "" : messages.back(), expected) << row.what;
    }
}

TEST_P(AtomStreamOnEverySource, advancesOntoNoHeaderThatCannotBe)
{
    const BadHeader rows[] = {
        {"the end", "", kTavAtomStream_AtEnd, ""},
        {"stray bytes", "free", kTavAtomStream_OffsetOutsideOfParent, ""},
        {"past the end", atomHeader(9, "mdat"), kTavAtomStream_BadLengthInAtom,
         "Atom 'mdat' has an invalid length 9, offset 12, limit 20"},
        {"far past the end", atomHeader(1, "mdat") + be64(INT64_MAX), kTavAtomStream_BadLengthInAtom,
         "Atom 'mdat' has an invalid length 9223372036854775807, offset 12, limit 28"},
        {"no room for an extended type", atomHeader(30, "uuid") + zeros(15), kTavAtomStream_OffsetOutsideOfParent,
         "Attempt to read uuid extended type past end of parent at offset 20 exceeding 35-byte limit"},
    };
    for (const BadHeader& row : rows) {
        AtomInput input(GetParam(), atom("free", "1234") + row.bytes);
        AtomInput longer(GetParam(), atom("free") + atom("skip") + row.bytes);
        TavAtomStream stream;
        ASSERT_EQ(longer.open(&stream), 0) << row.what;
        EXPECT_EQ(TavAtomStreamAdvanceToNextAtomWithType(&stream, fourCC("zzzz")), row.status) << row.what;
        EXPECT_EQ(stream.type, fourCC("free")) << "the scan had passed another atom";
        ASSERT_EQ(input.open(&stream), 0) << row.what;
        SignalProbe probe;
        EXPECT_EQ(TavAtomStreamAdvanceToNextAtom(&stream), row.status) << row.what;
        EXPECT_EQ(stream.type, fourCC("free")) << row.what;
        EXPECT_EQ(probe.message(), row.text.substr(0, 127)) << row.what;
        EXPECT_EQ(probe.function(), row.text.empty() ? "" : "TavAtomStreamAdvanceToNextAtom") << row.what;
        const auto messages = input.messages();
        EXPECT_EQ(messages.empty() ? "" : messages.back(),
                  row.text.empty() ? "" : std::to_string(row.status) + ": " + row.text);
    }
}

TEST(AtomStream, reportsWholeMessages)
{
    AtomInput input(AtomSource::memory, atomHeader(9, "mdat"));
    TavAtomStream stream;
    EXPECT_EQ(input.open(&stream), kTavAtomStream_BadLengthInAtom);
    const auto messages = input.rawMessages();
    ASSERT_EQ(ZoArrayGetCount(messages.get()), 1);
    const auto message = static_cast<ZoDictionaryRef>(ZoArrayGetValueAtIndex(messages.get(), 0));
    EXPECT_EQ(ZoDictionaryGetCount(message), 4);
    for (const auto& [key, code] : {std::pair{kTavAssetAnalysisAtomStreamMessageKey_AtomType, fourCC("mdat")},
                                    {kTavAssetAnalysisKey_AnalysisType, fourCC("atom")}})
        EXPECT_TRUE(ZoEqual(ZoDictionaryGetValue(message, key), number(static_cast<int32_t>(code)).get()));
}

TEST_P(AtomStreamOnEverySource, letsSizeZeroRunToTheEndAtTopLevelOnly)
{
    AtomInput input(GetParam(), atomHeader(0, "moov") + atomHeader(0, "trak") + "abcd");
    TavAtomStream stream, child;
    ASSERT_EQ(input.open(&stream, true), 0);
    EXPECT_EQ(stream.atomSize, 20);
    EXPECT_EQ(stream.dataLength, 12);
    EXPECT_EQ(TavAtomStreamInitWithParent(&stream, 0, &child), kTavAtomStream_BadLengthInAtom);
    EXPECT_EQ(TavAtomStreamAdvanceToNextAtom(&stream), kTavAtomStream_AtEnd);
}

TEST_P(AtomStreamOnEverySource, findsAtomsByPath)
{
    const std::string mdia = atom("mdia", atom("hdlr") + atom("minf", "data"));
    AtomInput input(GetParam(), atom("ftyp") + atom("moov", atom("mvhd", zeros(9)) + atom("trak", mdia)));
    TavAtomStream start;
    ASSERT_EQ(input.open(&start), 0);

    const OSType path[] = {fourCC("moov"), fourCC("trak"), fourCC("mdia"), fourCC("minf")};
    TavAtomStream stream = start;
    ASSERT_EQ(TavAtomStreamPositionViaAtomPath(&stream, 4, path), 0);
    int64_t offset = 0, size = 0;
    TavAtomStreamGetCurrentAtomGlobalOffset(&stream, &offset, &size);
    EXPECT_EQ(offset, 8 + 8 + 17 + 8 + 8 + 8);
    EXPECT_EQ(size, 12);

    TavAtomStream moov = start;
    ASSERT_EQ(TavAtomStreamAdvanceToNextAtomWithType(&moov, fourCC("moov")), 0);
    ASSERT_EQ(TavAtomStreamAdvanceViaAtomPath(&moov, 3, path + 1), 0);
    EXPECT_EQ(moov.type, fourCC("minf"));

    // A step that is not there: from a level, the cursor is left at the first step; into children, where it was.
    const OSType wrong[] = {fourCC("moov"), fourCC("trak"), fourCC("udta")};
    stream = start;
    EXPECT_EQ(TavAtomStreamPositionViaAtomPath(&stream, 3, wrong), kTavAtomStream_AtEnd);
    EXPECT_EQ(stream.type, fourCC("moov"));
    EXPECT_EQ(TavAtomStreamAdvanceViaAtomPath(&stream, 2, wrong + 1), kTavAtomStream_AtEnd);
    EXPECT_EQ(stream.type, fourCC("moov"));
    EXPECT_EQ(TavAtomStreamPositionAtFirstAtomWithType(&stream, fourCC("moov")), 0);
}

TEST_P(AtomStreamOnEverySource, readsNothingOutsideOfTheData)
{
    AtomInput input(GetParam(), atom("free") + fullAtom("mvhd", 2, 0x030405, "abcdef"));
    TavAtomStream stream;
    ASSERT_EQ(input.open(&stream), 0);
    uint8_t bytes[16] = {}, version = 0;
    uint32_t flags = 0;
    ZoRef<LuBlockBufferRef> buffer;
    EXPECT_EQ(TavAtomStreamReadCurrentAtomData(&stream, 0, 4, bytes), kTavAtomStream_AtomOffsetOutOfRange);
    EXPECT_EQ(input.messages().back(),
              "-12891: Attempt to read 4 bytes at 0 out of range of 'free' atom's data size 0");
    EXPECT_EQ(TavAtomStreamReadCurrentAtomDataAndCreateBBuf(&stream, 0, 0, buffer.outParam()),
              kTavAtomStream_AtomOffsetOutOfRange);
    EXPECT_EQ(TavAtomStreamGetCurrentAtomUUIDType(&stream, bytes), kTavAtomStream_NotUUIDAtom);

    ASSERT_EQ(TavAtomStreamAdvanceToNextAtom(&stream), 0);
    EXPECT_EQ(TavAtomStreamGetCurrentAtomVersionAndFlags(&stream, &version, &flags), 0);
    EXPECT_EQ(version, 2);
    EXPECT_EQ(flags, 0x030405u);
    ASSERT_EQ(TavAtomStreamReadCurrentAtomDataAndCreateBBuf(&stream, 4, 0, buffer.outParam()), 0);
    ASSERT_EQ(LuBlockBufferCopyDataBytes(buffer.get(), 0, 6, bytes), 0);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(bytes), 6), "abcdef") << "to the end of the data";
    EXPECT_EQ(TavAtomStreamReadCurrentAtomData(&stream, 9, 0, bytes), 0);
    for (const auto& [offset, length] : {std::pair<int64_t, size_t>{4, 7}, {10, 0}, {-1, 1}, {1, SIZE_MAX}})
        EXPECT_EQ(TavAtomStreamReadCurrentAtomData(&stream, offset, length, bytes),
                  kTavAtomStream_AtomOffsetOutOfRange);
    int64_t where = 0;
    EXPECT_EQ(TavAtomStreamGetCurrentAtomDataGlobalOffset(&stream, 9, &where), 0);
    EXPECT_EQ(where, 8 + 8 + 9);
    EXPECT_EQ(TavAtomStreamGetCurrentAtomDataGlobalOffset(&stream, 10, &where), kTavAtomStream_AtomOffsetOutOfRange);
    EXPECT_EQ(input.messages().back(), "-12891: Offset 10 beyond end of 'mvhd' atom's dataLength 10");
}

TEST_P(AtomStreamOnEverySource, opensChildrenBehindFieldsOnly)
{
    AtomInput input(GetParam(), fullAtom("stsd", 0, 0, be32(1) + atom("avc1")) + atom("free"));
    TavAtomStream stream, child;
    ASSERT_EQ(input.open(&stream), 0);
    ASSERT_EQ(TavAtomStreamInitWithParent(&stream, 8, &child), 0);
    EXPECT_EQ(child.type, fourCC("avc1"));
    EXPECT_EQ(TavAtomStreamAdvanceToNextAtom(&child), kTavAtomStream_AtEnd) << "what follows belongs to the parent";
    EXPECT_EQ(TavAtomStreamInitWithParent(&stream, 16, &child), kTavAtomStream_OffsetOutsideOfParent);
    EXPECT_EQ(input.messages().size(), 0u);
    EXPECT_EQ(TavAtomStreamInitWithParent(&stream, 17, &child), kTavAtomStream_OffsetOutsideOfParent);
    EXPECT_EQ(input.messages().back(),
              "-12893: Offset 17 outside of parent container length 16 (Effective global offset 25)");
}

// A byte stream's length is an object, so that opening one allocates.
TEST_P(AtomStreamOnEverySource, allocatesNothingOnTheWay)
{
    std::string bytes;
    for (int i = 0; i < 1000; ++i) bytes += i % 3 == 0 ? wideAtom("free", "x") : fullAtom("moov", 0, 7, atom("trak"));
    AtomInput input(GetParam(), bytes, 64);
    TavAtomStream stream, child;
    size_t before = sAllocations;
    OSStatus status = input.open(&stream);
    if (GetParam() == AtomSource::byteStream) before = sAllocations;
    int count = 0;
    for (; status == 0; ++count) {
        uint32_t flags = 0;
        if (stream.type == fourCC("moov")) {
            EXPECT_EQ(TavAtomStreamGetCurrentAtomVersionAndFlags(&stream, nullptr, &flags), 0);
            EXPECT_EQ(TavAtomStreamInitWithParent(&stream, 4, &child), 0);
        }
        status = TavAtomStreamAdvanceToNextAtom(&stream);
    }
    EXPECT_EQ(sAllocations, before);
    EXPECT_EQ(count, 1000);
}

TEST(AtomStream, opensInsideOfItsSource)
{
    const std::string bytes = atom("free", "12345678") + atom("mdat");
    TavAtomStream stream;
    AtomInput buffer(AtomSource::blockBuffer, bytes), stream3(AtomSource::byteStream, bytes);
    EXPECT_EQ(buffer.open(&stream, false, 16), 0);
    EXPECT_EQ(stream3.open(&stream, false, 16), 0);
    EXPECT_EQ(stream.type, fourCC("mdat"));
    EXPECT_EQ(stream.containerLength, 8);
    EXPECT_EQ(buffer.open(&stream, false, 24), kTavAtomStream_OffsetOutsideOfParent);
    EXPECT_EQ(buffer.messages().back(), "-12893: Offset 24 exceeds block buffer length 24");
    EXPECT_EQ(stream3.open(&stream, false, 24), kTavAtomStream_OffsetOutsideOfParent);
    EXPECT_EQ(stream3.messages().back(), "-12893: Offset 24 exceeds stream length 24");
    FakeByteStream fake(bytes);
    EXPECT_EQ(TavAtomStreamInitWithByteStreamWithSize(fake.get(), 0, 23, false, &stream), 0);
    EXPECT_EQ(TavAtomStreamAdvanceToNextAtom(&stream), kTavAtomStream_OffsetOutsideOfParent) << "7 bytes are left";
}

// The run over a memory block is as long as the block wherever it starts, so that its end is found by reading.
TEST(AtomStream, findsTheEndOfAMemoryBlockByReading)
{
    const std::string bytes = atom("free") + atom("mdat") + "abcd";
    AtomInput input(AtomSource::memory, bytes);
    TavAtomStream stream;
    ASSERT_EQ(input.open(&stream, false, 8), 0);
    EXPECT_EQ(stream.containerLength, 20);
    EXPECT_EQ(TavAtomStreamAdvanceToNextAtom(&stream), kTavAtomStream_UnexpectedEndOfStream);
    EXPECT_EQ(input.messages().back(),
              "-12892: Fewer bytes read than expected reading atom header at offset 16 (read 4 wanted 8)");
    EXPECT_EQ(TavAtomStreamInitWithMemoryBlock(bytes.data(), bytes.size(), INT64_MAX, false, &stream),
              kTavAtomStream_OffsetOutsideOfParent);
    EXPECT_EQ(TavAtomStreamInitWithMemoryBlock(bytes.data(), 0, 0, false, &stream), kTavAtomStream_ParameterError);
}

TEST(AtomStream, takesWhatStreamsReallyGive)
{
    FakeByteStream fake(uuidAtom(kUUID, "data") + wideAtom("mdat"));
    TavAtomStream stream;
    fake.claimedLength = 1000;
    ASSERT_EQ(TavAtomStreamInitWithByteStream(fake.get(), 0, false, &stream), 0);
    EXPECT_EQ(TavAtomStreamAdvanceToNextAtom(&stream), 0);
    SignalProbe probe;
    EXPECT_EQ(TavAtomStreamAdvanceToNextAtom(&stream), kTavAtomStream_UnexpectedEndOfStream);
    EXPECT_EQ(probe.message(), "Fewer bytes read than expected reading atom header at offset 44 (read 0 wanted 8)");
    fake.onRead = [](int64_t) { return FakeByteStream::kFailure; };
    EXPECT_EQ(TavAtomStreamInitWithByteStream(fake.get(), 0, false, &stream), FakeByteStream::kFailure);
    fake.onRead = nullptr;
    fake.mostBytesARead = 10;
    EXPECT_EQ(TavAtomStreamInitWithByteStream(fake.get(), 0, false, &stream), kTavAtomStream_UnexpectedEndOfStream);

    FakeByteStream empty{FakeByteStream::Empty()};
    EXPECT_EQ(TavAtomStreamInitWithByteStream(empty.get(), 0, false, &stream), kTavBaseObjectError_NoSuchOperation);
}

// A cursor that jumps back and forth in a buffer of references to buffers finds what one over memory finds.
TEST(AtomStream, keepsItsPlaceInNestedBuffers)
{
    std::string children;
    for (int i = 0; i < 40; ++i) children += fullAtom("item", 0, static_cast<uint32_t>(i), std::string(i % 7, 'x'));
    const std::string bytes = atom("free") + atom("list", children) + atom("list", children);
    ZoRef<LuBlockBufferRef> nested;
    LuBlockBufferCreateEmpty(nullptr, 2, 0, nested.outParam());
    for (size_t at = 0; at < bytes.size(); at += 100) {
        ZoRef<LuBlockBufferRef> part;
        LuBlockBufferCreateEmpty(nullptr, 2, 0, part.outParam());
        for (size_t in = at; in < std::min(at + 100, bytes.size()); in += 5) {
            const auto piece = memory(bytes.substr(in, 5));
            LuBlockBufferAppendBufferReference(part.get(), piece.get(), 0, 0, kLuBlockBufferDontOptimizeDepthFlag);
        }
        LuBlockBufferAppendBufferReference(nested.get(), part.get(), 0, 0, kLuBlockBufferDontOptimizeDepthFlag);
    }
    TavAtomStream outer, first, second;
    ASSERT_EQ(TavAtomStreamInitWithBBuf(nested.get(), 0, false, &outer), 0);
    ASSERT_EQ(TavAtomStreamAdvanceToNextAtom(&outer), 0);
    ASSERT_EQ(TavAtomStreamInitWithParent(&outer, 0, &first), 0);
    ASSERT_EQ(TavAtomStreamAdvanceToNextAtom(&outer), 0);
    ASSERT_EQ(TavAtomStreamInitWithParent(&outer, 0, &second), 0);
    for (uint32_t i = 0; i < 40; ++i) {
        uint32_t flags1 = 99, flags2 = 99;
        EXPECT_EQ(TavAtomStreamGetCurrentAtomVersionAndFlags(&first, nullptr, &flags1), 0);
        EXPECT_EQ(TavAtomStreamGetCurrentAtomVersionAndFlags(&second, nullptr, &flags2), 0);
        EXPECT_EQ(flags1, i);
        EXPECT_EQ(flags2, i);
        const OSStatus expected = i == 39 ? kTavAtomStream_AtEnd : 0;
        EXPECT_EQ(TavAtomStreamAdvanceToNextAtom(&first), expected);
        EXPECT_EQ(TavAtomStreamAdvanceToNextAtom(&second), expected);
    }
}

TEST(AtomStream, readsSingleHeaders)
{
    struct Row {
        const char* what;
        std::string bytes;
        OSStatus status;
        int64_t size;
        size_t headerSize;
    };
    const Row rows[] = {
        {"plain", atomHeader(100, "mdat"), 0, 100, 8},
        {"wide", atomHeader(1, "mdat") + be64(INT64_C(1) << 40), 0, INT64_C(1) << 40, 16},
        {"uuid", uuidAtom(kUUID), 0, 24, 24},
        {"six bytes", "mdatmd", kTavAtomStream_NeedMoreData, 0, 0},
        {"no room for the 64-bit size", atomHeader(1, "mdat"), kTavAtomStream_NeedMoreData, 0, 0},
        {"no room for the extended type", atomHeader(30, "uuid") + zeros(4), kTavAtomStream_NeedMoreData, 30, 8},
        {"size 0", atomHeader(0, "mdat"), kTavAtomStream_BadLengthInAtom, 0, 8},
        {"too small", atomHeader(7, "mdat"), kTavAtomStream_BadLengthInAtom, 7, 8},
    };
    for (const Row& row : rows) {
        const auto buffer = memory(row.bytes);
        FakeByteStream fake(row.bytes);
        for (const bool isStream : {false, true}) {
            OSType type = 1;
            int64_t size = -1;
            size_t headerSize = 99;
            SignalProbe probe;
            EXPECT_EQ(isStream
                          ? TavAtomUtilityGetAtomTypeAndLengthInByteStream(fake.get(), 0, &type, &size, &headerSize)
                          : TavAtomUtilityGetAtomTypeAndLengthInBBuf(buffer.get(), 0, &type, &size, &headerSize),
                      row.status);
            EXPECT_TRUE(size == row.size && headerSize == row.headerSize) << row.what;
            EXPECT_TRUE(!isStream || probe.count() == 0) << row.what << ": the stream form is silent";
        }
    }
    FakeByteStream fake(atom("free"));
    SignalProbe probe;
    EXPECT_EQ(TavAtomUtilityGetAtomTypeAndLengthInByteStream(fake.get(), 9, nullptr, nullptr, nullptr),
              kTavAtomStream_OffsetOutsideOfParent);
    EXPECT_EQ(probe.message(), "Offset 9 exceeds stream length 8.");
    EXPECT_EQ(TavAtomUtilityGetAtomTypeAndLengthInByteStream(fake.get(), 8, nullptr, nullptr, nullptr),
              kTavAtomStream_NeedMoreData);
}

}  // namespace
