// Appends to a byte stream over a block buffer, 100 bytes a write, beside a string that grows.
//
// bar: StreamAppend_luvia/64 <= 3 * StreamAppend_string/64

#include <benchmark/benchmark.h>

#include <string>

#include "DataIO/TavByteStreams/LuByteStream.h"
#include "Foundation/Objects/ZoRef.h"

namespace {

constexpr size_t kWriteLength = 100;

size_t writesOf(const benchmark::State& state) { return (static_cast<size_t>(state.range(0)) << 20) / kWriteLength; }

void StreamAppend_luvia(benchmark::State& state)
{
    const std::string piece(kWriteLength, 'x');
    for (auto _ : state) {
        ZoRef<LuBlockBufferRef> buffer;
        LuBlockBufferCreateEmpty(nullptr, 16, 0, buffer.outParam());
        ZoRef<LuByteStreamRef> stream;
        LuByteStreamCreateWritableForBlockBuffer(nullptr, buffer.get(), 0, nullptr, nullptr, stream.outParam());
        size_t written = 0;
        for (size_t n = writesOf(state); n > 0; --n)
            if (LuByteStreamAppend(stream.get(), piece.size(), piece.data(), &written) != 0)
                state.SkipWithError("append");
        benchmark::DoNotOptimize(LuBlockBufferGetDataLength(buffer.get()));
    }
    state.SetComplexityN(state.range(0));
}

void StreamAppend_string(benchmark::State& state)
{
    const std::string piece(kWriteLength, 'x');
    for (auto _ : state) {
        std::string out;
        for (size_t n = writesOf(state); n > 0; --n) {
            out.append(piece.data(), piece.size());
            benchmark::DoNotOptimize(out.data());
        }
    }
    state.SetComplexityN(state.range(0));
}

BENCHMARK(StreamAppend_luvia)->RangeMultiplier(4)->Range(1, 64)->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(StreamAppend_string)->RangeMultiplier(4)->Range(1, 64)->Unit(benchmark::kMillisecond)->Complexity();

}  // namespace

BENCHMARK_MAIN();
