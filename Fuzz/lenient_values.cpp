// Text of any bytes read as a setting: the three readers never fail, and agree with each other on what they accept.

#include <cstdlib>
#include <cstring>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Fuzz/Support/Require.h"
#include "Utilities/TavZoUtilities_Preferences.h"
#include "Utilities/TavZoUtilities_Text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto text =
        zoAdopt(ZoStringCreateWithBytes(nullptr, data, static_cast<ZoIndex>(size), kZoStringEncodingUTF8, false));
    if (!text) return 0;
    const int32_t one = TavGetNumberFromZoTypeWithDefault(text.get(), 1001);
    const int32_t other = TavGetNumberFromZoTypeWithDefault(text.get(), 1002);
    const Boolean yes = TavGetBooleanFromZoTypeWithDefault(text.get(), true);
    const Boolean no = TavGetBooleanFromZoTypeWithDefault(text.get(), false);
    TavGetDoubleFromZoTypeWithDefault(text.get(), 0);
    require(one == other || (one == 1001 && other == 1002), "number depends on its default");
    if (yes == no) require(one == yes && other == yes, "a word that is true or false is no such number");

    // Both ways to the bytes give the same, and they make the string again.
    char* toFree;
    const char* bytes = TavZoStringGetCStringPtrAndBufferToFree(text.get(), kZoStringEncodingUTF8, &toFree);
    char buffer[4096];
    const char* inBuffer =
        TavZoStringGetCStringPtrMaybeUsingPreallocatedBuffer(text.get(), buffer, sizeof buffer, kZoStringEncodingUTF8);
    if (bytes && inBuffer) require(strcmp(bytes, inBuffer) == 0, "bytes differ");
    if (bytes && strlen(bytes) == size) {
        const auto again = zoAdopt(ZoStringCreateWithCString(nullptr, bytes, kZoStringEncodingUTF8));
        require(again && ZoEqual(again.get(), text.get()), "bytes do not make the string again");
    }
    free(toFree);
    return 0;
}
