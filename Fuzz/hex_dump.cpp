// Hex dumps with any arguments of a buffer in any pieces: lines keep to their length, the dump to its lines, and every
// byte that was asked for is counted.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Foundation/Objects/ZoRef.h"
#include "Utilities/TavBlockBufferUtilities.h"

namespace {

struct Lines {
    size_t count = 0;
    size_t zeros = 0;
    int stopAt = -1;
    bool ended = false;
};

int take(void* context, const char* line)
{
    auto* lines = static_cast<Lines*>(context);
    if (lines->ended) std::abort();
    lines->ended = !line;
    if (!line) return 0;
    const size_t length = std::strlen(line);
    if (length == 0 || length >= 1024) std::abort();
    size_t zeros = 0;
    if (std::sscanf(line, "    * %zu zeroes", &zeros) == 1)
        lines->zeros += zeros;
    else if (std::strcmp(line, "  ...") != 0)
        ++lines->count;
    return lines->stopAt >= 0 && lines->stopAt-- == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 7) return 0;
    const size_t offset = data[0], length = data[1] | static_cast<size_t>(data[2]) << 8, maxLines = data[3] & 15;
    const size_t bytesPerLine = data[4];
    const TavBlockBufferHexDumpFlags flags = data[5] & 31;
    const size_t pieceLength = 1 + data[6] % 64;
    ZoRef<LuBlockBufferRef> buffer;
    LuBlockBufferCreateEmpty(nullptr, 2, 0, buffer.outParam());
    for (size_t at = 7; at < size; at += pieceLength) {
        const size_t left = size - at < pieceLength ? size - at : pieceLength;
        LuBlockBufferAppendMemoryBlock(buffer.get(), const_cast<uint8_t*>(data + at), left, kZoAllocatorNull, nullptr,
                                       0, left, 0);
    }
    Lines lines;
    const bool stops = data[5] & 128;
    if (stops) lines.stopAt = data[5] >> 5 & 3;
    TavBlockBufferHexDumpWithEmitter(buffer.get(), offset, length, maxLines, bytesPerLine, flags, take, &lines);

    const size_t total = size - 7;
    if (offset >= total || stops) return 0;
    if (!lines.ended) std::abort();
    const size_t perLine = bytesPerLine == 0 ? 16 : bytesPerLine < 128 ? bytesPerLine : 128;
    size_t wanted = length == 0 || length > total - offset ? total - offset : length;
    if (maxLines > 0 && maxLines * perLine < wanted) wanted = maxLines * perLine;
    const size_t shown = wanted - lines.zeros;
    if (lines.count != (shown + perLine - 1) / perLine) std::abort();
    return 0;
}
