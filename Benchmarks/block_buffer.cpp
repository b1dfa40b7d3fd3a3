// Block buffers: growth with the number of pieces, the cost of an append, and copies and comparisons beside those of
// the C library over the same bytes. The times of *_growth are for the whole buffer: from row to row N grows tenfold,
// and so should they; "ns/piece" shows it.

// bar: Slices_growth/1000000 <= 4000 * Slices_growth/1000
// bar: SlicesOfReferences_growth/100000 <= 400 * SlicesOfReferences_growth/1000
// bar: LookUps_growth/100000 <= 800 * LookUps_growth/1000
// bar: CopyOut_growth/1000000 <= 2000 * CopyOut_growth/1000
// bar: WriteOnDemand_growth/1000000 <= 2000 * WriteOnDemand_growth/1000
// bar: CopyOut64MiB_luvia <= 1.11 * CopyOut64MiB_memcpy
// bar: CompareContiguous_luvia <= 1.11 * CompareContiguous_memcmp

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "Foundation/Objects/ZoRef.h"
#include "Utilities/TavBlockBufferUtilities.h"

namespace {

using Buffer = ZoRef<LuBlockBufferRef>;

Buffer emptyBuffer()
{
    Buffer buffer;
    LuBlockBufferCreateEmpty(nullptr, 1, 0, buffer.outParam());
    return buffer;
}
/// One buffer of `count` pieces of `pieceLength` bytes of `bytes`, in a chain that starts with the smallest table.
Buffer piecesOf(std::vector<char>& bytes, size_t count, size_t pieceLength)
{
    Buffer buffer = emptyBuffer();
    for (size_t i = 0; i < count; ++i) {
        LuBlockBufferAppendMemoryBlock(buffer.get(), bytes.data() + i * pieceLength, pieceLength, kZoAllocatorNull,
                                       nullptr, 0, pieceLength, 0);
    }
    return buffer;
}
/// `count` buffers, each with a byte of its own in front of a reference to the next.
Buffer nestOf(std::vector<char>& bytes, size_t count)
{
    Buffer inner = piecesOf(bytes, 1, 1);
    for (size_t i = 1; i < count; ++i) {
        Buffer outer;
        LuBlockBufferCreateEmpty(nullptr, 2, 0, outer.outParam());
        LuBlockBufferAppendMemoryBlock(outer.get(), &bytes[i], 1, kZoAllocatorNull, nullptr, 0, 1, 0);
        LuBlockBufferAppendBufferReference(outer.get(), inner.get(), 0, 0, 0);
        inner = std::move(outer);
    }
    return inner;
}

void finish(benchmark::State& state)
{
    const auto pieces = static_cast<double>(state.iterations() * state.range(0));
    state.counters["s/piece"] = benchmark::Counter(pieces, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMicrosecond);
}

void Build_growth(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<char> bytes(count * 16);
    for (auto _ : state) {
        Buffer buffer = piecesOf(bytes, count, 16);
        state.PauseTiming();
        buffer.reset();
        state.ResumeTiming();
    }
    finish(state);
}
void Free_growth(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<char> bytes(count * 16);
    for (auto _ : state) {
        state.PauseTiming();
        Buffer buffer = piecesOf(bytes, count, 16);
        state.ResumeTiming();
        buffer.reset();
    }
    finish(state);
}
void FreeNested_growth(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<char> bytes(count);
    for (auto _ : state) {
        state.PauseTiming();
        Buffer buffer = nestOf(bytes, count);
        state.ResumeTiming();
        buffer.reset();
    }
    finish(state);
}
void CopyOut_growth(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<char> bytes(count * 16), out(count * 16);
    const Buffer buffer = piecesOf(bytes, count, 16);
    for (auto _ : state) LuBlockBufferCopyDataBytes(buffer.get(), 0, out.size(), out.data());
    finish(state);
}
void CopyOutNested_growth(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<char> bytes(count), out(count);
    const Buffer buffer = nestOf(bytes, count);
    for (auto _ : state) LuBlockBufferCopyDataBytes(buffer.get(), 0, out.size(), out.data());
    finish(state);
}
void Fill_growth(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<char> bytes(count * 16);
    const Buffer buffer = piecesOf(bytes, count, 16);
    for (auto _ : state) LuBlockBufferFillDataBytes('x', buffer.get(), 0, 0);
    finish(state);
}
void Compare_growth(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<char> bytes(count * 16), same(count * 16);
    const Buffer buffer = piecesOf(bytes, count, 16), other = piecesOf(same, count * 2, 8);
    for (auto _ : state) benchmark::DoNotOptimize(TavBlockBufferCompare(buffer.get(), other.get()));
    finish(state);
}
void Contiguous_growth(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<char> bytes(count * 16);
    const Buffer buffer = piecesOf(bytes, count, 16);
    for (auto _ : state) {
        Buffer contiguous;
        LuBlockBufferCreateContiguous(nullptr, buffer.get(), nullptr, nullptr, 0, 0, 0, contiguous.outParam());
    }
    finish(state);
}
// What a caller does with a file that came in pieces: takes its samples out, one slice each, at any order of offsets.
// Slices of a piece and a half, so that most lie in two pieces.
void Slices_growth(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<char> bytes(count * 16);
    const Buffer buffer = piecesOf(bytes, count, 16);
    for (auto _ : state) {
        Buffer samples = emptyBuffer();
        for (size_t i = 0, at = 0; i + 2 < count; ++i, at = (at + 7919) % (count - 2)) {
            LuBlockBufferAppendBufferReference(samples.get(), buffer.get(), at * 16 + 4, 24, 0);
        }
        state.PauseTiming();
        samples.reset();
        state.ResumeTiming();
    }
    finish(state);
}
// The same of a buffer whose pieces are references, as those of samples that were gathered before.
void SlicesOfReferences_growth(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<char> bytes(count * 16);
    const Buffer memory = piecesOf(bytes, count, 16);
    Buffer buffer = emptyBuffer();
    for (size_t i = 0; i < count; ++i) {
        LuBlockBufferAppendBufferReference(buffer.get(), memory.get(), (i * 7919) % count * 16, 15, 0);
    }
    for (auto _ : state) {
        Buffer samples = emptyBuffer();
        for (size_t i = 0; i + 2 < count; ++i) {
            LuBlockBufferAppendBufferReference(samples.get(), buffer.get(), i * 15 + 4, 22, 0);
        }
        state.PauseTiming();
        samples.reset();
        state.ResumeTiming();
    }
    finish(state);
}
// Each sample made a buffer of its own and read through it.
void ReadSlices_growth(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<char> bytes(count * 16);
    const Buffer buffer = piecesOf(bytes, count, 16);
    char sample[24];
    for (auto _ : state) {
        for (size_t i = 0, at = 0; i + 2 < count; ++i, at = (at + 7919) % (count - 2)) {
            Buffer slice;
            LuBlockBufferCreateWithBufferReference(nullptr, buffer.get(), at * 16 + 4, 24, 0, slice.outParam());
            LuBlockBufferCopyDataBytes(slice.get(), 0, sizeof sample, sample);
        }
    }
    finish(state);
}
void LookUps_growth(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<char> bytes(count * 16);
    const Buffer buffer = piecesOf(bytes, count, 16);
    for (auto _ : state) {
        for (size_t i = 0, at = 0; i < count; ++i, at = (at + 7919) % count) {
            char* pointer = nullptr;
            LuBlockBufferGetDataPointer(buffer.get(), at * 16 + 3, nullptr, nullptr, &pointer);
            benchmark::DoNotOptimize(pointer);
        }
    }
    finish(state);
}
// Memory named now and written when it is there: each write assures all of the buffer.
void WriteOnDemand_growth(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        Buffer buffer = emptyBuffer();
        for (size_t i = 0; i < count; ++i) {
            LuBlockBufferAppendMemoryBlock(buffer.get(), nullptr, 16, nullptr, nullptr, 0, 16, 0);
            LuBlockBufferReplaceDataBytes("0123456789abcde", buffer.get(), i * 16, 16);
        }
        state.PauseTiming();
        buffer.reset();
        state.ResumeTiming();
    }
    finish(state);
}
BENCHMARK(Slices_growth)->Apply(sizes);
BENCHMARK(SlicesOfReferences_growth)->Apply(sizes);
BENCHMARK(ReadSlices_growth)->Apply(sizes);
BENCHMARK(LookUps_growth)->Apply(sizes);
BENCHMARK(WriteOnDemand_growth)->Apply(sizes);
BENCHMARK(Build_growth)->Apply(sizes);
BENCHMARK(Free_growth)->Apply(sizes);
BENCHMARK(FreeNested_growth)->Apply(sizes);
BENCHMARK(CopyOut_growth)->Apply(sizes);
BENCHMARK(CopyOutNested_growth)->Apply(sizes);
BENCHMARK(Fill_growth)->Apply(sizes);
BENCHMARK(Compare_growth)->Apply(sizes);
BENCHMARK(Contiguous_growth)->Apply(sizes);

