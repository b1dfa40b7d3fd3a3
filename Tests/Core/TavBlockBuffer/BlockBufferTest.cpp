// What a block buffer refuses and with which words, how pieces are laid out, and what the walks see of it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "Core/TavBlockBuffer/TavBlockBufferPrivate.h"
#include "Tests/Core/TavBlockBuffer/BlockSource.h"
#include "Tests/Core/TavBlockBuffer/Pieces.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

Buffer empty(uint32_t capacity = 4)
{
    Buffer buffer;
    LuBlockBufferCreateEmpty(nullptr, capacity, 0, buffer.outParam());
    return buffer;
}
Buffer unallocated(size_t length)
{
    Buffer buffer;
    LuBlockBufferCreateWithMemoryBlock(nullptr, nullptr, length, nullptr, nullptr, 0, length, 0, buffer.outParam());
    return buffer;
}
OSStatus refer(const Buffer& buffer, const Buffer& target, size_t offset = 0, size_t length = 0,
               LuBlockBufferFlags flags = 0)
{
    return LuBlockBufferAppendBufferReference(buffer.get(), target.get(), offset, length, flags);
}
/// What each piece of the first table refers to; null for memory.
std::vector<LuBlockBufferRef> targetsOf(const Buffer& buffer)
{
    std::vector<LuBlockBufferRef> targets;
    for (int32_t i = 0; i < buffer.get()->pieceCount(); ++i) {
        const SubBlock& piece = buffer.get()->subBlocks()[i];
        targets.push_back(piece.isReference() ? piece.target() : nullptr);
    }
    return targets;
}

}  // namespace

// MARK: what is refused

// What a refusal is told by: order of the checks, sums that wrap, silence elsewhere, and the operation's name.
struct Refusal {
    OSStatus code;
    const char* operation;
    const char* message;
    std::function<OSStatus()> call;
};

