// Services for files by URL: existence, temporary files and folders, renaming, deleting, whole files.
// A URL of another scheme than "file" has no path for the file system: kTavFilePlatformError_InvalidParameter, "Could
// not obtain filesystem representation". May be called from any thread; what exists may be gone when they return.

#pragma once

#include "Foundation/URLs/ZoURL.h"
#include "Platform/Ostra/OstraFile.h"

ZO_EXTERN_C_BEGIN

enum { kTavPersistentURLError_TranslationFailed = -12209 };

typedef struct TavFileInfo {
    int64_t size;  ///< in bytes
    uint64_t device;
    uint64_t inode;
    int64_t modificationSeconds;
    uint32_t modificationNanoseconds;
} TavFileInfo;

/// A link that leads nowhere does not exist.
Boolean TavFileDoesFileExist(ZoURLRef url);
/// The absolute path in UTF-8, which the caller gives back to the default allocator.
/// kTavFilePlatformError_InvalidParameter, kTavFilePlatformError_AllocationFailed (also for bytes that are not UTF-8)
OSStatus TavFileGetPath(ZoURLRef url, char** outPath);
/// Opens the file for reading, but does not wait for the other end of a FIFO. -1 where that fails.
OSStatus TavFileGetFileInfo(ZoURLRef url, TavFileInfo* outInfo);
/// All five fields.
Boolean TavFileInfoEqual(const TavFileInfo* a, const TavFileInfo* b);
/// rename(2): whoever looks sees the old file or the new one, whole, also when the process dies in the midst of it.
OSStatus TavFileRename(ZoURLRef source, ZoURLRef destination);
/// Also a link that leads nowhere. 0 if there is nothing; -1, with the reason in errno, where unlink(2) fails.
OSStatus TavFileDeleteFile(ZoURLRef url);
/// 0 if there is nothing; else kTavFilePlatformError_NotImplemented.
OSStatus TavFileDeleteDirectory(ZoURLRef url);

/// A new file of mode 0600 in the folder, whose name is the prefix, "." and six letters; the caller has its URL and a
/// fork for reading and writing. A prefix with a "/" is refused.
///
/// kTavFilePlatformError_InvalidParameter  an argument absent, a prefix that is no part of a name, a path too long
/// kTavFilePlatformError_CreationFailure   the file cannot be made
/// kTavFilePlatformError_AllocationFailed  no memory, or a prefix that UTF-8 cannot carry
OSStatus TavFileCreateTempFileAtURL(ZoURLRef tempDirUrl, ZoStringRef tempFilePrefix, ZoURLRef* tempURLOut,
                                    TavFileForkRef* tempFileForkOut);
/// A new folder of mode 0700 in /tmp, named in the same way. The errno where it cannot be made;
/// kTavFilePlatformError_CreationFailure where only its URL cannot.
OSStatus TavFileCreateTempDirectory(ZoStringRef prefix, ZoURLRef* temporaryDirectoryOut);

/// The whole file, as far as it could be read: a file that shrinks meanwhile gives what is left. What has no length,
/// such as a FIFO or a file of /proc, gives empty data.
/// kTavFilePlatformError_AllocationFailed, and the statuses of opening and reading
OSStatus TavFileReadURLAndCreateZoData(ZoURLRef url, ZoDataRef* outData);

/// Whether a name stays in a folder: 0, or kTavPersistentURLError_TranslationFailed where it would climb out of it or
/// lead into one below. This is syntax only, no file is looked at: a link in the folder still leads out of it.
/// kLuBaseObjectError_ParamErr: an argument absent
OSStatus TavFileValidateFileNameIsWithinParentDirectory(ZoURLRef enclosingURL, ZoStringRef fileName,
                                                        Boolean isDirectory);
/// The URL itself, retained, if it has a folder's path; nothing, with status 0, for any other.
OSStatus TavFileConvertURLToAbsoluteAndMarkAsDirectory(ZoURLRef url, ZoURLRef* directoryURLOut);

// What has no meaning here: kTavFilePlatformError_Unsupported, and 2.

OSStatus TavFileMarkPurgeable(ZoURLRef url);
OSStatus TavDirectoryEnableDirStatsTracking(ZoURLRef url);
int32_t TavDirectoryIsDirStatsTrackingEnabled(ZoURLRef url);

ZO_EXTERN_C_END
