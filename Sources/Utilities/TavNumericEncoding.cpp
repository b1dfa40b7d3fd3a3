#include "Utilities/TavNumericEncoding.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoBase64Private.h"
#include "Platform/Common/TavSignal.h"
#include "Utilities/TavBigEndian.h"

static constexpr std::string_view kBase32Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567";

/// A text under construction, in the memory of the string that it becomes.
class TextBlock {
public:
    /// Without memory, and for a length that no index can count, there are no characters.
    TextBlock(ZoAllocatorRef allocator, size_t length) : allocator_(allocator), length_(length)
    {
        if (length <= static_cast<size_t>(INTPTR_MAX))
            characters_ = static_cast<char*>(ZoAllocatorAllocate(allocator, static_cast<ZoIndex>(length), 0));
    }
    ~TextBlock() { ZoAllocatorDeallocate(allocator_, characters_); }
    TextBlock(const TextBlock&) = delete;
    TextBlock& operator=(const TextBlock&) = delete;

    char* characters() const { return characters_; }
    /// The string owns the block; nothing without memory.
    ZoStringRef createString()
    {
        ZoStringRef string =
            ZoStringCreateWithBytesNoCopy(allocator_, reinterpret_cast<const uint8_t*>(characters_),
                                          static_cast<ZoIndex>(length_), kZoStringEncodingUTF8, false, allocator_);
        if (string) characters_ = nullptr;
        return string;
    }

private:
    ZoAllocatorRef allocator_;
    size_t length_;
    char* characters_ = nullptr;
};

// MARK: Bytes to text

/// Two characters for each twelve bits: half as many look-ups as characters.
static constexpr auto kBase64Pairs = [] {
    std::array<std::array<char, 2>, 4096> pairs{};
    for (size_t i = 0; i < pairs.size(); ++i) pairs[i] = {kZoBase64Alphabet[i >> 6], kZoBase64Alphabet[i & 63]};
    return pairs;
}();

/// Whole groups of three bytes, of `count` that there are; gives their end in the text.
static char* encodeBase64Groups(const uint8_t* bytes, size_t count, char* out)
{
    const auto put = [&out](uint64_t twelveBits) {
        std::memcpy(out, kBase64Pairs[twelveBits & 0xFFF].data(), 2);
        out += 2;
    };
    size_t at = 0;
    for (; count - at >= 8; at += 6) {  // six of the eight that are loaded
        const uint64_t group = loadBE64(bytes + at);
        put(group >> 52), put(group >> 40), put(group >> 28), put(group >> 16);
    }
    for (; count - at >= 3; at += 3) {
        const uint32_t group = loadBE24(bytes + at);
        put(group >> 12), put(group);
    }
    return out;
}

static OSStatus createEncodedString(const char* operation, ZoAllocatorRef allocator, uint32_t bitsPerChar,
                                    std::string_view charMapping, const uint8_t* bytes, size_t numInBytes,
                                    Boolean padded, ZoStringRef* encodedStringOut)
{
    const auto refuse = [operation](const char* message) {
        return TAV_SIGNAL_FROM(operation, kTavNumericsError_ParamError, message);
    };
    if (!bytes) return refuse("NULL bytes");
    if (numInBytes == 0) return refuse("0 numInBytes");
    if (!encodedStringOut) return refuse("NULL encodedStringOut");
    if (bitsPerChar >= 32 || charMapping.size() < size_t{1} << bitsPerChar)
        return refuse("bitsPerChar doesn't match charMapping");
    if (bitsPerChar < 1 || bitsPerChar > 8) return refuse("bitsPerChar too small or too large");

    size_t bits;
    const bool isCountable = !__builtin_mul_overflow(numInBytes, size_t{8}, &bits) && bits <= SIZE_MAX - 16;
    TextBlock text(allocator, isCountable ? zoEncodedLength(numInBytes, bitsPerChar, padded) : SIZE_MAX);
    if (!text.characters()) return TAV_SIGNAL_FROM(operation, kTavNumericsError_AllocationFailed, "alloc failed");
    char* out = text.characters();
    const bool isBase64 = bitsPerChar == 6 && charMapping == kZoBase64Alphabet;
    const size_t grouped = isBase64 ? numInBytes - numInBytes % 3 : 0;
    if (isBase64) out = encodeBase64Groups(bytes, numInBytes, out);
    zoEncode(bytes + grouped, numInBytes - grouped, bitsPerChar, charMapping, padded, out);

    const ZoStringRef string = text.createString();
    if (!string) return TAV_SIGNAL_FROM(operation, kTavNumericsError_AllocationFailed, "alloc failed");
    *encodedStringOut = string;
    return 0;
}