TEST(BlockBuffer, refusesWhatCannotBeWithItsCodeAndWords)
{
    const std::string text = "0123456789";
    const Buffer ten = memory(text), none = empty(), nearlyFull = empty();
    ASSERT_EQ(refer(nearlyFull, none, 0, SIZE_MAX - 5, kLuBlockBufferPermitEmptyReferenceFlag), 0);
    LuBlockBufferRef out = nullptr;
    char bytes[32];
    const LuBlockBufferCustomBlockSource source = sourceFrom(kZoAllocatorDefault);
    LuBlockBufferCustomBlockSource newer = source, noAllocate = source, noFree = source;
    newer.version = 1;
    noAllocate.AllocateBlock = nullptr;
    noFree.FreeBlock = nullptr;
    const auto append = [&](const Buffer& to, void* block, size_t blockLength, size_t offset, size_t length,
                            const LuBlockBufferCustomBlockSource* custom = nullptr, ZoAllocatorRef from = nullptr) {
        return LuBlockBufferAppendMemoryBlock(to.get(), block, blockLength, from, custom, offset, length, 0);
    };
    const char* const appendMemory = "LuBlockBufferAppendMemoryBlock";
    const char* const appendReference = "LuBlockBufferAppendBufferReference";
    const char* const copy = "LuBlockBufferCopyDataBytes";
    const Refusal refusals[] = {
        {-12700, "LuBlockBufferCreateEmpty", "Could not allocate BlockBuffer structure",
         [&] { return LuBlockBufferCreateEmpty(nullptr, UINT32_MAX, 0, &out); }},
        {-12705, appendMemory, "NULL BlockBuffer", [&] { return append(Buffer(), bytes, 0, 0, 0); }},
        {-12704, appendMemory, "blockLength and dataLength must not be zero",
         [&] { return append(none, bytes, 4, 9, 0); }},
        {-12703, appendMemory, "offset exceeds blockLength", [&] { return append(none, bytes, 4, 4, 9); }},
        {-12704, appendMemory, "(offset + dataLength) exceeds blockLength",
         [&] { return append(none, bytes, 4, 2, SIZE_MAX - 1); }},
        {-12704, appendMemory, "Resulting size larger than size_t can hold",
         [&] { return append(nearlyFull, bytes, 6, 0, 1); }},
        {-12702, appendMemory, "bad customBlockSource version", [&] { return append(none, nullptr, 4, 0, 4, &newer); }},
        {-12702, appendMemory, "with no memory block, must have AllocateBlock callback",
         [&] { return append(none, nullptr, 4, 0, 4, &noAllocate); }},
        {-12702, appendMemory, "with a memory block, must have FreeBlock callback",
         [&] { return append(none, bytes, 4, 0, 4, &noFree); }},
        {-12701, appendMemory, "with no memory block, must supply an allocator",
         [&] { return append(none, nullptr, 4, 0, 4, nullptr, kZoAllocatorNull); }},
        {-12703, appendReference, "offset exceeds length of target buffer", [&] { return refer(none, ten, 10); }},
        {-12704, appendReference, "(offset + dataLength) exceeds length of target buffer",
         [&] { return refer(none, ten, 9, SIZE_MAX - 3); }},
        {-12706, appendReference, "reference to empty BlockBuffer not permitted",
         [&] { return refer(ten, none, 0, 5); }},
        {-12704, appendReference, "dataLength must be > 0",
         [&] { return refer(ten, none, 0, 0, kLuBlockBufferPermitEmptyReferenceFlag); }},
        {-12704, appendReference, "Resulting size larger than size_t can hold",
         [&] { return refer(nearlyFull, ten, 0, 6); }},
        {-12703, copy, "offsetIntoSource exceeds source buffer length",
         [&] { return LuBlockBufferCopyDataBytes(ten.get(), 10, 1, bytes); }},
        {-12704, copy, "(offsetIntoSource + dataLength) exceeds source buffer length",
         [&] { return LuBlockBufferCopyDataBytes(ten.get(), 3, 8, bytes); }},
        {-12704, copy, "(offsetIntoSource + dataLength) wrapped",
         [&] { return LuBlockBufferCopyDataBytes(ten.get(), 3, SIZE_MAX, bytes); }},
        {-12706, "LuBlockBufferReplaceDataBytes", "destination buffer is empty",
         [&] { return LuBlockBufferReplaceDataBytes(bytes, none.get(), 0, 1); }},
        {-12704, "LuBlockBufferFillDataBytes", "dataLength must be >= 0",
         [&] { return LuBlockBufferFillDataBytes(0, none.get(), 0, SIZE_MAX); }},
        {-12706, "LuBlockBufferAssureBlockMemory", "bbuf is empty",
         [&] { return LuBlockBufferAssureBlockMemory(nearlyFull.get()); }},
        {-12704, "LuBlockBufferCreateContiguous", "(offset + dataLength) exceeds source buffer length",
         [&] { return LuBlockBufferCreateContiguous(nullptr, ten.get(), nullptr, nullptr, 2, SIZE_MAX, 0, &out); }},
        {-12704, "TavBlockBufferAppendBytes", "Resulting size larger than size_t can hold",
         [&] { return TavBlockBufferAppendBytes(nearlyFull.get(), bytes, 6); }},
    };
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.message);
        const SignalProbe probe;
        out = ten.get();
        EXPECT_EQ(refusal.call(), refusal.code);
        EXPECT_EQ(probe.count(), 1u);
        EXPECT_EQ(probe.code(), refusal.code);
        EXPECT_EQ(probe.function(), refusal.operation);
        EXPECT_EQ(probe.message(), refusal.message);
        EXPECT_TRUE(out == nullptr || out == ten.get());
    }
    EXPECT_EQ(textOf(ten), text) << "a refused append left something";
    EXPECT_TRUE(LuBlockBufferIsEmpty(none.get()));
}

// MARK: layout of pieces

