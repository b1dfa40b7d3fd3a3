#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

// Until the numeric encodings stand; weak, so that a program without them links and is told so at the call.
extern "C" __attribute__((weak)) OSStatus TavCreateBase64EncodedStringFromBytes(ZoAllocatorRef allocator,
                                                                                const uint8_t* bytes, size_t byteCount,
                                                                                Boolean padded,
                                                                                ZoStringRef* encodedStringOut);

OSStatus TavZoDictionarySetBase64Data(ZoMutableDictionaryRef dictionary, const void* key, ZoDataRef data)
{
    if (!dictionary) return 0;
    TAV_TRY(checkSetter(__func__, dictionary, key));
    if (!data) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL data");
    if (!TavCreateBase64EncodedStringFromBytes)
        return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "no base64 encoder");
    ZoRef<ZoStringRef> encoded;
    TAV_TRY(TavCreateBase64EncodedStringFromBytes(
        nullptr, ZoDataGetBytePtr(data), static_cast<size_t>(ZoDataGetLength(data)), true, encoded.outParam()));
    if (set(dictionary, key, encoded.get())) return 0;
    return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "ZoDictionarySetValue failed");
}
