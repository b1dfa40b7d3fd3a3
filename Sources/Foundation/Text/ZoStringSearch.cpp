// Comparison, search and replacement. Order is that of the UTF-16 units; without regard to case, of their folded forms.

#include <algorithm>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Text/ZoStringPrivate.h"
#include "Memory/Containers.h"

using zo::TextView;

/// The unit at `index` in its folded form. Simple folding keeps a character's number of units, so that either half of a
/// pair has a folded half.
static UniChar foldedUnit(const TextView& text, ZoIndex index)
{
    const UniChar unit = text[index];
    if (unit < 0x80) return unit >= 'A' && unit <= 'Z' ? static_cast<UniChar>(unit | 0x20) : unit;
    const ZoTextServices* services = zo::textServices();
    if (!services) return unit;
    if (!zo::isSurrogate(unit)) return static_cast<UniChar>(services->foldCase(unit));
    const bool isSecond = zo::isLowSurrogate(unit);
    if (isSecond && index == 0) return unit;
    ZoIndex units;
    const uint32_t folded = services->foldCase(zo::codePointAt(text, isSecond ? index - 1 : index, units));
    if (units == 1 || folded < 0x10000) return unit;
    return isSecond ? zo::lowSurrogateOf(folded) : zo::highSurrogateOf(folded);
}

static UniChar unitAt(const TextView& text, ZoIndex index, bool fold)
{
    return fold ? foldedUnit(text, index) : text[index];
}

static ZoComparisonResult sign(ZoIndex difference) { return difference < 0 ? -1 : difference > 0; }

static ZoComparisonResult compareTexts(const TextView& a, const TextView& b, bool fold)
{
    const ZoIndex common = std::min(a.length, b.length);
    if (!fold && !a.wide && !b.wide) {
        const int order = common ? memcmp(a.units, b.units, static_cast<size_t>(common)) : 0;
        return sign(order ? order : a.length - b.length);
    }
    for (ZoIndex i = 0; i < common; ++i) {
        const UniChar left = unitAt(a, i, fold), right = unitAt(b, i, fold);
        if (left != right) return left < right ? kZoCompareLessThan : kZoCompareGreaterThan;
    }
    return sign(a.length - b.length);
}

static bool matchesAt(const TextView& text, ZoIndex at, const TextView& wanted, bool fold)
{
    if (!fold) return zo::textsEqual(text.sub(at, wanted.length), wanted);
    for (ZoIndex i = 0; i < wanted.length; ++i)
        if (unitAt(text, at + i, true) != unitAt(wanted, i, true)) return false;
    return true;
}

/// Where `wanted` stands within `range`, or -1. Nothing stands nowhere.
static ZoIndex findText(const TextView& text, ZoRange range, const TextView& wanted, ZoStringCompareFlags flags)
{
    const ZoIndex first = range.location, last = range.location + range.length - wanted.length;
    if (wanted.length == 0 || last < first) return kZoNotFound;
    const bool fold = flags & kZoCompareCaseInsensitive;
    const bool backwards = flags & kZoCompareBackwards;
    if (flags & kZoCompareAnchored) {
        const ZoIndex anchor = backwards ? last : first;
        return matchesAt(text, anchor, wanted, fold) ? anchor : kZoNotFound;
    }
    if (!fold && !backwards && !text.wide && !wanted.wide) {
        const void* found = memmem(text.ascii() + first, static_cast<size_t>(range.length), wanted.units,
                                   static_cast<size_t>(wanted.length));
        return found ? static_cast<const uint8_t*>(found) - text.ascii() : kZoNotFound;
    }
    const UniChar start = unitAt(wanted, 0, fold);
    const ZoIndex step = backwards ? -1 : 1;
    for (ZoIndex at = backwards ? last : first; at >= first && at <= last; at += step)
        if (unitAt(text, at, fold) == start && matchesAt(text, at, wanted, fold)) return at;
    return kZoNotFound;
}

ZoComparisonResult ZoStringCompare(ZoStringRef string1, ZoStringRef string2, ZoStringCompareFlags flags)
{
    return compareTexts(zo::textView(string1), zo::textView(string2), flags & kZoCompareCaseInsensitive);
}

