// Arbitrary bytes as an SPS with all queries, as an `avcC` record that is read and visited, and as sets that are
// written into a record and read back.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoData.h"

namespace {

void askEverything(const uint8_t* set, size_t size)
{
    int32_t width = 0, height = 0;
    uint32_t a = 0, b = 0, c = 0;
    uint8_t x = 0, y = 0, z = 0;
    Boolean flag = 0;
    float rate = 0;
    TavH264Bridge_GetSPSSequenceID(set, size, &a);
    TavH264Bridge_GetPPSSequenceID(set, size, &a, &b);
    TavH264Bridge_GetSPSWidthAndHeight(set, size, &width, &height);
    TavH264Bridge_GetSPSIsInterlaced(set, size, &flag);
    TavH264Bridge_GetSPSChromaFormatAndBitDepths(set, size, &x, &y, &z);
    TavH264Bridge_GetSPS_VUI_Framerate(set, size, &rate, &flag, &flag, &flag, &a);
    TavH264Bridge_GetSPS_VUI_ChromaLocation(set, size, &a, &b);
    TavH264Bridge_GetSPS_VUI_AspectRatio(set, size, &a, &b);
    TavH264Bridge_GetSPS_VUI_NCLC(set, size, &a, &b, &c);
    TavH264Bridge_GetSPS_VUI_FullRangeVideo(set, size, &flag);
}

using Sets = std::vector<std::string>;

void collect(void* context, size_t, const uint8_t* set, size_t size)
{
    askEverything(set, size);
    static_cast<Sets*>(context)->emplace_back(reinterpret_cast<const char*>(set), size);
}

// Sets with a length byte in front of each.
void writeAndReadBack(const uint8_t* data, size_t size)
{
    std::vector<const uint8_t*> pointers;
    std::vector<size_t> sizes;
    Sets given;
    while (size > 1 && pointers.size() < 300) {
        const size_t length = std::min<size_t>(data[0], size - 1);
        pointers.push_back(data + 1);
        sizes.push_back(length);
        given.emplace_back(reinterpret_cast<const char*>(data + 1), length);
        data += 1 + length;
        size -= 1 + length;
    }
    ZoRef<ZoDataRef> record;
    if (TavH264Bridge_CreateAVCCFromH264ParameterSets(nullptr, pointers.size(), pointers.data(), sizes.data(), 4,
                                                      nullptr, nullptr, record.outParam()) != 0)
        return;
    Sets read;
    if (TavH264Bridge_VisitAllH264ParameterSets(record.get(), nullptr, nullptr, collect, &read) != 0) abort();
    std::sort(given.begin(), given.end());
    std::sort(read.begin(), read.end());
    if (given != read) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    askEverything(data, size);
    const auto record = zoAdopt(ZoDataCreate(nullptr, data, static_cast<ZoIndex>(size)));
    Sets sets;
    TavH264Bridge_VisitAllH264ParameterSets(record.get(), nullptr, nullptr, collect, &sets);
    const uint8_t* set = nullptr;
    size_t length = 0;
    for (size_t i = 0; i < 3; ++i) {
        if (TavH264Bridge_GetSPSFromAVCC(data, size, i, &set, &length) == 0) askEverything(set, length);
        if (TavH264Bridge_GetPPSFromAVCC(data, size, i, &set, &length) == 0) askEverything(set, length);
    }
    writeAndReadBack(data, size);
    return 0;
}
