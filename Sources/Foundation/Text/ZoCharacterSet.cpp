// The predefined sets of characters. ASCII is answered here, the rest of Unicode by the text services.

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Text/ZoStringPrivate.h"

struct ZoCharacterSet_ {
    ZoConstantHeader base{kZoTypeIDCharacterSet};
    ZoCharacterSetPredefinedSet number;
};

static constinit const ZoCharacterSet_ sPredefinedSets[] = {
    {.number = kZoCharacterSetControl},
    {.number = kZoCharacterSetWhitespace},
    {.number = kZoCharacterSetWhitespaceAndNewline},
    {.number = kZoCharacterSetDecimalDigit},
    {.number = kZoCharacterSetLetter},
    {.number = kZoCharacterSetLowercaseLetter},
    {.number = kZoCharacterSetUppercaseLetter},
};

const ZoRuntimeClass __ZoCharacterSetClass = {
    .version = 0,
    .className = "ZoCharacterSet",
    .init = nullptr,
    .copy = nullptr,
    .finalize = nullptr,
    .equal = nullptr,
    .hash = nullptr,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = nullptr,
    .unused = {},
};

ZoTypeID ZoCharacterSetGetTypeID(void) { return kZoTypeIDCharacterSet; }

ZoCharacterSetRef ZoCharacterSetGetPredefined(ZoCharacterSetPredefinedSet set)
{
    for (const ZoCharacterSet_& predefined : sPredefinedSets)
        if (predefined.number == set) return &predefined;
    ZO_EXPECT(false, "no predefined set of this number");
    return nullptr;
}

static bool isASCIIMember(ZoCharacterSetPredefinedSet set, uint32_t character)
{
    const bool isLower = character >= 'a' && character <= 'z';
    const bool isUpper = character >= 'A' && character <= 'Z';
    const bool isBlank = character == ' ' || character == '\t';
    switch (set) {
        case kZoCharacterSetControl: return character < 0x20 || character == 0x7F;
        case kZoCharacterSetWhitespace: return isBlank;
        case kZoCharacterSetWhitespaceAndNewline: return isBlank || (character >= '\n' && character <= '\r');
        case kZoCharacterSetDecimalDigit: return character >= '0' && character <= '9';
        case kZoCharacterSetLetter: return isLower || isUpper;
        case kZoCharacterSetLowercaseLetter: return isLower;
        case kZoCharacterSetUppercaseLetter: return isUpper;
        default: return false;
    }
}

Boolean ZoCharacterSetIsLongCharacterMember(ZoCharacterSetRef set, uint32_t character)
{
    if (!ZO_EXPECT(zoIsOfType(set, kZoTypeIDCharacterSet), "not a character set")) return false;
    if (character < 0x80) return isASCIIMember(set->number, character);
    const ZoTextServices* services = zo::textServices();
    return services && services->isMember(set->number, character);
}

Boolean ZoCharacterSetIsCharacterMember(ZoCharacterSetRef set, UniChar character)
{
    return ZoCharacterSetIsLongCharacterMember(set, character);
}
