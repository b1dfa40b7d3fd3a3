// What the sources of the atom stream share: how a failure is told, and how bytes are got. For them only.

#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "Platform/Common/TavSignal.h"
#include "Utilities/TavAtomStream.h"

/// A failure with its text, which is cut at the end of its buffer. Made only where something failed.
struct AtomStreamFailure {
    OSStatus code;
    char text[256];

    template <typename... Arguments>
    AtomStreamFailure(OSStatus status, const char* format, Arguments... arguments) : code(status)
    {
        snprintf(text, sizeof(text), format, arguments...);
    }
};

/// Gives the failure to `reporter`, if there is one, and signals it in the name of `operation`, if there is one, which
/// is that of the public operation; is its code.
OSStatus atomStreamRefuse(TavAssetAnalysisReporterRef reporter, const AtomStreamFailure& failure, OSType type,
                          const char* operation, const char* file = __builtin_FILE(), int line = __builtin_LINE());

/// What the window does not hold.
OSStatus atomStreamReadOutsideOfWindow(const TavAtomStream& stream, size_t count, int64_t offset, void* destination,
                                       size_t* countRead);
/// From the window where the range lies inside of it, else from the source. `countRead` may come out smaller.
inline OSStatus atomStreamRead(const TavAtomStream& stream, size_t count, int64_t offset, void* destination,
                               size_t* countRead)
{
    if (ZO_LIKELY(offset >= stream.windowStart && offset < stream.windowEnd &&
                  count <= static_cast<uint64_t>(stream.windowEnd - offset))) {
        memcpy(destination, stream.window + (offset - stream.windowStart), count);
        *countRead = count;
        return 0;
    }
    return atomStreamReadOutsideOfWindow(stream, count, offset, destination, countRead);
}

/// A contiguous block buffer of what the source gives, at most `count` bytes.
OSStatus atomStreamReadContiguous(const TavAtomStream& stream, size_t count, int64_t offset,
                                  LuBlockBufferRef* blockBufferOut, size_t* countRead);
/// Releases and clears.
void atomStreamReleaseBlockBuffer(LuBlockBufferRef* blockBuffer);

/// Looks for memory of the source around `offset`, for what is read next. Sources without memory of their own have
/// none.
void atomStreamFindWindow(TavAtomStream& stream, int64_t offset);
inline void atomStreamMoveWindow(TavAtomStream& stream, int64_t offset)
{
    if (ZO_UNLIKELY(offset < stream.windowStart || offset >= stream.windowEnd)) atomStreamFindWindow(stream, offset);
}

inline int64_t atomStreamSaturatingAdd(int64_t a, uint64_t b)
{
    int64_t sum;
    return __builtin_add_overflow(a, b, &sum) ? INT64_MAX : sum;
}

/// Puts a cursor whose source, container and reporter are set on the first atom.
OSStatus CommonAtomStreamInitialization(TavAtomStream& stream);
/// One header for the helpers; kTavAtomStream_NeedMoreData where the data ends inside of it. Signals in the name of
/// `operation`, if there is one.
OSStatus atomStreamReadSingleHeader(const TavAtomStream& stream, int64_t offset, int64_t limit, const char* operation,
                                    OSType* typeOut, int64_t* sizeOut, size_t* headerSizeOut);
