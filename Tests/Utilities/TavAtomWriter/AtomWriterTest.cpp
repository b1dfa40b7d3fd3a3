#include "Utilities/TavAtomWriter.h"

#include <gtest/gtest.h>

#include "Tests/Core/TavBlockBuffer/Pieces.h"
#include "Tests/Support/AtomBuilder.h"
#include "Tests/Support/FakeByteStream.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

const std::string kUUID = "0123456789abcdef";

OSStatus append(TavAtomWriter* writer, const std::string& bytes)
{
    return TavAtomWriterAppendData(writer, bytes.data(), bytes.size());
}

// Every form of atom, nested: two atoms at the top, of which the first holds three.
OSStatus writeOneOfEach(TavAtomWriter* top)
{
    TAV_TRY(TavAtomWriterBeginAtom(top, fourCC("moov"), false));
    TAV_TRY(TavAtomWriterAppendVersionAndFlags(top, 1, 0x11020304));
    TAV_TRY(append(top, "own"));
    TavAtomWriter child, grandchild;
    TAV_TRY(TavAtomWriterInitWithParent(top, &child));
    TAV_TRY(TavAtomWriterBeginAtom(&child, fourCC("trak"), true));
    TAV_TRY(TavAtomWriterInitWithParent(&child, &grandchild));
    TAV_TRY(TavAtomWriterBeginAtom(&grandchild, fourCC("mdia"), false));
    TAV_TRY(append(&grandchild, "xyz"));
    TAV_TRY(TavAtomWriterEndAtom(&grandchild));
    TAV_TRY(TavAtomWriterEndAtom(&child));
    TAV_TRY(TavAtomWriterBeginUUIDAtom(&child, reinterpret_cast<const uint8_t*>(kUUID.data()), false));
    const auto data = memory("..data..");
    TAV_TRY(TavAtomWriterAppendBlockBufferData(&child, data.get(), 2, 4));
    TAV_TRY(TavAtomWriterEndAtom(&child));
    TAV_TRY(TavAtomWriterEndAtom(top));
    TAV_TRY(TavAtomWriterBeginUUIDAtom(top, reinterpret_cast<const uint8_t*>(kUUID.data()), true));
    return TavAtomWriterEndAtom(top);
}
const std::string kOneOfEach =
    fullAtom("moov", 1, 0x020304, "own" + wideAtom("trak", atom("mdia", "xyz")) + uuidAtom(kUUID, "data")) +
    atomHeader(1, "uuid") + be64(32) + kUUID;

TEST(AtomWriter, writesEveryFormBehindWhatIsThere)
{
    const auto buffer = bufferOf({});
    const auto before = memory("before");
    LuBlockBufferAppendBufferReference(buffer.get(), before.get(), 0, 0, 0);
    TavAtomWriter writer;
    ASSERT_EQ(TavAtomWriterInitWithBlockBuffer(buffer.get(), &writer), 0);
    EXPECT_EQ(writeOneOfEach(&writer), 0);
    EXPECT_EQ(textOf(buffer), "before" + kOneOfEach);
    EXPECT_EQ(writer.atomOffset, static_cast<int64_t>(LuBlockBufferGetDataLength(buffer.get())));

    FakeByteStream stream("before");
    ASSERT_EQ(TavAtomWriterInitWithByteStream(stream.get(), &writer), 0);
    EXPECT_EQ(writeOneOfEach(&writer), 0);
    EXPECT_EQ(stream.content, "before" + kOneOfEach);
}

TEST(AtomWriter, passesUpEachFailedWrite)
{
    FakeByteStream whole;
    TavAtomWriter writer;
    TavAtomWriterInitWithByteStream(whole.get(), &writer);
    ASSERT_EQ(writeOneOfEach(&writer), 0);
    for (size_t n = 0; n < whole.writes.size(); ++n) {
        FakeByteStream stream;
        stream.failingWrite = static_cast<int>(n);
        TavAtomWriterInitWithByteStream(stream.get(), &writer);
        EXPECT_EQ(writeOneOfEach(&writer), FakeByteStream::kFailure) << "write " << n;
        if (n + 2 == whole.writes.size()) {  // the extended type of the last atom
            EXPECT_FALSE(writer.atomStarted);
        }
        EXPECT_EQ(TavAtomWriterEndAtom(&writer), 0);
    }
    FakeByteStream empty{FakeByteStream::Empty()}, text;
    text.lengthIsText = true;
    EXPECT_EQ(TavAtomWriterInitWithByteStream(empty.get(), &writer), kTavBaseObjectError_NoSuchOperation);
    SignalProbe probe;
    EXPECT_EQ(TavAtomWriterInitWithByteStream(text.get(), &writer), -1);
    EXPECT_EQ(probe.message(), "Invalid byte stream");
}

