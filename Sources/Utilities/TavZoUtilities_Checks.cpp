#include "Utilities/TavZoUtilitiesPrivate.h"

namespace tavzo {

static OSStatus signalInvalid(const char* message)
{
    return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, message);
}

const void* lookUp(ZoDictionaryRef dictionary, const void* key, const void* out, const char* missingOutMessage)
{
    if (!dictionary) return nullptr;
    const char* wrong = !isDictionary(dictionary) ? "not a dict"
                        : !key                    ? "NULL key"
                        : !out                    ? missingOutMessage
                                                  : nullptr;
    if (ZO_UNLIKELY(wrong != nullptr)) {
        (void)signalInvalid(wrong);
        return nullptr;
    }
    return ZoDictionaryGetValue(dictionary, key);
}

const void* elementAt(ZoArrayRef array, ZoIndex index, const void* out, const char* missingOutMessage)
{
    const char* wrong = !array                                         ? "NULL array"
                        : !isArray(array)                              ? "not an array"
                        : !out                                         ? missingOutMessage
                        : index < 0 || index >= ZoArrayGetCount(array) ? "invalid index"
                                                                       : nullptr;
    if (ZO_UNLIKELY(wrong != nullptr)) {
        (void)signalInvalid(wrong);
        return nullptr;
    }
    return ZoArrayGetValueAtIndex(array, index);
}

OSStatus checkSetter(ZoDictionaryRef dictionary, const void* key)
{
    if (!dictionary) return signalInvalid("NULL dict");
    if (!isDictionary(dictionary)) return signalInvalid("not a dict");
    return key ? 0 : signalInvalid("NULL key");
}

OSStatus checkAppender(ZoArrayRef array)
{
    if (!array) return signalInvalid("NULL array");
    return isArray(array) ? 0 : signalInvalid("not an array");
}

OSStatus setCreated(ZoMutableDictionaryRef dictionary, const void* key, ZoRef<ZoTypeRef> value,
                    const char* failedMessage)
{
    if (!value) return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, failedMessage);
    ZoDictionarySetValue(dictionary, key, value.get());
    return 0;
}

OSStatus appendCreated(ZoMutableArrayRef array, ZoRef<ZoTypeRef> value, const char* failedMessage)
{
    if (!value) return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, failedMessage);
    ZoArrayAppendValue(array, value.get());
    return 0;
}

}  // namespace tavzo
