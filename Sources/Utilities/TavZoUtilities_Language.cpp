#include "Utilities/TavZoUtilities_Language.h"

#include <array>
#include <cstring>

#include "Foundation/Dates/ZoLocale.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Platform/Common/TavSignal.h"
#include "Utilities/TavZoUtilities.h"

static constexpr int kClassicCodes = 152;
static constexpr int kFirstPackedCode = 1024;

namespace {

struct EncodingRun {
    uint8_t first, last;  // codes
    uint8_t encoding;     // the script's number
};

}  // namespace

/// What is not listed is Roman, 0.
static constexpr EncodingRun kEncodingRuns[] = {
    {10, 10, 5},  {11, 11, 1},  {12, 12, 4},   {15, 15, 37},  {17, 17, 35},   {18, 18, 36},   {19, 19, 2},
    {20, 20, 4},  {21, 21, 9},  {22, 22, 21},  {23, 23, 3},   {24, 28, 29},   {30, 30, 37},   {31, 31, 4},
    {32, 32, 7},  {33, 33, 25}, {37, 37, 38},  {38, 39, 29},  {40, 40, 36},   {41, 41, 5},    {42, 49, 7},
    {50, 50, 4},  {51, 51, 24}, {52, 56, 7},   {57, 57, 27},  {58, 58, 7},    {59, 62, 4},    {63, 63, 26},
    {64, 66, 9},  {67, 68, 13}, {69, 69, 11},  {70, 70, 10},  {71, 71, 12},   {72, 72, 17},   {73, 73, 16},
    {74, 74, 14}, {75, 75, 15}, {76, 76, 18},  {77, 77, 19},  {78, 78, 20},   {79, 79, 22},   {80, 80, 30},
    {84, 84, 4},  {85, 87, 28}, {135, 135, 7}, {136, 136, 4}, {137, 137, 26}, {143, 143, 28}, {148, 148, 6},
};

static constexpr auto langCodeToStringEncoding = [] {
    std::array<uint8_t, kClassicCodes> encodings{};
    for (const EncodingRun& run : kEncodingRuns)
        for (size_t code = run.first; code <= run.last; ++code) encodings[code] = run.encoding;
    return encodings;
}();

static size_t terminatorLength(ZoStringEncoding encoding)
{
    switch (encoding) {
        case kZoStringEncodingUTF16:
        case kZoStringEncodingUTF16BE:
        case kZoStringEncodingUTF16LE: return 2;
        case kZoStringEncodingUTF32:
        case kZoStringEncodingUTF32BE:
        case kZoStringEncodingUTF32LE: return 4;
        default: return 1;
    }
}

uint8_t* TavCreateBytesFromZoString(ZoAllocatorRef allocator, ZoStringRef string, ZoStringEncoding encoding,
                                    Boolean addTerminator, size_t* sizeOut)
{
    if (!string) return nullptr;
    const ZoRange all = ZoRangeMake(0, ZoStringGetLength(string));
    ZoIndex length = 0, size;
    if (ZoStringGetBytes(string, all, encoding, 0, false, nullptr, 0, &length) != all.length) return nullptr;
    const size_t terminator = addTerminator ? terminatorLength(encoding) : 0;
    if (__builtin_add_overflow(length, terminator, &size)) return nullptr;
    auto* bytes = static_cast<uint8_t*>(ZoAllocatorAllocate(allocator, size > 0 ? size : 1, 0));
    if (!bytes) return nullptr;
    if (ZoStringGetBytes(string, all, encoding, 0, false, bytes, length, &length) != all.length) {
        ZoAllocatorDeallocate(allocator, bytes);
        return nullptr;
    }
    if (terminator) std::memset(bytes + length, 0, terminator);
    if (sizeOut) *sizeOut = static_cast<size_t>(size);
    return bytes;
}

uint8_t* TavCreateBytesFromZoStringAndMovieLangCode(ZoAllocatorRef allocator, ZoStringRef string, uint16_t langCode,
                                                    Boolean addTerminator, size_t* sizeOut)
{
    ZoStringEncoding encoding = kZoStringEncodingUTF8;
    if (langCode < kClassicCodes)
        encoding = langCodeToStringEncoding[langCode];
    else if (langCode < kFirstPackedCode || langCode == kTavMovieLangCode_Unspecified)
        encoding = kZoStringEncodingClassicRoman;
    return TavCreateBytesFromZoString(allocator, string, encoding, addTerminator, sizeOut);
}

static bool beginsWithByteOrderMark(const uint8_t* bytes, ZoIndex length)
{
    return length >= 2 && (std::memcmp(bytes, "\xFE\xFF", 2) == 0 || std::memcmp(bytes, "\xFF\xFE", 2) == 0);
}

OSStatus TavZoStringCreateWithBytesAndMovieLangCode(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length,
                                                    uint16_t langCode, ZoStringEncoding* encodingOut,
                                                    ZoStringRef* stringOut)
{
    if (!bytes) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL bytes");
    if (!stringOut) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL stringOut");
    *stringOut = nullptr;
    ZoStringEncoding encoding = kZoStringEncodingUTF8;
    if (langCode < kClassicCodes)
        encoding = langCodeToStringEncoding[langCode];
    else if (langCode == kTavMovieLangCode_Unspecified)
        encoding = kZoStringEncodingClassicRoman;
    else if (langCode < kFirstPackedCode)
        return TAV_SIGNAL(kTavZoUtilitiesError_OutOfRange, "Out-of-range langCode");
    else if (beginsWithByteOrderMark(bytes, length))
        encoding = kZoStringEncodingUTF16;
    if (encodingOut) *encodingOut = encoding;
    if (length >= 0)
        *stringOut = ZoStringCreateWithBytes(allocator, bytes, length, encoding, encoding == kZoStringEncodingUTF16);
    return *stringOut ? 0 : TAV_SIGNAL(kTavZoUtilitiesError_BadData, "Invalid text");
}

ZoLocaleRef TavZoLocaleCreateWithMovieLangCode(ZoAllocatorRef allocator, uint16_t langCode)
{
    if (langCode == kTavMovieLangCode_Unspecified) return nullptr;
    ZoRef<ZoStringRef> identifier;
    if (langCode < kFirstPackedCode) {
        identifier.reset(ZoLocaleCreateCanonicalLocaleIdentifierFromScriptManagerCodes(
            allocator, static_cast<int16_t>(langCode), -1));
    } else {
        uint8_t letters[3];
        for (int i = 0; i < 3; ++i) letters[i] = static_cast<uint8_t>((langCode >> (10 - 5 * i) & 31) + 0x60);
        identifier.reset(ZoStringCreateWithBytes(allocator, letters, 3, kZoStringEncodingASCII, false));
    }
    return identifier ? ZoLocaleCreate(allocator, identifier.get()) : nullptr;
}
