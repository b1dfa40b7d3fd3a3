#include "Utilities/TavZoUtilities_ForkPropertyLists.h"

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Linux/TavLinuxHelpers.h"
#include "Platform/Ostra/OstraFilePrivate.h"
#include "Utilities/TavZoUtilities.h"

ZoPropertyListRef TavZoPropertyListCreateFromTavFileFork(ZoAllocatorRef allocator, TavFileForkRef fork,
                                                         ZoOptionFlags options, ZoPropertyListFormat* format,
                                                         ZoErrorRef* error)
{
    if (error) *error = nullptr;
    ZoRef<ZoDataRef> data;
    if (!fork || fileCopyWholeFork(__func__, allocator, fork, data.outParam()) != 0) return nullptr;
    if (ZoDataGetLength(data.get()) == 0) return nullptr;
    return ZoPropertyListCreateWithData(allocator, data.get(), options, format, error);
}

ZoIndex TavZoPropertyListWriteToTavFileFork(ZoPropertyListRef propertyList, TavFileForkRef fork,
                                            ZoPropertyListFormat format, ZoOptionFlags options, ZoErrorRef* error)
{
    if (error) *error = nullptr;
    if (!fork) return 0;
    const auto data = zoAdopt(ZoPropertyListCreateData(nullptr, propertyList, format, options, error));
    if (!data || TavFileForkTruncate(fork, 0) != 0) return 0;
    const uint8_t* const bytes = ZoDataGetBytePtr(data.get());
    const auto length = static_cast<size_t>(ZoDataGetLength(data.get()));
    size_t written = 0;
    for (size_t count = 1; written < length && count > 0; written += count)
        if (TavFileForkWrite(fork, bytes + written, length - written, static_cast<int64_t>(written), &count) != 0)
            break;
    return static_cast<ZoIndex>(written);
}

ZoPropertyListRef TavCreatePropertyListFromBundleIdentifierOnPlatform(ZoStringRef, ZoStringRef resourceName,
                                                                      ZoStringRef resourceType)
{
    ZoRef<ZoStringRef> joined;
    if (resourceName && resourceType)
        joined = zoAdopt(ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("%@.%@"), resourceName, resourceType));
    TavFileForkRef fork = nullptr;
    if (TavZoGetResourceFile(nullptr, joined ? joined.get() : resourceName, &fork) != 0) {
        (void)TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "Failed open desired resource");
        return nullptr;
    }
    ZoRef<ZoErrorRef> error;
    ZoPropertyListRef const list =
        TavZoPropertyListCreateFromTavFileFork(nullptr, fork, kZoPropertyListImmutable, nullptr, error.outParam());
    TavFileForkClose(fork);
    if (!list)
        (void)TAV_SIGNAL_NAMED(
            error ? static_cast<OSStatus>(ZoErrorGetCode(error.get())) : kTavZoUtilitiesError_AllocationFailed,
            "kTavZoUtilitiesError_AllocationFailed", "the resource holds no property list");
    return list;
}
