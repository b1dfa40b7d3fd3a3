#include "inspect/Payload.h"

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
        char text[kTavH264BridgeSPSDescriptionSize];
        TavH264Bridge_DescribeSPS(sps, size, text);
        fields.push_back({"sps" + std::to_string(i), text});
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
