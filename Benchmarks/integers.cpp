// Multiply-divide beside the plain 64-bit expression, which is wrong once the product leaves 64 bits and is therefore
// judged for small operands only, and beside the form that a compiler's 128-bit integers give.
// bar: MulDivSmall_luvia <= 1.3 * MulDivSmall_plain
// bar: MulDivSmall_luvia <= 1.0 * MulDivSmall_int128
// bar: MulDivLarge_luvia <= 0.95 * MulDivLarge_int128

#include <benchmark/benchmark.h>

#include <array>
#include <random>

#include "Platform/Ostra/OstraIntegers.h"

namespace {

struct Operands {
    int64_t value;
    int32_t multiplier, divisor;
};
using Batch = std::array<Operands, 256>;

// Small: frame counts and the usual timescales. Large: values of 40 to 56 bits with timescales of 20 to 31 bits, so
// that nearly every product leaves 64 bits while the quotient fits.
Batch smallOperands()
{
    std::mt19937_64 random(1);
    const int32_t scales[] = {600, 1000, 1001, 24000, 30000, 44100, 48000};
    Batch batch;
    for (Operands& o : batch) o = {int64_t(random() % 32768) - 16384, scales[random() % 7], scales[random() % 7]};
    return batch;
}

Batch largeOperands()
{
    std::mt19937_64 random(2);
    Batch batch;
    for (Operands& o : batch)
        o = {int64_t(random() >> (8 + random() % 16)), int32_t(random() >> (33 + random() % 12)) | (1 << 19),
             int32_t(random() >> (33 + random() % 12)) | (1 << 19)};
    return batch;
}

int64_t plain(const Operands& o, int32_t* remainder)
{
    const auto product = int64_t(uint64_t(o.value) * uint64_t(int64_t(o.multiplier)));
    *remainder = int32_t(product % o.divisor);
    return product / o.divisor;
}

int64_t int128(const Operands& o, int32_t* remainder)
{
    const __int128 product = __int128(o.value) * o.multiplier;
    const __int128 quotient = product / o.divisor;
    *remainder = int32_t(product % o.divisor);
    if (quotient > INT64_MAX) return INT64_MAX;
    return quotient < INT64_MIN ? INT64_MIN : int64_t(quotient);
}

int64_t luvia(const Operands& o, int32_t* remainder)
{
    return TavInt64MulDiv(o.value, o.multiplier, o.divisor, remainder);
}

template <int64_t (*mulDiv)(const Operands&, int32_t*), Batch (*operands)()>
void run(benchmark::State& state)
{
    const Batch batch = operands();
    for (auto _ : state) {
        for (const Operands& o : batch) {
            int32_t remainder;
            benchmark::DoNotOptimize(mulDiv(o, &remainder));
            benchmark::DoNotOptimize(remainder);
        }
    }
    state.SetItemsProcessed(int64_t(state.iterations() * batch.size()));
}

BENCHMARK(run<luvia, smallOperands>)->Name("MulDivSmall_luvia");
BENCHMARK(run<plain, smallOperands>)->Name("MulDivSmall_plain");
BENCHMARK(run<int128, smallOperands>)->Name("MulDivSmall_int128");
BENCHMARK(run<luvia, largeOperands>)->Name("MulDivLarge_luvia");
BENCHMARK(run<int128, largeOperands>)->Name("MulDivLarge_int128");

}  // namespace

BENCHMARK_MAIN();
