// Objects of the object library in one expression, and back to what a test compares.

#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoNumber.h"

namespace luvia_test {

/// A string object of UTF-8 text, which may hold NULs.
inline ZoRef<ZoStringRef> str(std::string_view text)
{
    return zoAdopt(ZoStringCreateWithBytes(nullptr, reinterpret_cast<const uint8_t*>(text.data()),
                                           static_cast<ZoIndex>(text.size()), kZoStringEncodingUTF8, false));
}

/// The object's text in UTF-8, "(none)" without an object; a surrogate that stands alone is "?".
inline std::string text(ZoStringRef string)
{
    if (!string) return "(none)";
    const ZoRange all = {0, ZoStringGetLength(string)};
    ZoIndex used = 0;
    ZoStringGetBytes(string, all, kZoStringEncodingUTF8, '?', false, nullptr, 0, &used);
    std::string out(static_cast<size_t>(used), '\0');
    ZoStringGetBytes(string, all, kZoStringEncodingUTF8, '?', false, reinterpret_cast<uint8_t*>(out.data()), used,
                     &used);
    return out;
}
inline std::string text(const ZoRef<ZoStringRef>& string) { return text(string.get()); }
inline std::string text(const ZoRef<ZoMutableStringRef>& string) { return text(string.get()); }
/// The same of a string that the caller owns.
inline std::string textOf(ZoStringRef string) { return text(zoAdopt(string)); }

inline ZoRef<ZoNumberRef> number(int64_t value)
{
    return zoAdopt(ZoNumberCreate(nullptr, kZoNumberSInt64Type, &value));
}
inline ZoRef<ZoNumberRef> real(double value) { return zoAdopt(ZoNumberCreate(nullptr, kZoNumberFloat64Type, &value)); }

inline ZoRef<ZoDataRef> dataOf(std::string_view bytes)
{
    return zoAdopt(
        ZoDataCreate(nullptr, reinterpret_cast<const uint8_t*>(bytes.data()), static_cast<ZoIndex>(bytes.size())));
}
inline std::string bytesOf(ZoDataRef data)
{
    return data ? std::string(reinterpret_cast<const char*>(ZoDataGetBytePtr(data)),
                              static_cast<size_t>(ZoDataGetLength(data)))
                : "(none)";
}

inline ZoRef<ZoMutableArrayRef> array(std::initializer_list<ZoTypeRef> values = {})
{
    auto result = zoAdopt(ZoArrayCreateMutable(nullptr, 0, &kZoTypeArrayCallBacks));
    for (const ZoTypeRef value : values) ZoArrayAppendValue(result.get(), value);
    return result;
}
inline ZoRef<ZoMutableDictionaryRef> dictionary(std::initializer_list<std::pair<ZoTypeRef, ZoTypeRef>> pairs = {})
{
    auto result = zoAdopt(
        ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    for (const auto& [key, value] : pairs) ZoDictionarySetValue(result.get(), key, value);
    return result;
}

}  // namespace luvia_test
