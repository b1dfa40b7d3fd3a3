#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Utilities/TavZoUtilities_Preferences.h"

namespace {

/// A value under its type; what is absent is none of them.
struct Value {
    ZoStringRef string = nullptr;
    ZoNumberRef number = nullptr;
    ZoBooleanRef boolean = nullptr;

    explicit Value(ZoTypeRef object)
    {
        const ZoTypeID type = object ? ZoGetTypeID(object) : 0;
        if (type == 0) return;
        if (type == ZoStringGetTypeID()) string = static_cast<ZoStringRef>(object);
        if (type == ZoNumberGetTypeID()) number = static_cast<ZoNumberRef>(object);
        if (type == ZoBooleanGetTypeID()) boolean = static_cast<ZoBooleanRef>(object);
    }

    bool is(ZoStringRef word) const
    {
        return ZoStringCompare(string, word, kZoCompareCaseInsensitive) == kZoCompareEqualTo;
    }
    bool saysYes() const { return is(ZOSTR("true")) || is(ZOSTR("yes")); }
    bool saysNo() const { return is(ZOSTR("false")) || is(ZOSTR("no")) || is(ZOSTR("0")); }
};

}  // namespace

int32_t TavGetNumberFromZoTypeWithDefault(ZoTypeRef object, int32_t defaultValue)
{
    const Value value(object);
    if (value.string) {
        const int32_t number = ZoStringGetIntValue(value.string);
        if (number != 0) return number;
        if (value.saysYes()) return 1;
        return value.saysNo() ? 0 : defaultValue;
    }
    int32_t number;
    if (value.number) return ZoNumberGetValue(value.number, kZoNumberSInt32Type, &number) ? number : defaultValue;
    if (value.boolean) return ZoBooleanGetValue(value.boolean) ? 1 : 0;
    return defaultValue;
}

double TavGetDoubleFromZoTypeWithDefault(ZoTypeRef object, double defaultValue)
{
    const Value value(object);
    if (value.string) {
        const double number = ZoStringGetDoubleValue(value.string);
        if (number != 0.0) return number;
        return value.is(ZOSTR("0")) || value.is(ZOSTR("0.0")) ? 0.0 : defaultValue;
    }
    double number;
    return value.number && ZoNumberGetValue(value.number, kZoNumberDoubleType, &number) ? number : defaultValue;
}

Boolean TavGetBooleanFromZoTypeWithDefault(ZoTypeRef object, Boolean defaultValue)
{
    const Value value(object);
    if (value.boolean) return ZoBooleanGetValue(value.boolean);
    if (value.number) {
        int32_t number = 0;  // what comes closest will do
        ZoNumberGetValue(value.number, kZoNumberSInt32Type, &number);
        return number != 0;
    }
    if (value.string) {
        if (value.saysYes() || value.is(ZOSTR("1"))) return true;
        if (value.saysNo()) return false;
    }
    return defaultValue;
}
