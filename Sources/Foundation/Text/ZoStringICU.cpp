// What strings take from ICU: the encodings that are not built in, and the cases and classes of letters beyond ASCII.

#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/uloc.h>
#include <unicode/ustring.h>

#include <memory>

#include "Foundation/Dates/ZoLocale.h"
#include "Foundation/Text/ZoStringPrivate.h"

using zo::ByteSink;
using zo::TextBuffer;
using zo::TextView;

static_assert(sizeof(UChar) == sizeof(UniChar));

struct EncodingRow {
    ZoStringEncoding encoding;
    const char* converter;  // ICU's name
};

static constexpr EncodingRow kEncodings[] = {
    // classic scripts
    {0x0000, "macintosh"},
    {0x0001, "Shift_JIS"},
    {0x0002, "Big5"},
    {0x0003, "EUC-KR"},
    {0x0006, "x-mac-greek"},
    {0x0007, "x-mac-cyrillic"},
    {0x0015, "TIS-620"},
    {0x0019, "GBK"},
    {0x001D, "x-mac-centraleurroman"},
    {0x0023, "x-mac-turkish"},
    {0x04000100, "UTF-7"},
    // ISO 8859, without parts 1 (built in), 12 (there is none) and 16 (ICU has none)
    {0x0202, "ISO-8859-2"},
    {0x0203, "ISO-8859-3"},
    {0x0204, "ISO-8859-4"},
    {0x0205, "ISO-8859-5"},
    {0x0206, "ISO-8859-6"},
    {0x0207, "ISO-8859-7"},
    {0x0208, "ISO-8859-8"},
    {0x0209, "ISO-8859-9"},
    {0x020A, "ISO-8859-10"},
    {0x020B, "ISO-8859-11"},
    {0x020D, "ISO-8859-13"},
    {0x020E, "ISO-8859-14"},
    {0x020F, "ISO-8859-15"},
    // code pages of DOS
    {0x0400, "ibm-437"},
    {0x0405, "ibm-737"},
    {0x0406, "ibm-775"},
    {0x0410, "ibm-850"},
    {0x0411, "ibm-851"},
    {0x0412, "ibm-852"},
    {0x0413, "ibm-855"},
    {0x0414, "ibm-857"},
    {0x0415, "ibm-860"},
    {0x0416, "ibm-861"},
    {0x0417, "ibm-862"},
    {0x0418, "ibm-863"},
    {0x0419, "ibm-864"},
    {0x041A, "ibm-865"},
    {0x041B, "ibm-866"},
    {0x041C, "ibm-869"},
    {0x041D, "windows-874"},
    {0x0420, "windows-31j"},
    {0x0421, "windows-936"},
    {0x0422, "windows-949"},
    {0x0423, "windows-950"},
    // code pages of Windows
    {0x0500, "windows-1252"},
    {0x0501, "windows-1250"},
    {0x0502, "windows-1251"},
    {0x0503, "windows-1253"},
    {0x0504, "windows-1254"},
    {0x0505, "windows-1255"},
    {0x0506, "windows-1256"},
    {0x0507, "windows-1257"},
    {0x0508, "windows-1258"},
    // national standards of East Asia
    {0x0631, "GBK"},
    {0x0632, "GB18030"},
    {0x0820, "ISO-2022-JP"},
    {0x0821, "ISO-2022-JP-2"},
    {0x0822, "ISO-2022-JP-1"},
    {0x0830, "ISO-2022-CN"},
    {0x0831, "ISO-2022-CN-EXT"},
    {0x0840, "ISO-2022-KR"},
    {0x0920, "EUC-JP"},
    {0x0930, "GB2312"},
    {0x0931, "EUC-TW"},
    {0x0940, "EUC-KR"},
    {0x0A01, "Shift_JIS"},
    {0x0A02, "KOI8-R"},
    {0x0A03, "Big5"},
    {0x0A05, "HZ-GB-2312"},
    {0x0A06, "Big5-HKSCS"},
    {0x0A08, "KOI8-U"},
    {0x0C02, "ibm-37"},
};

