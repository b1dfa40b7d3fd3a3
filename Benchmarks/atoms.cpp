// Walks over sibling atoms of 64 bytes: in memory, and in block buffers of 4 KiB pieces. Writing atoms of 12 bytes to a
// block buffer, 400 rounds of 100 atoms beside one of 40,000; a row fails that takes more of the heap than 4 x the
// bytes.
//
// bar: WriteAtoms_luvia/40000 <= 1.3 * WriteAtoms_luvia/100
// bar: AtomWalk_luvia/1048576 <= 3 * AtomWalk_handWritten/1048576
// bar: AtomWalkInPieces_luvia/1048576 <= 3 * AtomWalkInPieces_inMemory/1048576

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Tests/Support/Bytes.h"
#include "Utilities/TavAtomStream.h"
#include "Utilities/TavAtomWriter.h"
#include "Utilities/TavBigEndian.h"

namespace {

using namespace luvia_test;

constexpr size_t kPieceLength = 4096;

std::string siblings(size_t count, size_t atomSize)
{
    std::string atom = be32(static_cast<uint32_t>(atomSize)) + "free" + zeros(atomSize - 8);
    std::string out;
    out.reserve(count * atomSize);
    for (size_t i = 0; i < count; ++i) out += atom;
    return out;
}

int64_t walk(TavAtomStream stream)
{
    int64_t sum = 0;
    do sum += stream.dataLength;
    while (TavAtomStreamAdvanceToNextAtom(&stream) == 0);
    return sum;
}

void AtomWalk_luvia(benchmark::State& state)
{
    const std::string bytes = siblings(static_cast<size_t>(state.range(0)), 64);
    for (auto _ : state) {
        TavAtomStream stream;
        TavAtomStreamInitWithMemoryBlock(bytes.data(), bytes.size(), 0, false, &stream);
        benchmark::DoNotOptimize(walk(stream));
    }
    state.SetComplexityN(state.range(0));
}

// What one would write who knows that nothing is wrong with sizes, but checks them all the same.
void AtomWalk_handWritten(benchmark::State& state)
{
    const std::string bytes = siblings(static_cast<size_t>(state.range(0)), 64);
    for (auto _ : state) {
        int64_t sum = 0;
        for (size_t at = 0; bytes.size() - at >= 8;) {
            uint64_t size = loadBE32(bytes.data() + at), header = 8;
            if (size == 1) {
                if (bytes.size() - at < 16) break;
                size = loadBE64(bytes.data() + at + 8);
                header = 16;
            }
            if (loadBE32(bytes.data() + at + 4) == LU_FOURCC('u', 'u', 'i', 'd')) header += 16;
            if (size < header || size > bytes.size() - at) break;
            sum += static_cast<int64_t>(size - header);
            at += size;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetComplexityN(state.range(0));
}

// Atoms of 60 bytes, so that most pieces end in the middle of one, and many in a header.
void inPieces(benchmark::State& state, bool inMemory, size_t atomSize, size_t pieceLength)
{
    const std::string bytes = siblings(static_cast<size_t>(state.range(0)), atomSize);
    ZoRef<LuBlockBufferRef> buffer;
    LuBlockBufferCreateEmpty(nullptr, 16, 0, buffer.outParam());
    // Memory of somebody else, which stays where it is.
    for (size_t at = 0; at < bytes.size() && !inMemory; at += pieceLength)
        LuBlockBufferAppendMemoryBlock(buffer.get(), const_cast<char*>(bytes.data()) + at, bytes.size() - at,
                                       kZoAllocatorNull, nullptr, 0, std::min(pieceLength, bytes.size() - at), 0);
    for (auto _ : state) {
        TavAtomStream stream;
        if (inMemory)
            TavAtomStreamInitWithMemoryBlock(bytes.data(), bytes.size(), 0, false, &stream);
        else
            TavAtomStreamInitWithBBuf(buffer.get(), 0, false, &stream);
        benchmark::DoNotOptimize(walk(stream));
    }
    state.SetComplexityN(state.range(0));
}
void AtomWalkInPieces_luvia(benchmark::State& state) { inPieces(state, false, 60, kPieceLength); }
void AtomWalkInPieces_inMemory(benchmark::State& state) { inPieces(state, true, 60, kPieceLength); }
// As many pieces as atoms.
void AtomWalkInManyPieces_luvia(benchmark::State& state) { inPieces(state, false, 60, 60); }

size_t heapBytes()
{
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

// 40,000 atoms in all, so many to a buffer.
constexpr size_t kAtomsWritten = 40000;
void WriteAtoms_luvia(benchmark::State& state)
{
    const auto perBuffer = static_cast<size_t>(state.range(0));
    const auto writeAll = [perBuffer](ZoRef<LuBlockBufferRef>& buffer) {
        LuBlockBufferCreateEmpty(nullptr, 1, 0, buffer.outParam());
        TavAtomWriter writer;
        TavAtomWriterInitWithBlockBuffer(buffer.get(), &writer);
        for (size_t i = 0; i < perBuffer; ++i) {
            TavAtomWriterBeginAtom(&writer, LU_FOURCC('f', 'r', 'e', 'e'), false);
            TavAtomWriterAppendData(&writer, "data", 4);
            if (TavAtomWriterEndAtom(&writer) != 0) return false;
        }
        return true;
    };
    {
        std::vector<ZoRef<LuBlockBufferRef>> buffers(kAtomsWritten / perBuffer);
        const size_t before = heapBytes();
        for (auto& buffer : buffers) writeAll(buffer);
        const double taken = static_cast<double>(heapBytes() - before) / static_cast<double>(12 * kAtomsWritten);
        state.counters["heap/bytes"] = taken;
        if (taken > 4) state.SkipWithError("takes more than four times the bytes");
    }
    for (auto _ : state) {
        for (size_t left = kAtomsWritten; left > 0; left -= perBuffer) {
            ZoRef<LuBlockBufferRef> buffer;
            if (!writeAll(buffer)) state.SkipWithError("write");
        }
    }
}
BENCHMARK(WriteAtoms_luvia)->Arg(40000)->Arg(4000)->Arg(100)->Unit(benchmark::kMicrosecond);

BENCHMARK(AtomWalk_luvia)->RangeMultiplier(8)->Range(1 << 11, 1 << 20)->Complexity();
BENCHMARK(AtomWalk_handWritten)->RangeMultiplier(8)->Range(1 << 11, 1 << 20)->Complexity();
BENCHMARK(AtomWalkInPieces_luvia)->RangeMultiplier(8)->Range(1 << 11, 1 << 20)->Complexity();
BENCHMARK(AtomWalkInPieces_inMemory)->RangeMultiplier(8)->Range(1 << 11, 1 << 20)->Complexity();
BENCHMARK(AtomWalkInManyPieces_luvia)->RangeMultiplier(8)->Range(1 << 11, 1 << 20)->Complexity();

}  // namespace

BENCHMARK_MAIN();
