#include <algorithm>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Utilities/TavAtomStreamPrivate.h"

AtomTypeText AtomTypeToString(OSType type)
{
    AtomTypeText out;
    const unsigned char bytes[4] = {static_cast<unsigned char>(type >> 24), static_cast<unsigned char>(type >> 16),
                                    static_cast<unsigned char>(type >> 8), static_cast<unsigned char>(type)};
    const bool printable = std::all_of(bytes, bytes + 4, [](unsigned char c) { return c >= 0x20 && c < 0x7F; });
    snprintf(out.text, sizeof(out.text), printable ? "%c%c%c%c" : "0x%02x%02x%02x%02x", bytes[0], bytes[1], bytes[2],
             bytes[3]);
    return out;
}

static const char* atomStreamErrorName(OSStatus code)
{
    struct Row {
        OSStatus code;
        const char* name;
    };
    static constexpr Row kNames[] = {
        {kTavAtomStream_AtomOffsetOutOfRange, "kTavAtomStream_AtomOffsetOutOfRange"},
        {kTavAtomStream_UnexpectedEndOfStream, "kTavAtomStream_UnexpectedEndOfStream"},
        {kTavAtomStream_OffsetOutsideOfParent, "kTavAtomStream_OffsetOutsideOfParent"},
        {kTavAtomStream_BadLengthInAtom, "kTavAtomStream_BadLengthInAtom"},
        {kTavAtomStream_ParameterError, "kTavAtomStream_ParameterError"},
    };
    for (const Row& row : kNames)
        if (row.code == code) return row.name;
    return nullptr;
}

static void setNumber(ZoMutableDictionaryRef dictionary, ZoStringRef key, int32_t value)
{
    if (const auto number = zoAdopt(ZoNumberCreate(nullptr, kZoNumberSInt32Type, &value)))
        ZoDictionarySetValue(dictionary, key, number.get());
}

void AtomStreamReportErrorMessage(TavAssetAnalysisReporterRef reporter, OSStatus status, OSType type, const char* text)
{
    if (!reporter) return;
    const auto message = zoAdopt(
        ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    if (!message) return;
    setNumber(message.get(), kTavAssetAnalysisMovieMessageKey_FailureCode, status);
    if (type != 0) setNumber(message.get(), kTavAssetAnalysisAtomStreamMessageKey_AtomType, static_cast<int32_t>(type));
    if (const auto diagnostic = zoAdopt(ZoStringCreateWithCString(nullptr, text, kZoStringEncodingASCII)))
        ZoDictionarySetValue(message.get(), kTavAssetAnalysisKey_DiagnosticInformation, diagnostic.get());
    setNumber(message.get(), kTavAssetAnalysisKey_AnalysisType, LU_FOURCC('a', 't', 'o', 'm'));
    TavAssetAnalysisReporterAddMessage(reporter, message.get());
}

OSStatus atomStreamRefuse(TavAssetAnalysisReporterRef reporter, const AtomStreamFailure& failure, OSType type,
                          const char* operation, const char* file, int line)
{
    if (operation)
        TavSignalErrorAt3(kTavSignalFormat, 0, failure.code, atomStreamErrorName(failure.code), failure.text,
                          TAV_SUBSYSTEM, operation, file, line, __builtin_return_address(0), 0);
    AtomStreamReportErrorMessage(reporter, failure.code, type, failure.text);
    return failure.code;
}
