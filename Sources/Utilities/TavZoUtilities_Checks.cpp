#include "Utilities/TavZoUtilitiesPrivate.h"

namespace tavzo {

static OSStatus signalInvalid(const char* operation, const char* message)
{
    return TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_InvalidParameter, message);
}

const void* lookUp(const char* operation, ZoDictionaryRef dictionary, const void* key, const void* out,
                   const char* missingOutMessage)
{
    if (!dictionary) return nullptr;
    const char* wrong = !isDictionary(dictionary) ? "not a dict"
                        : !key                    ? "NULL key"
                        : !out                    ? missingOutMessage
                                                  : nullptr;
    if (ZO_UNLIKELY(wrong != nullptr)) {
        (void)signalInvalid(operation, wrong);
        return nullptr;
    }
    return ZoDictionaryGetValue(dictionary, key);
}

const void* elementAt(const char* operation, ZoArrayRef array, ZoIndex index, const void* out,
                      const char* missingOutMessage)
{
    const char* wrong = !array                                         ? "NULL array"
                        : !isArray(array)                              ? "not an array"
                        : !out                                         ? missingOutMessage
                        : index < 0 || index >= ZoArrayGetCount(array) ? "invalid index"
                                                                       : nullptr;
    if (ZO_UNLIKELY(wrong != nullptr)) {
        (void)signalInvalid(operation, wrong);
        return nullptr;
    }
    return ZoArrayGetValueAtIndex(array, index);
}

OSStatus checkSetter(const char* operation, ZoDictionaryRef dictionary, const void* key)
{
    if (!dictionary) return signalInvalid(operation, "NULL dict");
    if (!isDictionary(dictionary)) return signalInvalid(operation, "not a dict");
    return key ? 0 : signalInvalid(operation, "NULL key");
}

OSStatus checkAppender(const char* operation, ZoArrayRef array)
{
    if (!array) return signalInvalid(operation, "NULL array");
    return isArray(array) ? 0 : signalInvalid(operation, "not an array");
}

OSStatus setCreated(const char* operation, ZoMutableDictionaryRef dictionary, const void* key, ZoRef<ZoTypeRef> value,
                    const char* failedMessage)
{
    if (value && set(dictionary, key, value.get())) return 0;
    return TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_AllocationFailed, failedMessage);
}

OSStatus appendCreated(const char* operation, ZoMutableArrayRef array, ZoRef<ZoTypeRef> value,
                       const char* failedMessage)
{
    if (value && append(array, value.get())) return 0;
    return TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_AllocationFailed, failedMessage);
}

}  // namespace tavzo
