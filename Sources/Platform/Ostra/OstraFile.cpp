#define TAV_SUBSYSTEM "<<<< TavFile >>>>"

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "Foundation/Objects/ZoAllocator.h"
#include "Platform/Ostra/OstraDebugPrivate.h"
#include "Platform/Ostra/OstraFilePrivate.h"

static_assert(sizeof(off_t) == 8);

TavFileTrace gTavFileTrace;

// Without a fork the descriptor is none, and the system says so.
int32_t TavFileGetOstraFileDesc(TavFileForkRef fork) { return fork ? fork->descriptor : -1; }

OSStatus TavFileWrapOstraFileDesc(int32_t descriptor, TavFileForkRef* outFork)
{
    if (!outFork) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "outFork was NULL");
    *outFork = static_cast<TavFileForkRef>(ZoAllocatorAllocate(nullptr, sizeof(TavFileFork_), 0));
    if (!*outFork) return TAV_SIGNAL(kTavFilePlatformError_AllocationFailed, "alloc failed");
    (*outFork)->descriptor = descriptor;
    return 0;
}

OSStatus TavFileForkClose(TavFileForkRef fork)
{
    if (!fork) return 0;
    const int error = fork->descriptor != -1 && close(fork->descriptor) != 0 ? errno : 0;
    ZoAllocatorDeallocate(nullptr, fork);
    return error;
}

// MARK: reading and writing

// What pread and pwrite gave: the count is told, a failure logged and signalled.
static OSStatus fileEndTransfer(const char* operation, const char* failure, TavFileForkRef fork, const void* buffer,
                                size_t count, int64_t offset, ssize_t transferred, size_t* outCount)
{
    const int error = transferred < 0 ? errno : 0;
    if (outCount) *outCount = error != 0 ? 0 : static_cast<size_t>(transferred);
    const int32_t descriptor = TavFileGetOstraFileDesc(fork);
    if (ZO_UNLIKELY(error != 0)) {
        ostraDebugLog(0, nullptr, TAV_SUBSYSTEM " %s: fork %p fd %d %6zd bytes @ %8lld buf %p FAILED errno %d (%s)",
                      operation, static_cast<void*>(fork), descriptor, static_cast<ssize_t>(count),
                      static_cast<long long>(offset), buffer, error, strerror(error));
        return FILE_SIGNAL_ERRNO(operation, error, failure);
    }
    if (fileTraces(gTavFileTrace.calls, 3))
        FILE_TRACE(" %s: fork %p fd %d %6zd bytes @ %8lld buf %p -> %zd bytes%s", operation, static_cast<void*>(fork),
                   descriptor, static_cast<ssize_t>(count), static_cast<long long>(offset), buffer, transferred,
                   static_cast<size_t>(transferred) < count ? " (SHORT)" : "");
    return 0;
}

OSStatus TavFileForkRead(TavFileForkRef fork, void* buffer, size_t count, int64_t offset, size_t* outCount)
{
    const ssize_t transferred = pread(TavFileGetOstraFileDesc(fork), buffer, count, offset);
    return fileEndTransfer(__func__, "pread failed", fork, buffer, count, offset, transferred, outCount);
}

OSStatus TavFileForkWrite(TavFileForkRef fork, const void* buffer, size_t count, int64_t offset, size_t* outCount)
{
    const ssize_t transferred = pwrite(TavFileGetOstraFileDesc(fork), buffer, count, offset);
    return fileEndTransfer(__func__, "pwrite failed", fork, buffer, count, offset, transferred, outCount);
}

OSStatus TavFileForkGetLengthAtOffset(TavFileForkRef fork, int64_t offset, int64_t* outLength)
{
    if (!outLength) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "NULL lengthOut");
    *outLength = 0;
    struct stat info;
    if (fstat(TavFileGetOstraFileDesc(fork), &info) != 0) return FILE_SIGNAL_ERRNO(__func__, errno, "fstat failed");
    if (offset >= 0 && offset < info.st_size) *outLength = info.st_size - offset;
    return 0;
}

OSStatus TavFileForkTruncate(TavFileForkRef fork, int64_t length)
{
    if (ftruncate(TavFileGetOstraFileDesc(fork), length) == 0) return 0;
    return FILE_SIGNAL_ERRNO(__func__, errno, "ftruncate failed");
}

OSStatus TavFileForkSynchronize(TavFileForkRef fork)
{
    const int32_t descriptor = TavFileGetOstraFileDesc(fork);
    const bool traces = tavTraceIsOn(&gTavFileTrace.syncs);
    if (traces) FILE_TRACE(" %s: fsync starts fork %p fd %d", __func__, static_cast<void*>(fork), descriptor);
    const int error = fsync(descriptor) != 0 ? errno : 0;
    if (traces) FILE_TRACE(" %s: fsync ends   fork %p fd %d", __func__, static_cast<void*>(fork), descriptor);
    return error == 0 ? 0 : FILE_SIGNAL_ERRNO(__func__, error, "fsync failed");
}

// MARK: locks

static OSStatus fileLock(const char* operation, TavFileForkRef fork, int what)
{
    if (!fork) return TAV_SIGNAL_FROM(operation, kTavFilePlatformError_InvalidParameter, "fileOpenFork was NULL");
    while (flock(fork->descriptor, what) != 0) {
        const int error = errno;
        if (error == EINTR) continue;
        if (error == EAGAIN) return kTavFilePlatformError_LockWouldBlock;
        ostraDebugLog(0, nullptr, TAV_SUBSYSTEM " %s: flock returned errno %d", operation, error);
        return error;
    }
    return 0;
}

OSStatus TavFileLock(TavFileForkRef fork, int32_t operation)
{
    return fileLock(__func__, fork, operation & (LOCK_SH | LOCK_EX | LOCK_NB));
}

OSStatus TavFileUnlock(TavFileForkRef fork) { return fileLock(__func__, fork, LOCK_UN); }
