#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>

#include "DataIO/TavByteStreams/TavByteStream.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/URLs/ZoURL.h"
#include "Platform/Ostra/OstraClock.h"
#include "Tests/Core/TavBlockBuffer/Pieces.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/FakeByteStream.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

OSStatus write(LuByteStreamRef stream, int64_t offset, const std::string& bytes, size_t* written = nullptr)
{
    return TavByteStreamWrite(stream, bytes.size(), offset, bytes.data(), written);
}

// A writable stream over an empty buffer that knows the chunks it asked for.
struct WritableStream {
    static void* allocate(void* chunks, size_t size)
    {
        static_cast<std::vector<size_t>*>(chunks)->push_back(size);
        return malloc(size);
    }
    static void release(void*, void* block, size_t) { free(block); }

    std::vector<size_t> chunks;
    ZoRef<LuBlockBufferRef> buffer = bufferOf({});
    ZoRef<LuByteStreamRef> stream;

    WritableStream()
    {
        const LuBlockBufferCustomBlockSource source = {0, allocate, release, &chunks};
        LuByteStreamCreateWritableForBlockBuffer(nullptr, buffer.get(), 0, nullptr, &source, stream.outParam());
    }
    std::string text() const { return textOf(buffer); }
};

TEST(ByteStream, readsUpToItsEnd)
{
    const Buffer content = memory("0123456789");
    ZoRef<LuByteStreamRef> full, empty;
    ASSERT_EQ(LuByteStreamCreateForBlockBuffer(nullptr, content.get(), 0, full.outParam()), 0);
    ASSERT_EQ(TavByteStreamCreateForBlockBuffer(nullptr, 0, nullptr, empty.outParam()), 0);
    struct Row {
        LuByteStreamRef stream;
        int64_t offset;
        size_t size;
        OSStatus status;
        std::string bytes;
    };
    const Row rows[] = {
        {full.get(), 0, 10, 0, "0123456789"},
        {full.get(), 7, 100, 0, "789"},
        {full.get(), 10, 1, kTavByteStreamError_EndOfStream, ""},
        {full.get(), 10, 0, 0, ""},
        {full.get(), INT64_MAX, 1, kTavByteStreamError_EndOfStream, ""},
        {full.get(), -1, 1, kTavByteStreamError_InvalidParameter, ""},
        {empty.get(), 0, 1, kTavByteStreamError_EndOfStream, ""},
    };
    for (const Row& row : rows) {
        char bytes[128];
        size_t count = 99, countOfBuffer = 99;
        LuBlockBufferRef made = content.get();  // written on every path
        EXPECT_EQ(TavByteStreamRead(row.stream, row.size, row.offset, bytes, &count), row.status);
        EXPECT_EQ(std::string(bytes, count), row.bytes);
        EXPECT_EQ(TavByteStreamReadAndCreateBlockBuffer(row.stream, row.size, row.offset, &made, &countOfBuffer),
                  row.status);
        EXPECT_NE(made, content.get());
        const auto buffer = ZoRef<LuBlockBufferRef>::adopt(made == content.get() ? nullptr : made);
        EXPECT_EQ(countOfBuffer, row.bytes.size());
        EXPECT_EQ(buffer ? textOf(buffer) : "", row.bytes);
    }
    for (const auto& [offset, expected] : {std::pair<int64_t, int64_t>{0, 10}, {9, 1}, {10, 0}, {-1, 0}}) {
        int64_t available = 99;
        EXPECT_EQ(TavByteStreamGetAvailableLengthAtOffset(full.get(), offset, &available), 0);
        EXPECT_EQ(available, expected);
    }
    EXPECT_EQ(write(full.get(), -1, "x"), kLuByteStreamError_ReadOnlyStream);
    EXPECT_EQ(TavByteStreamWrite(full.get(), 0, 0, nullptr, nullptr), kLuByteStreamError_ReadOnlyStream);
}

TEST(ByteStream, refusesWhatItCannotBeMadeFrom)
{
    const auto buffer = bufferOf({});
    ZoRef<LuByteStreamRef> stream;
    SignalProbe probe;
    EXPECT_EQ(LuByteStreamCreateForBlockBuffer(nullptr, buffer.get(), 1, stream.outParam()), -12780);
    EXPECT_EQ(probe.message(), "Options reserved for future use");
    EXPECT_EQ(LuByteStreamCreateWritableForBlockBuffer(nullptr, nullptr, 0, nullptr, nullptr, stream.outParam()),
              -12780);
    EXPECT_EQ(probe.message(), "InitialBBuf is required");
    FakeByteStream empty{FakeByteStream::Empty()};
    EXPECT_EQ(write(empty.get(), 0, "x"), kTavBaseObjectError_NoSuchOperation);
    EXPECT_EQ(LuByteStreamAppend(empty.get(), 1, "x", nullptr), kTavBaseObjectError_NoSuchOperation);
}

