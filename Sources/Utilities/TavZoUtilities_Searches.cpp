// Walks over dictionaries, and what they find.

#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

/// ZoDictionaryApplyFunction with anything callable, which lives until it returns.
template <typename Callable>
static void forEachPair(ZoDictionaryRef dictionary, const Callable& callable)
{
    const auto apply = [](const void* key, const void* value, void* context) {
        (**static_cast<const Callable* const*>(context))(key, value);
    };
    const Callable* pointer = &callable;
    ZoDictionaryApplyFunction(dictionary, apply, &pointer);
}

void TavZoDictionaryApplyBlock(ZoDictionaryRef dictionary,
                               const std::function<void(const void* key, const void* value)>& block)
{
    if (dictionary && block) forEachPair(dictionary, block);
}

Boolean TavZoDictionaryFindAnyKeyForValue(ZoDictionaryRef dictionary, const void* value, const void** keyOut)
{
    if (!dictionary || !value) return false;
    if (!keyOut) return ZoDictionaryContainsValue(dictionary, value);
    bool found = false;
    forEachPair(dictionary, [&](const void* key, const void* candidate) {
        if (!TavZoEqual(candidate, value)) return;
        *keyOut = key;
        found = true;
    });
    return found;
}

Boolean TavZoDictionaryGetValueForCaseInsensitiveKeyIfPresent(ZoDictionaryRef dictionary, ZoStringRef key,
                                                              const void** valueOut)
{
    if (!dictionary || !key || !valueOut) return false;
    const ZoRange whole = ZoRangeMake(0, ZoStringGetLength(key));
    bool found = false;
    forEachPair(dictionary, [&](const void* candidate, const void* value) {
        if (!isOfType(candidate, ZoStringGetTypeID()) ||
            ZoStringCompareWithOptions(key, static_cast<ZoStringRef>(candidate), whole, kZoCompareCaseInsensitive) != 0)
            return;
        if (found) {
            ZoLog(3, ZOSTR("Sources/Utilities/TavZoUtilities %s: Duplicate key found. %@"),
                  "TavZoDictionaryGetValueForCaseInsensitiveKeyIfPresent", key);
            return;
        }
        *valueOut = value;
        found = true;
    });
    return found;
}
