// The public surface as rows of operations, and what they compare with. Nothing here allocates on its own account.

#pragma once

#include <cstring>
#include <span>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Tests/Support/Makers.h"

namespace luvia_test {

extern const std::span<const Maker> kFoundationMakers, kCoreMakers, kPlatformMakers;

inline bool isText(ZoStringRef string, const char* expected)
{
    char text[1024];
    return string && ZoStringGetCString(string, text, sizeof(text), kZoStringEncodingUTF8) &&
           std::strcmp(text, expected) == 0;
}
template <typename Ref>
Made madeText(const ZoRef<Ref>& string, const char* expected)
{
    return made(static_cast<bool>(string), isText(string.get(), expected));
}

}  // namespace luvia_test
