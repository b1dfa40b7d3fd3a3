#include "Utilities/TavNumericEncoding.h"
#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

OSStatus TavZoDictionarySetBase64Data(ZoMutableDictionaryRef dictionary, const void* key, ZoDataRef data)
{
    if (!dictionary) return 0;
    TAV_TRY(checkSetter(dictionary, key));
    if (!data) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL data");
    ZoRef<ZoStringRef> encoded;
    TAV_TRY(TavCreateBase64EncodedStringFromZoData(nullptr, data, true, encoded.outParam()));
    ZoDictionarySetValue(dictionary, key, encoded.get());
    return 0;
}
