// The format filter takes arbitrary bytes, and what it gives ends within its room.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Platform/Common/TavLogPrivate.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string format(reinterpret_cast<const char*>(data), size);
    char filtered[kTavLogFilteredFormatSize];
    memset(filtered, 'X', sizeof(filtered));
    CopyFilteredFormatString(format.c_str(), filtered);
    if (strnlen(filtered, sizeof(filtered)) == sizeof(filtered)) abort();
    return 0;
}
