// Arbitrary bytes as the payload of a 'sinf' box.

#include <cstdint>
#include <cstdlib>

#include "Core/TavFormatDescription/FormatDescriptionBridge_Common/TavCommonEncryption.h"
#include "Foundation/Objects/ZoObject.h"
#include "Foundation/Values/ZoData.h"
#include "Platform/Common/TavNote.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    gTavLogControl = kTavLogControl_Off;
    (void)TavBridgeGetCommonEncryptionScheme(data, size);
    (void)TavBridgeGetOriginalFormatFromSinf(data, size);
    const void *key = nullptr, *value = nullptr;
    ZoIndex count = 0;
    if (TavBridgeExtractCommonEncryptionTrackEncryptionExtension(nullptr, &key, &value, &count, data, size) != 0)
        abort();
    if (count == 0) return 0;
    if (ZoDataGetLength(static_cast<ZoDataRef>(value)) < 24) abort();
    ZoRelease(key);
    ZoRelease(value);
    return 0;
}
