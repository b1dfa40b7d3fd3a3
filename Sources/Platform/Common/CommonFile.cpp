#define TAV_SUBSYSTEM "<<<< TavFile >>>>"

#include "Platform/Common/CommonFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Platform/Ostra/OstraFilePrivate.h"

Boolean TavFileDoesFileExist(ZoURLRef url)
{
    char path[kFilePathSize];
    struct stat info;
    return fileRepresentation(__func__, url, path) == 0 && stat(path, &info) == 0;
}

OSStatus TavFileGetPath(ZoURLRef url, char** outPath)
{
    if (!url) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "url was NULL");
    if (!outPath) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "pathOut was NULL");
    *outPath = nullptr;
    const auto absolute = zoAdopt(ZoURLCopyAbsoluteURL(url));
    if (!absolute) return TAV_SIGNAL(kTavFilePlatformError_AllocationFailed, "absoluteURL allocation failed");
    const auto path = zoAdopt(ZoURLCopyFileSystemPath(absolute.get(), kZoURLPOSIXPathStyle));
    if (!path) return TAV_SIGNAL(kTavFilePlatformError_AllocationFailed, "fileSystemPath allocation failed");
    const ZoRange all = {0, ZoStringGetLength(path.get())};
    ZoIndex size = 0;
    ZoStringGetBytes(path.get(), all, kZoStringEncodingUTF8, 0, false, nullptr, 0, &size);
    auto* text = static_cast<char*>(ZoAllocatorAllocate(nullptr, size + 1, 0));
    if (!text) return TAV_SIGNAL(kTavFilePlatformError_AllocationFailed, "fileSystemPathStr allocation failed");
    ZoStringGetBytes(path.get(), all, kZoStringEncodingUTF8, 0, false, reinterpret_cast<uint8_t*>(text), size, &size);
    text[size] = '\0';
    *outPath = text;
    return 0;
}

OSStatus TavFileGetFileInfo(ZoURLRef url, TavFileInfo* outInfo)
{
    if (!outInfo) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "infoOut was NULL");
    *outInfo = {};
    TavFileForkRef fork = nullptr;
    if (fileOpenForReadingAll(url, &fork) != 0) return TAV_SIGNAL(-1, "Could not obtain file descriptor");
    struct stat info;
    const int error = fstat(TavFileGetOstraFileDesc(fork), &info) != 0 ? errno : 0;
    TavFileForkClose(fork);
    if (error != 0) return FILE_SIGNAL_ERRNO(__func__, error, "fstat failed");
    *outInfo = {.size = info.st_size,
                .device = info.st_dev,
                .inode = info.st_ino,
                .modificationSeconds = info.st_mtim.tv_sec,
                .modificationNanoseconds = static_cast<uint32_t>(info.st_mtim.tv_nsec)};
    return 0;
}

Boolean TavFileInfoEqual(const TavFileInfo* a, const TavFileInfo* b)
{
    return a->size == b->size && a->device == b->device && a->inode == b->inode &&
           a->modificationSeconds == b->modificationSeconds && a->modificationNanoseconds == b->modificationNanoseconds;
}

OSStatus TavFileRename(ZoURLRef source, ZoURLRef destination)
{
    if (!source) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "source was NULL");
    if (!destination) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "destination was NULL");
    char from[kFilePathSize], to[kFilePathSize];
    TAV_TRY(fileRepresentation(__func__, source, from));
    TAV_TRY(fileRepresentation(__func__, destination, to));
    return rename(from, to) == 0 ? 0 : FILE_SIGNAL_ERRNO(__func__, errno, "rename failed");
}

OSStatus TavFileDeleteFile(ZoURLRef url)
{
    char path[kFilePathSize];
    TAV_TRY(fileRepresentation(__func__, url, path));
    if (unlink(path) == 0) return 0;
    const int error = errno;
    struct stat info;
    const bool isThere = stat(path, &info) == 0;
    errno = error;
    return isThere ? -1 : 0;
}

OSStatus TavFileDeleteDirectory(ZoURLRef url)
{
    char path[kFilePathSize];
    TAV_TRY(fileRepresentation(__func__, url, path));
    struct stat info;
    if (stat(path, &info) != 0) return 0;
    return TAV_SIGNAL(kTavFilePlatformError_NotImplemented, "Not supported on Win32");
}

OSStatus TavFileMarkPurgeable(ZoURLRef) { return kTavFilePlatformError_Unsupported; }
OSStatus TavDirectoryEnableDirStatsTracking(ZoURLRef) { return kTavFilePlatformError_Unsupported; }
int32_t TavDirectoryIsDirStatsTrackingEnabled(ZoURLRef) { return 2; }