ZoComparisonResult ZoStringCompareWithOptions(ZoStringRef string1, ZoStringRef string2, ZoRange rangeInString1,
                                              ZoStringCompareFlags flags)
{
    const TextView text = zo::textView(string1);
    const ZoRange range = zo::rangeWithin(rangeInString1, text.length);
    return compareTexts(text.sub(range.location, range.length), zo::textView(string2),
                        flags & kZoCompareCaseInsensitive);
}

Boolean ZoStringHasPrefix(ZoStringRef string, ZoStringRef prefix)
{
    const TextView text = zo::textView(string), start = zo::textView(prefix);
    return start.length <= text.length && matchesAt(text, 0, start, false);
}

Boolean ZoStringHasSuffix(ZoStringRef string, ZoStringRef suffix)
{
    const TextView text = zo::textView(string), end = zo::textView(suffix);
    return end.length <= text.length && matchesAt(text, text.length - end.length, end, false);
}

Boolean ZoStringFindWithOptions(ZoStringRef string, ZoStringRef stringToFind, ZoRange range, ZoStringCompareFlags flags,
                                ZoRange* result)
{
    const TextView text = zo::textView(string), wanted = zo::textView(stringToFind);
    const ZoIndex found = findText(text, zo::rangeWithin(range, text.length), wanted, flags);
    if (result) *result = found == kZoNotFound ? ZoRange{kZoNotFound, 0} : ZoRange{found, wanted.length};
    return found != kZoNotFound;
}

ZoRange ZoStringFind(ZoStringRef string, ZoStringRef stringToFind, ZoStringCompareFlags flags)
{
    ZoRange result;
    ZoStringFindWithOptions(string, stringToFind, {0, zo::textView(string).length}, flags, &result);
    return result;
}

Boolean ZoStringFindCharacterFromSet(ZoStringRef string, ZoCharacterSetRef set, ZoRange range,
                                     ZoStringCompareFlags flags, ZoRange* result)
{
    if (result) *result = {kZoNotFound, 0};
    if (!ZO_EXPECT(zoIsOfType(set, kZoTypeIDCharacterSet), "not a character set")) return false;
    const TextView text = zo::textView(string);
    const ZoRange within = zo::rangeWithin(range, text.length);
    const TextView searched = text.sub(within.location, within.length);
    const bool backwards = flags & kZoCompareBackwards;
    for (ZoIndex done = 0; done < searched.length;) {
        ZoIndex at = backwards ? searched.length - 1 - done : done;
        if (backwards && at > 0 && zo::isLowSurrogate(searched[at]) && zo::isHighSurrogate(searched[at - 1])) --at;
        ZoIndex units;
        const uint32_t character = zo::codePointAt(searched, at, units);
        if (ZoCharacterSetIsLongCharacterMember(set, character)) {
            if (result) *result = {within.location + at, units};
            return true;
        }
        if (flags & kZoCompareAnchored) break;
        done += units;
    }
    return false;
}

ZoIndex ZoStringFindAndReplace(ZoMutableStringRef string, ZoStringRef stringToFind, ZoStringRef replacement,
                               ZoRange range, ZoStringCompareFlags flags)
{
    if (!zo::isMutableString(string)) return 0;
    const TextView text = zo::textView(string), wanted = zo::textView(stringToFind);
    ZoRange rest = zo::rangeWithin(range, text.length);
    memory::Vector<ZoIndex> places;
    for (ZoIndex at; (at = findText(text, rest, wanted, flags)) != kZoNotFound;) {
        places.push_back(at);
        if (flags & kZoCompareAnchored) break;
        const ZoIndex end = rest.location + rest.length, behind = at + wanted.length;
        rest = flags & kZoCompareBackwards ? ZoRange{rest.location, at - rest.location} : ZoRange{behind, end - behind};
    }
    if (places.empty()) return 0;
    if (flags & kZoCompareBackwards) std::reverse(places.begin(), places.end());
    zo::TextBuffer replaced;
    ZoIndex copied = 0;
    for (const ZoIndex at : places) {
        replaced.append(text.sub(copied, at - copied));
        replaced.append(zo::textView(replacement));
        copied = at + wanted.length;
    }
    replaced.append(text.sub(copied, text.length - copied));
    zo::TextBuffer whole(string);
    if (!replaced.ok()) whole.fail();
    whole.replace({0, text.length}, replaced.view());
    whole.giveBack(string);
    return static_cast<ZoIndex>(places.size());
}
