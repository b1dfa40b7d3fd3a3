// Media time beside a plain checked addition of the values, and beside libavutil's time stamps, over one batch of
// operands a row: sums at one timescale; conversions and comparisons between the usual timescales, and between any.
// AddOverPlain is the time of one addition less that of a plain one, both measured in each iteration.
// links: avutil
// bar: AddOverPlain_luvia <= 2.0 ns
// bar: Add_luvia <= 0.95 * Add_avutil
// bar: Convert_luvia <= 0.80 * Convert_avutil
// bar: ConvertLarge_luvia <= 0.90 * ConvertLarge_avutil
// bar: Compare_luvia <= 0.95 * Compare_avutil
// bar: CompareLarge_luvia <= 0.95 * CompareLarge_avutil

#include <benchmark/benchmark.h>

extern "C" {
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <array>
#include <ctime>
#include <random>

#include "Core/TavTime/LuTime.h"

namespace {

constexpr size_t kBatch = 1024;
using Times = std::array<LuTime, kBatch>;

constexpr int32_t kTimescales[] = {600, 1000, 24000, 30000, 44100, 48000, 90000, 1000000};

/// Values of up to `bits` bits; at one timescale, at the usual ones, or at any.
enum class Timescales { One, Usual, Any };

Times makeTimes(unsigned seed, int bits, Timescales timescales)
{
    std::mt19937_64 random(seed);
    Times times;
    for (LuTime& time : times) {
        const auto value = static_cast<int64_t>(random() >> (64 - bits));
        int32_t timescale = 90000;
        if (timescales == Timescales::Usual) timescale = kTimescales[random() % std::size(kTimescales)];
        if (timescales == Timescales::Any) timescale = static_cast<int32_t>(random() >> 33) | 1 << 20;
        time = LuTimeMake(random() % 4 ? value : -value, timescale);
    }
    return times;
}

AVRational base(LuTime time) { return {1, time.timescale}; }

template <typename Function>
void overPairs(benchmark::State& state, const Times& left, const Times& right, Function function)
{
    for (auto _ : state)
        for (size_t i = 0; i < kBatch; ++i) benchmark::DoNotOptimize(function(left[i], right[i]));
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kBatch));
}

void addPlain(const Times& left, const Times& right, Times& sums)
{
    for (size_t i = 0; i < kBatch; ++i)
        if (__builtin_add_overflow(left[i].value, right[i].value, &sums[i].value)) sums[i].value = 0;
}

void addOurs(const Times& left, const Times& right, Times& sums)
{
    for (size_t i = 0; i < kBatch; ++i) sums[i] = LuTimeAdd(left[i], right[i]);
}

/// Of this thread alone: what others run beside it is not counted.
double threadSeconds()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void AddOverPlain_luvia(benchmark::State& state)
{
    constexpr int kRounds = 16;
    const Times left = makeTimes(1, 48, Timescales::One), right = makeTimes(2, 48, Timescales::One);
    Times sums = left;
    const auto seconds = [&](auto add) {
        const double start = threadSeconds();
        for (int i = 0; i < kRounds; ++i) {
            add(left, right, sums);
            benchmark::DoNotOptimize(sums.data());
            benchmark::ClobberMemory();
        }
        return threadSeconds() - start;
    };
    for (auto _ : state) {
        const double plain = seconds(addPlain), ours = seconds(addOurs);
        state.SetIterationTime(std::max(ours - plain, 1e-9) / (kRounds * kBatch));
    }
}
BENCHMARK(AddOverPlain_luvia)->UseManualTime()->Iterations(2000);

void Add_luvia(benchmark::State& state)
{
    overPairs(state, makeTimes(1, 48, Timescales::One), makeTimes(2, 48, Timescales::One),
              [](LuTime a, LuTime b) { return LuTimeAdd(a, b); });
}
BENCHMARK(Add_luvia);

void Add_avutil(benchmark::State& state)
{
    overPairs(state, makeTimes(1, 48, Timescales::One), makeTimes(2, 48, Timescales::One),
              [](LuTime a, LuTime b) { return av_add_stable(base(a), a.value, base(b), b.value); });
}
BENCHMARK(Add_avutil);

void convertOurs(benchmark::State& state, int bits, Timescales timescales)
{
    overPairs(state, makeTimes(3, bits, timescales), makeTimes(4, bits, timescales), [](LuTime a, LuTime b) {
        return LuTimeConvertScale(a, b.timescale, kLuTimeRoundingMethod_RoundHalfAwayFromZero);
    });
}

void convertAvutil(benchmark::State& state, int bits, Timescales timescales)
{
    overPairs(state, makeTimes(3, bits, timescales), makeTimes(4, bits, timescales),
              [](LuTime a, LuTime b) { return av_rescale_rnd(a.value, b.timescale, a.timescale, AV_ROUND_NEAR_INF); });
}

void compareOurs(benchmark::State& state, int bits, Timescales timescales)
{
    overPairs(state, makeTimes(5, bits, timescales), makeTimes(6, bits, timescales),
              [](LuTime a, LuTime b) { return LuTimeCompare(a, b); });
}

void compareAvutil(benchmark::State& state, int bits, Timescales timescales)
{
    overPairs(state, makeTimes(5, bits, timescales), makeTimes(6, bits, timescales),
              [](LuTime a, LuTime b) { return av_compare_ts(a.value, base(a), b.value, base(b)); });
}

void Convert_luvia(benchmark::State& state) { convertOurs(state, 34, Timescales::Usual); }
void Convert_avutil(benchmark::State& state) { convertAvutil(state, 34, Timescales::Usual); }
void ConvertLarge_luvia(benchmark::State& state) { convertOurs(state, 56, Timescales::Any); }
void ConvertLarge_avutil(benchmark::State& state) { convertAvutil(state, 56, Timescales::Any); }
void Compare_luvia(benchmark::State& state) { compareOurs(state, 34, Timescales::Usual); }
void Compare_avutil(benchmark::State& state) { compareAvutil(state, 34, Timescales::Usual); }
void CompareLarge_luvia(benchmark::State& state) { compareOurs(state, 56, Timescales::Any); }
void CompareLarge_avutil(benchmark::State& state) { compareAvutil(state, 56, Timescales::Any); }
BENCHMARK(Convert_luvia);
BENCHMARK(Convert_avutil);
BENCHMARK(ConvertLarge_luvia);
BENCHMARK(ConvertLarge_avutil);
BENCHMARK(Compare_luvia);
BENCHMARK(Compare_avutil);
BENCHMARK(CompareLarge_luvia);
BENCHMARK(CompareLarge_avutil);

}  // namespace

BENCHMARK_MAIN();
