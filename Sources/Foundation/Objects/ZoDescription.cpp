// The text of any object, for people.

#include <cstdio>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"
#include "Foundation/Text/ZoString.h"

static ZoStringRef createText(const char* text)
{
    return ZoStringCreateWithCString(nullptr, text, kZoStringEncodingASCII);
}

ZoStringRef ZoCopyDescription(ZoTypeRef object)
{
    if (!ZO_EXPECT(object, "absent object")) return createText("(null)");
    const ZoRuntimeClass* cls = _ZoRuntimeGetClassWithTypeID(ZoGetTypeID(object));
    if (cls && cls->copyDebugDesc) {
        ZoStringRef text = cls->copyDebugDesc(object);
        if (text) return text;
    }
    char name[128];
    std::snprintf(name, sizeof name, "<%s>", cls && cls->className ? cls->className : "object");
    ZoStringRef text = ZoStringCreateWithCString(nullptr, name, kZoStringEncodingUTF8);
    return text ? text : createText("<object>");
}
