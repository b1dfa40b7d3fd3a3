#define TAV_SUBSYSTEM "<<<< TavFile >>>>"

#include <dispatch/dispatch.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstring>

#include "Foundation/Text/ZoString.h"
#include "Platform/Ostra/OstraDebug.h"
#include "Platform/Ostra/OstraFilePath.h"
#include "Platform/Ostra/OstraFilePrivate.h"

OSStatus fileRepresentation(const char* operation, ZoURLRef url, char (&path)[kFilePathSize])
{
    if (ZoURLGetFileSystemRepresentation(url, true, reinterpret_cast<uint8_t*>(path), sizeof(path))) return 0;
    return TAV_SIGNAL_FROM(operation, kTavFilePlatformError_InvalidParameter,
                           "Could not obtain filesystem representation");
}

bool fileCopyText(ZoStringRef string, char* buffer, size_t size)
{
    const ZoRange all = {0, ZoStringGetLength(string)};
    ZoIndex used = 0;
    if (ZoStringGetBytes(string, all, kZoStringEncodingUTF8, 0, false, reinterpret_cast<uint8_t*>(buffer),
                         static_cast<ZoIndex>(size) - 1, &used) != all.length)
        return false;
    buffer[used] = '\0';
    return strlen(buffer) == static_cast<size_t>(used);
}

namespace {

struct OptionRow {
    uint32_t option;
    int flags;
};
constexpr OptionRow kOptions[] = {
    {kTavFileOpen_Create, O_CREAT},
    {kTavFileOpen_Truncate, O_TRUNC},
    {kTavFileOpen_CreateNew, O_CREAT | O_EXCL},
    {kTavFileOpen_NonBlocking, O_NONBLOCK},
};

int openFlags(uint32_t options)
{
    static_assert(O_RDONLY == kTavFileOpen_Read && O_WRONLY == kTavFileOpen_Write &&
                  O_RDWR == kTavFileOpen_ReadAndWrite);
    int flags = O_CLOEXEC | static_cast<int>(options & kTavFileOpen_AccessMask);
    for (const OptionRow& row : kOptions)
        if (options & row.option) flags |= row.flags;
    return flags;
}

struct StatusRow {
    int error;
    OSStatus status;
};
constexpr StatusRow kStatuses[] = {
    {EFAULT, kTavFilePlatformError_InvalidParameter},
    {EINVAL, kTavFilePlatformError_InvalidParameter},
    {ENOTDIR, kTavFilePlatformError_NotADirectory},
    {ENAMETOOLONG, kTavFilePlatformError_NameTooLong},
    {ENOENT, kTavFilePlatformError_FileNotFound},
    {ELOOP, kTavFilePlatformError_TooManyLinks},
    {EIO, kTavFilePlatformError_IOError},
    {EOPNOTSUPP, kTavFilePlatformError_Unsupported},
};

OSStatus mapped(OSStatus status, uint32_t options)
{
    if (status == EPERM || status == EACCES)
        return (options & kTavFileOpen_AccessMask) == kTavFileOpen_Read ? kTavFilePlatformError_ReadPermission
                                                                        : kTavFilePlatformError_WritePermission;
    for (const StatusRow& row : kStatuses)
        if (row.error == status) return row.status;
    return status;
}

void registerTraces()
{
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, nullptr, [](void*) {
        tavTraceNoteRegister(&gTavFileTrace.calls, "tavfile_trace", TavNote_AllowInternalDefaultLogs());
        tavTraceNoteRegister(&gTavFileTrace.syncs, "tavfile_fsync_trace", 1);
    });
}

// One open: what was asked for, by which operation, and the URL that it came by, if any.
struct Opening {
    const char* operation;
    const char* path;
    uint32_t options;
    ZoURLRef url;
};

void logFailedOpen(const Opening& opening, int error)
{
    const bool mayTell = TavIsItOKToLogURLs();
    tav_log(kTavLogType_Error, kTavLogFlag_LocalTime, 0, 0,
            TAV_SUBSYSTEM " %s: opening url \"%@\", path \"%s\" options 0x%08x failed errno %d %s", opening.operation,
            mayTell ? opening.url : nullptr, mayTell ? opening.path : "<redacted>", opening.options, error,
            strerror(error));
}

