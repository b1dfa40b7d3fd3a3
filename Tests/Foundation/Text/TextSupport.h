// What the tests of text share beyond Tests/Support/Objects.h: UTF-16.

#pragma once

#include <string>
#include <string_view>

#include "Tests/Support/Objects.h"

namespace luvia_test {

using String = ZoRef<ZoStringRef>;

inline String fromUTF8(std::string_view utf8) { return str(utf8); }
inline String fromUTF16(std::u16string_view units)
{
    return zoAdopt(ZoStringCreateWithCharacters(nullptr, reinterpret_cast<const UniChar*>(units.data()),
                                                static_cast<ZoIndex>(units.size())));
}
inline ZoRef<ZoMutableStringRef> mutableFrom(ZoStringRef string)
{
    return zoAdopt(ZoStringCreateMutableCopy(nullptr, 0, string));
}
inline std::string toUTF8(ZoStringRef string) { return text(string); }
inline std::string toUTF8(const String& string) { return text(string); }
inline std::u16string toUTF16(ZoStringRef string)
{
    std::u16string units(static_cast<size_t>(ZoStringGetLength(string)), 0);
    ZoStringGetCharacters(string, {0, ZoStringGetLength(string)}, reinterpret_cast<UniChar*>(units.data()));
    return units;
}

}  // namespace luvia_test
