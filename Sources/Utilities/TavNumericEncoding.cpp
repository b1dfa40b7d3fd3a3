#include "Utilities/TavNumericEncoding.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
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

static constexpr uint32_t kNoDigit = 0x80;

static constexpr auto kBase64Digits = [] {
    std::array<uint8_t, 256> digits{};
    for (auto& digit : digits) digit = kNoDigit;
    for (size_t i = 0; i < kZoBase64Alphabet.size(); ++i)
        digits[static_cast<uint8_t>(kZoBase64Alphabet[i])] = static_cast<uint8_t>(i);
    return digits;
}();

/// Writes `count` * 6 / 8 bytes; false for a character that is not of the alphabet.
static bool decodeBase64(const uint8_t* text, size_t count, uint8_t* out)
{
    size_t at = 0;
    uint32_t seen = 0;  // every digit, for one look at the end
    for (; count - at >= 4; at += 4, out += 3) {
        const uint32_t a = kBase64Digits[text[at]], b = kBase64Digits[text[at + 1]];
        const uint32_t c = kBase64Digits[text[at + 2]], d = kBase64Digits[text[at + 3]];
        seen |= a | b | c | d;
        out[0] = static_cast<uint8_t>(a << 2 | b >> 4);
        out[1] = static_cast<uint8_t>(b << 4 | c >> 2);
        out[2] = static_cast<uint8_t>(c << 6 | d);
    }
    uint32_t bits = 0;
    for (unsigned pending = 0; at < count; ++at) {
        const uint32_t digit = kBase64Digits[text[at]];
        seen |= digit;
        bits = bits << 6 | digit;
        if ((pending += 6) >= 8) *out++ = static_cast<uint8_t>(bits >> (pending -= 8));
    }
    return !(seen & kNoDigit);
}

struct FreeBytes {
    void operator()(uint8_t* bytes) const { std::free(bytes); }
};
using OwnBytes = std::unique_ptr<uint8_t, FreeBytes>;

/// The UTF-8 of a range within the string: its own bytes, or new ones in `owned`. `count` becomes their number.
static const uint8_t* textOfRange(ZoStringRef string, ZoRange range, OwnBytes& owned, size_t& count)
{
    count = static_cast<size_t>(range.length);
    if (const char* own = ZoStringGetCStringPtr(string, kZoStringEncodingUTF8))
        return reinterpret_cast<const uint8_t*>(own) + range.location;
    ZoIndex size = 0;
    const auto convert = [&](uint8_t* buffer) {
        return ZoStringGetBytes(string, range, kZoStringEncodingUTF8, 0, false, buffer, size, &size) == range.length;
    };
    if (!convert(nullptr)) return nullptr;
    count = static_cast<size_t>(size);
    owned.reset(static_cast<uint8_t*>(std::malloc(count ? count : 1)));
    return owned && convert(owned.get()) ? owned.get() : nullptr;
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
    OwnBytes owned;
    size_t count = 0;
    const uint8_t* text = textOfRange(encodedString, ZoRangeMake(location, length), owned, count);
    if (!text) return TAV_SIGNAL(kTavNumericsError_ParamError, "failed to get string pointer");

    while (count > 0 && text[count - 1] == '=') --count;
    const auto size = static_cast<ZoIndex>(count / 4 * 3 + count % 4 * 6 / 8);
    auto data = zoAdopt(ZoDataCreateMutable(allocator, size));
    if (data && size > 0) ZoDataSetLength(data.get(), size);
    if (!data || ZoDataGetLength(data.get()) != size)
        return TAV_SIGNAL(kTavNumericsError_AllocationFailed, "destination data allocation failed");
    if (size > 0 && !decodeBase64(text, count, ZoDataGetMutableBytePtr(data.get())))
        return TAV_SIGNAL(kTavNumericsError_DecodingError, "invalid character encountered");
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
