#include "Utilities/TavNumericEncoding.h"
#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

OSStatus TavZoDictionarySetBase64Data(ZoMutableDictionaryRef dictionary, const void* key, ZoDataRef data)
{
    if (!dictionary) return 0;
    TAV_TRY(checkSetter(__func__, dictionary, key));
    if (!data) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL data");
    ZoRef<ZoStringRef> encoded;
    TAV_TRY(TavCreateBase64EncodedStringFromZoData(nullptr, data, true, encoded.outParam()));
    if (set(dictionary, key, encoded.get())) return 0;
    return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "alloc failed");
}