TEST(BlockBuffer, keepsItsPiecesInItselfAndThenInAChain)
{
    FailingAllocator structures;
    Buffer buffer;
    ASSERT_EQ(LuBlockBufferCreateEmpty(structures.get(), 0, 0, buffer.outParam()), 0);
    EXPECT_EQ(buffer.get()->subBlockCapacity, 2);
    std::string letters = "abcdefghij", expected;
    // One piece in the first table, then two, then three, then four.
    const int64_t allocations[] = {1, 2, 2, 3, 3, 3, 4, 4, 4, 4};
    for (size_t i = 0; i < letters.size(); ++i) {
        ASSERT_EQ(LuBlockBufferAppendMemoryBlock(buffer.get(), &letters[i], 1, kZoAllocatorNull, nullptr, 0, 1, 0), 0);
        EXPECT_EQ(structures.calls(), allocations[i]) << i;
        expected += letters[i];
        EXPECT_EQ(textOf(buffer), expected);
    }
    EXPECT_EQ(buffer.get()->overflow()->subBlockCapacity, 3);
    // A table of the chain is a buffer like any other to those who come to it.
    LuBlockBufferRef origin = nullptr;
    size_t offset = 0;
    ASSERT_EQ(TavBlockBufferGetDataPointerAndOrigin(buffer.get(), 4, nullptr, nullptr, nullptr, &origin, &offset), 0);
    EXPECT_EQ(offset, 1u);
    EXPECT_EQ(LuBlockBufferGetDataLength(origin), 7u);
    Buffer tail;
    ASSERT_EQ(LuBlockBufferCreateWithBufferReference(nullptr, origin, offset, 0, 0, tail.outParam()), 0);
    buffer.reset();
    EXPECT_EQ(textOf(tail), "efghij");
    tail.reset();
    EXPECT_EQ(structures.liveBlocks(), 0);
}

TEST(BlockBuffer, joinsAdjacentReferencesAndNoOthers)
{
    const Buffer target = memory("0123456789abcdefghij");
    const Buffer buffer = empty(1);
    for (size_t i : {0u, 10u}) ASSERT_EQ(refer(buffer, target, i, 10), 0);
    EXPECT_EQ(buffer.get()->subBlockCount, 1);
    EXPECT_EQ(textOf(buffer), "0123456789abcdefghij");
    ASSERT_EQ(refer(buffer, target, 5, 2), 0);  // goes to the chain, where the next one joins it
    ASSERT_EQ(refer(buffer, target, 7, 2), 0);
    ASSERT_EQ(refer(buffer, memory("9"), 0, 1), 0);
    EXPECT_EQ(textOf(buffer), "0123456789abcdefghij56789");
    EXPECT_EQ(buffer.get()->overflow()->subBlockCount, 2);
    const Buffer others = empty();  // the offset fits, the target does not
    ASSERT_EQ(refer(others, target, 0, 10), 0);
    ASSERT_EQ(refer(others, memory("ABCDEFGHIJKLM"), 10, 2), 0);
    EXPECT_EQ(textOf(others), "0123456789KL");
}

TEST(BlockBuffer, passesOverBuffersOfReferencesOnly)
{
    const Buffer a = memory("aaaa"), b = memory("bbbb"), c = memory("cccc");
    const Buffer references = empty(2);  // the third is in the chain
    for (const Buffer* each : {&a, &b, &c}) ASSERT_EQ(refer(references, *each), 0);
    const Buffer mixed = empty();
    ASSERT_EQ(refer(mixed, a), 0);
    char x[] = "xx";
    ASSERT_EQ(LuBlockBufferAppendMemoryBlock(mixed.get(), x, 2, kZoAllocatorNull, nullptr, 0, 2, 0), 0);
    ASSERT_EQ(refer(mixed, b), 0);

    const Buffer whole = empty();
    ASSERT_EQ(refer(whole, references), 0);
    EXPECT_THAT(targetsOf(whole), testing::ElementsAre(a.get(), b.get(), c.get()));
    EXPECT_EQ(textOf(whole), "aaaabbbbcccc");

    const Buffer inside = empty();
    ASSERT_EQ(refer(inside, whole, 3, 6), 0);
    EXPECT_THAT(targetsOf(inside), testing::ElementsAre(a.get(), b.get(), c.get()));
    EXPECT_EQ(textOf(inside), "abbbbc");

    const Buffer direct = empty();
    ASSERT_EQ(refer(direct, references, 0, 0, kLuBlockBufferDontOptimizeDepthFlag), 0);
    ASSERT_EQ(refer(direct, mixed), 0);        // memory in the range
    ASSERT_EQ(refer(direct, mixed, 7, 2), 0);  // no memory after the start: only what it refers to
    EXPECT_THAT(targetsOf(direct), testing::ElementsAre(references.get(), mixed.get(), b.get()));
    EXPECT_EQ(textOf(direct), "aaaabbbbccccaaaaxxbbbbbb");
}

