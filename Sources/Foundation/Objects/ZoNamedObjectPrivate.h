// Objects that are a name and nothing else: locales and time zones, whose rules ICU keeps under it. Equal names make
// equal objects. For sources of the object library only.

#pragma once

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoStringPrivate.h"

struct ZoNamedObject {
    ZoRuntimeBase base;
    ZoStringRef name;
};

inline ZoStringRef zoNameOf(ZoTypeRef object) { return static_cast<const ZoNamedObject*>(object)->name; }

/// The record of such a class.
constexpr ZoRuntimeClass zoNamedObjectClass(const char* className)
{
    return {
        .version = 0,
        .className = className,
        .init = nullptr,
        .copy = nullptr,
        .finalize =
            [](ZoTypeRef object) {
                if (ZoStringRef name = zoNameOf(object)) ZoRelease(name);
            },
        .equal = [](ZoTypeRef a, ZoTypeRef b) -> Boolean { return zo::stringsEqual(zoNameOf(a), zoNameOf(b)); },
        .hash = [](ZoTypeRef object) { return zo::stringHash(zoNameOf(object)); },
        .copyFormattingDesc = nullptr,
        .copyDebugDesc =
            [](ZoTypeRef object) {
                const char* name = _ZoRuntimeGetClassWithTypeID(ZoGetTypeID(object))->className;
                return ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("<%s %@>"), name, zoNameOf(object));
            },
        .unused = {},
    };
}

/// A new object of a type whose instances are a ZoNamedObject. Nothing without a name.
template <typename Ref>
Ref zoCreateNamedObject(ZoAllocatorRef allocator, ZoTypeID typeID, ZoRef<ZoStringRef> name)
{
    if (!name) return nullptr;
    constexpr ZoIndex kFields = sizeof(ZoNamedObject) - sizeof(ZoRuntimeBase);
    ZoTypeRef object = _ZoRuntimeCreateInstance(allocator, typeID, kFields, nullptr);
    if (object) static_cast<ZoNamedObject*>(const_cast<void*>(object))->name = name.release();
    return static_cast<Ref>(object);
}
