// Bit reads of HEVC in escaped mode, u(n) and ue(v) mixed as parameter sets mix them, by a walker and by the reader's
// functions, beside the same reads on the unescaped bytes by a plain reader with a cache of 64 bits; and a header of 20
// elements of which half are needed and none is asked for, from its first byte on. An item is an element.
//
// bar: Reads_walker <= 1.5 * Reads_cache64
// bar: Reads_functions <= 3.0 * Reads_cache64
// bar: Header_walker <= 3.0 * Header_cache64
// bar: Header_walker <= 60 ns

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"
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

void Reads_functions(benchmark::State& state)
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
BENCHMARK(Reads_functions);

void Reads_walker(benchmark::State& state)
{
    const std::string escaped = luvia_test::BitWriter::escape(plainBytes());
    const auto* bytes = reinterpret_cast<const uint8_t*>(escaped.data());
    const HEVCBridgeParseContext nothing = {};
    for (auto _ : state) {
        HEVCBitstream reader = hevcbridgeBitstreamOver(bytes, escaped.size(), true);
        if (hevcbridgeAdvanceInBitstream(&reader, 0) != 0) abort();
        HEVCWalker w(&reader, &nothing);
        uint32_t sum = 0;
        for (int i = 0; i < kTurns; ++i) {
            sum += w.pull(1);
            sum += w.pull(5);
            sum += w.pullUE();
            sum += w.pullUE();
            sum += w.pull(8);
        }
        if (!w.ok()) abort();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kElements);
}
BENCHMARK(Reads_walker);

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

// 20 elements in the manner of a slice segment's header, and slice data behind them.
std::string headerBytes()
{
    luvia_test::BitWriter w;
    w.u(1, 1).ue(0).flag(0).u(9, 77).ue(1).flag(1).u(8, 200).flag(1).u(2, 3).flag(1);
    w.flag(0).flag(1).flag(1).ue(2).ue(1).flag(0).ue(3).se(-7).se(2).flag(1);
    return w.trailing().bytes() + std::string(64, '\x5A');
}

uint32_t walkHeader(HEVCBitstream* reader, const HEVCBridgeParseContext* context)
{
    HEVCWalker w(reader, context);
    w.flag(HEVCField::first_slice_segment_in_pic_flag);
    uint32_t sum = w.needUE(HEVCField::slice_pic_parameter_set_id);
    sum += w.needFlag(HEVCField::dependent_slice_segment_flag);
    w.u(9, HEVCField::slice_segment_address);
    sum += w.needUE(HEVCField::slice_type);
    w.flag(HEVCField::pic_output_flag);
    w.u(8, HEVCField::slice_pic_order_cnt_lsb);
    sum += w.needFlag(HEVCField::short_term_ref_pic_set_sps_flag);
    sum += w.needU(2, HEVCField::short_term_ref_pic_set_idx);
    sum += w.needFlag(HEVCField::slice_temporal_mvp_enabled_flag);
    w.flag(HEVCField::slice_sao_luma_flag);
    w.flag(HEVCField::slice_sao_chroma_flag);
    sum += w.needFlag(HEVCField::num_ref_idx_active_override_flag);
    sum += w.needUE(HEVCField::num_ref_idx_l0_active_minus1);
    sum += w.needUE(HEVCField::num_ref_idx_l1_active_minus1);
    w.flag(HEVCField::cabac_init_flag);
    w.ue(HEVCField::five_minus_max_num_merge_cand);
    w.se(HEVCField::slice_qp_delta);
    w.se(HEVCField::slice_cb_qp_offset);
    sum += w.needFlag(HEVCField::deblocking_filter_override_flag);
    if (!w.ok()) abort();
    return sum;
}

void Header_walker(benchmark::State& state)
{
    const std::string bytes = headerBytes();
    HEVCBridgeParseContext nothing = {};
    for (auto _ : state) {
        HEVCBitstream reader =
            hevcbridgeBitstreamOver(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), true);
        benchmark::DoNotOptimize(nothing);
        if (hevcbridgeAdvanceInBitstream(&reader, 0) != 0) abort();
        benchmark::DoNotOptimize(walkHeader(&reader, &nothing));
        benchmark::DoNotOptimize(reader.position);
    }
}
BENCHMARK(Header_walker);

void Header_cache64(benchmark::State& state)
{
    const std::string bytes = headerBytes();
    for (auto _ : state) {
        Cache64Reader r(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
        uint32_t sum = r.u(1) + r.ue();
        benchmark::DoNotOptimize(sum);
        sum += r.u(1) + r.u(9) + r.ue() + r.u(1) + r.u(8) + r.u(1) + r.u(2) + r.u(1);
        sum += r.u(1) + r.u(1) + r.u(1) + r.ue() + r.ue() + r.u(1) + r.ue() + r.ue() + r.ue() + r.u(1);
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(Header_cache64);

}  // namespace

BENCHMARK_MAIN();
