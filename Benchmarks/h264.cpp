// An H.264 SPS with VUI to width and height, beside libavcodec's parser on the same SPS, which does more (90 ns where
// the parser takes 1,150 is the bar); and removal of emulation prevention, beside a loop on memchr(3) that copies the
// same pieces.
//
// links: avcodec avutil
// bar: SPSToSize_luvia <= 0.078 * SPSToSize_libavcodec
// bar: Unescape_luvia <= 1.43 * Unescape_memchr

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoData.h"
#include "Tests/Support/H264Builder.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace {

std::string spsWithVUI()
{
    luvia_test::H264SPS sps{
        .profile = 100, .level = 40, .pic_order_cnt_type = 0, .widthInMbs = 120, .heightInMapUnits = 68};
    sps.crop = luvia_test::H264SPS::Crop{0, 0, 0, 4};
    sps.vui = [](luvia_test::BitWriter& w) {
        w.flag(1).u(8, 1).flag(0).flag(1).u(3, 5).flag(0).flag(1).u(8, 1).u(8, 1).u(8, 1).flag(0);
        w.flag(1).u(32, 1001).u(32, 60000).flag(1).flag(0).flag(0).flag(0).flag(1);
        w.flag(1).ue(0).ue(0).ue(11).ue(11).ue(2).ue(4);
    };
    return sps.unit();
}

void SPSToSize_luvia(benchmark::State& state)
{
    const std::string sps = spsWithVUI();
    const auto* bytes = reinterpret_cast<const uint8_t*>(sps.data());
    for (auto _ : state) {
        int32_t width = 0, height = 0;
        if (TavH264Bridge_GetSPSWidthAndHeight(bytes, sps.size(), &width, &height) != 0 || height != 1080) abort();
        benchmark::DoNotOptimize(width);
    }
}
BENCHMARK(SPSToSize_luvia);

void SPSToSize_libavcodec(benchmark::State& state)
{
    const std::string sps = spsWithVUI();
    std::vector<uint8_t> unit = {0, 0, 0, 1};
    unit.insert(unit.end(), sps.begin(), sps.end());
    const auto size = static_cast<int>(unit.size());
    unit.resize(unit.size() + AV_INPUT_BUFFER_PADDING_SIZE);
    AVCodecParserContext* parser = av_parser_init(AV_CODEC_ID_H264);
    AVCodecContext* context = avcodec_alloc_context3(nullptr);
    parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    for (auto _ : state) {
        uint8_t* out = nullptr;
        int outSize = 0;
        av_parser_parse2(parser, context, &out, &outSize, unit.data(), size, AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
        benchmark::DoNotOptimize(out);
    }
    avcodec_free_context(&context);
    av_parser_close(parser);
}
BENCHMARK(SPSToSize_libavcodec);

// 1 MiB of bytes above 3 with an escape each 64 KiB.
std::vector<uint8_t> fewEscapes()
{
    std::vector<uint8_t> bytes(1 << 20);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(4 + i % 251);
    for (size_t i = 0; i + 3 < bytes.size(); i += 1 << 16) std::memcpy(&bytes[i], "\0\0\3", 3);
    return bytes;
}

void Unescape_luvia(benchmark::State& state)
{
    const std::vector<uint8_t> bytes = fewEscapes();
    const auto data = zoAdopt(
        ZoDataCreateWithBytesNoCopy(nullptr, bytes.data(), static_cast<ZoIndex>(bytes.size()), kZoAllocatorNull));
    for (auto _ : state) {
        ZoRef<ZoDataRef> out;
        TavH264Bridge_CopyDataWithEmulationPreventionBytesRemoved(data.get(), out.outParam());
        benchmark::DoNotOptimize(ZoDataGetBytePtr(out.get()));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}
BENCHMARK(Unescape_luvia);

void Unescape_memchr(benchmark::State& state)
{
    const std::vector<uint8_t> bytes = fewEscapes();
    for (auto _ : state) {
        auto* out = static_cast<uint8_t*>(malloc(bytes.size()));
        uint8_t* to = out;
        const uint8_t *piece = bytes.data(), *end = piece + bytes.size(), *at = piece;
        while (const auto* three = static_cast<const uint8_t*>(memchr(at, 3, static_cast<size_t>(end - at)))) {
            at = three + 1;
            if (three - bytes.data() < 2 || three[-1] != 0 || three[-2] != 0) continue;
            to = static_cast<uint8_t*>(mempcpy(to, piece, static_cast<size_t>(three - piece)));
            piece = at;
        }
        memcpy(to, piece, static_cast<size_t>(end - piece));
        benchmark::DoNotOptimize(out);
        benchmark::ClobberMemory();
        free(out);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}
BENCHMARK(Unescape_memchr);

}  // namespace

BENCHMARK_MAIN();