TEST(BlockBuffer, readsThroughAReferenceToABufferThatWasEmpty)
{
    const Buffer late = empty(), buffer = empty(), after = memory("!");
    ASSERT_EQ(refer(buffer, late, 2, 4, kLuBlockBufferPermitEmptyReferenceFlag), 0);
    ASSERT_EQ(refer(buffer, after), 0);
    EXPECT_FALSE(LuBlockBufferIsEmpty(buffer.get()));
    EXPECT_EQ(LuBlockBufferGetDataLength(buffer.get()), 5u);
    const SignalProbe probe;
    EXPECT_EQ(LuBlockBufferGetDataPointer(buffer.get(), 0, nullptr, nullptr, nullptr),
              kTavBlockBufferBadOffsetParameterErr);
    EXPECT_EQ(probe.count(), 0u);
    const Buffer flattened = empty();  // what is not there cannot be found
    ASSERT_EQ(refer(flattened, buffer), 0);
    EXPECT_EQ(textOf(flattened), "!");

    ASSERT_EQ(refer(late, memory("01234")), 0);
    char bytes[5];
    EXPECT_EQ(LuBlockBufferCopyDataBytes(buffer.get(), 0, 3, bytes), 0);
    EXPECT_EQ(std::string(bytes, 3), "234");
    char* pointer = bytes;
    EXPECT_EQ(LuBlockBufferAccessDataBytes(buffer.get(), 1, 4, bytes, &pointer), kTavBlockBufferBadLengthParameterErr);
    EXPECT_EQ(pointer, nullptr);
    ASSERT_EQ(refer(late, memory("5")), 0);
    EXPECT_EQ(textOf(buffer), "2345!");
}

// MARK: memory on demand, reading, writing

