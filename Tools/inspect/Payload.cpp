#include "inspect/Payload.h"

#include <cstdio>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Utilities/TavAtomStream.h"
#include "Utilities/TavBigEndian.h"

namespace {

using Data = std::span<const uint8_t>;
using Fields = std::vector<PayloadField>;

// ISO/IEC 14496-12 4.3.3
void readFileType(Data data, Fields& fields)
{
    if (data.size() < 8) return;
    fields.push_back({"major", AtomTypeToString(loadBE32(&data[0])).text});
    fields.push_back({"minor", std::to_string(loadBE32(&data[4])), true});
    constexpr size_t kMostBrands = 64;
    std::string brands;
    for (size_t i = 8; i + 4 <= data.size() && i < 8 + 4 * kMostBrands; i += 4) {
        if (!brands.empty()) brands += ' ';
        brands += AtomTypeToString(loadBE32(&data[i])).text;
    }
    fields.push_back({"compatible", brands});
}

// ISO/IEC 14496-12 8.4.3.3
void readHandler(Data data, Fields& fields)
{
    if (data.size() >= 12) fields.push_back({"handler", AtomTypeToString(loadBE32(&data[8])).text});
}

// ITU-T H.264 7.3.2.1.1 and E.1.1; what the stream does not say is left out.
std::string describeSPS(const uint8_t* sps, size_t size)
{
    int32_t width = 0, height = 0;
    uint8_t chroma = 0, luma = 0, chromaDepth = 0;
    uint32_t primaries = 0, transfer = 0, matrix = 0, delayBits = 0;
    float rate = 0;
    Boolean full = false, fixed = false, structure = false, hrd = false;
    if (TavH264Bridge_GetSPSWidthAndHeight(sps, size, &width, &height) != 0 ||
        TavH264Bridge_GetSPSChromaFormatAndBitDepths(sps, size, &chroma, &luma, &chromaDepth) != 0)
        return "unreadable";
    char text[96];
    snprintf(text, sizeof(text), "%dx%d chroma %d depth %d/%d", width, height, chroma, luma, chromaDepth);
    std::string out = text;
    if (TavH264Bridge_GetSPS_VUI_NCLC(sps, size, &primaries, &transfer, &matrix) == 0) {
        snprintf(text, sizeof(text), " colour %u/%u/%u", primaries, transfer, matrix);
        out += text;
    }
    if (TavH264Bridge_GetSPS_VUI_FullRangeVideo(sps, size, &full) == 0 && full) out += " full range";
    if (TavH264Bridge_GetSPS_VUI_Framerate(sps, size, &rate, &fixed, &structure, &hrd, &delayBits) == 0) {
        snprintf(text, sizeof(text), " %g fps", static_cast<double>(rate));
        out += text;
    }
    return out;
}

// ISO/IEC 14496-15 5.3.3.1
void readAVCConfiguration(Data data, Fields& fields)
{
    if (data.size() < 6) return;
    fields.push_back({"profile", std::to_string(data[1]), true});
    fields.push_back({"level", std::to_string(data[3]), true});
    const size_t count = data[5] & 31;
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* sps = nullptr;
        size_t size = 0;
        if (TavH264Bridge_GetSPSFromAVCC(data.data(), data.size(), i, &sps, &size) != 0) break;
        fields.push_back({"sps" + std::to_string(i), describeSPS(sps, size)});
    }
}

struct Reader {
    OSType type;
    void (*read)(Data data, Fields& fields);
};
constexpr Reader kReaders[] = {
    {LU_FOURCC('f', 't', 'y', 'p'), readFileType},
    {LU_FOURCC('s', 't', 'y', 'p'), readFileType},
    {LU_FOURCC('h', 'd', 'l', 'r'), readHandler},
    {LU_FOURCC('a', 'v', 'c', 'C'), readAVCConfiguration},
};

}  // namespace

std::vector<PayloadField> readPayload(OSType type, std::span<const uint8_t> data)
{
    Fields fields;
    for (const Reader& reader : kReaders)
        if (reader.type == type) reader.read(data, fields);
    return fields;
}
