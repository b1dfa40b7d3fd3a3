#include "Utilities/TavZoUtilities_Times.h"

#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

template <typename Value>
static Boolean getFromDictionary(const char* operation, ZoDictionaryRef dictionary, const void* key, Value* valueOut,
                                 const char* missingOut, Value (*make)(ZoDictionaryRef))
{
    const void* form = lookUp(operation, dictionary, key, valueOut, missingOut);
    if (!isDictionary(form)) return false;
    *valueOut = make(static_cast<ZoDictionaryRef>(form));
    return true;
}

Boolean TavZoDictionaryGetLuTimeIfPresent(ZoDictionaryRef dictionary, const void* key, LuTime* timeOut)
{
    return getFromDictionary(__func__, dictionary, key, timeOut, "NULL tOut", LuTimeMakeFromDictionary);
}

OSStatus TavZoDictionarySetLuTime(ZoMutableDictionaryRef dictionary, const void* key, LuTime time)
{
    return setWith(__func__, dictionary, key, "LuTimeCopyAsDictionary failed",
                   [&] { return LuTimeCopyAsDictionary(nullptr, time); });
}

Boolean TavZoDictionaryGetLuTimeRangeIfPresent(ZoDictionaryRef dictionary, const void* key, LuTimeRange* rangeOut)
{
    return getFromDictionary(__func__, dictionary, key, rangeOut, "NULL trOut", LuTimeRangeMakeFromDictionary);
}

OSStatus TavZoDictionarySetLuTimeRange(ZoMutableDictionaryRef dictionary, const void* key, LuTimeRange range)
{
    return setWith(__func__, dictionary, key, "LuTimeCopyAsDictionary failed",
                   [&] { return LuTimeRangeCopyAsDictionary(nullptr, range); });
}

Boolean TavZoArrayGetLuTimeAtIndex(ZoArrayRef array, ZoIndex index, LuTime* timeOut)
{
    const void* form = elementAt(__func__, array, index, timeOut, "NULL tOut");
    if (!form) return false;
    if (!isDictionary(form)) {
        (void)TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "value at index not a ZoDictionary");
        return false;
    }
    *timeOut = LuTimeMakeFromDictionary(static_cast<ZoDictionaryRef>(form));
    return true;
}

OSStatus TavZoArrayAppendLuTime(ZoMutableArrayRef array, LuTime time)
{
    return appendWith(__func__, array, "LuTimeCopyAsDictionary failed",
                      [&] { return LuTimeCopyAsDictionary(nullptr, time); });
}
