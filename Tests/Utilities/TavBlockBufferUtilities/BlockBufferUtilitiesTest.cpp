#include "Utilities/TavBlockBufferUtilities.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "Tests/Core/TavBlockBuffer/Pieces.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

TEST(BlockBufferCompare, ordersByLengthThenBytes)
{
    struct Row {
        Buffer first, second;
        int order;
    };
    Buffer unallocated, unallocated2;
    for (Buffer* each : {&unallocated, &unallocated2}) {
        LuBlockBufferCreateWithMemoryBlock(nullptr, nullptr, 3, nullptr, nullptr, 0, 3, 0, each->outParam());
    }
    const Row rows[] = {
        {bufferOf({"abc", "def", "g"}), bufferOf({"a", "bcdef", "g"}), 0},
        {bufferOf({"abc", "d\x7f"}), bufferOf({"abcd", "\x80"}), -1},
        {bufferOf({"b"}), bufferOf({"aa"}), -1},
        {bufferOf({}), Buffer(), 0},
        {bufferOf({"abc"}), std::move(unallocated), 1},
        {std::move(unallocated2), bufferOf({"abc"}), -1},
    };
    for (const Row& row : rows) {
        const int order = TavBlockBufferCompare(row.first.get(), row.second.get());
        EXPECT_EQ((order > 0) - (order < 0), row.order) << &row - rows;
    }
}

TEST(BlockBufferSharing, dataStandsOnTheBuffersBytesAndKeepsThem)
{
    Buffer buffer = bufferOf({"hello", "world"});
    char* bytes = nullptr;
    ASSERT_EQ(LuBlockBufferGetDataPointer(buffer.get(), 6, nullptr, nullptr, &bytes), 0);
    ZoRef<ZoDataRef> whole, part;
    ASSERT_EQ(TavCreateZoDataWithBlockBufferNoCopy(nullptr, buffer.get(), 6, 0, whole.outParam()), 0);
    ASSERT_EQ(TavCreateZoDataWithBlockBufferNoCopy(nullptr, buffer.get(), 6, 2, part.outParam()), 0);
    buffer.reset();
    EXPECT_EQ(ZoDataGetBytePtr(whole.get()), reinterpret_cast<uint8_t*>(bytes));
    EXPECT_EQ(ZoDataGetLength(whole.get()), 4);
    whole.reset();
    EXPECT_EQ(bytesOf(part.get()), "or");
}

TEST(BlockBufferSharing, buffersStandOnTheBytesOfDataAndStrings)
{
    auto data = dataOf("0123456789");
    const uint8_t* dataBytes = ZoDataGetBytePtr(data.get());
    Buffer tail, part, text, copied, converted;
    ASSERT_EQ(TavCreateBlockBufferWithZoDataNoCopy(nullptr, data.get(), 7, 0, tail.outParam()), 0);
    ASSERT_EQ(TavCreateBlockBufferWithZoDataNoCopy(nullptr, data.get(), 2, 3, part.outParam()), 0);
    data.reset();
    char* bytes = nullptr;
    ASSERT_EQ(LuBlockBufferGetDataPointer(part.get(), 0, nullptr, nullptr, &bytes), 0);
    EXPECT_EQ(reinterpret_cast<uint8_t*>(bytes), dataBytes + 2);
    part.reset();
    EXPECT_EQ(textOf(tail), "789");

    ASSERT_EQ(TavCreateBlockBufferWithZoString(nullptr, ZOSTR("constant"), text.outParam()), 0);
    EXPECT_EQ(textOf(text), "constant");

    const auto changing = zoAdopt(ZoStringCreateMutableCopy(nullptr, 0, ZOSTR("before")));
    ASSERT_EQ(TavCreateBlockBufferWithZoString(nullptr, changing.get(), copied.outParam()), 0);
    ZoStringFindAndReplace(changing.get(), ZOSTR("before"), ZOSTR("after and much longer than that"), {0, 6}, 0);
    EXPECT_EQ(textOf(copied), "before");

    const UniChar units[] = {'a', 0x20AC, 0xD800, 'b'};  // a euro sign, and half a character
    ZoStringAppendCharacters(changing.get(), units, 4);
    ASSERT_EQ(TavCreateBlockBufferWithZoString(nullptr, changing.get(), converted.outParam()), 0);
    EXPECT_EQ(textOf(converted), "after and much longer than thata\xE2\x82\xAC?b");
}

