#include "Utilities/TavZoUtilities_URLs.h"

#include <sys/stat.h>

#include <cerrno>

#include "Foundation/Objects/ZoAllocator.h"
#include "Utilities/TavZoUtilitiesPrivate.h"
#include "Utilities/TavZoUtilities_FilePathPrivate.h"

using namespace tavzo;

static bool isURL(ZoTypeRef object) { return isOfType(object, ZoURLGetTypeID()); }

Boolean TavZoURLIsLocalResource(ZoURLRef url)
{
    if (!isURL(url)) return false;
    const auto scheme = zoAdopt(ZoURLCopyScheme(url));
    return scheme && ZoStringCompare(scheme.get(), ZOSTR("file"), kZoCompareCaseInsensitive) == kZoCompareEqualTo;
}

// MARK: Cache keys

static ZoStringRef createCacheKey(const char* operation, ZoURLRef url, TavZoURLCacheKeyFlags flags)
{
    ZoRef<ZoStringRef> key;
    const ZoStringRef text = ZoURLGetString(url);
    const ZoRange query = ZoStringFind(text, ZOSTR("?"), 0);
    if (flags & kTavZoURLCacheKey_PathOnly)
        key.reset(ZoURLCopyPath(url));
    else if ((flags & kTavZoURLCacheKey_WithoutQuery) && query.location != kZoNotFound)
        key.reset(ZoStringCreateWithSubstring(nullptr, text, ZoRangeMake(0, query.location)));
    else
        key = ZoRef<ZoStringRef>::retain(text);
    if (!key) (void)TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_AllocationFailed, "alloc err");
    return key.release();
}

ZoStringRef TavZoURLCreateCacheKey(ZoURLRef url, TavZoURLCacheKeyFlags flags)
{
    return url ? createCacheKey(__func__, url, flags) : nullptr;
}

ZoStringRef TavZoStringCreateCacheKeyFromURLString(ZoStringRef string, TavZoURLCacheKeyFlags flags)
{
    if (!string) {
        (void)TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "invalid param");
        return nullptr;
    }
    const auto url = zoAdopt(ZoURLCreateWithString(nullptr, string, nullptr));
    if (url) return createCacheKey(__func__, url.get(), flags);
    (void)TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "alloc err");
    return nullptr;
}

// MARK: One URL from another

static bool hasScheme(ZoURLRef url) { return static_cast<bool>(zoAdopt(ZoURLCopyScheme(url))); }

/// The directory that an absolute URL names or is in.
static ZoRef<ZoURLRef> directoryOf(ZoAllocatorRef allocator, ZoURLRef url)
{
    if (ZoURLHasDirectoryPath(url)) return ZoRef<ZoURLRef>::retain(url);
    return zoAdopt(ZoURLCreateCopyDeletingLastPathComponent(allocator, url));
}

/// Text that would begin with a scheme or a root, were it not for the "./" in front of it (RFC 3986 4.2).
static bool needsDotSegment(ZoStringRef relative)
{
    const ZoIndex length = ZoStringGetLength(relative);
    for (ZoIndex i = 0; i < length; ++i) {
        const UniChar character = ZoStringGetCharacterAtIndex(relative, i);
        if (character == ':') return true;
        if (character == '/') return i == 0;
        if (character == '?' || character == '#') return false;
    }
    return false;
}

static ZoRef<ZoStringRef> relativeText(ZoAllocatorRef allocator, ZoStringRef text, ZoIndex start)
{
    const ZoRange behind = ZoRangeMake(start, ZoStringGetLength(text) - start);
    auto rest = zoAdopt(ZoStringCreateWithSubstring(allocator, text, behind));
    if (rest && needsDotSegment(rest.get()))
        rest.reset(ZoStringCreateWithFormat(allocator, nullptr, ZOSTR("./%@"), rest.get()));
    return rest;
}

/// Of two absolute URLs. The first that fails is signalled in the name of `operation`.
static OSStatus createRelative(const char* operation, ZoAllocatorRef allocator, ZoURLRef url, ZoURLRef base,
                               ZoURLRef* relativeURLOut)
{
    const auto directory = directoryOf(allocator, base);
    if (!directory) return TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_AllocationFailed, "Failed allocating URL");
    const ZoStringRef text = ZoURLGetString(url), directoryText = ZoURLGetString(directory.get());
    if (!text)
        return TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_InvalidParameter,
                               "Could not convert absoluteURL to string");
    if (!directoryText)
        return TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_InvalidParameter,
                               "Could not convert baseDirectory to string");
    // "a/." is a directory too, but a prefix of "a/.b", which is not in it.
    if (!ZoStringHasPrefix(text, directoryText) || !ZoStringHasSuffix(directoryText, ZOSTR("/")))
        return TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_IncompatibleURL,
                               "baseURL is not a parent directory of URL");
    const auto rest = relativeText(allocator, text, ZoStringGetLength(directoryText));
    if (!rest)
        return TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_AllocationFailed, "Failed allocating relativeURLString");
    *relativeURLOut = ZoURLCreateWithString(allocator, rest.get(), directory.get());
    if (*relativeURLOut) return 0;
    return TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_AllocationFailed, "Failed allocating relativeURL");
}

