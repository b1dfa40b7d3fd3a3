// Base64 of 3 MiB, out with the string made, and back; hexadecimal text. Beside OpenSSL's blocks, which know no
// objects.
//
// links: crypto
// bar: Base64Out_luvia <= 1 * Base64Out_openssl
// bar: Base64Back_luvia <= 1.2 * Base64Back_openssl
// bar: Hex_luvia >= 500 MB/s

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <random>
#include <vector>

#include "Foundation/Objects/ZoRef.h"
#include "Utilities/TavNumericEncoding.h"

static const std::vector<uint8_t> sBytes = [] {
    std::vector<uint8_t> bytes(3 << 20);
    std::mt19937 random(1);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
    return bytes;
}();

static void countBytes(benchmark::State& state)
{
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(sBytes.size()));
}

static ZoRef<ZoStringRef> encode()
{
    ZoRef<ZoStringRef> text;
    (void)TavCreateBase64EncodedStringFromBytes(nullptr, sBytes.data(), sBytes.size(), true, text.outParam());
    return text;
}

static void Base64Out_luvia(benchmark::State& state)
{
    for (auto _ : state) benchmark::DoNotOptimize(encode().get());
    countBytes(state);
}
BENCHMARK(Base64Out_luvia);

static void Base64Out_openssl(benchmark::State& state)
{
    for (auto _ : state) {
        std::vector<uint8_t> text((4 << 20) + 1);
        EVP_EncodeBlock(text.data(), sBytes.data(), static_cast<int>(sBytes.size()));
        benchmark::DoNotOptimize(text.data());
    }
    countBytes(state);
}
BENCHMARK(Base64Out_openssl);

static void Base64Back_luvia(benchmark::State& state)
{
    const auto text = encode();
    for (auto _ : state) {
        ZoRef<ZoDataRef> data;
        (void)TavCreateDataFromBase64EncodedStringRange(nullptr, text.get(), 0, ZoStringGetLength(text.get()),
                                                        data.outParam());
        benchmark::DoNotOptimize(data.get());
    }
    countBytes(state);
}
BENCHMARK(Base64Back_luvia);

static void Base64Back_openssl(benchmark::State& state)
{
    std::vector<uint8_t> text((4 << 20) + 1);
    EVP_EncodeBlock(text.data(), sBytes.data(), static_cast<int>(sBytes.size()));
    for (auto _ : state) {
        std::vector<uint8_t> bytes(sBytes.size() + 3);
        EVP_DecodeBlock(bytes.data(), text.data(), static_cast<int>(text.size() - 1));
        benchmark::DoNotOptimize(bytes.data());
    }
    countBytes(state);
}
BENCHMARK(Base64Back_openssl);

static void Hex_luvia(benchmark::State& state)
{
    const auto data = zoAdopt(ZoDataCreate(nullptr, sBytes.data(), static_cast<ZoIndex>(sBytes.size())));
    for (auto _ : state) {
        ZoRef<ZoStringRef> text;
        (void)TavCreateHexStringFromZoData(nullptr, data.get(), true, text.outParam());
        benchmark::DoNotOptimize(text.get());
    }
    countBytes(state);
}
BENCHMARK(Hex_luvia);

BENCHMARK_MAIN();