TEST(BlockBufferSharing, refusesWhatIsNotThere)
{
    const auto none = dataOf(""), ten = dataOf("0123456789");
    const Buffer pieces = bufferOf({"abc", "def"});
    LuBlockBufferRef buffer = nullptr;
    ZoDataRef data = nullptr;
    struct Row {
        OSStatus code;
        const char* message;
        std::function<OSStatus()> call;
    };
    const auto ofData = [&](ZoDataRef from, size_t offset, size_t length, LuBlockBufferRef* out) {
        return TavCreateBlockBufferWithZoDataNoCopy(nullptr, from, offset, length, out);
    };
    const Row rows[] = {
        {-12705, "NULL zoData", [&] { return ofData(nullptr, 0, 0, nullptr); }},
        {-12705, "NULL outBBuf", [&] { return ofData(none.get(), 0, 0, nullptr); }},
        {-12705, "zoData contains no data", [&] { return ofData(none.get(), 0, 0, &buffer); }},
        {-12703, "offset exceeds ZoData's length", [&] { return ofData(ten.get(), 10, 99, &buffer); }},
        {-12704, "dataLength exceeds ZoData's length", [&] { return ofData(ten.get(), 9, 11, &buffer); }},
        {-12703, "offset+dataLength exceeds ZoData's length", [&] { return ofData(ten.get(), 9, 2, &buffer); }},
        {-12705, "NULL outZoData",
         [&] { return TavCreateZoDataWithBlockBufferNoCopy(nullptr, pieces.get(), 0, 0, nullptr); }},
        {-12704, "Requested dataLength not contiguous or unavailable at offset",
         [&] { return TavCreateZoDataWithBlockBufferNoCopy(nullptr, pieces.get(), 1, 3, &data); }},
        {-12704, "blockLength and dataLength must not be zero",
         [&] { return TavCreateBlockBufferWithZoString(nullptr, ZOSTR(""), &buffer); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.message);
        buffer = pieces.get();
        data = ten.get();
        const SignalProbe probe;
        EXPECT_EQ(row.call(), row.code);
        EXPECT_EQ(probe.message(), row.message);
        EXPECT_TRUE(!buffer || buffer == pieces.get());
        EXPECT_TRUE(!data || data == ten.get());
    }
    EXPECT_EQ(TavCreateZoDataWithBlockBufferNoCopy(nullptr, pieces.get(), 6, 0, &data),
              kTavBlockBufferBadOffsetParameterErr);
    EXPECT_EQ(data, nullptr);
    buffer = pieces.get();
    EXPECT_NE(TavCreateBlockBufferCopyingMemoryBlock(nullptr, "", 0, &buffer), 0);
    EXPECT_EQ(buffer, pieces.get()) << "must stay untouched";
}

TEST(BlockBufferIOVec, hasOneVectorForEachPiece)
{
    const Buffer buffer = bufferOf({"ab", "cde", "f"});
    struct iovec vectors[3];
    size_t count = 9;
    ASSERT_EQ(TavMakeIOVecArrayWithBlockBuffer(buffer.get(), vectors, 3, &count), 0);
    ASSERT_EQ(count, 3u);
    std::string all;
    for (const iovec& vector : vectors) all.append(static_cast<char*>(vector.iov_base), vector.iov_len).append("|");
    EXPECT_EQ(all, "ab|cde|f|");
    EXPECT_EQ(TavMakeIOVecArrayWithBlockBuffer(buffer.get(), vectors, 2, &count), -12708);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(TavMakeIOVecArrayWithBlockBuffer(bufferOf({}).get(), vectors, 3, &count), -12703);
}
