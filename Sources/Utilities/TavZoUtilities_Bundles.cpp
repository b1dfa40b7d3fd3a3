// What bundles hold of property lists.

#include "Foundation/Services/ZoBundle.h"
#include "Utilities/TavZoUtilitiesPrivate.h"
#include "Utilities/TavZoUtilities_FilePathPrivate.h"
#include "Utilities/TavZoUtilities_PropertyLists.h"

using namespace tavzo;

static std::nullptr_t refuse(const char* operation, const char* message)
{
    (void)TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_BadBundle, message);
    return nullptr;
}

static ZoPropertyListRef createFromBundle(const char* operation, ZoAllocatorRef allocator, ZoStringRef bundleID,
                                          ZoStringRef resourceName, ZoStringRef resourceType)
{
    const ZoBundleRef bundle = bundleID ? ZoBundleGetBundleWithIdentifier(bundleID) : nullptr;
    if (!bundle) return refuse(operation, "ZoBundleGetBundleWithIdentifier failed");
    const auto url =
        zoAdopt(resourceName ? ZoBundleCopyResourceURL(bundle, resourceName, resourceType, nullptr) : nullptr);
    const auto stream = zoAdopt(url ? ZoReadStreamCreateWithFile(allocator, url.get()) : nullptr);
    if (!stream) return refuse(operation, "ZoReadStreamCreateWithFile failed");
    if (!ZoReadStreamOpen(stream.get())) return refuse(operation, "ZoReadStreamOpen failed");
    const ZoPropertyListRef list =
        ZoPropertyListCreateWithStream(allocator, stream.get(), 0, kZoPropertyListImmutable, nullptr, nullptr);
    return list ? list : refuse(operation, "ZoPropertyListCreateFromStream failed");
}

ZoPropertyListRef TavCreatePropertyListFromBundleIdentifier(ZoAllocatorRef allocator, ZoStringRef bundleID,
                                                            ZoStringRef resourceName, ZoStringRef resourceType)
{
    return createFromBundle(__func__, allocator, bundleID, resourceName, resourceType);
}

ZoPropertyListRef TavZoCreatePropertyListFromBundleIdentifier(ZoAllocatorRef allocator, ZoStringRef bundleID,
                                                              ZoStringRef resourceName, ZoStringRef resourceType)
{
    return createFromBundle(__func__, allocator, bundleID, resourceName, resourceType);
}

Boolean TavZoBundleIDResourceSubdirExists(ZoStringRef bundleID, ZoStringRef subdirectory)
{
    const ZoBundleRef bundle = bundleID ? ZoBundleGetBundleWithIdentifier(bundleID) : nullptr;
    if (!bundle) return refuse(__func__, "ZoBundleGetBundleWithIdentifier failed") != nullptr;
    const auto resources = zoAdopt(ZoBundleCopyResourcesDirectoryURL(bundle));
    if (!resources) return refuse(__func__, "ZoBundleCopyResourcesDirectoryURL failed") != nullptr;
    const auto url = zoAdopt(
        subdirectory ? ZoURLCreateCopyAppendingPathComponent(nullptr, resources.get(), subdirectory, true) : nullptr);
    if (!url) return refuse(__func__, "ZoURLCreateCopyAppendingPathComponent failed") != nullptr;
    FilePath path;
    return path.read(url.get()) && path.isDirectory();
}
