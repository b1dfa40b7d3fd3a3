#include "Platform/Linux/TavLinuxHelpers.h"

#include <dispatch/dispatch.h>
#include <dlfcn.h>
#include <libgen.h>
#include <link.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "Foundation/Objects/ZoRef.h"
#include "Platform/Common/CommonFile.h"
#include "Platform/Ostra/OstraFilePrivate.h"
#include "Utilities/TavZoUtilities.h"

static char sTavBinaryResourceFolder[kFilePathSize];
static char sTavShareResourceFolder[kFilePathSize];

// The file of the module that this code is in. The program itself goes by the name that it was started with, which
// need not be a path: the kernel knows better.
static void modulePath(char (&path)[kFilePathSize])
{
    path[0] = '\0';
    Dl_info info;
    link_map* map = nullptr;
    if (dladdr1(reinterpret_cast<const void*>(TavZoGetResourceFile), &info, reinterpret_cast<void**>(&map),
                RTLD_DL_LINKMAP) == 0)
        return;
    snprintf(path, sizeof(path), "%s", info.dli_fname);
    if (map && map->l_name && map->l_name[0] != '\0') return;
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (length > 0)
        path[length] = '\0';
    else
        snprintf(path, sizeof(path), "%s", info.dli_fname);
}

static void TavResourcePathLoader(void*)
{
    char path[kFilePathSize];
    modulePath(path);
    const char* const folder = dirname(path);
    snprintf(sTavBinaryResourceFolder, sizeof(sTavBinaryResourceFolder), "%s", folder);
    snprintf(sTavShareResourceFolder, sizeof(sTavShareResourceFolder), "%s/../share", folder);
}

// A URL of `name` in `folder`, or of the name alone; nothing if there is no such file.
static ZoRef<ZoURLRef> tavZoCreateFileSystemResourceURL(ZoAllocatorRef allocator, const char* folder, ZoStringRef name)
{
    char text[kFilePathSize], path[kFilePathSize];
    if (!fileCopyText(name, text, sizeof(text)) || text[0] == '\0') return nullptr;
    const int length =
        folder ? snprintf(path, sizeof(path), "%s/%s", folder, text) : snprintf(path, sizeof(path), "%s", text);
    if (length >= static_cast<int>(sizeof(path))) return nullptr;
    auto url = zoAdopt(
        ZoURLCreateFromFileSystemRepresentation(allocator, reinterpret_cast<const uint8_t*>(path), length, false));
    if (!url) {
        (void)TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "Unable to allocate memory for resource URL");
        return nullptr;
    }
    return TavFileDoesFileExist(url.get()) ? std::move(url) : nullptr;
}

OSStatus TavZoGetResourceFile(ZoAllocatorRef allocator, ZoStringRef resourceName, TavFileForkRef* outFork)
{
    if (!resourceName) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "Invalid resource name");
    if (!outFork) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "File handle holder cannot be NULL");
    *outFork = nullptr;
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, nullptr, TavResourcePathLoader);
    ZoRef<ZoURLRef> url;
    for (const char* folder : {+sTavBinaryResourceFolder, static_cast<char*>(nullptr), +sTavShareResourceFolder})
        if (!url) url = tavZoCreateFileSystemResourceURL(allocator, folder, resourceName);
    if (!url) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "Unable to find the given resource name");
    return TavFileForkOpenMainByZoURL(url.get(), kTavFileOpen_Read, outFork);
}

locale_t TavGetCLocale(void)
{
    static locale_t sTavCLocale;
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, nullptr, [](void*) { sTavCLocale = newlocale(LC_ALL_MASK, "C", nullptr); });
    return sTavCLocale;
}
