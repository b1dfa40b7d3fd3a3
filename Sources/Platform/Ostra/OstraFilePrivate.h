// What the sources of files share. For them, and for readers of whole forks.

#pragma once

#include <cerrno>

#include "Foundation/URLs/ZoURL.h"
#include "Foundation/Values/ZoData.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Common/TavSignal.h"
#include "Platform/Ostra/OstraFile.h"

/// With its NUL; buffers of this size stand on the stack.
constexpr size_t kFilePathSize = 4096;

struct TavFileFork_ {
    int32_t descriptor;
};

/// Registered by the first open.
struct TavFileTrace {
    TavTraceNote calls;  ///< from 2 on opens, from 3 on reads and writes
    TavTraceNote syncs;
};
extern TavFileTrace gTavFileTrace;

inline bool fileTraces(const TavTraceNote& note, int32_t level)
{
    return ZO_UNLIKELY(__atomic_load_n(&note.level, __ATOMIC_RELAXED) >= level);
}
#define FILE_TRACE(...) tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, TAV_SUBSYSTEM __VA_ARGS__)

/// Signals an errno as it is, or -1 where there is none.
#define FILE_SIGNAL_ERRNO(operation, error, message) \
    TAV_SIGNAL_AS(operation, (error) != 0 ? (error) : -1, "errno", message)

/// The path of a URL, for the file system. kTavFilePlatformError_InvalidParameter, signalled for `operation`.
OSStatus fileRepresentation(const char* operation, ZoURLRef url, char (&path)[kFilePathSize]);
/// UTF-8 with its NUL. False for what does not fit, is no text, or has a NUL inside.
bool fileCopyText(ZoStringRef string, char* buffer, size_t size);

/// All that the fork has, as far as it can be read: what a file lost meanwhile is missing, what it gained is too.
///
/// kTavFilePlatformError_AllocationFailed  no memory
/// and what reading returns
OSStatus fileCopyWholeFork(const char* operation, ZoAllocatorRef allocator, TavFileForkRef fork, ZoDataRef* dataOut);
/// Opens without waiting for the other end of a FIFO.
OSStatus fileOpenForReadingAll(ZoURLRef url, TavFileForkRef* outFork);
