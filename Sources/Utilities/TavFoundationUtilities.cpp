#include "Utilities/TavFoundationUtilities.h"

#define TAV_SUBSYSTEM "<TavFoundationUtilities>"
#include "Platform/Common/TavSignal.h"

static bool isOfType(ZoTypeRef object, ZoTypeID type) { return object && ZoGetTypeID(object) == type; }

ZoStringRef TavZoStringCreateWithBytesWithUnknownEncoding(ZoAllocatorRef allocator, const uint8_t* bytes,
                                                          ZoIndex numBytes, ZoDictionaryRef options,
                                                          ZoStringEncoding* encodingOut)
{
    const char* wrong = !bytes && numBytes != 0 ? "bytes is NULL and numBytes != 0"
                        : numBytes < 0          ? "numBytes less then 0"
                        : options && !isOfType(options, ZoDictionaryGetTypeID())
                            ? "option is not a ZoDictionary nor NULL"
                            : nullptr;
    if (wrong) {
        (void)TAV_SIGNAL(kTavFoundationUtilitiesError_InvalidParameter, wrong);
        return nullptr;
    }
    const ZoStringRef string = ZoStringCreateWithBytes(allocator, bytes, numBytes, kZoStringEncodingUTF8, true);
    if (encodingOut)
        *encodingOut = string ? static_cast<ZoStringEncoding>(kZoStringEncodingUTF8)
                              : static_cast<ZoStringEncoding>(kTavFoundationUtilities_UnknownEncoding);
    return string;
}

OSStatus TavFoundationCreateHardLink(ZoURLRef, ZoURLRef)
{
    return TAV_SIGNAL(kTavFoundationUtilitiesError_UnsupportedOperation, "not supported on this platform");
}

static void logUnlessOfType(const char* operation, ZoTypeRef input, ZoTypeID type, const char* message)
{
    if (isOfType(input, type)) return;
    ZoLog(3, ZOSTR("<TavFoundationUtilities> %s: %s"), operation, message);
    if (!isOfType(input, ZoDictionaryGetTypeID()) && !isOfType(input, ZoArrayGetTypeID()))
        ZoLog(3, ZOSTR("<TavFoundationUtilities> %s: input is neither ZoDictionary nor ZoArray"), operation);
}

OSStatus TavZoStringCreateWithJSONDictionary(ZoAllocatorRef, ZoDictionaryRef dictionary)
{
    logUnlessOfType(__func__, dictionary, ZoDictionaryGetTypeID(), "input is not a ZoDictionary");
    return 0;
}

OSStatus TavZoStringCreateWithJSONArray(ZoAllocatorRef, ZoArrayRef array)
{
    logUnlessOfType(__func__, array, ZoArrayGetTypeID(), "input is not a ZoArray");
    return 0;
}

static OSStatus notHere(ZoDictionaryRef* out)
{
    if (out) *out = nullptr;
    return kTavFoundationUtilitiesError_UnsupportedOperation;
}

OSStatus TavCreateSerializedDictionaryFromHqErrorUserInfo(ZoDictionaryRef, ZoDictionaryRef* dictionaryOut)
{
    return notHere(dictionaryOut);
}

OSStatus TavCreateHqErrorUserInfoFromSerializedDictionary(ZoDictionaryRef, ZoDictionaryRef* userInfoOut)
{
    return notHere(userInfoOut);
}
