#include "Utilities/TavZoUtilities_Errors.h"

#include "Foundation/URLs/ZoURL.h"
#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

ZO_DEFINE_STRING(kTavZoErrorPropertyListKey_Code, "ZoError_Code");
ZO_DEFINE_STRING(kTavZoErrorPropertyListKey_Domain, "ZoError_Domain");
ZO_DEFINE_STRING(kTavZoErrorPropertyListKey_LocalizedDescription, "ZoError_LocalizedDescription");
ZO_DEFINE_STRING(kTavZoErrorPropertyListKey_LocalizedFailureReason, "ZoError_LocalizedFailureReason");
ZO_DEFINE_STRING(kTavZoErrorPropertyListKey_LocalizedRecoverySuggestion, "ZoError_LocalizedRecoverySuggestion");
ZO_DEFINE_STRING(kTavZoErrorPropertyListKey_Description, "ZoError_Description");
ZO_DEFINE_STRING(kTavZoErrorPropertyListKey_URL, "ZoError_URL");
ZO_DEFINE_STRING(kTavZoErrorPropertyListKey_FilePath, "ZoError_FilePath");
ZO_DEFINE_STRING(kTavZoErrorPropertyListKey_UnderlyingError, "ZoError_UnderlyingError");

namespace {

/// A text of an error, in its user info and in a list.
struct TextEntry {
    const ZoStringRef& userInfoKey;
    const ZoStringRef& listKey;
};

}  // namespace

static const TextEntry kTexts[] = {
    {kZoErrorLocalizedDescriptionKey, kTavZoErrorPropertyListKey_LocalizedDescription},
    {kZoErrorLocalizedFailureReasonKey, kTavZoErrorPropertyListKey_LocalizedFailureReason},
    {kZoErrorLocalizedRecoverySuggestionKey, kTavZoErrorPropertyListKey_LocalizedRecoverySuggestion},
    {kZoErrorDescriptionKey, kTavZoErrorPropertyListKey_Description},
    {kZoErrorFilePathKey, kTavZoErrorPropertyListKey_FilePath},
};

static ZoRef<ZoMutableDictionaryRef> makeDictionary()
{
    return zoAdopt(
        ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
}

static ZoRef<ZoMutableDictionaryRef> listOfError(const char* operation, ZoErrorRef error, int behind)
{
    const ZoIndex code = ZoErrorGetCode(error);
    const auto number = zoAdopt(ZoNumberCreate(nullptr, kZoNumberZoIndexType, &code));
    const auto userInfo = zoAdopt(ZoErrorCopyUserInfo(error));
    auto list = makeDictionary();
    if (!list || !number || !userInfo) return nullptr;
    ZoDictionarySetValue(list.get(), kTavZoErrorPropertyListKey_Code, number.get());
    ZoDictionarySetValue(list.get(), kTavZoErrorPropertyListKey_Domain, ZoErrorGetDomain(error));
    for (const TextEntry& entry : kTexts)
        TavZoDictionarySetValue(list.get(), entry.listKey,
                                TavZoDictionaryGetStringValue(userInfo.get(), entry.userInfoKey));
    if (const ZoURLRef url = TavZoDictionaryGetURLValue(userInfo.get(), kZoErrorURLKey)) {
        const auto absolute = zoAdopt(ZoURLCopyAbsoluteURL(url));
        if (absolute) ZoDictionarySetValue(list.get(), kTavZoErrorPropertyListKey_URL, ZoURLGetString(absolute.get()));
    }
    const void* underlying = ZoDictionaryGetValue(userInfo.get(), kZoErrorUnderlyingErrorKey);
    if (!isOfType(underlying, ZoErrorGetTypeID())) return list;
    if (behind == kTavZoErrorMaximumUnderlyingErrors) {
        logFrom(operation, "too many errors behind one another; the rest is left out");
        return list;
    }
    // A constant object of the user info; only its type is not const.
    const auto inner =
        listOfError(operation, const_cast<ZoErrorRef>(static_cast<const ZoError_*>(underlying)), behind + 1);
    TavZoDictionarySetValue(list.get(), kTavZoErrorPropertyListKey_UnderlyingError, inner.get());
    return list;
}

ZoMutableDictionaryRef TavZoCopyZoErrorAsPropertyList(ZoErrorRef error)
{
    if (!isOfType(error, ZoErrorGetTypeID())) return nullptr;
    return listOfError(__func__, error, 0).release();
}

static ZoRef<ZoErrorRef> errorOfList(const char* operation, ZoTypeRef propertyList, int behind)
{
    if (!isDictionary(propertyList)) return nullptr;
    const auto list = static_cast<ZoDictionaryRef>(propertyList);
    const ZoNumberRef number = TavZoDictionaryGetNumberValue(list, kTavZoErrorPropertyListKey_Code);
    if (!number) {
        logFrom(operation, "Error dictionary missing required kTavZoErrorPropertyListKey_Code");
        return nullptr;
    }
    const ZoStringRef domain = TavZoDictionaryGetStringValue(list, kTavZoErrorPropertyListKey_Domain);
    if (!domain) {
        logFrom(operation, "Error dictionary missing required kTavZoErrorPropertyListKey_Domain");
        return nullptr;
    }
    const auto userInfo = makeDictionary();
    if (!userInfo) return nullptr;
    for (const TextEntry& entry : kTexts)
        TavZoDictionarySetValue(userInfo.get(), entry.userInfoKey, TavZoDictionaryGetStringValue(list, entry.listKey));
    if (ZoDictionaryContainsKey(list, kTavZoErrorPropertyListKey_URL)) {
        const ZoStringRef text = TavZoDictionaryGetStringValue(list, kTavZoErrorPropertyListKey_URL);
        const auto url = zoAdopt(text ? ZoURLCreateWithString(nullptr, text, nullptr) : nullptr);
        if (!url) logFrom(operation, "kTavZoErrorPropertyListKey_URL couldn't be converted to a valid ZoURL");
        TavZoDictionarySetValue(userInfo.get(), kZoErrorURLKey, url.get());
    }
    if (const void* form = ZoDictionaryGetValue(list, kTavZoErrorPropertyListKey_UnderlyingError)) {
        const auto underlying = behind < kTavZoErrorMaximumUnderlyingErrors ? errorOfList(operation, form, behind + 1)
                                                                            : ZoRef<ZoErrorRef>();
        if (!underlying)
            logFrom(operation, "kTavZoErrorPropertyListKey_UnderlyingError couldn't be converted to a valid ZoError");
        TavZoDictionarySetValue(userInfo.get(), kZoErrorUnderlyingErrorKey, underlying.get());
    }
    ZoIndex code = 0;
    ZoNumberGetValue(number, kZoNumberZoIndexType, &code);
    return zoAdopt(ZoErrorCreate(nullptr, domain, code, userInfo.get()));
}

ZoErrorRef TavZoErrorCreateFromPropertyList(ZoPropertyListRef propertyList)
{
    return errorOfList(__func__, propertyList, 0).release();
}