OSStatus TavZoURLCreateRelativeURLWithURLAndBaseURL(ZoAllocatorRef allocator, ZoURLRef url, ZoURLRef baseURL,
                                                    ZoURLRef* relativeURLOut)
{
    if (allocator && !isOfType(allocator, ZoAllocatorGetTypeID()))
        return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "Invalid allocator");
    if (!isURL(url)) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "invalid URL");
    if (!isURL(baseURL)) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "Invalid baseURL");
    if (!ZoURLCanBeDecomposed(url) || !ZoURLCanBeDecomposed(baseURL))
        return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "baseURL can't be decomposed");
    if (!relativeURLOut) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL relativeURLOut");
    *relativeURLOut = nullptr;

    const auto absolute = zoAdopt(ZoURLCopyAbsoluteURL(url));
    if (!absolute) return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "Could not make an absolute URL from URL");
    if (!hasScheme(absolute.get())) return TAV_SIGNAL(kTavZoUtilitiesError_IncompatibleURL, "URL is not absolute");
    const auto base = zoAdopt(ZoURLCopyAbsoluteURL(baseURL));
    if (!base) return TAV_SIGNAL(kTavZoUtilitiesError_IncompatibleURL, "Could not make an absolute URL from baseURL");
    if (!hasScheme(base.get())) return TAV_SIGNAL(kTavZoUtilitiesError_IncompatibleURL, "baseURL is not absolute");
    return createRelative(__func__, allocator, absolute.get(), base.get(), relativeURLOut);
}

OSStatus TavZoURLCreateWithSuffixedExtension(ZoAllocatorRef allocator, ZoURLRef url, ZoStringRef extension,
                                             ZoURLRef* urlOut)
{
    if (!url) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL url");
    if (!urlOut) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL urlOut");
    const auto present = zoAdopt(ZoURLCopyPathExtension(url));
    if (TavZoEqual(present.get(), extension))
        *urlOut = static_cast<ZoURLRef>(ZoRetain(url));
    else
        *urlOut = extension ? ZoURLCreateCopyAppendingPathExtension(allocator, url, extension) : nullptr;
    return *urlOut ? 0 : TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "alloc failed");
}

OSStatus TavReplaceURLWithString(ZoMutableDictionaryRef dictionary, const void* oldKey, const void* newKey,
                                 ZoURLRef url)
{
    const auto absolute = zoAdopt(url ? ZoURLCopyAbsoluteURL(url) : nullptr);
    if (!absolute) return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "ZoURLCopyAbsoluteURL failed");
    ZoDictionaryRemoveValue(dictionary, oldKey);
    ZoDictionarySetValue(dictionary, newKey, ZoURLGetString(absolute.get()));
    return 0;
}

OSStatus TavReplaceStringWithURL(ZoMutableDictionaryRef dictionary, const void* oldKey, const void* newKey,
                                 ZoStringRef string)
{
    const auto url = zoAdopt(string ? ZoURLCreateWithString(nullptr, string, nullptr) : nullptr);
    if (!url) return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "ZoURLCreateWithString failed");
    ZoDictionaryRemoveValue(dictionary, oldKey);
    ZoDictionarySetValue(dictionary, newKey, url.get());
    return 0;
}

// MARK: Files

Boolean TavZoURLDoesDirectoryExist(ZoURLRef url)
{
    FilePath path;
    if (!url)
        (void)TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "url is NULL.");
    else if (!path.read(url))
        (void)TAV_SIGNAL(kParamErr, "Could not obtain filesystem representation");
    else
        return path.isDirectory();
    return false;
}

OSStatus TavZoURLCreateDirectory(ZoURLRef url)
{
    FilePath path;
    // Asked again behind mkdir: somebody else may have made it meanwhile.
    if (path.read(url) && (path.isDirectory() || mkdir(path.text(), 0700) == 0 || path.isDirectory())) return 0;
    return TAV_SIGNAL(kTavZoUtilitiesError_DirCouldNotBeCreated, "Specified directory could not be created.");
}

OSStatus TavZoURLGetFileStats(ZoURLRef url, int64_t* sizeOut, int64_t* diskSizeOut,
                              struct timespec* modificationTimeOut, Boolean* isDirectoryOut)
{
    if (!url || (!sizeOut && !diskSizeOut && !modificationTimeOut && !isDirectoryOut))
        return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "Invalid parameters");
    FilePath path;
    if (!path.read(url))
        return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "Could not obtain filesystem representation");
    struct stat status;
    if (stat(path.text(), &status) != 0) return errno;
    if (sizeOut) *sizeOut = status.st_size;
    if (diskSizeOut) *diskSizeOut = int64_t{status.st_blocks} * 512;
    if (modificationTimeOut) *modificationTimeOut = status.st_mtim;
    if (isDirectoryOut) *isDirectoryOut = (status.st_mode & 0x4000) != 0;
    return 0;
}

Boolean TavZoURLIdentifiesSameFileResourceAsZoURL(ZoURLRef url1, ZoURLRef url2)
{
    if (url1 == url2) return true;
    if (!url1 || !url2) {
        logFrom(__func__, "One of the URLs is NULL but not the other");
        return false;
    }
    struct stat files[2];
    const ZoURLRef urls[2] = {url1, url2};
    for (int i = 0; i < 2; ++i) {
        FilePath path;
        if (!path.read(urls[i])) {
            logFrom(__func__, "Could not obtain filesystem representation");
            return false;
        }
        if (stat(path.text(), &files[i]) != 0) {
            logFrom(__func__, "stat failed");
            return false;
        }
    }
    const struct stat &a = files[0], &b = files[1];
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}
