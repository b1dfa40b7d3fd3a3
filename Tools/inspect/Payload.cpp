#include "inspect/Payload.h"

#include <algorithm>
#include <iterator>

#include "Utilities/TavBigEndian.h"

namespace {

// ISO/IEC 14496-12 4.3.3
void readFileType(const PayloadBox& box)
{
    constexpr size_t kMostBrands = 64;
    const auto data = box.data;
    if (data.size() < 8) return;
    FileSummary::Brands brands = {loadBE32(&data[0]), loadBE32(&data[4]), {}};
    box.writer.key("major").code(brands.major);
    box.writer.key("minor").unsignedInteger(brands.minor);
    box.writer.key("compatible").beginArray();
    for (size_t i = 8; i + 4 <= data.size() && i < 8 + 4 * kMostBrands; i += 4) {
        brands.compatible.push_back(loadBE32(&data[i]));
        box.writer.code(brands.compatible.back());
    }
    box.writer.endArray();
    if (box.type == LU_FOURCC('f', 't', 'y', 'p') && box.parent == 0 && !box.summary.brands)
        box.summary.brands = std::move(brands);
}

// ISO/IEC 14496-12 8.4.3.3
void readHandler(const PayloadBox& box)
{
    if (box.data.size() >= 12) box.writer.key("handler").code(loadBE32(&box.data[8]));
}

// ISO/IEC 14496-12 8.2.2.2: a duration of all ones is not known.
void readMovieHeader(const PayloadBox& box)
{
    const auto data = box.data;
    const bool isWide = !data.empty() && data[0] == 1;
    if (data.size() < (isWide ? 32 : 20) || box.parent != LU_FOURCC('m', 'o', 'o', 'v') || box.summary.movie) return;
    const uint64_t duration = isWide ? loadBE64(&data[24]) : loadBE32(&data[16]);
    box.summary.movie = {loadBE32(&data[isWide ? 20 : 12]), duration};
    if (duration == (isWide ? UINT64_MAX : UINT32_MAX)) box.summary.movie->duration.reset();
}

// ISO/IEC 14496-12 8.8.1
void readMovieExtends(const PayloadBox& box) { box.summary.isFragmented = true; }

struct Reader {
    OSType type;
    void (*read)(const PayloadBox& box);
};
constexpr Reader kReaders[] = {
    {LU_FOURCC('f', 't', 'y', 'p'), readFileType},     {LU_FOURCC('s', 't', 'y', 'p'), readFileType},
    {LU_FOURCC('h', 'd', 'l', 'r'), readHandler},      {LU_FOURCC('m', 'v', 'h', 'd'), readMovieHeader},
    {LU_FOURCC('m', 'v', 'e', 'x'), readMovieExtends}, {LU_FOURCC('a', 'v', 'c', 'C'), readAVCConfiguration},
};

}  // namespace

bool hasPayloadReader(OSType type)
{
    return std::any_of(std::begin(kReaders), std::end(kReaders),
                       [type](const Reader& reader) { return reader.type == type; });
}

void readPayload(const PayloadBox& box)
{
    for (const Reader& reader : kReaders)
        if (reader.type == box.type) reader.read(box);
}