TEST(ByteStream, writesInChunks)
{
    WritableStream out;
    size_t written = 99;
    EXPECT_EQ(write(out.stream.get(), -1, "x", &written), kTavByteStreamError_InvalidParameter);
    EXPECT_EQ(TavByteStreamWrite(out.stream.get(), 1, 0, nullptr, &written), kTavByteStreamError_InvalidParameter);
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(write(out.stream.get(), 0, ""), 0);
    write(out.stream.get(), 0, "first");
    write(out.stream.get(), 5, "second", &written);
    EXPECT_EQ(written, 6u);
    EXPECT_EQ(out.text(), "firstsecond");
    EXPECT_EQ(out.chunks, std::vector<size_t>{16384}) << "small writes share a chunk";
    EXPECT_TRUE(LuBlockBufferIsRangeContiguous(out.buffer.get(), 0, 0));
    write(out.stream.get(), 20000, std::string(16385, 'z'));
    EXPECT_EQ(out.chunks, (std::vector<size_t>{16384, 32768})) << "the gap's rest and the data, rounded up";
}

// Random writes and reads beside a string.
TEST(ByteStream, behavesAsAStringDoes)
{
    const uint32_t seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&random](size_t n) { return random() % n; };
    for (int round = 0; round < 20; ++round) {
        WritableStream out;
        std::string model;
        for (int step = 0; step < 200; ++step) {
            const size_t at = below(4) == 0 ? below(model.size() + 30000) : below(model.size() + 1);
            const std::string bytes(below(step % 50 == 0 ? 40000 : 100), static_cast<char>('a' + below(26)));
            size_t written = 0;
            ASSERT_EQ(write(out.stream.get(), static_cast<int64_t>(at), bytes, &written), 0);
            ASSERT_EQ(written, bytes.size());
            if (bytes.empty()) continue;
            model.resize(std::max(model.size(), at + bytes.size()));
            model.replace(at, bytes.size(), bytes);
        }
        ASSERT_EQ(out.text(), model);
    }
}

TEST(ByteStream, gathersSmallPiecesAndWritesLargeOnesAsTheyAre)
{
    const auto buffer = bufferOf({});
    std::string expected;
    const auto appendPiece = [&](size_t length) {
        const std::string bytes(length, static_cast<char>('a' + expected.size() % 26));
        LuBlockBufferAppendBufferReference(buffer.get(), memory(bytes).get(), 0, 0, 0);
        expected += bytes;
    };
    for (int i = 0; i < 20000; ++i) appendPiece(1);
    appendPiece(40000);
    FakeByteStream out("###");
    size_t written = 0;
    EXPECT_EQ(LuByteStreamAppendBlockBuffer(out.get(), buffer.get(), 0, expected.size(), &written), 0);
    EXPECT_EQ(out.content, "###" + expected);
    EXPECT_EQ(written, expected.size());
    EXPECT_EQ(out.writes, (std::vector<size_t>{16384, 16384, 40000 - 12768}));

    FakeByteStream failing;
    failing.failingWrite = 1;
    EXPECT_EQ(LuByteStreamWriteBlockBuffer(failing.get(), buffer.get(), 0, expected.size(), 0, &written),
              FakeByteStream::kFailure);
    EXPECT_EQ(written, 16384u) << "told also where it failed";
    EXPECT_NE(LuByteStreamWriteBlockBuffer(out.get(), buffer.get(), expected.size() - 1, 2, 0, &written), 0);
    EXPECT_EQ(LuByteStreamWriteBlockBuffer(out.get(), buffer.get(), 0, 0, 0, &written), 0);
    EXPECT_EQ(written, 0u);
}

