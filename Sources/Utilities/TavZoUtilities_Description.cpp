#include "Core/TavTime/LuTime.h"
#include "Memory/Containers.h"
#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

static void appendDescription(ZoMutableStringRef text, ZoTypeRef object);

static void appendTime(ZoMutableStringRef text, LuTime time)
{
    if (LuTimeIsPositiveInfinity(time)) return ZoStringAppend(text, ZOSTR("+inf"));
    if (LuTimeIsNegativeInfinity(time)) return ZoStringAppend(text, ZOSTR("-inf"));
    if (LuTimeIsIndefinite(time)) return ZoStringAppend(text, ZOSTR("indef"));
    ZoStringAppendFormat(text, nullptr, ZOSTR("%1.3f"), LuTimeGetSeconds(time));
}

/// Entries with ", " between them, each written by `appendEntry`.
namespace {
struct Entries {
    ZoMutableStringRef text;
    bool first = true;

    void separate()
    {
        if (!first) ZoStringAppend(text, ZOSTR(", "));
        first = false;
    }
};
}  // namespace

static void appendPair(const void* key, const void* value, void* context)
{
    auto& entries = *static_cast<Entries*>(context);
    entries.separate();
    appendDescription(entries.text, key);
    ZoStringAppend(entries.text, ZOSTR(" = "));
    appendDescription(entries.text, value);
}

static void appendElements(ZoMutableStringRef text, ZoArrayRef array)
{
    Entries entries{text};
    const auto append = [](const void* value, void* context) {
        auto& to = *static_cast<Entries*>(context);
        to.separate();
        appendDescription(to.text, value);
    };
    TavZoArrayApplyFunction(array, append, &entries);
}

static void appendDictionary(ZoMutableStringRef text, ZoDictionaryRef dictionary)
{
    const LuTime time = LuTimeMakeFromDictionary(dictionary);
    if (LuTimeIsValid(time)) return appendTime(text, time);
    ZoStringAppend(text, ZOSTR("["));
    Entries entries{text};
    ZoDictionaryApplyFunction(dictionary, appendPair, &entries);
    ZoStringAppend(text, ZOSTR("]"));
}

static void appendDescription(ZoMutableStringRef text, ZoTypeRef object)
{
    if (!object) return ZoStringAppend(text, ZOSTR("NULL"));
    const ZoTypeID type = ZoGetTypeID(object);
    if (type == ZoDictionaryGetTypeID()) {
        appendDictionary(text, static_cast<ZoDictionaryRef>(object));
    } else if (type == ZoArrayGetTypeID()) {
        ZoStringAppend(text, ZOSTR("["));
        appendElements(text, static_cast<ZoArrayRef>(object));
        ZoStringAppend(text, ZOSTR("]"));
    } else if (type == ZoSetGetTypeID()) {
        ZoRef<ZoArrayRef> elements;
        if (TavZoSetCopyValuesAsZoArray(static_cast<ZoSetRef>(object), elements.outParam()) != 0) memory::stop();
        ZoStringAppend(text, ZOSTR("{"));
        appendElements(text, elements.get());
        ZoStringAppend(text, ZOSTR("}"));
    } else {
        ZoStringAppendFormat(text, nullptr, ZOSTR("%@"), object);
    }
}

ZoMutableStringRef TavZoCopyCompactDescription(ZoTypeRef object)
{
    const ZoMutableStringRef text = ZoStringCreateMutable(nullptr, 0);
    if (text) appendDescription(text, object);
    return text;
}
