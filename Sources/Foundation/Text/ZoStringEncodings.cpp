// The encodings that every program has: ASCII, ISO 8859-1, UTF-8, UTF-16, UTF-32 and three classic ones. All others are
// behind the text services.

#include <initializer_list>

#include "Foundation/Text/ZoStringClassicPrivate.h"
#include "Foundation/Text/ZoStringPrivate.h"

namespace zo {

static constexpr uint32_t kReplacementCharacter = 0xFFFD;
static constexpr UniChar kByteOrderMark = 0xFEFF;

/// Length of a well-formed sequence at `bytes` (Unicode, table 3-7), or 0; its character in `codePoint`.
static size_t readUTF8(const uint8_t* bytes, size_t count, uint32_t& codePoint)
{
    const uint8_t lead = bytes[0];
    if (lead < 0x80) return codePoint = lead, 1;
    if (lead < 0xC2 || lead > 0xF4) return 0;
    const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (count < length) return 0;
    const uint8_t low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const uint8_t high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (bytes[1] < low || bytes[1] > high) return 0;
    codePoint = lead & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i) {
        if ((bytes[i] & 0xC0) != 0x80) return 0;
        codePoint = codePoint << 6 | (bytes[i] & 0x3Fu);
    }
    return length;
}

static size_t countASCII(const uint8_t* bytes, size_t count)
{
    size_t i = 0;
    while (i + 8 <= count && !(zoHashLoad<uint64_t>(bytes + i) & 0x8080808080808080u)) i += 8;
    while (i < count && bytes[i] < 0x80) ++i;
    return i;
}

static bool decodeUTF8(const uint8_t* bytes, size_t count, bool lenient, TextBuffer& out)
{
    size_t at = 0;
    while (at < count && out.ok()) {
        if (const size_t run = countASCII(bytes + at, count - at)) {
            out.appendASCII(bytes + at, run);
            at += run;
            continue;
        }
        uint32_t codePoint = kReplacementCharacter;
        const size_t length = readUTF8(bytes + at, count - at, codePoint);
        if (length == 0 && !lenient) return false;
        out.appendCodePoint(length ? codePoint : kReplacementCharacter);
        at += length ? length : 1;
    }
    return out.ok();
}

void decodeUTF8Leniently(const uint8_t* bytes, size_t count, TextBuffer& out) { decodeUTF8(bytes, count, true, out); }

static bool decodeLatin1(const uint8_t* bytes, size_t count, TextBuffer& out)
{
    if (!out.reserve(out.length() + static_cast<ZoIndex>(count), true)) return false;
    for (size_t i = 0; i < count; ++i) out.appendCodePoint(bytes[i]);
    return out.ok();
}

static bool decodeClassicVariant(const char16_t* upperHalf, const uint8_t* bytes, size_t count, TextBuffer& out)
{
    for (size_t i = 0; i < count && out.ok(); ++i)
        out.appendCodePoint(bytes[i] < 0x80 ? bytes[i] : upperHalf[bytes[i] - 0x80]);
    return out.ok();
}

static constexpr bool kHostIsBigEndian = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;

static uint32_t readUnit(const uint8_t* bytes, size_t unitSize, bool bigEndian)
{
    uint32_t unit = 0;
    for (size_t i = 0; i < unitSize; ++i) unit = unit << 8 | bytes[bigEndian ? i : unitSize - 1 - i];
    return unit;
}

/// UTF-16 or UTF-32 by the size of its units.
static bool decodeUnits(const uint8_t* bytes, size_t count, size_t unitSize, bool bigEndian, TextBuffer& out)
{
    if (count % unitSize || !out.reserve(out.length() + static_cast<ZoIndex>(count / unitSize), true)) return false;
    for (size_t at = 0; at < count && out.ok(); at += unitSize) {
        uint32_t codePoint = readUnit(bytes + at, unitSize, bigEndian);
        if (unitSize == 2 && isHighSurrogate(codePoint) && at + 2 < count) {
            const uint32_t low = readUnit(bytes + at + 2, 2, bigEndian);
            if (!isLowSurrogate(low)) return false;
            codePoint = surrogatePair(codePoint, low);
            at += 2;
        }
        if (isSurrogate(codePoint) || codePoint > 0x10FFFF) return false;
        out.appendCodePoint(codePoint);
    }
    return out.ok();
}

