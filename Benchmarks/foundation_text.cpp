// Strings made from C text, beside malloc(3) with a copy of it.
// bar: StringCreate16_luvia <= 1.5 * StringCreate16_mallocCopy
// bar: StringCreate64_luvia <= 1.5 * StringCreate64_mallocCopy
// bar: StringCreate4096_luvia <= 1.5 * StringCreate4096_mallocCopy
// bar: StringFormat_luvia <= 3 * StringFormat_snprintfCopy
// bar: StringHash_luvia <= 1.5 * StringHash_std

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"

/// Creations in a row; what was made goes while the clock stands still.
constexpr size_t kBatch = 512;

template <size_t kLength, auto kCreate, auto kDestroy>
static void createFromC(benchmark::State& state)
{
    const std::string text(kLength, 'x');
    const char* pointer = text.c_str();
    std::vector<decltype(kCreate(pointer))> made(kBatch);
    while (state.KeepRunningBatch(kBatch)) {
        for (auto& one : made) {
            benchmark::DoNotOptimize(pointer);
            one = kCreate(pointer);
            benchmark::ClobberMemory();
        }
        state.PauseTiming();
        for (auto& one : made) kDestroy(one);
        state.ResumeTiming();
    }
}

static ZoStringRef createString(const char* text)
{
    return ZoStringCreateWithCString(nullptr, text, kZoStringEncodingUTF8);
}

static char* mallocCopy(const char* text)
{
    const size_t size = strlen(text) + 1;
    return static_cast<char*>(memcpy(malloc(size), text, size));
}

BENCHMARK(createFromC<16, createString, ZoRelease>)->Name("StringCreate16_luvia");
BENCHMARK(createFromC<16, mallocCopy, free>)->Name("StringCreate16_mallocCopy");
BENCHMARK(createFromC<64, createString, ZoRelease>)->Name("StringCreate64_luvia");
BENCHMARK(createFromC<64, mallocCopy, free>)->Name("StringCreate64_mallocCopy");
BENCHMARK(createFromC<4096, createString, ZoRelease>)->Name("StringCreate4096_luvia");
BENCHMARK(createFromC<4096, mallocCopy, free>)->Name("StringCreate4096_mallocCopy");

static void StringFormat_luvia(benchmark::State& state)
{
    int number = 42;
    for (auto _ : state) {
        benchmark::DoNotOptimize(number);
        ZoStringRef string =
            ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("track %d of %s, %5.2f"), number, "album", 1.5);
        benchmark::DoNotOptimize(string);
        ZoRelease(string);
    }
}
BENCHMARK(StringFormat_luvia);

static void StringFormat_snprintfCopy(benchmark::State& state)
{
    int number = 42;
    for (auto _ : state) {
        benchmark::DoNotOptimize(number);
        char buffer[256];
        snprintf(buffer, sizeof buffer, "track %d of %s, %5.2f", number, "album", 1.5);
        char* copy = strdup(buffer);
        benchmark::DoNotOptimize(copy);
        free(copy);
    }
}
BENCHMARK(StringFormat_snprintfCopy);

static void StringHash_luvia(benchmark::State& state)
{
    ZoStringRef key = ZOSTR("kSomeExportedDictionaryKey");
    for (auto _ : state) {
        benchmark::DoNotOptimize(key);
        benchmark::DoNotOptimize(ZoHash(key));
    }
}
BENCHMARK(StringHash_luvia);

static void StringHash_std(benchmark::State& state)
{
    std::string_view key = "kSomeExportedDictionaryKey";
    for (auto _ : state) {
        benchmark::DoNotOptimize(key);
        benchmark::DoNotOptimize(std::hash<std::string_view>{}(key));
    }
}
BENCHMARK(StringHash_std);

BENCHMARK_MAIN();