TEST(BlockBuffer, allocatesWhenItIsWrittenAndForAllWhoShare)
{
    const Buffer holder = unallocated(8), sharer = empty();
    ASSERT_EQ(refer(sharer, holder, 2, 4), 0);
    char bytes[8];
    char* pointer = bytes;
    size_t length = 1, total = 0;
    const SignalProbe probe;
    EXPECT_EQ(LuBlockBufferGetDataPointer(sharer.get(), 1, &length, &total, &pointer),
              kTavBlockBufferUnallocatedBlockErr);
    EXPECT_EQ(LuBlockBufferCopyDataBytes(sharer.get(), 0, 4, bytes), kTavBlockBufferUnallocatedBlockErr);
    LuBlockBufferRef copy = sharer.get();
    EXPECT_EQ(LuBlockBufferCreateContiguous(nullptr, sharer.get(), nullptr, nullptr, 0, 0, 0, &copy),
              kTavBlockBufferUnallocatedBlockErr);
    EXPECT_EQ(probe.count(), 0u);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(pointer, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(total, 4u);

    EXPECT_EQ(LuBlockBufferReplaceDataBytes("abcd", sharer.get(), 0, 4), 0);
    EXPECT_EQ(LuBlockBufferFillDataBytes('-', holder.get(), 5, 0), 0);
    EXPECT_EQ(textOf(sharer), "abc-");
    EXPECT_EQ(textOf(holder).substr(2), "abc---");
}

// Writing bit by bit: blocks that grow with what is written, and a bit behind another piece in a small one.
TEST(BlockBuffer, fillsBlocksOfItsOwnWithLooseBytes)
{
    const Buffer buffer = empty(1);
    std::string expected;
    for (int i = 0; i < 5000; ++i) {
        const std::string bit(static_cast<size_t>(i % 13), static_cast<char>('a' + i % 26));
        ASSERT_EQ(TavBlockBufferAppendBytes(buffer.get(), bit.data(), bit.size()), 0);
        expected += bit;
    }
    EXPECT_EQ(textOf(buffer), expected);
    size_t pieces = 0, blocks = 0;
    for (LuBlockBufferRef table = buffer.get(); table; table = table->overflow()) {
        for (int32_t i = 0; i < table->pieceCount(); ++i, ++pieces) blocks += table->subBlocks()[i].blockLength;
    }
    EXPECT_EQ(pieces, 9u) << "64 to 16384, each twice the one before";
    EXPECT_EQ(blocks, 128u * 256 - 64);
}

TEST(BlockBuffer, gathersWithoutCopyingWhereItCan)
{
    const Buffer hello = memory("hello"), world = memory("world"), both = bufferOf({});
    for (const Buffer* each : {&hello, &world}) ASSERT_EQ(refer(both, *each), 0);
    EXPECT_FALSE(LuBlockBufferIsRangeContiguous(both.get(), 10, 0));
    EXPECT_FALSE(LuBlockBufferIsRangeContiguous(both.get(), 8, SIZE_MAX));
    Buffer shared, copied;
    ASSERT_EQ(LuBlockBufferCreateContiguous(nullptr, both.get(), nullptr, nullptr, 6, 0, 0, shared.outParam()), 0);
    EXPECT_THAT(targetsOf(shared), testing::ElementsAre(world.get()));
    ASSERT_EQ(LuBlockBufferCreateContiguous(nullptr, both.get(), nullptr, nullptr, 3, 0, 0, copied.outParam()), 0);
    EXPECT_THAT(targetsOf(copied), testing::ElementsAre(nullptr));
}

// The block goes back the way it came, with the length of the whole block, once the last buffer that needs it is gone.
TEST(BlockBuffer, givesBlocksBackToTheirSource)
{
    FailingAllocator blocks;
    const LuBlockBufferCustomBlockSource source = sourceFrom(blocks.get());
    Buffer buffer = empty(), sharer = empty();
    ASSERT_EQ(LuBlockBufferAppendMemoryBlock(buffer.get(), nullptr, 9, nullptr, &source, 0, 9,
                                             kLuBlockBufferAssureMemoryNowFlag),
              0);
    ASSERT_EQ(LuBlockBufferAppendMemoryBlock(buffer.get(), nullptr, 9, blocks.get(), nullptr, 0, 9, 0), 0);
    ASSERT_EQ(LuBlockBufferAppendMemoryBlock(buffer.get(), ZoAllocatorAllocate(blocks.get(), 9, 0), 9, blocks.get(),
                                             nullptr, 3, 6, 0),
              0);
    ASSERT_EQ(LuBlockBufferAppendMemoryBlock(buffer.get(), nullptr, 9, nullptr, &source, 0, 9, 0), 0);
    EXPECT_EQ(blocks.liveBlocks(), 2);
    EXPECT_EQ(LuBlockBufferAssureBlockMemory(buffer.get()), 0);
    EXPECT_EQ(blocks.liveBlocks(), 4);
    ASSERT_EQ(refer(sharer, buffer, 0, 1), 0);
    buffer.reset();
    EXPECT_EQ(blocks.liveBlocks(), 4);
    sharer.reset();
    EXPECT_EQ(blocks.liveBlocks(), 0);
}

// MARK: descriptions

TEST(BlockBuffer, describesItsPiecesAndThoseOfWhatItRefersTo)
{
    const Buffer inner = unallocated(7), buffer = empty(1);
    ASSERT_EQ(refer(buffer, inner, 2, 3), 0);
    ASSERT_EQ(refer(buffer, memory("x")), 0);
    const auto debug = _ZoRuntimeGetClassWithTypeID(LuBlockBufferGetTypeID())->copyDebugDesc;
    EXPECT_THAT(
        textOf(debug(buffer.get())),
        testing::MatchesRegex(
            "LuBlockBuffer [0-9a-fx]+ totalDataLength: 4 retainCount: 1 allocator: [^ ]+ subBlockCapacity: 2\n"
            " \\[0\\] 3 bytes @ offset 2 Buffer Reference:\n"
            "    LuBlockBuffer [0-9a-fx]+ totalDataLength: 7 retainCount: 2 allocator: [^ ]+ subBlockCapacity: 2\n"
            "     \\[0\\] 7 bytes @ offset 0 Memory UNALLOCATED, 7 bytes \\(allocator [^ ]+\\)\n"
            " \\[2\\] 1 bytes @ offset 0 Buffer Reference:\n"
            "    LuBlockBuffer [0-9a-fx]+ totalDataLength: 1 retainCount: 1 allocator: [^ ]+ subBlockCapacity: 2\n"
            "     \\[0\\] 1 bytes @ offset 0 Memory Block [0-9a-fx]+, 1 bytes \\(allocator [^ ]+\\)\n"));
}
