// Collections in one expression, and the failures that a call signalled.

#pragma once

#include <gtest/gtest.h>

#include <string>

#include "Tests/Support/Objects.h"
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

using luvia_test::array, luvia_test::dictionary, luvia_test::number, luvia_test::str;
inline std::string utf8(ZoStringRef string) { return luvia_test::text(string); }
/// The compact description, which shows the order and the nesting of whatever it is given.
inline std::string compact(ZoTypeRef object) { return luvia_test::textOf(TavZoCopyCompactDescription(object)); }

}  // namespace collection_test