TEST(ByteStream, hasProperties)
{
    WritableStream out;
    write(out.stream.get(), 0, "12345");
    const auto object = LuByteStreamGetLuBaseObject(out.stream.get());
    const auto set = LuBaseObjectGetVTable(object)->base->setProperty;
    ZoRef<ZoTypeRef> value;
    const auto copy = [&](ZoStringRef key) {
        return TavByteStreamCopyProperty(out.stream.get(), key, nullptr, value.outParam());
    };
    int64_t length = 0;
    EXPECT_EQ(TavByteStreamGetEntireLength(out.stream.get(), &length), 0);
    EXPECT_EQ(length, 5);
    EXPECT_EQ(copy(kLuByteStreamProperty_WriteSupported), 0);
    EXPECT_EQ(value.get(), kZoBooleanTrue);

    SignalProbe probe;
    EXPECT_EQ(copy(kTavByteStreamProperty_UTI), kTavBaseObjectError_PropertyNotFound);
    EXPECT_EQ(probe.count(), 0u) << "a property that is not set is nothing to complain about";
    EXPECT_EQ(copy(kLuByteStreamProperty_IOPolicy), kTavBaseObjectError_PropertyNotFound);
    EXPECT_EQ(probe.message(), "no such property");

    EXPECT_EQ(set(object, kTavByteStreamProperty_UTI, ZOSTR("public.movie")), 0);
    for (const auto& [key, wrong] : {std::pair<ZoStringRef, ZoTypeRef>{kTavByteStreamProperty_UTI, kZoBooleanTrue},
                                     {kLuByteStreamProperty_URL, ZOSTR("text")},
                                     {kTavByteStreamProperty_FileType, ZOSTR("x")}})
        EXPECT_EQ(set(object, key, wrong), kTavByteStreamError_InvalidParameter);
    EXPECT_EQ(copy(kTavByteStreamProperty_UTI), 0);
    EXPECT_TRUE(ZoEqual(value.get(), ZOSTR("public.movie"))) << "a wrong value leaves the old one";
    EXPECT_EQ(set(object, kTavByteStreamProperty_UTI, nullptr), 0);
    EXPECT_EQ(copy(kTavByteStreamProperty_UTI), kTavBaseObjectError_PropertyNotFound);
}

TEST(ByteStreamStatistics, countReads)
{
    TavByteStreamStats stats;
    std::memset(static_cast<void*>(&stats), 0xA5, sizeof stats);
    TavByteStreamStatsSetupWorker(&stats);
    const uint64_t second = TavNanosecondsToHostTime(1000000000);
    TavByteStreamStatsLogOneRead(&stats, 0, second / 4, 0, 0, 100);
    TavByteStreamStatsLogOneRead(&stats, 0, second / 2, 0, 0, 10);
    TavByteStreamStatsLogOneRead(&stats, 0, second, 0, 0, 31);
    TavByteStreamStatsLogOneRead(&stats, 0, second, -1, 0, 1000);
    TavByteStreamStatsLogOneRead(&stats, 0, second, 0, 0, 0);
    TavByteStreamStatsLogOneRead(nullptr, 0, second, 0, 0, 1);
    const auto dictionary = zoAdopt(TavByteStreamStatsCreateStatsDictionary(nullptr, ZOSTR("file"), nullptr, &stats));
    ASSERT_TRUE(dictionary);
    EXPECT_EQ(ZoDictionaryGetCount(dictionary.get()), 13);
    const std::pair<ZoStringRef, double> numbers[] = {{ZOSTR("NumberOfReads"), 3},  // failed and empty ones are none
                                                      {ZOSTR("TotalBytesRead"), 141},
                                                      {ZOSTR("SmallestReadSize"), 10},
                                                      {ZOSTR("LargestReadSize"), 100},
                                                      {ZOSTR("AverageReadSize"), 47},
                                                      {ZOSTR("NumberOfReadsTakingOneSecondOrLonger"), 1},
                                                      {ZOSTR("NumberOfReadsTakingHalfASecondOrLonger"), 1},
                                                      {ZOSTR("TotalReadTime"), 1.75},
                                                      {ZOSTR("ShortestReadTime"), 0.25},
                                                      {ZOSTR("LongestReadTime"), 1},
                                                      {ZOSTR("AverageReadTime"), 0.583333}};
    for (const auto& [key, expected] : numbers) {
        double value = 0;
        ZoNumberGetValue(static_cast<ZoNumberRef>(ZoDictionaryGetValue(dictionary.get(), key)), kZoNumberFloat64Type,
                         &value);
        EXPECT_DOUBLE_EQ(value, expected);
    }
    sweepAllocationFailures([&stats](FailingAllocator& memory) {
        const auto whole = zoAdopt(TavByteStreamStatsCreateStatsDictionary(memory.get(), ZOSTR("f"), nullptr, &stats));
        EXPECT_EQ(whole ? ZoDictionaryGetCount(whole.get()) : 0, memory.hasFailed() ? 0 : 13);
    });
    EXPECT_TRUE(ZoEqual(ZoDictionaryGetValue(dictionary.get(), ZOSTR("URL")), ZOSTR("UNKNOWN")));
    TavByteStreamStatsTeardownWorker(&stats);
    EXPECT_EQ(TavByteStreamStatsCreateStatsDictionary(nullptr, nullptr, nullptr, &stats), nullptr);
}

}  // namespace
