// What the dictionary and text forms of times, ranges and mappings share.

#pragma once

#include <cstdio>
#include <initializer_list>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"

namespace tavtime {

struct Entry {
    ZoStringRef key;
    ZoTypeRef value;
};

/// Nothing if a value is absent or the allocator gives nothing.
inline ZoDictionaryRef createDictionary(ZoAllocatorRef allocator, std::initializer_list<Entry> entries)
{
    constexpr size_t kMostEntries = 4;
    const void* keys[kMostEntries];
    const void* values[kMostEntries];
    ZoIndex count = 0;
    for (const Entry& entry : entries) {
        if (!entry.value) return nullptr;
        keys[count] = entry.key;
        values[count++] = entry.value;
    }
    return ZoDictionaryCreate(allocator, keys, values, count, &kZoTypeDictionaryKeyCallBacks,
                              &kZoTypeDictionaryValueCallBacks);
}

inline bool isDictionary(ZoTypeRef object) { return object && ZoGetTypeID(object) == ZoDictionaryGetTypeID(); }

/// The description as a line on standard error; no line if it takes more than 511 bytes.
inline void showDescription(ZoRef<ZoStringRef> description)
{
    char text[512];
    if (description && ZoStringGetCString(description.get(), text, sizeof text, kZoStringEncodingClassicRoman))
        fprintf(stderr, "%s\n", text);
}

}  // namespace tavtime