/// Units without a fixed order: what is external says it with a mark or is big-endian (RFC 2781 4.3), what is not
/// external has the machine's order.
static bool decodeMarkedUnits(const uint8_t* bytes, size_t count, size_t unitSize, bool isExternal, TextBuffer& out)
{
    if (!isExternal) return decodeUnits(bytes, count, unitSize, kHostIsBigEndian, out);
    for (const bool bigEndian : {true, false})
        if (count >= unitSize && readUnit(bytes, unitSize, bigEndian) == kByteOrderMark)
            return decodeUnits(bytes + unitSize, count - unitSize, unitSize, bigEndian, out);
    return decodeUnits(bytes, count, unitSize, true, out);
}

bool decodeText(ZoStringEncoding encoding, const uint8_t* bytes, size_t count, bool isExternal, TextBuffer& out)
{
    switch (encoding) {
        case kZoStringEncodingUTF8: {
            const size_t mark = isExternal && count >= 3 && memcmp(bytes, "\xEF\xBB\xBF", 3) == 0 ? 3 : 0;
            return decodeUTF8(bytes + mark, count - mark, false, out);
        }
        case kZoStringEncodingASCII: return isASCII(bytes, count) && out.appendASCII(bytes, count);
        case kZoStringEncodingISOLatin1: return decodeLatin1(bytes, count, out);
        case kZoStringEncodingUTF16: return decodeMarkedUnits(bytes, count, 2, isExternal, out);
        case kZoStringEncodingUTF32: return decodeMarkedUnits(bytes, count, 4, isExternal, out);
        case kZoStringEncodingUTF16BE: return decodeUnits(bytes, count, 2, true, out);
        case kZoStringEncodingUTF16LE: return decodeUnits(bytes, count, 2, false, out);
        case kZoStringEncodingUTF32BE: return decodeUnits(bytes, count, 4, true, out);
        case kZoStringEncodingUTF32LE: return decodeUnits(bytes, count, 4, false, out);
        default: break;
    }
    if (encodingExtendsASCII(encoding) && isASCII(bytes, count)) return out.appendASCII(bytes, count);
    if (isClassicVariant(encoding)) return decodeClassicVariant(classicUpperHalf(encoding), bytes, count, out);
    const ZoTextServices* services = textServices();
    return services && services->decode(encoding, bytes, count, isExternal, out);
}

/// Bytes of one character in one of the built-in encodings; 0 if it has none there.
using CharacterEncoder = size_t (*)(uint32_t codePoint, uint8_t* bytes);

template <uint32_t kLimit>
static size_t writeSingleByte(uint32_t codePoint, uint8_t* bytes)
{
    bytes[0] = static_cast<uint8_t>(codePoint);
    return codePoint < kLimit ? 1 : 0;
}

static size_t writeUTF8(uint32_t codePoint, uint8_t* bytes)
{
    if (isSurrogate(codePoint)) return 0;
    if (codePoint < 0x80) return writeSingleByte<0x80>(codePoint, bytes);
    const size_t length = codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
    for (size_t i = length - 1; i > 0; --i, codePoint >>= 6) bytes[i] = static_cast<uint8_t>(0x80 | (codePoint & 0x3F));
    bytes[0] = static_cast<uint8_t>((0xF00u >> length & 0xFF) | codePoint);
    return length;
}

static void writeUnit(uint32_t unit, size_t unitSize, bool bigEndian, uint8_t* bytes)
{
    for (size_t i = 0; i < unitSize; ++i, unit >>= 8)
        bytes[bigEndian ? unitSize - 1 - i : i] = static_cast<uint8_t>(unit);
}

template <size_t kUnitSize, bool kBigEndian>
static size_t writeUnits(uint32_t codePoint, uint8_t* bytes)
{
    if (isSurrogate(codePoint)) return 0;
    const bool isPair = kUnitSize == 2 && codePoint >= 0x10000;
    writeUnit(isPair ? highSurrogateOf(codePoint) : codePoint, kUnitSize, kBigEndian, bytes);
    if (isPair) writeUnit(lowSurrogateOf(codePoint), kUnitSize, kBigEndian, bytes + kUnitSize);
    return isPair ? 4 : kUnitSize;
}

