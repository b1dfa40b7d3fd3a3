// Preferences that are sizes, and preferences that outrank the options of a call.

#include "Foundation/Services/ZoPreferences.h"
#include "Utilities/TavZoUtilitiesPrivate.h"
#include "Utilities/TavZoUtilities_Preferences.h"

using namespace tavzo;

static bool readSide(ZoStringRef string, ZoRange range, WnFloat* sideOut)
{
    const auto side = zoAdopt(ZoStringCreateWithSubstring(nullptr, string, range));
    if (!side) return false;
    *sideOut = TavGetDoubleFromZoTypeWithDefault(side.get(), 0.0);
    return true;
}

WnSize TavGetZoPreferenceSizeWithDefault(ZoStringRef key, ZoStringRef applicationID, WnFloat defaultWidth,
                                         WnFloat defaultHeight)
{
    const WnSize defaults = {defaultWidth, defaultHeight};
    const auto value = zoAdopt(ZoPreferencesCopyAppValue(key, applicationID));
    if (!isOfType(value.get(), ZoStringGetTypeID())) return defaults;
    const auto string = static_cast<ZoStringRef>(value.get());
    const ZoIndex length = ZoStringGetLength(string);
    ZoRange x;
    if (length < 1 ||
        !ZoStringFindWithOptions(string, ZOSTR("x"), ZoRangeMake(0, length - 1), kZoCompareCaseInsensitive, &x))
        return defaults;
    WnSize size;
    const bool isRead = readSide(string, ZoRangeMake(0, x.location), &size.width) &&
                        readSide(string, ZoRangeMake(x.location + 1, length - x.location - 1), &size.height);
    return isRead ? size : defaults;
}

ZoTypeRef TavCopyZoPreferenceAppValueOrOptionZoTypeWithDefault(ZoDictionaryRef options, ZoStringRef key,
                                                               ZoStringRef applicationID, ZoTypeRef defaultValue)
{
    if (const ZoTypeRef preference = ZoPreferencesCopyAppValue(key, applicationID)) return preference;
    const void* option = TavZoDictionaryGetValue(options, key);
    return ZoRef<ZoTypeRef>::retain(option ? option : defaultValue).release();
}

int32_t TavGetZoPreferenceOrOptionNumberWithDefault(ZoDictionaryRef options, ZoStringRef key, ZoStringRef applicationID,
                                                    int32_t defaultValue)
{
    const int32_t option = TavGetNumberFromZoTypeWithDefault(TavZoDictionaryGetValue(options, key), defaultValue);
    return TavGetZoPreferenceNumberWithDefault(key, applicationID, option);
}

double TavGetZoPreferenceOrOptionDoubleWithDefault(ZoDictionaryRef options, ZoStringRef key, ZoStringRef applicationID,
                                                   double defaultValue)
{
    const double option = TavGetDoubleFromZoTypeWithDefault(TavZoDictionaryGetValue(options, key), defaultValue);
    return TavGetZoPreferenceDoubleWithDefault(key, applicationID, option);
}