OSStatus tavNumericsCreateEncodedStringFromBytes(ZoAllocatorRef allocator, uint32_t bitsPerChar,
                                                 const char* charMapping, const uint8_t* bytes, size_t numInBytes,
                                                 Boolean padded, ZoStringRef* encodedStringOut)
{
    return createEncodedString(__func__, allocator, bitsPerChar,
                               charMapping ? std::string_view(charMapping) : std::string_view(), bytes, numInBytes,
                               padded, encodedStringOut);
}

OSStatus TavCreateBase32EncodedStringFromBytes(ZoAllocatorRef allocator, const uint8_t* bytes, size_t numInBytes,
                                               Boolean padded, ZoStringRef* encodedStringOut)
{
    return createEncodedString(__func__, allocator, 5, kBase32Alphabet, bytes, numInBytes, padded, encodedStringOut);
}

OSStatus TavCreateBase64EncodedStringFromBytes(ZoAllocatorRef allocator, const uint8_t* bytes, size_t numInBytes,
                                               Boolean padded, ZoStringRef* encodedStringOut)
{
    return createEncodedString(__func__, allocator, 6, kZoBase64Alphabet, bytes, numInBytes, padded, encodedStringOut);
}

OSStatus TavCreateBase64EncodedStringFromZoData(ZoAllocatorRef allocator, ZoDataRef inputData, Boolean padded,
                                                ZoStringRef* encodedStringOut)
{
    if (!inputData) return TAV_SIGNAL(kTavNumericsError_ParamError, "NULL inputData");
    return createEncodedString(__func__, allocator, 6, kZoBase64Alphabet, ZoDataGetBytePtr(inputData),
                               static_cast<size_t>(ZoDataGetLength(inputData)), padded, encodedStringOut);
}

// MARK: Base64 to bytes

/// Digits of base64; what is none has the top bit.
static constexpr uint32_t kNoDigit = 0x80;
static constexpr auto kBase64Digits = [] {
    std::array<uint8_t, 256> digits{};
    for (auto& digit : digits) digit = kNoDigit;
    for (size_t i = 0; i < kZoBase64Alphabet.size(); ++i)
        digits[static_cast<uint8_t>(kZoBase64Alphabet[i])] = static_cast<uint8_t>(i);
    return digits;
}();

/// What a character in each place of four adds to their three bytes, as a little-endian word; bit 24 and up for what is
/// no digit.
static constexpr auto kBase64Shares = [] {
    std::array<std::array<uint32_t, 256>, 4> shares{};
    for (size_t i = 0; i < 256; ++i)
        for (unsigned place = 0; place < 4; ++place) {
            const uint32_t bits = kBase64Digits[i] & 63u, bytes = bits << (18 - 6 * place);
            shares[place][i] = kBase64Digits[i] == kNoDigit
                                   ? 1u << 24
                                   : (bytes >> 16 & 0xFF) | (bytes & 0xFF00) | (bytes & 0xFF) << 16;
        }
    return shares;
}();

/// Writes `count` * 6 / 8 bytes; false for a character that is not of the alphabet.
static bool decodeBase64(const uint8_t* text, size_t count, uint8_t* out)
{
    size_t at = 0;
    uint32_t seen = 0;                            // of every character, for one look at the end
    for (; count - at >= 6; at += 4, out += 3) {  // of the four bytes that are stored the last is stored again
        const uint32_t bytes = kBase64Shares[0][text[at]] | kBase64Shares[1][text[at + 1]] |
                               kBase64Shares[2][text[at + 2]] | kBase64Shares[3][text[at + 3]];
        std::memcpy(out, &bytes, 4);
        seen |= bytes >> 24;
    }
    uint32_t bits = 0, digits = 0;
    for (unsigned pending = 0; at < count; ++at) {
        const uint32_t digit = kBase64Digits[text[at]];
        digits |= digit;
        bits = bits << 6 | digit;
        if ((pending += 6) >= 8) *out++ = static_cast<uint8_t>(bits >> (pending -= 8));
    }
    return seen == 0 && !(digits & kNoDigit);
}