// At most 20 ns, and no allocation.
void AppendAdjacentReference_luvia(benchmark::State& state)
{
    std::vector<char> bytes(1 << 20);
    const Buffer target = piecesOf(bytes, 1, bytes.size());
    Buffer buffer = emptyBuffer();
    size_t offset = 0;
    for (auto _ : state) {
        LuBlockBufferAppendBufferReference(buffer.get(), target.get(), offset, 16, 0);
        offset += 16;
        if (offset == bytes.size()) {
            offset = 0;
            state.PauseTiming();
            buffer = emptyBuffer();
            state.ResumeTiming();
        }
    }
}
BENCHMARK(AppendAdjacentReference_luvia);

void CreateWithOneBlock_luvia(benchmark::State& state)
{
    char bytes[16];
    for (auto _ : state) {
        Buffer buffer;
        LuBlockBufferCreateWithMemoryBlock(nullptr, bytes, 16, kZoAllocatorNull, nullptr, 0, 16, 0, buffer.outParam());
    }
}
void CreateWithOneBlock_malloc(benchmark::State& state)
{
    for (auto _ : state) {
        void* memory = std::malloc(192);
        benchmark::DoNotOptimize(std::memset(memory, 0, 192));
        std::free(memory);
    }
}
BENCHMARK(CreateWithOneBlock_luvia);
BENCHMARK(CreateWithOneBlock_malloc);

