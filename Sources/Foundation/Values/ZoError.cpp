#include "Foundation/Values/ZoError.h"

#include <cstdio>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoHashingPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"
#include "Foundation/Text/ZoString.h"

ZO_DEFINE_STRING(kZoErrorDescriptionKey, "ZoErrorDescription");
ZO_DEFINE_STRING(kZoErrorFilePathKey, "ZoErrorFilePath");
ZO_DEFINE_STRING(kZoErrorLocalizedDescriptionKey, "ZoErrorLocalizedDescription");
ZO_DEFINE_STRING(kZoErrorLocalizedFailureReasonKey, "ZoErrorLocalizedFailureReason");
ZO_DEFINE_STRING(kZoErrorLocalizedRecoverySuggestionKey, "ZoErrorLocalizedRecoverySuggestion");
ZO_DEFINE_STRING(kZoErrorURLKey, "ZoErrorURL");
ZO_DEFINE_STRING(kZoErrorUnderlyingErrorKey, "ZoErrorUnderlyingError");

struct ZoError_ {
    ZoRuntimeBase base;
    ZoStringRef domain;
    ZoIndex code;
    ZoDictionaryRef userInfo;
};

namespace {

bool isError(ZoErrorRef error) { return ZO_EXPECT(zoIsOfType(error, kZoTypeIDError), "not an error"); }

void errorFinalize(ZoTypeRef object)
{
    const auto* error = static_cast<const ZoError_*>(object);
    if (error->domain) ZoRelease(error->domain);
    if (error->userInfo) ZoRelease(error->userInfo);
}

Boolean errorEqual(ZoTypeRef object1, ZoTypeRef object2)
{
    const auto* a = static_cast<const ZoError_*>(object1);
    const auto* b = static_cast<const ZoError_*>(object2);
    return a->code == b->code && ZoEqual(a->domain, b->domain) && ZoEqual(a->userInfo, b->userInfo);
}

ZoHashCode errorHash(ZoTypeRef object)
{
    const auto* error = static_cast<const ZoError_*>(object);
    return zoHashMix(ZoHash(error->domain), static_cast<uint64_t>(error->code));
}

ZoStringRef stringForKey(const ZoError_* error, ZoStringRef key)
{
    const void* value = ZoDictionaryGetValue(error->userInfo, key);
    return zoIsOfType(value, kZoTypeIDString) ? static_cast<ZoStringRef>(value) : nullptr;
}

// `domain error -12` and, after a colon, what the user info says of it.
ZoStringRef errorCopyDescription(ZoTypeRef object)
{
    const auto* error = static_cast<const ZoError_*>(object);
    char code[32];
    std::snprintf(code, sizeof code, " error %zd", static_cast<ssize_t>(error->code));
    ZoMutableStringRef text = ZoStringCreateMutableCopy(nullptr, 0, error->domain);
    if (!text) return nullptr;
    ZoStringAppendCString(text, code, kZoStringEncodingASCII);
    for (ZoStringRef key : {kZoErrorDescriptionKey, kZoErrorLocalizedDescriptionKey}) {
        ZoStringRef detail = stringForKey(error, key);
        if (!detail) continue;
        ZoStringAppendCString(text, ": ", kZoStringEncodingASCII);
        ZoStringAppend(text, detail);
        break;
    }
    return text;
}

}  // namespace

const ZoRuntimeClass __ZoErrorClass = {.className = "ZoError",
                                       .finalize = errorFinalize,
                                       .equal = errorEqual,
                                       .hash = errorHash,
                                       .copyDebugDesc = errorCopyDescription};

ZoTypeID ZoErrorGetTypeID() { return kZoTypeIDError; }

ZoErrorRef ZoErrorCreate(ZoAllocatorRef allocator, ZoStringRef domain, ZoIndex code, ZoDictionaryRef userInfo)
{
    if (!ZO_EXPECT(zoIsOfType(domain, kZoTypeIDString), "the domain is not a string")) return nullptr;
    constexpr ZoIndex kExtra = sizeof(ZoError_) - sizeof(ZoRuntimeBase);
    auto error = zoAdopt(static_cast<ZoErrorRef>(
        const_cast<void*>(_ZoRuntimeCreateInstance(allocator, kZoTypeIDError, kExtra, nullptr))));
    if (!error) return nullptr;
    error.get()->code = code;
    error.get()->domain = ZoStringCreateCopy(allocator, domain);
    error.get()->userInfo = userInfo
                                ? ZoDictionaryCreateCopy(allocator, userInfo)
                                : ZoDictionaryCreate(allocator, nullptr, nullptr, 0, &kZoTypeDictionaryKeyCallBacks,
                                                     &kZoTypeDictionaryValueCallBacks);
    return error.get()->domain && error.get()->userInfo ? error.release() : nullptr;
}

ZoIndex ZoErrorGetCode(ZoErrorRef error) { return isError(error) ? error->code : 0; }

ZoStringRef ZoErrorGetDomain(ZoErrorRef error) { return isError(error) ? error->domain : nullptr; }

ZoDictionaryRef ZoErrorCopyUserInfo(ZoErrorRef error)
{
    return isError(error) ? static_cast<ZoDictionaryRef>(ZoRetain(error->userInfo)) : nullptr;
}

ZoStringRef ZoErrorCopyFailureReason(ZoErrorRef error)
{
    if (!isError(error)) return nullptr;
    ZoStringRef reason = stringForKey(error, kZoErrorLocalizedFailureReasonKey);
    return reason ? static_cast<ZoStringRef>(ZoRetain(reason)) : nullptr;
}
