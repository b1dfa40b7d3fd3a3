// h264_probe FILE: what the queries say of each parameter set of the `avcC` record in FILE, a line each.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoData.h"

static void tellSPS(const uint8_t* sps, size_t size)
{
    int32_t width = 0, height = 0;
    uint32_t id = 0, a = 0, b = 0, c = 0, bits = 0;
    uint8_t chroma = 0, luma = 0, chromaDepth = 0;
    Boolean interlaced = 0, fixed = 0, picStruct = 0, hrd = 0, full = 0;
    float rate = 0;
    if (TavH264Bridge_GetSPSSequenceID(sps, size, &id) == 0) std::printf("id=%u\n", id);
    if (TavH264Bridge_GetSPSWidthAndHeight(sps, size, &width, &height) == 0) std::printf("size=%dx%d\n", width, height);
    if (TavH264Bridge_GetSPSIsInterlaced(sps, size, &interlaced) == 0) std::printf("interlaced=%d\n", interlaced);
    if (TavH264Bridge_GetSPSChromaFormatAndBitDepths(sps, size, &chroma, &luma, &chromaDepth) == 0)
        std::printf("chroma=%d luma_depth=%d chroma_depth=%d\n", chroma, luma, chromaDepth);
    if (TavH264Bridge_GetSPS_VUI_Framerate(sps, size, &rate, &fixed, &picStruct, &hrd, &bits) == 0)
        std::printf("rate=%.4f fixed=%d pic_struct=%d hrd=%d bits=%u\n", static_cast<double>(rate), fixed, picStruct,
                    hrd, bits);
    if (TavH264Bridge_GetSPS_VUI_ChromaLocation(sps, size, &a, &b) == 0) std::printf("chroma_loc=%u,%u\n", a, b);
    a = b = 0;
    if (TavH264Bridge_GetSPS_VUI_AspectRatio(sps, size, &a, &b) == 0) std::printf("sar=%u:%u\n", a, b);
    if (TavH264Bridge_GetSPS_VUI_NCLC(sps, size, &a, &b, &c) == 0) std::printf("nclc=%u,%u,%u\n", a, b, c);
    if (TavH264Bridge_GetSPS_VUI_FullRangeVideo(sps, size, &full) == 0) std::printf("full=%d\n", full);
}

int main(int argc, char** argv)
{
    if (argc != 2) return 2;
    std::ifstream in(argv[1], std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const auto record = zoAdopt(
        ZoDataCreate(nullptr, reinterpret_cast<const uint8_t*>(bytes.data()), static_cast<ZoIndex>(bytes.size())));
    const OSStatus status = TavH264Bridge_VisitAllH264ParameterSets(
        record.get(), nullptr, nullptr,
        [](void*, size_t, const uint8_t* set, size_t size) {
            if (size > 0 && (set[0] & 0x1F) == 7) tellSPS(set, size);
        },
        nullptr);
    return status == 0 ? 0 : 1;
}