/// The same for characters of a string: where they lie, or in pieces of whole groups.
static bool decodeBase64InString(ZoStringRef string, ZoRange range, uint8_t* out)
{
    if (const char* own = ZoStringGetCStringPtr(string, kZoStringEncodingASCII))
        return decodeBase64(reinterpret_cast<const uint8_t*>(own) + range.location, static_cast<size_t>(range.length),
                            out);
    constexpr ZoIndex kPiece = 4096;
    uint8_t text[kPiece];
    for (ZoIndex at = 0; at < range.length; at += kPiece, out += kPiece / 4 * 3) {
        const ZoIndex count = std::min(kPiece, range.length - at);
        ZoIndex used;
        if (ZoStringGetBytes(string, ZoRangeMake(range.location + at, count), kZoStringEncodingASCII, 0, false, text,
                             kPiece, &used) != count ||
            !decodeBase64(text, static_cast<size_t>(count), out))
            return false;
    }
    return true;
}

static bool hasUTF8Form(ZoStringRef string, ZoRange range)
{
    ZoIndex used;
    return ZoStringGetBytes(string, range, kZoStringEncodingUTF8, 0, false, nullptr, 0, &used) == range.length;
}

OSStatus TavCreateDataFromBase64EncodedStringRange(ZoAllocatorRef allocator, ZoStringRef encodedString,
                                                   ZoIndex location, ZoIndex length, ZoDataRef* decodedDataOut)
{
    if (!encodedString) return TAV_SIGNAL(kTavNumericsError_ParamError, "NULL encodedString");
    if (!decodedDataOut) return TAV_SIGNAL(kTavNumericsError_ParamError, "NULL decodedDataOut");
    ZoIndex end;
    if (location < 0 || length < 0 || __builtin_add_overflow(location, length, &end) ||
        end > ZoStringGetLength(encodedString))
        return TAV_SIGNAL(kTavNumericsError_ParamError, "invalid encodedRange");

    ZoRange text = ZoRangeMake(location, length);
    while (text.length > 0 && ZoStringGetCharacterAtIndex(encodedString, location + text.length - 1) == '=')
        --text.length;
    const ZoIndex size = text.length / 4 * 3 + text.length % 4 * 6 / 8;
    auto data = zoAdopt(ZoDataCreateMutable(allocator, size));
    if (data && size > 0) ZoDataSetLength(data.get(), size);
    if (!data || ZoDataGetLength(data.get()) != size)
        return TAV_SIGNAL(kTavNumericsError_AllocationFailed, "destination data allocation failed");
    if (size > 0 && !decodeBase64InString(encodedString, text, ZoDataGetMutableBytePtr(data.get()))) {
        if (hasUTF8Form(encodedString, text))
            return TAV_SIGNAL(kTavNumericsError_DecodingError, "invalid character encountered");
        return TAV_SIGNAL(kTavNumericsError_ParamError, "failed to get string pointer");
    }
    *decodedDataOut = data.release();
    return 0;
}

// MARK: Hexadecimal

static constexpr auto kHexPairs = [] {
    std::array<std::array<char, 2>, 256> pairs{};
    for (size_t i = 0; i < pairs.size(); ++i) pairs[i] = {"0123456789abcdef"[i >> 4], "0123456789abcdef"[i & 15]};
    return pairs;
}();

OSStatus TavCreateHexStringFromZoData(ZoAllocatorRef allocator, ZoDataRef inputData, Boolean inOrder,
                                      ZoStringRef* hexStringOut)
{
    if (!hexStringOut) return TAV_SIGNAL(kTavNumericsError_ParamError, "NULL encodedStringOut");
    if (!inputData) return TAV_SIGNAL(kTavNumericsError_ParamError, "NULL inputData");
    const uint8_t* bytes = ZoDataGetBytePtr(inputData);
    const auto count = static_cast<size_t>(ZoDataGetLength(inputData));
    TextBlock text(allocator, count < SIZE_MAX / 4 ? 2 + 2 * count : SIZE_MAX);
    char* out = text.characters();
    if (!out) return TAV_SIGNAL(kTavNumericsError_AllocationFailed, "Failed to allocate hexString");
    *out++ = '0';
    *out++ = 'x';
    for (size_t i = 0; i < count; ++i, out += 2)
        std::memcpy(out, kHexPairs[bytes[inOrder ? i : count - 1 - i]].data(), 2);

    const ZoStringRef string = text.createString();
    if (!string) return TAV_SIGNAL(kTavNumericsError_AllocationFailed, "Failed to allocate hexStringOut");
    *hexStringOut = string;
    return 0;
}
