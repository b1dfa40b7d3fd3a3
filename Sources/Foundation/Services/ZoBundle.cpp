#include "Foundation/Services/ZoBundle.h"

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <mutex>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"
#include "Foundation/Text/ZoStringBytesPrivate.h"
#include "Memory/Containers.h"

struct ZoBundle_ {
    ZoRuntimeBase header;
    ZoStringRef identifier;
    ZoURLRef resources;
};

static ZoBundle_* bundleOf(ZoTypeRef object) { return static_cast<ZoBundle_*>(const_cast<void*>(object)); }

static void bundleFinalize(ZoTypeRef object)
{
    if (bundleOf(object)->identifier) ZoRelease(bundleOf(object)->identifier);
    if (bundleOf(object)->resources) ZoRelease(bundleOf(object)->resources);
}

static ZoStringRef bundleCopyDescription(ZoTypeRef object)
{
    return ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("<ZoBundle %@ (%@)>"), bundleOf(object)->identifier,
                                    bundleOf(object)->resources);
}

const ZoRuntimeClass __ZoBundleClass = {
    .version = 0,
    .className = "ZoBundle",
    .init = nullptr,
    .copy = nullptr,
    .finalize = bundleFinalize,
    .equal = nullptr,
    .hash = nullptr,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = bundleCopyDescription,
    .unused = {},
};

ZoTypeID ZoBundleGetTypeID(void) { return kZoTypeIDBundle; }

static bool isFolder(const memory::String& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

static memory::String programPrefix()
{
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    if (length <= 0 || static_cast<size_t>(length) >= sizeof path) return {};
    memory::String prefix(path, static_cast<size_t>(length));
    for (int i = 0; i < 2; ++i) prefix.resize(std::min(prefix.rfind('/'), prefix.size()));
    return prefix;
}

static memory::String resourcesFolder(const memory::String& identifier)
{
    const char* data = getenv("XDG_DATA_DIRS");
    const char* own = getenv("LUVIA_RESOURCES_DIR");
    memory::String roots = memory::String(own ? own : "") + ":" + programPrefix() +
                           "/share:" + (data && *data ? data : "/usr/local/share:/usr/share") + ":";
    for (size_t start = 0, colon; (colon = roots.find(':', start)) != memory::String::npos; start = colon + 1) {
        const memory::String root = roots.substr(start, colon - start);
        const memory::String folder = root + "/" + identifier + "/Resources";
        if (root.starts_with('/') && isFolder(folder)) return folder;
    }
    return {};
}

static ZoRef<ZoBundleRef> createBundle(ZoStringRef identifier, const memory::String& name)
{
    const memory::String folder = resourcesFolder(name);
    if (folder.empty()) return nullptr;
    auto bundle = zoAdopt(bundleOf(
        _ZoRuntimeCreateInstance(nullptr, kZoTypeIDBundle, sizeof(ZoBundle_) - sizeof(ZoRuntimeBase), nullptr)));
    if (!bundle) return nullptr;
    bundle.get()->identifier = ZoStringCreateCopy(nullptr, identifier);
    bundle.get()->resources = ZoURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const uint8_t*>(folder.data()), static_cast<ZoIndex>(folder.size()), true);
    return bundle;
}

ZoBundleRef ZoBundleGetBundleWithIdentifier(ZoStringRef identifier)
{
    const memory::String name = zoUTF8(identifier);
    if (name.empty() || name.front() == '.' || name.find('/') != memory::String::npos) return nullptr;
    static std::mutex sLock;
    static auto* sBundles = memory::make<memory::Map<memory::String, ZoBundleRef>>();  // never freed, as what it lends
    const std::lock_guard guard(sLock);
    const auto known = sBundles->find(name);
    if (known != sBundles->end()) return known->second;
    ZoRef<ZoBundleRef> bundle = createBundle(identifier, name);
    if (!bundle || !bundle.get()->resources) return nullptr;
    return sBundles->emplace(name, bundle.release()).first->second;
}

static bool leadsOut(const memory::String& path)
{
    return ("/" + path + "/").find("/../") != memory::String::npos || path.find('\0') != memory::String::npos;
}

ZoURLRef ZoBundleCopyResourceURL(ZoBundleRef bundle, ZoStringRef resourceName, ZoStringRef resourceType,
                                 ZoStringRef subDirectory)
{
    if (!ZO_EXPECT(zoIsOfType(bundle, kZoTypeIDBundle), "not a bundle")) return nullptr;
    memory::String path = zoUTF8(resourceName);
    if (path.empty()) return nullptr;
    const memory::String type = zoUTF8(resourceType), folder = zoUTF8(subDirectory);
    if (!type.empty()) path += "." + type;
    if (!folder.empty()) path = folder + "/" + path;
    if (leadsOut(path)) return nullptr;

    const auto name = zoStringFromUTF8(nullptr, path);
    auto url = zoAdopt(ZoURLCreateCopyAppendingPathComponent(nullptr, bundle->resources, name.get(), false));
    uint8_t file[PATH_MAX];
    if (!url || !ZoURLGetFileSystemRepresentation(url.get(), true, file, sizeof file)) return nullptr;
    return access(reinterpret_cast<const char*>(file), F_OK) == 0 ? url.release() : nullptr;
}

ZoURLRef ZoBundleCopyResourcesDirectoryURL(ZoBundleRef bundle)
{
    if (!ZO_EXPECT(zoIsOfType(bundle, kZoTypeIDBundle), "not a bundle")) return nullptr;
    return ZoRef<ZoURLRef>::retain(bundle->resources).release();
}
