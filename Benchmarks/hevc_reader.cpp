// Bit reads of the HEVC reader in escaped mode, u(n) and ue(v) mixed as parameter sets mix them, beside the same reads
// on the unescaped bytes by a plain reader with a cache of 64 bits. An item is an element.
//
// bar: Reads_luvia <= 2.0 * Reads_cache64
// bar: Reads_luvia >= 150e6 items/s

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBitstream.h"
#include "Tests/Support/BitWriter.h"

namespace {

// The mix: a flag, a short code, two code words, a byte. 5 elements a turn.
constexpr int kTurns = 20000;
constexpr int kElements = 5 * kTurns;

const std::string& plainBytes()
{
    static const std::string sBytes = [] {
        std::mt19937 random(7);
        luvia_test::BitWriter w;
        for (int i = 0; i < kTurns; ++i)
            w.flag(random() & 1).u(5, random() % 32).ue(random() % 4).ue(random() % 300).u(8, random() % 256);
        return w.trailing().bytes() + std::string(16, '\1');
    }();
    return sBytes;
}

void Reads_luvia(benchmark::State& state)
{
    const std::string escaped = luvia_test::BitWriter::escape(plainBytes());
    const auto* bytes = reinterpret_cast<const uint8_t*>(escaped.data());
    for (auto _ : state) {
        HEVCBitstream reader = hevcbridgeBitstreamOver(bytes, escaped.size(), true);
        OSStatus status = hevcbridgeAdvanceInBitstream(&reader, 0);
        uint32_t sum = 0, value = 0;
        for (int i = 0; i < kTurns && status == 0; ++i) {
            status |= hevcbridgeUPull(&reader, 1, &value), sum += value;
            status |= hevcbridgeUPull(&reader, 5, &value), sum += value;
            status |= hevcbridgeUEPullLong(&reader, &value), sum += value;
            status |= hevcbridgeUEPullLong(&reader, &value), sum += value;
            status |= hevcbridgeUPull(&reader, 8, &value), sum += value;
        }
        if (status != 0) abort();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
BENCHMARK(Reads_luvia);

class Cache64Reader {
public:
    Cache64Reader(const uint8_t* bytes, size_t size) : next_(bytes), end_(bytes + size) { refill(); }

    uint32_t u(int bits)
    {
        if (count_ < bits) refill();
        const auto value = static_cast<uint32_t>(cache_ >> (64 - bits));
        drop(bits);
        return value;
    }
    uint32_t ue()
    {
        if (count_ < 32) refill();
        const int zeros = __builtin_clzll(cache_ | 1);
        const auto value = static_cast<uint32_t>(cache_ >> (63 - 2 * zeros)) - 1;
        drop(2 * zeros + 1);
        return value;
    }

private:
    void drop(int bits)
    {
        cache_ <<= bits;
        count_ -= bits;
    }
    void refill()
    {
        if (end_ - next_ >= 8) {
            uint64_t word;
            memcpy(&word, next_, 8);
            cache_ |= __builtin_bswap64(word) >> count_;
            const int bytes = (63 - count_) / 8;
            next_ += bytes;
            count_ += 8 * bytes;
            cache_ &= ~uint64_t{0} << (64 - count_);
        } else {
            for (; count_ <= 56 && next_ != end_; count_ += 8) cache_ |= uint64_t{*next_++} << (56 - count_);
        }
    }

    const uint8_t* next_;
    const uint8_t* end_;
    uint64_t cache_ = 0;
    int count_ = 0;
};

void Reads_cache64(benchmark::State& state)
{
    const std::string& plain = plainBytes();
    const auto* bytes = reinterpret_cast<const uint8_t*>(plain.data());
    for (auto _ : state) {
        Cache64Reader reader(bytes, plain.size());
        uint32_t sum = 0;
        for (int i = 0; i < kTurns; ++i) {
            sum += reader.u(1);
            sum += reader.u(5);
            sum += reader.ue();
            sum += reader.ue();
            sum += reader.u(8);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
BENCHMARK(Reads_cache64);

}  // namespace

BENCHMARK_MAIN();
