// Forks: small handles of open files, with reads and writes that carry their offset. No position is shared and nothing
// here locks, so that any number of threads may use one fork; closing it is the last use.
// A failed call of the system is signalled, and its errno is the status. Only the opens map it to the statuses below.

#pragma once

#include "Foundation/Objects/ZoObject.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

enum {
    kTavFilePlatformError_InvalidParameter = -12200,  ///< also EFAULT, EINVAL
    kTavFilePlatformError_AllocationFailed = -12201,
    kTavFilePlatformError_NotImplemented = -12202,
    kTavFilePlatformError_ReadPermission = -12203,   ///< EPERM, EACCES on opening for reading
    kTavFilePlatformError_WritePermission = -12204,  ///< the same on opening for writing, or for both
    kTavFilePlatformError_CreationFailure = -12205,  ///< of a temporary file or folder
    kTavFilePlatformError_LockWouldBlock = -12206,
    kTavFilePlatformError_NotADirectory = -17911,  ///< ENOTDIR
    kTavFilePlatformError_NameTooLong = -17912,    ///< ENAMETOOLONG
    kTavFilePlatformError_FileNotFound = -17913,   ///< ENOENT
    kTavFilePlatformError_TooManyLinks = -17914,   ///< ELOOP
    kTavFilePlatformError_IOError = -17915,        ///< EIO
    kTavFilePlatformError_Unsupported = -17916,    ///< EOPNOTSUPP, and what has no meaning on this platform
};

/// Options of the opens. Descriptors are not inherited by other programs; a file that is made has mode 0644, less the
/// umask.
enum {
    kTavFileOpen_Read = 0,
    kTavFileOpen_Write = 1,
    kTavFileOpen_ReadAndWrite = 2,
    kTavFileOpen_AccessMask = 3,
    kTavFileOpen_Create = 0x10,
    kTavFileOpen_Truncate = 0x20,
    kTavFileOpen_ExclusiveLock = 0x80,  ///< flock(2), waited for
    kTavFileOpen_CreateNew = 0x200,     ///< fails if there is one; Create has no effect beside it
    kTavFileOpen_NonBlocking = 0x400,   ///< while it is opened; by URL only
};

typedef struct TavFileFork_* TavFileForkRef;
typedef struct TavFilePath_* TavFilePathRef;

/// Without kTavFileOpen_NonBlocking, a FIFO is waited for until it has another end. The caller closes the fork.
///
/// kTavFilePlatformError_InvalidParameter  no `url` or `outFork`, access 3, no URL of a file
/// kTavFilePlatformError_AllocationFailed  no memory
/// and what open(2), flock(2), fcntl(2) say: mapped as above, otherwise as it is
OSStatus TavFileForkOpenMainByZoURL(ZoURLRef url, uint32_t options, TavFileForkRef* outFork);
/// The same by path; kTavFileOpen_NonBlocking has no effect.
OSStatus TavFileForkOpenMainByPath(TavFilePathRef path, uint32_t options, TavFileForkRef* outFork);
/// A fork on an open descriptor, which it owns from then on, unless it fails: kTavFilePlatformError_AllocationFailed,
/// kTavFilePlatformError_InvalidParameter without `outFork`.
OSStatus TavFileWrapOstraFileDesc(int32_t descriptor, TavFileForkRef* outFork);
/// The descriptor stays the fork's; -1 without one.
int32_t TavFileGetOstraFileDesc(TavFileForkRef fork);
/// Also ends a lock that the fork holds. The errno of close(2); the fork is gone in any case. May be absent.
OSStatus TavFileForkClose(TavFileForkRef fork);

/// pread(2) and pwrite(2): a short transfer is no error. `outCount` may be absent, and is 0 after a failure, after
/// which the fork stays usable.
OSStatus TavFileForkRead(TavFileForkRef fork, void* buffer, size_t count, int64_t offset, size_t* outCount);
OSStatus TavFileForkWrite(TavFileForkRef fork, const void* buffer, size_t count, int64_t offset, size_t* outCount);
/// What the file has from `offset` on; 0 for an offset below 0 or behind its end.
/// kTavFilePlatformError_InvalidParameter: no `outLength`
OSStatus TavFileForkGetLengthAtOffset(TavFileForkRef fork, int64_t offset, int64_t* outLength);
OSStatus TavFileForkTruncate(TavFileForkRef fork, int64_t length);
/// fsync(2).
OSStatus TavFileForkSynchronize(TavFileForkRef fork);

/// flock(2) with the low three bits of `operation`. An advisory lock of the descriptor: unlocked by TavFileUnlock, by
/// the fork's end, or by the process's. A wait goes on after a signal.
///
/// kTavFilePlatformError_InvalidParameter  no `fork`
/// kTavFilePlatformError_LockWouldBlock    another has it, and LOCK_NB was asked for; not signalled
OSStatus TavFileLock(TavFileForkRef fork, int32_t operation);
OSStatus TavFileUnlock(TavFileForkRef fork);

ZO_EXTERN_C_END
