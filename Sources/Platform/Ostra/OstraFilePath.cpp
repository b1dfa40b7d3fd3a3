#define TAV_SUBSYSTEM "<<<< TavFile >>>>"

#include "Platform/Ostra/OstraFilePath.h"

#include <dispatch/dispatch.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Ostra/OstraFilePrivate.h"

struct TavFilePath_ {
    ZoRuntimeBase base;
    char text[];
};

static char* textOf(ZoTypeRef object) { return static_cast<TavFilePathRef>(const_cast<void*>(object))->text; }

static const ZoRuntimeClass sFilePathClass = {
    .version = 0,
    .className = "TavFilePath",
    .init = [](ZoTypeRef object) { textOf(object)[0] = '\0'; },
    .copy = nullptr,
    .finalize = [](ZoTypeRef) {},
    .equal = [](ZoTypeRef a, ZoTypeRef b) -> Boolean { return strcmp(textOf(a), textOf(b)) == 0; },
    .hash = nullptr,
    .copyFormattingDesc =
        [](ZoTypeRef object, ZoDictionaryRef) {
            return ZoStringCreateWithFormat(ZoGetAllocator(object), nullptr, ZOSTR("[%s]"), textOf(object));
        },
    .copyDebugDesc =
        [](ZoTypeRef object) {
            return ZoStringCreateWithFormat(ZoGetAllocator(object), nullptr, ZOSTR("<TavFilePathRef %p [%p]>{path:%s}"),
                                            object, static_cast<const void*>(ZoGetAllocator(object)), textOf(object));
        },
    .unused = {},
};

ZoTypeID TavFilePathGetTypeID(void)
{
    static ZoTypeID sTypeID;
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, &sTypeID,
                    [](void* typeID) { *static_cast<ZoTypeID*>(typeID) = _ZoRuntimeRegisterClass(&sFilePathClass); });
    return sTypeID;
}

static OSStatus filePathCreate(const char* operation, ZoAllocatorRef allocator, std::string_view text,
                               TavFilePathRef* outFilePath)
{
    if (text.size() >= kFilePathSize)
        return TAV_SIGNAL_FROM(operation, kTavFilePlatformError_InvalidParameter,
                               "File path length exceeds allowed max");
    const ZoTypeRef object =
        _ZoRuntimeCreateInstance(allocator, TavFilePathGetTypeID(), static_cast<ZoIndex>(text.size() + 1), nullptr);
    if (!object) return TAV_SIGNAL_FROM(operation, -1, "Zo failure");
    memcpy(textOf(object), text.data(), text.size());
    textOf(object)[text.size()] = '\0';
    *outFilePath = static_cast<TavFilePathRef>(const_cast<void*>(object));
    return 0;
}

OSStatus TavFilePathCreateFromOstraPath(ZoAllocatorRef allocator, const char* path, TavFilePathRef* outFilePath)
{
    if (outFilePath) *outFilePath = nullptr;
    if (!path || !outFilePath) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "Invalid file paths");
    char resolved[kFilePathSize];  // half filled where resolving fails
    const char* const text = realpath(path, resolved) ? resolved : path;
    return filePathCreate(__func__, allocator, {text, strnlen(text, kFilePathSize)}, outFilePath);
}

OSStatus TavFilePathCreateFromNativePath(ZoAllocatorRef allocator, ZoStringRef string, TavFilePathRef* outFilePath)
{
    static constexpr char kScheme[] = "file://";
    constexpr size_t kSchemeLength = sizeof(kScheme) - 1;
    if (outFilePath) *outFilePath = nullptr;
    if (!string || !outFilePath) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "Invalid file paths");
    char text[kFilePathSize + kSchemeLength];
    const ZoRange all = {0, ZoStringGetLength(string)};
    ZoIndex used = 0;
    if (ZoStringGetBytes(string, all, kZoStringEncodingUTF8, 0, false, nullptr, 0, &used) == all.length &&
        used >= static_cast<ZoIndex>(sizeof(text)))
        return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "File path length exceeds allowed max");
    if (!fileCopyText(string, text, sizeof(text))) return TAV_SIGNAL(kTavFilePathError_BadEncoding, "bad encoding");
    const bool hasScheme = strncasecmp(text, kScheme, kSchemeLength) == 0;
    return TavFilePathCreateFromOstraPath(allocator, hasScheme ? text + kSchemeLength : text, outFilePath);
}

OSStatus TavFilePathCreateFromParent(ZoAllocatorRef allocator, TavFilePathRef parent, const char* childName,
                                     TavFilePathRef* outFilePath)
{
    if (outFilePath) *outFilePath = nullptr;
    if (!parent || !childName || !outFilePath)
        return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "Invalid file paths");
    const std::string_view folder = parent->text;
    if (folder.size() + strnlen(childName, kFilePathSize) + 2 >= kFilePathSize)
        return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "File path length exceeds allowed max");
    char joined[kFilePathSize];
    snprintf(joined, sizeof(joined), "%s%s%s", parent->text, folder.ends_with('/') ? "" : "/", childName);
    return TavFilePathCreateFromOstraPath(allocator, joined, outFilePath);
}

OSStatus TavFilePathCreateFromChild(ZoAllocatorRef allocator, TavFilePathRef child, TavFilePathRef* outParent)
{
    if (outParent) *outParent = nullptr;
    if (!child || !outParent) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "Invalid file paths");
    const std::string_view text = child->text;
    const size_t slash = text.size() < 2 ? text.npos : text.rfind('/', text.size() - 2);
    if (slash == text.npos) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "NULL lastSlash");
    return filePathCreate(__func__, allocator, text.substr(0, slash + 1), outParent);
}

const char* TavFileGetOstraPath(TavFilePathRef filePath) { return filePath ? filePath->text : nullptr; }
