// Collections in one expression, and the failures that a call signalled.

#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>

#include "Foundation/Objects/ZoRef.h"
#include "Tests/Support/SignalProbe.h"
#include "Utilities/TavZoUtilities.h"

namespace collection_test {

inline luvia_test::SignalProbe gProbe;

/// "-12990 not a dict" for the failure signalled since the last call, with how many there were unless it is one.
inline std::string takeSignals()
{
    std::string signalled;
    if (gProbe.count() > 0) signalled = std::to_string(gProbe.code()) + " " + gProbe.message();
    if (gProbe.count() > 1) signalled += ", the last of " + std::to_string(gProbe.count());
    gProbe = {};
    return signalled;
}

inline ZoRef<ZoNumberRef> number(int32_t value)
{
    return zoAdopt(ZoNumberCreate(nullptr, kZoNumberSInt32Type, &value));
}

inline ZoRef<ZoMutableArrayRef> array(std::initializer_list<ZoTypeRef> values)
{
    auto result = zoAdopt(ZoArrayCreateMutable(nullptr, 0, &kZoTypeArrayCallBacks));
    for (const ZoTypeRef value : values) ZoArrayAppendValue(result.get(), value);
    return result;
}

inline ZoRef<ZoMutableDictionaryRef> dictionary(std::initializer_list<std::pair<ZoTypeRef, ZoTypeRef>> pairs)
{
    auto result = zoAdopt(
        ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    for (const auto& [key, value] : pairs) ZoDictionarySetValue(result.get(), key, value);
    return result;
}

inline std::string utf8(ZoStringRef string)
{
    char buffer[1024] = "(none)";
    if (string) ZoStringGetCString(string, buffer, sizeof buffer, kZoStringEncodingUTF8);
    return buffer;
}

/// The compact description, which shows the order and the nesting of whatever it is given.
inline std::string compact(ZoTypeRef object)
{
    const auto description = zoAdopt(TavZoCopyCompactDescription(object));
    return utf8(description.get());
}

}  // namespace collection_test
