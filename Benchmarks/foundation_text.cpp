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

#include "Foundation/ZoRef.h"
#include "Foundation/ZoString.h"

template <size_t kLength>
static void createString(benchmark::State& state)
{
    const std::string text(kLength, 'x');
    const char* pointer = text.c_str();
    for (auto _ : state) {
        benchmark::DoNotOptimize(pointer);
        ZoStringRef string = ZoStringCreateWithCString(nullptr, pointer, kZoStringEncodingUTF8);
        benchmark::DoNotOptimize(string);
        ZoRelease(string);
    }
}

template <size_t kLength>
static void copyText(benchmark::State& state)
{
    const std::string text(kLength, 'x');
    const char* pointer = text.c_str();
    for (auto _ : state) {
        benchmark::DoNotOptimize(pointer);
        const size_t size = strlen(pointer) + 1;
        auto* copy = static_cast<char*>(malloc(size));
        memcpy(copy, pointer, size);
        benchmark::DoNotOptimize(copy);
        benchmark::ClobberMemory();
        free(copy);
    }
}

BENCHMARK(createString<16>)->Name("StringCreate16_luvia");
BENCHMARK(copyText<16>)->Name("StringCreate16_mallocCopy");
BENCHMARK(createString<64>)->Name("StringCreate64_luvia");
BENCHMARK(copyText<64>)->Name("StringCreate64_mallocCopy");
BENCHMARK(createString<4096>)->Name("StringCreate4096_luvia");
BENCHMARK(copyText<4096>)->Name("StringCreate4096_mallocCopy");

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
