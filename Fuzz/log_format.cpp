// The format filter and the line formatter: a format put together from pieces that the input chooses is logged into the
// block buffer, and must come out as the pieces say; and the filter alone takes arbitrary bytes.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Common/TavLogPrivate.h"

namespace {

constexpr int kMostArguments = 12;

void filterArbitraryBytes(const uint8_t* data, size_t size)
{
    const std::string format(reinterpret_cast<const char*>(data), size);
    char filtered[kTavLogFilteredFormatSize];
    memset(filtered, 'X', sizeof(filtered));
    CopyFilteredFormatString(format.c_str(), filtered);
    if (strnlen(filtered, sizeof(filtered)) == sizeof(filtered)) abort();
}

struct Line {
    std::string format, expected;
    int arguments = 0;
};

// All conversions take what `argument` is: texts, or objects.
Line lineFrom(const uint8_t* data, size_t size, bool objects)
{
    const char* plain = objects ? "%@" : "%s";
    const char* annotated = objects ? "%{public}@" : "%{private, mask.hash}s";
    Line line;
    for (size_t i = 0; i < size; ++i) {
        const bool isConversion = data[i] < 32 && line.arguments < kMostArguments;
        const char* piece = isConversion ? (data[i] % 2 ? plain : annotated) : nullptr;
        const std::string text = piece ? piece : std::string(1, static_cast<char>('a' + data[i] % 26));
        const size_t filteredLength = text.size() - (piece == annotated ? strlen(annotated) - 2 : 0);
        if (line.expected.size() + filteredLength > 200) break;  // well below the limit of a format
        line.format += text;
        line.expected += piece ? "<argument>" : text;
        line.arguments += isConversion;
    }
    return line;
}

void log(const Line& line, const void* argument)
{
    const auto a = argument;
    tav_log(1, 0, 0, 0, line.format.c_str(), a, a, a, a, a, a, a, a, a, a, a, a);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool sReady = [] {
        tav_note_initialize_logging();
        return tav_log_prepare_block_buffer() == 0;
    }();
    if (!sReady) abort();
    __atomic_store_n(&gTavLogControl, kTavLogControl_BlockBuffer, __ATOMIC_RELAXED);
    filterArbitraryBytes(data, size);
    for (const bool objects : {false, true}) {
        const Line line = lineFrom(data, size, objects);
        const auto before = zoAdopt(TavNote_CopyAndClearNoteBBuf());
        log(line, objects ? static_cast<const void*>(ZOSTR("<argument>")) : "<argument>");
        const auto collected = zoAdopt(TavNote_CopyAndClearNoteBBuf());
        std::string text(LuBlockBufferGetDataLength(collected.get()), 0);
        LuBlockBufferCopyDataBytes(collected.get(), 0, text.size(), text.data());
        if (text != line.expected + std::string("\n\0", 2)) abort();
    }
    return 0;
}