OSStatus lockOpened(const Opening& opening, int descriptor)
{
    while (flock(descriptor, LOCK_EX) != 0)
        if (errno != EINTR) return FILE_SIGNAL_ERRNO(opening.operation, errno, "flock failed");
    return 0;
}

OSStatus unblockOpened(const Opening& opening, int descriptor)
{
    const int flags = fcntl(descriptor, F_GETFL);
    if (flags != -1 && fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK) != -1) return 0;
    return FILE_SIGNAL_ERRNO(opening.operation, errno, "fcntl to unblock failed");
}

// `fork` has its descriptor also where a later step fails.
OSStatus openInto(const Opening& opening, int extraFlags, TavFileForkRef fork)
{
    constexpr mode_t kMode = 0644;
    if ((opening.options & kTavFileOpen_AccessMask) == kTavFileOpen_AccessMask)
        return TAV_SIGNAL_FROM(opening.operation, kTavFilePlatformError_InvalidParameter, "Invalid options");
    fork->descriptor = open(opening.path, openFlags(opening.options) | extraFlags, kMode);
    if (fork->descriptor < 0) {
        const int error = errno;
        const OSStatus status = FILE_SIGNAL_ERRNO(opening.operation, error, "open failed");
        if (opening.url) logFailedOpen(opening, error);
        return status;
    }
    if (opening.options & kTavFileOpen_ExclusiveLock) TAV_TRY(lockOpened(opening, fork->descriptor));
    if (opening.options & kTavFileOpen_NonBlocking) TAV_TRY(unblockOpened(opening, fork->descriptor));
    return 0;
}

OSStatus openFork(const Opening& opening, int extraFlags, const char* noMemory, TavFileForkRef* outFork)
{
    auto* fork = static_cast<TavFileForkRef>(ZoAllocatorAllocate(nullptr, sizeof(TavFileFork_), 0));
    if (!fork) return TAV_SIGNAL_FROM(opening.operation, kTavFilePlatformError_AllocationFailed, noMemory);
    fork->descriptor = -1;
    const OSStatus status = openInto(opening, extraFlags, fork);
    if (status != 0) {
        TavFileForkClose(fork);
        return mapped(status, opening.options);
    }
    if (opening.url && fileTraces(gTavFileTrace.calls, 2))
        FILE_TRACE(" %s: URL \"%@\", path \"%s\" options 0x%08x fd %d fork %p", opening.operation, opening.url,
                   opening.path, opening.options, fork->descriptor, static_cast<void*>(fork));
    *outFork = fork;
    return 0;
}

OSStatus openByURL(const char* operation, ZoURLRef url, uint32_t options, int extraFlags, TavFileForkRef* outFork)
{
    registerTraces();
    if (!outFork) return TAV_SIGNAL_FROM(operation, kTavFilePlatformError_InvalidParameter, "outFork was NULL");
    *outFork = nullptr;
    if (!url) return TAV_SIGNAL_FROM(operation, kTavFilePlatformError_InvalidParameter, "Invalid URL");
    char path[kFilePathSize];
    TAV_TRY(fileRepresentation(operation, url, path));
    return openFork({operation, path, options, url}, extraFlags, "Couldn't allocate openFork", outFork);
}

}  // namespace

OSStatus TavFileForkOpenMainByZoURL(ZoURLRef url, uint32_t options, TavFileForkRef* outFork)
{
    return openByURL(__func__, url, options, 0, outFork);
}

OSStatus TavFileForkOpenMainByPath(TavFilePathRef path, uint32_t options, TavFileForkRef* outFork)
{
    registerTraces();
    if (!path || !outFork) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "Invalid file paths");
    *outFork = nullptr;
    const uint32_t known = options & ~uint32_t{kTavFileOpen_NonBlocking};
    return openFork({__func__, TavFileGetOstraPath(path), known, nullptr}, 0, "allocation failed", outFork);
}

// Regular files do not care about O_NONBLOCK: it need not be cleared again.
OSStatus fileOpenForReadingAll(ZoURLRef url, TavFileForkRef* outFork)
{
    return openByURL("TavFileForkOpenMainByZoURL", url, kTavFileOpen_Read, O_NONBLOCK, outFork);
}