// A size that could not be patched counts nowhere, and the writer can begin again.
TEST(AtomWriter, endsAlsoWhereTheSizeCannotBeWritten)
{
    FakeByteStream stream;
    TavAtomWriter parent, child;
    TavAtomWriterInitWithByteStream(stream.get(), &parent);
    ASSERT_EQ(TavAtomWriterBeginAtom(&parent, fourCC("moov"), false), 0);
    TavAtomWriterInitWithParent(&parent, &child);
    ASSERT_EQ(TavAtomWriterBeginAtom(&child, fourCC("trak"), false), 0);
    child.atomSize = INT64_C(1) << 32;
    SignalProbe probe;
    EXPECT_EQ(TavAtomWriterEndAtom(&child), kTavAtomWriter_DataTooBigToFit);
    EXPECT_EQ(probe.message(), "Data too big");
    EXPECT_EQ(parent.atomSize, 8);
    EXPECT_EQ(TavAtomWriterBeginAtom(&child, fourCC("trak"), true), 0);
    child.atomSize = INT64_C(1) << 32;
    EXPECT_EQ(TavAtomWriterEndAtom(&child), 0);
    EXPECT_EQ(parent.atomSize, 8 + (INT64_C(1) << 32));
}

TEST(AtomWriter, keepsTheOrderOfCalls)
{
    const auto buffer = bufferOf({});
    TavAtomWriter writer, child;
    TavAtomWriterInitWithBlockBuffer(buffer.get(), &writer);
    int64_t number = 0;
    SignalProbe probe;
    const OSStatus early[] = {append(&writer, "x"),
                              TavAtomWriterAppendVersionAndFlags(&writer, 0, 0),
                              TavAtomWriterAppendBlockBufferData(&writer, buffer.get(), 0, 0),
                              TavAtomWriterGetAtomGlobalDataOffset(&writer, &number),
                              TavAtomWriterGetAtomSize(&writer, &number),
                              TavAtomWriterGetAtomDataSize(&writer, &number)};
    for (const OSStatus status : early) EXPECT_EQ(status, kTavAtomWriter_NewAtomNotYetStarted);
    EXPECT_EQ(probe.message(), "TavAtomWriterBeginAtom not called");
    EXPECT_EQ(probe.function(), "TavAtomWriterGetAtomDataSize");
    EXPECT_EQ(TavAtomWriterEndAtom(&writer), 0);
    TavAtomWriterInitWithParent(&writer, &child);
    EXPECT_EQ(TavAtomWriterBeginAtom(&child, fourCC("free"), false), kTavAtomWriter_NewAtomNotYetStarted);

    ASSERT_EQ(TavAtomWriterBeginAtom(&writer, fourCC("mvhd"), true), 0);
    EXPECT_EQ(TavAtomWriterBeginAtom(&writer, fourCC("mvhd"), false), kTavAtomWriter_NewAtomAlreadyStarted);
    TavAtomWriterAppendVersionAndFlags(&writer, 0, 0);
    append(&writer, "123456");
    int64_t dataSize = 0, size = 0, dataOffset = 0;
    TavAtomWriterGetAtomDataSize(&writer, &dataSize);
    TavAtomWriterGetAtomSize(&writer, &size);
    TavAtomWriterGetAtomGlobalDataOffset(&writer, &dataOffset);
    EXPECT_EQ(dataSize, 6);
    EXPECT_EQ(size, 26);
    EXPECT_EQ(dataOffset, 20);
}

// A child that outlives an atom of its parent goes on with the parent's next one, behind what that has of its own.
TEST(AtomWriter, letsAChildServeTwoAtoms)
{
    const auto buffer = bufferOf({});
    TavAtomWriter writer, child;
    TavAtomWriterInitWithBlockBuffer(buffer.get(), &writer);
    TavAtomWriterBeginAtom(&writer, fourCC("aaaa"), false);
    TavAtomWriterInitWithParent(&writer, &child);
    TavAtomWriterEndAtom(&writer);
    TavAtomWriterBeginAtom(&writer, fourCC("bbbb"), false);
    append(&writer, "own");
    EXPECT_EQ(TavAtomWriterBeginAtom(&child, fourCC("cccc"), false), 0);
    EXPECT_EQ(TavAtomWriterEndAtom(&child), 0);
    EXPECT_EQ(TavAtomWriterEndAtom(&writer), 0);
    EXPECT_EQ(textOf(buffer), atom("aaaa") + atom("bbbb", "own" + atom("cccc")));
}

TEST(AtomWriter, refersToBlockBuffersInsteadOfCopying)
{
    const auto buffer = bufferOf({});
    const auto data = memory("payload");
    TavAtomWriter writer;
    TavAtomWriterInitWithBlockBuffer(buffer.get(), &writer);
    TavAtomWriterBeginAtom(&writer, fourCC("mdat"), false);
    TavAtomWriterAppendBlockBufferData(&writer, data.get(), 1, 5);
    TavAtomWriterEndAtom(&writer);
    char *original = nullptr, *written = nullptr;
    LuBlockBufferGetDataPointer(data.get(), 1, nullptr, nullptr, &original);
    LuBlockBufferGetDataPointer(buffer.get(), 8, nullptr, nullptr, &written);
    EXPECT_EQ(written, original);
    EXPECT_EQ(textOf(buffer), atom("mdat", "ayloa"));
}

}  // namespace
