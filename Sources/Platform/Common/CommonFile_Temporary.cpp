#define TAV_SUBSYSTEM "<<<< TavFile >>>>"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Foundation/Objects/ZoRef.h"
#include "Platform/Common/CommonFile.h"
#include "Platform/Ostra/OstraFilePrivate.h"

// "<folder>/<prefix>.XXXXXX"
static OSStatus fileTemplate(const char* operation, const char* folder, ZoStringRef prefix, const char* noPrefix,
                             char (&path)[kFilePathSize])
{
    char name[kFilePathSize];
    if (!fileCopyText(prefix, name, sizeof(name)))
        return TAV_SIGNAL_FROM(operation, kTavFilePlatformError_AllocationFailed, noPrefix);
    if (strchr(name, '/'))
        return TAV_SIGNAL_FROM(operation, kTavFilePlatformError_InvalidParameter, "prefix leads into another folder");
    const size_t folderLength = strlen(folder);
    const bool hasSlash = folderLength > 0 && folder[folderLength - 1] == '/';
    const int length = snprintf(path, sizeof(path), "%s%s%s.XXXXXX", folder, hasSlash ? "" : "/", name);
    if (length >= static_cast<int>(sizeof(path)))
        return TAV_SIGNAL_FROM(operation, kTavFilePlatformError_InvalidParameter,
                               "File path length exceeds allowed max");
    return 0;
}

static ZoURLRef fileCreateURL(const char* path, bool isDirectory)
{
    return ZoURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const uint8_t*>(path),
                                                   static_cast<ZoIndex>(strlen(path)), isDirectory);
}

OSStatus TavFileCreateTempFileAtURL(ZoURLRef tempDirUrl, ZoStringRef tempFilePrefix, ZoURLRef* tempURLOut,
                                    TavFileForkRef* tempFileForkOut)
{
    if (!tempDirUrl) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "tempDirUrl was NULL");
    if (!tempFilePrefix) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "tempFilePrefix was NULL");
    if (!tempURLOut) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "tempURLOut was NULL");
    if (!tempFileForkOut) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "tempFileForkOut was NULL");
    *tempURLOut = nullptr;
    *tempFileForkOut = nullptr;
    char folder[kFilePathSize], path[kFilePathSize];
    TAV_TRY(fileRepresentation(__func__, tempDirUrl, folder));
    TAV_TRY(fileTemplate(__func__, folder, tempFilePrefix, "tempFilePrefixBytes allocation failed", path));

    const int descriptor = mkostemp(path, O_CLOEXEC);
    if (descriptor < 0) return TAV_SIGNAL(kTavFilePlatformError_CreationFailure, "mkstemp failed");
    TavFileForkRef fork = nullptr;
    OSStatus status = TavFileWrapOstraFileDesc(descriptor, &fork);
    if (status != 0) {
        close(descriptor);
    } else if (!(*tempURLOut = fileCreateURL(path, false))) {
        status = TAV_SIGNAL(kTavFilePlatformError_AllocationFailed, "tempFilePathURL allocation failed");
        TavFileForkClose(fork);
    } else {
        *tempFileForkOut = fork;
        return 0;
    }
    unlink(path);
    return status;
}

OSStatus TavFileCreateTempDirectory(ZoStringRef prefix, ZoURLRef* temporaryDirectoryOut)
{
    if (!prefix) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "prefix was NULL");
    if (!temporaryDirectoryOut)
        return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "temporaryDirectoryOut was NULL");
    *temporaryDirectoryOut = nullptr;
    char path[kFilePathSize];
    TAV_TRY(fileTemplate(__func__, "/tmp", prefix, "prefix allocation failed", path));
    if (!mkdtemp(path)) return FILE_SIGNAL_ERRNO(__func__, errno, "mkdtemp failed");
    *temporaryDirectoryOut = fileCreateURL(path, true);
    if (*temporaryDirectoryOut) return 0;
    rmdir(path);
    return TAV_SIGNAL(kTavFilePlatformError_CreationFailure, "temporaryDirectoryURL allocation failed");
}
