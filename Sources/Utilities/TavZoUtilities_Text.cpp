#include "Utilities/TavZoUtilities_Text.h"

#include <cstdlib>

const char* TavZoStringGetCStringPtrAndBufferToFree(ZoStringRef string, ZoStringEncoding encoding,
                                                    char** bufferToFreeOut)
{
    if (bufferToFreeOut) *bufferToFreeOut = nullptr;
    if (!string) return nullptr;
    const char* own = ZoStringGetCStringPtr(string, encoding);
    if (own || !bufferToFreeOut) return own;

    const ZoIndex size = ZoStringGetMaximumSizeForEncoding(ZoStringGetLength(string) + 1, encoding);
    if (size <= 0) return nullptr;
    char* buffer = static_cast<char*>(std::malloc(static_cast<size_t>(size)));
    if (!buffer) return nullptr;
    if (!ZoStringGetCString(string, buffer, size, encoding)) {
        std::free(buffer);
        return nullptr;
    }
    return *bufferToFreeOut = buffer;
}

const char* TavZoStringGetCStringPtrMaybeUsingPreallocatedBuffer(ZoStringRef string, char* buffer, size_t bufferSize,
                                                                 ZoStringEncoding encoding)
{
    if (!string) return nullptr;
    const char* own = ZoStringGetCStringPtr(string, encoding);
    if (own) return own;
    if (!buffer || bufferSize == 0 || bufferSize > static_cast<size_t>(PTRDIFF_MAX)) return nullptr;
    return ZoStringGetCString(string, buffer, static_cast<ZoIndex>(bufferSize), encoding) ? buffer : nullptr;
}
