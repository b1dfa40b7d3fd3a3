#include "Utilities/TavZoUtilities_Preferences.h"

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Services/ZoPreferences.h"

int32_t TavGetZoPreferenceNumberWithDefault(ZoStringRef key, ZoStringRef applicationID, int32_t defaultValue)
{
    const auto value = zoAdopt(ZoPreferencesCopyAppValue(key, applicationID));
    return TavGetNumberFromZoTypeWithDefault(value.get(), defaultValue);
}

double TavGetZoPreferenceDoubleWithDefault(ZoStringRef key, ZoStringRef applicationID, double defaultValue)
{
    const auto value = zoAdopt(ZoPreferencesCopyAppValue(key, applicationID));
    return TavGetDoubleFromZoTypeWithDefault(value.get(), defaultValue);
}

Boolean TavGetZoPreferenceBooleanWithDefault(ZoStringRef key, ZoStringRef applicationID, Boolean defaultValue)
{
    const auto value = zoAdopt(ZoPreferencesCopyAppValue(key, applicationID));
    return TavGetBooleanFromZoTypeWithDefault(value.get(), defaultValue);
}
