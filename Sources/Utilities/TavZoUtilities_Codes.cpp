#include "Utilities/TavZoUtilities_Codes.h"

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Platform/Ostra/OstraLockGuard.h"
#include "Platform/Ostra/OstraThread.h"
#include "Utilities/TavBigEndian.h"
#include "Utilities/TavZoUtilitiesPrivate.h"

namespace {

/// Strings by code; the keys are plain integers.
struct CodeCache {
    ZoMutableDictionaryRef strings;
    TavSimpleMutexRef mutex;
};

}  // namespace

static CodeCache sZoStringsForFourCharCodes, sZoStringsForThreeCharCodes;
static TavThreadOnce sCodeCachesOnce = PTHREAD_ONCE_INIT;

static void makeCodeCaches()
{
    for (CodeCache* cache : {&sZoStringsForFourCharCodes, &sZoStringsForThreeCharCodes})
        *cache = {ZoDictionaryCreateMutable(nullptr, 0, nullptr, &kZoTypeDictionaryValueCallBacks),
                  TavSimpleMutexCreate()};
}

/// The last `length` of the code's four bytes.
static ZoStringRef stringForCode(CodeCache& cache, uint32_t code, ZoIndex length)
{
    (void)TavThreadRunOnce(&sCodeCachesOnce, makeCodeCaches);
    if (!cache.strings || !cache.mutex) return nullptr;
    const void* key = reinterpret_cast<const void*>(static_cast<uintptr_t>(code));
    const TavSimpleMutexGuard guard(cache.mutex);
    if (const void* known = ZoDictionaryGetValue(cache.strings, key)) return static_cast<ZoStringRef>(known);
    uint8_t bytes[4];
    storeBE32(bytes, code);
    const auto string =
        zoAdopt(ZoStringCreateWithBytes(nullptr, bytes + 4 - length, length, kZoStringEncodingASCII, false));
    if (!string) return nullptr;
    ZoDictionaryAddValue(cache.strings, key, string.get());
    return static_cast<ZoStringRef>(ZoDictionaryGetValue(cache.strings, key));  // nothing if there was no room for it
}

ZoStringRef TavGetZoStringForOSTypeValue(OSType code)
{
    if (code == LU_FOURCC('s', 'o', 'u', 'n')) return ZOSTR("soun");
    if (code == LU_FOURCC('v', 'i', 'd', 'e')) return ZOSTR("vide");
    return stringForCode(sZoStringsForFourCharCodes, code, 4);
}

ZoStringRef TavGetZoStringFor3CCValue(uint32_t code)
{
    return stringForCode(sZoStringsForThreeCharCodes, code & 0xFFFFFF, 3);
}

Boolean TavZoStringGetOSTypeValue(ZoStringRef string, OSType* codeOut)
{
    if (!codeOut || !tavzo::isOfType(string, ZoStringGetTypeID())) return false;
    uint8_t bytes[4];
    ZoIndex count = 0;
    if (ZoStringGetLength(string) != 4 || ZoStringGetBytes(string, ZoRangeMake(0, 4), kZoStringEncodingClassicRoman, 0,
                                                           false, bytes, sizeof bytes, &count) != 4)
        return false;
    *codeOut = LU_FOURCC(bytes[0], bytes[1], bytes[2], bytes[3]);
    return true;
}