template <ZoStringEncoding kEncoding>
static size_t writeClassicVariant(uint32_t codePoint, uint8_t* bytes)
{
    if (codePoint < 0x80) return writeSingleByte<0x80>(codePoint, bytes);
    const char16_t* upperHalf = classicUpperHalf(kEncoding);
    for (unsigned i = 0; i < 0x80; ++i)
        if (upperHalf[i] == codePoint) return bytes[0] = static_cast<uint8_t>(0x80 + i), 1;
    return 0;
}

static CharacterEncoder encoderFor(ZoStringEncoding encoding)
{
    switch (encoding) {
        case kZoStringEncodingUTF8: return writeUTF8;
        case kZoStringEncodingASCII: return writeSingleByte<0x80>;
        case kZoStringEncodingISOLatin1: return writeSingleByte<0x100>;
        case kZoStringEncodingUTF16: return writeUnits<2, kHostIsBigEndian>;
        case kZoStringEncodingUTF32: return writeUnits<4, kHostIsBigEndian>;
        case kZoStringEncodingUTF16BE: return writeUnits<2, true>;
        case kZoStringEncodingUTF16LE: return writeUnits<2, false>;
        case kZoStringEncodingUTF32BE: return writeUnits<4, true>;
        case kZoStringEncodingUTF32LE: return writeUnits<4, false>;
        case 36: return writeClassicVariant<36>;
        case 37: return writeClassicVariant<37>;
        case 38: return writeClassicVariant<38>;
        default: return nullptr;
    }
}

/// ASCII text in an encoding that extends ASCII: the bytes as they stand, as many as fit.
static ZoIndex putASCII(const TextView& text, ByteSink& sink)
{
    auto count = static_cast<size_t>(text.length);
    if (sink.buffer && count > sink.capacity - sink.used) count = sink.capacity - sink.used;
    if (count) sink.put(text.units, count);
    return static_cast<ZoIndex>(count);
}

ZoIndex encodeText(ZoStringEncoding encoding, const TextView& text, uint8_t lossByte, bool isExternal, ByteSink& sink)
{
    if (!text.wide && encodingExtendsASCII(encoding)) return putASCII(text, sink);
    const CharacterEncoder encoder = encoderFor(encoding);
    if (!encoder) {
        const ZoTextServices* services = textServices();
        return services ? services->encode(encoding, text, lossByte, isExternal, sink) : 0;
    }
    uint8_t bytes[4];
    const bool marked = encoding == kZoStringEncodingUTF16 || encoding == kZoStringEncodingUTF32;
    if (marked && isExternal && !sink.put(bytes, encoder(kByteOrderMark, bytes))) return 0;
    ZoIndex at = 0;
    while (at < text.length) {
        ZoIndex units;
        size_t length = encoder(codePointAt(text, at, units), bytes);
        if (length == 0 && lossByte) length = encoder(lossByte, bytes);
        if (length == 0 && lossByte) bytes[0] = lossByte, length = 1;
        if (length == 0 || !sink.put(bytes, length)) break;
        at += units;
    }
    return at;
}

}  // namespace zo

ZoIndex ZoStringGetMaximumSizeForEncoding(ZoIndex length, ZoStringEncoding encoding)
{
    if (length < 0) return kZoNotFound;
    ZoIndex perUnit = 1, mark = 0;
    switch (encoding) {
        case kZoStringEncodingUTF8: perUnit = 3; break;
        case kZoStringEncodingUTF16: mark = 2; [[fallthrough]];
        case kZoStringEncodingUTF16BE:
        case kZoStringEncodingUTF16LE: perUnit = 2; break;
        case kZoStringEncodingUTF32: mark = 4; [[fallthrough]];
        case kZoStringEncodingUTF32BE:
        case kZoStringEncodingUTF32LE: perUnit = 4; break;
        default:
            if (zo::encodingExtendsASCII(encoding)) break;
            const ZoTextServices* services = zo::textServices();
            return services ? services->maximumSize(length, encoding) : kZoNotFound;
    }
    ZoIndex size;
    if (__builtin_mul_overflow(length, perUnit, &size) || __builtin_add_overflow(size, mark, &size)) return kZoNotFound;
    return size;
}
