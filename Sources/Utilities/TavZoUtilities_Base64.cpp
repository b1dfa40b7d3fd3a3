#include "Foundation/Values/ZoBase64Private.h"
#include "Memory/Containers.h"
#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

static constexpr OSStatus kNothingToEncode = -17450;  // of the numeric encodings: no bytes are no text

OSStatus TavZoDictionarySetBase64Data(ZoMutableDictionaryRef dictionary, const void* key, ZoDataRef data)
{
    if (!dictionary) return 0;
    TAV_TRY(checkSetter(dictionary, key));
    if (!data) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL data");
    const auto count = static_cast<size_t>(ZoDataGetLength(data));
    if (count == 0) return TAV_SIGNAL(kNothingToEncode, "0 numInBytes");
    memory::ReportingArray<char> text;
    if (!text.resize(zoEncodedLength(count, 6, true)))
        return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "alloc failed");
    zoEncodeBase64(ZoDataGetBytePtr(data), count, true, text.data());
    return setCreated(
        dictionary, key,
        zoAdopt<ZoTypeRef>(ZoStringCreateWithBytes(nullptr, reinterpret_cast<const uint8_t*>(text.data()),
                                                   static_cast<ZoIndex>(text.size()), kZoStringEncodingASCII, false)),
        "alloc failed");
}