constexpr size_t kMovie = 64u << 20;
constexpr size_t kPiece = 4096;

// The pieces are blocks of their own, as a reader would have made them.
std::vector<char*>& pieces()
{
    static std::vector<char*> sPieces = [] {
        std::vector<char*> made;
        for (size_t i = 0; i < kMovie / kPiece; ++i) {
            made.push_back(static_cast<char*>(std::malloc(kPiece)));
            std::memset(made.back(), static_cast<int>(i), kPiece);
        }
        return made;
    }();
    return sPieces;
}
void CopyOut64MiB_luvia(benchmark::State& state)
{
    std::vector<char> out(kMovie);
    Buffer buffer = emptyBuffer();
    for (char* piece : pieces()) {
        LuBlockBufferAppendMemoryBlock(buffer.get(), piece, kPiece, kZoAllocatorNull, nullptr, 0, kPiece, 0);
    }
    for (auto _ : state) LuBlockBufferCopyDataBytes(buffer.get(), 0, kMovie, out.data());
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kMovie));
}
void CopyOut64MiB_memcpy(benchmark::State& state)
{
    std::vector<char> out(kMovie);
    for (auto _ : state) {
        char* to = out.data();
        for (const char* piece : pieces()) {
            std::memcpy(to, piece, kPiece);
            to += kPiece;
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kMovie));
}
BENCHMARK(CopyOut64MiB_luvia);
BENCHMARK(CopyOut64MiB_memcpy);

void CompareContiguous_luvia(benchmark::State& state)
{
    std::vector<char> bytes(1 << 20, 'x'), same = bytes;
    const Buffer buffer = piecesOf(bytes, 1, bytes.size()), other = piecesOf(same, 1, same.size());
    for (auto _ : state) benchmark::DoNotOptimize(TavBlockBufferCompare(buffer.get(), other.get()));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}
void CompareContiguous_memcmp(benchmark::State& state)
{
    std::vector<char> bytes(1 << 20, 'x'), same = bytes;
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::memcmp(bytes.data(), same.data(), bytes.size()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}
BENCHMARK(CompareContiguous_luvia);
BENCHMARK(CompareContiguous_memcmp);

}  // namespace

BENCHMARK_MAIN();
