// Between string objects and bytes, for sources of the object library that work on memory::String.

#pragma once

#include <string_view>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Memory/Containers.h"

/// Appends all of `string` to `out`. False, with `out` as it was, for an absent string or one that is not in
/// `encoding`.
inline bool zoAppendBytes(ZoStringRef string, ZoStringEncoding encoding, memory::String& out)
{
    if (!string) return false;
    const ZoRange all = ZoRangeMake(0, ZoStringGetLength(string));
    ZoIndex size = 0;
    if (ZoStringGetBytes(string, all, encoding, 0, false, nullptr, 0, &size) != all.length) return false;
    if (size == 0) return true;
    const size_t before = out.size();
    out.resize(before + static_cast<size_t>(size));
    ZoStringGetBytes(string, all, encoding, 0, false, reinterpret_cast<uint8_t*>(out.data() + before), size, &size);
    return true;
}

/// The string as UTF-8; empty for one that is absent or has no UTF-8 form (an unpaired surrogate).
inline memory::String zoUTF8(ZoStringRef string)
{
    memory::String text;
    zoAppendBytes(string, kZoStringEncodingUTF8, text);
    return text;
}

/// A new string, or nothing if `text` is not UTF-8 or the allocator gives nothing.
inline ZoRef<ZoStringRef> zoStringFromUTF8(ZoAllocatorRef allocator, std::string_view text)
{
    return zoAdopt(ZoStringCreateWithBytes(allocator, reinterpret_cast<const uint8_t*>(text.data()),
                                           static_cast<ZoIndex>(text.size()), kZoStringEncodingUTF8, false));
}