namespace zo {

struct CloseConverter {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

}  // namespace zo

static zo::Converter openConverter(ZoStringEncoding encoding)
{
    for (const EncodingRow& row : kEncodings) {
        if (row.encoding != encoding) continue;
        UErrorCode error = U_ZERO_ERROR;
        zo::Converter converter(ucnv_open(row.converter, &error));
        return U_SUCCESS(error) ? std::move(converter) : nullptr;
    }
    return nullptr;
}

static bool icuDecode(ZoStringEncoding encoding, const uint8_t* bytes, size_t count, bool, TextBuffer& out)
{
    const zo::Converter converter = openConverter(encoding);
    if (!converter) return false;
    UErrorCode error = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    const char* source = reinterpret_cast<const char*>(bytes);
    const char* sourceEnd = source + count;
    UChar chunk[512];
    do {
        if (error == U_BUFFER_OVERFLOW_ERROR) error = U_ZERO_ERROR;
        UChar* target = chunk;
        ucnv_toUnicode(converter.get(), &target, chunk + 512, &source, sourceEnd, nullptr, true, &error);
        out.append({chunk, target - chunk, true});
    } while (error == U_BUFFER_OVERFLOW_ERROR && out.ok());
    return U_SUCCESS(error) && out.ok();
}

/// Stops at what the encoding does not have, or puts the substitute there. ICU's own callbacks would leave characters
/// out that it calls ignorable.
static void onUnmappable(const void* context, UConverterFromUnicodeArgs* arguments, const UChar*, int32_t, UChar32,
                         UConverterCallbackReason reason, UErrorCode* error)
{
    if (reason > UCNV_IRREGULAR || !context) return;
    *error = U_ZERO_ERROR;
    ucnv_cbFromUWriteSub(arguments, 0, error);
}

static void setLossByte(UConverter* converter, uint8_t lossByte)
{
    UErrorCode error = U_ZERO_ERROR;
    const UChar character = lossByte;
    if (lossByte) ucnv_setSubstString(converter, &character, 1, &error);
    if (U_FAILURE(error)) {
        error = U_ZERO_ERROR;
        const char byte = static_cast<char>(lossByte);
        ucnv_setSubstChars(converter, &byte, 1, &error);
    }
    error = U_ZERO_ERROR;
    static const char kSubstitute = 0;
    ucnv_setFromUCallBack(converter, onUnmappable, lossByte ? &kSubstitute : nullptr, nullptr, nullptr, &error);
}

/// Converts all of `text` and returns to the initial state; `sink` may run full. Gives the number of units before the
/// first that cannot be converted.
static ZoIndex convertAll(UConverter* converter, const TextView& text, ByteSink& sink, bool& fits)
{
    ucnv_resetFromUnicode(converter);
    fits = true;
    const UniChar* source = text.utf16();
    const UniChar* sourceEnd = source + text.length;
    UErrorCode error = U_ZERO_ERROR;
    char chunk[512];
    do {
        error = U_ZERO_ERROR;
        char* target = chunk;
        auto* from = reinterpret_cast<const UChar*>(source);
        ucnv_fromUnicode(converter, &target, chunk + sizeof chunk, &from, reinterpret_cast<const UChar*>(sourceEnd),
                         nullptr, true, &error);
        source = reinterpret_cast<const UniChar*>(from);
        fits = sink.put(chunk, static_cast<size_t>(target - chunk));
    } while (error == U_BUFFER_OVERFLOW_ERROR && fits);
    if (U_SUCCESS(error) || error == U_BUFFER_OVERFLOW_ERROR) return text.length;
    UChar invalid[8];
    int8_t invalidCount = 8;
    UErrorCode ignored = U_ZERO_ERROR;
    ucnv_getInvalidUChars(converter, invalid, &invalidCount, &ignored);
    return source - text.utf16() - (U_SUCCESS(ignored) ? invalidCount : 0);
}

/// The longest start of `text` that fits: escapes and pending characters make sizes known only after the whole.
static TextView longestFit(UConverter* converter, const TextView& text, size_t room)
{
    ZoIndex fitting = 0, tooLong = text.length;
    while (tooLong - fitting > 1) {
        ZoIndex middle = fitting + (tooLong - fitting) / 2;
        ByteSink count;
        bool fits;
        convertAll(converter, text.sub(0, middle), count, fits);
        (count.used <= room ? fitting : tooLong) = middle;
    }
    if (fitting > 0 && zo::isHighSurrogate(text[fitting - 1])) --fitting;
    return text.sub(0, fitting);
}

static ZoIndex icuEncode(ZoStringEncoding encoding, const TextView& wholeText, uint8_t lossByte, bool, ByteSink& sink)
{
    const zo::Converter converter = openConverter(encoding);
    TextBuffer widened;
    if (!converter || !widened.reserve(wholeText.length, true) || !widened.append(wholeText)) return 0;
    setLossByte(converter.get(), lossByte);
    TextView text = widened.view();
    bool fits;
    ByteSink whole;
    text.length = convertAll(converter.get(), text, whole, fits);
    ByteSink count;
    convertAll(converter.get(), text, count, fits);
    if (sink.buffer && count.used > sink.capacity - sink.used)
        text = longestFit(converter.get(), text, sink.capacity - sink.used);
    convertAll(converter.get(), text, sink, fits);
    return text.length;
}

static ZoIndex icuMaximumSize(ZoIndex length, ZoStringEncoding encoding)
{
    const zo::Converter converter = openConverter(encoding);
    if (!converter) return kZoNotFound;
    // ICU's bound: ten characters more than there are, for escapes at both ends.
    ZoIndex size;
    if (__builtin_add_overflow(length, 10, &size) ||
        __builtin_mul_overflow(size, ZoIndex{ucnv_getMaxCharSize(converter.get())}, &size))
        return kZoNotFound;
    return size;
}

static uint32_t icuFoldCase(uint32_t codePoint)
{
    return static_cast<uint32_t>(u_foldCase(static_cast<UChar32>(codePoint), U_FOLD_CASE_DEFAULT));
}

static void icuLowercase(const TextView& text, ZoLocaleRef locale, TextBuffer& out)
{
    char name[ULOC_FULLNAME_CAPACITY] = "";
    if (locale) ZoStringGetCString(ZoLocaleGetIdentifier(locale), name, sizeof name, kZoStringEncodingASCII);
    TextBuffer source;
    if (text.length > INT32_MAX || !source.reserve(text.length, true) || !source.append(text)) return out.fail();
    const auto* units = reinterpret_cast<const UChar*>(source.view().utf16());
    const auto count = static_cast<int32_t>(text.length);
    UErrorCode error = U_ZERO_ERROR;
    const int32_t needed = u_strToLower(nullptr, 0, units, count, name, &error);
    if (needed == 0) return;
    std::unique_ptr<UChar, decltype(&free)> lowered(static_cast<UChar*>(malloc(sizeof(UChar) * needed)), free);
    if (!lowered) return out.fail();
    error = U_ZERO_ERROR;
    u_strToLower(lowered.get(), needed, units, count, name, &error);
    if (U_FAILURE(error)) return out.fail();
    out.append({lowered.get(), needed, true});
}

static bool icuIsMember(ZoCharacterSetPredefinedSet set, uint32_t codePoint)
{
    const auto character = static_cast<UChar32>(codePoint);
    const uint32_t category = U_GET_GC_MASK(character);
    switch (set) {
        case kZoCharacterSetControl: return category & (U_GC_CC_MASK | U_GC_CF_MASK);
        case kZoCharacterSetWhitespace: return category & U_GC_ZS_MASK;
        case kZoCharacterSetWhitespaceAndNewline: return (category & U_GC_Z_MASK) || codePoint == 0x85;
        case kZoCharacterSetDecimalDigit: return category & U_GC_ND_MASK;
        case kZoCharacterSetLetter: return category & (U_GC_L_MASK | U_GC_M_MASK);
        case kZoCharacterSetLowercaseLetter: return category & U_GC_LL_MASK;
        case kZoCharacterSetUppercaseLetter: return category & (U_GC_LU_MASK | U_GC_LT_MASK);
        default: return false;
    }
}

const ZoTextServices __ZoTextServices = {
    .decode = icuDecode,
    .encode = icuEncode,
    .maximumSize = icuMaximumSize,
    .foldCase = icuFoldCase,
    .lowercase = icuLowercase,
    .isMember = icuIsMember,
};
