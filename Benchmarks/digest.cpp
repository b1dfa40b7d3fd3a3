// SHA-1 of 1 MiB, beside nettle's.
//
// links: nettle
// bar: Sha1_luvia >= 500 MB/s

#include <benchmark/benchmark.h>
#include <nettle/sha1.h>

#include <vector>

#include "Utilities/TavDigestSHA1.h"

static const std::vector<uint8_t> sBytes(1 << 20, 0x5A);

static void Sha1_luvia(benchmark::State& state)
{
    TavDigestSHA1* context = TavDigestSHA1Create();
    for (auto _ : state) TavDigestSHA1AppendData(context, sBytes.data(), sBytes.size());
    TavDigestSHA1Destroy(context);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(sBytes.size()));
}
BENCHMARK(Sha1_luvia);

static void Sha1_nettle(benchmark::State& state)
{
    sha1_ctx context;
    sha1_init(&context);
    for (auto _ : state) sha1_update(&context, sBytes.size(), sBytes.data());
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(sBytes.size()));
}
BENCHMARK(Sha1_nettle);

BENCHMARK_MAIN();
