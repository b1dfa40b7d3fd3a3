// A cursor over a run of sibling atoms (boxes of ISO/IEC 14496-12 4.2 and of movie files) in memory, in a block buffer
// or in a byte stream. A plain record in the caller's memory: it retains nothing and is released by nobody; copying it
// forks the cursor. It belongs to one thread and is valid as long as its source and reporter live.
//
// Every reader bounds what it reads by the atom's and the container's length; malformed input ends in one of the
// statuses below, and the cursor stays where it was.

#pragma once

#include "Core/TavBlockBuffer/LuBlockBuffer.h"
#include "DataIO/TavByteStreams/LuByteStream.h"
#include "Platform/Common/LuBase.h"
#include "Utilities/TavAssetAnalysisSupport.h"

ZO_EXTERN_C_BEGIN

enum {
    kTavAtomStream_AtEnd = -12890,                  ///< no further atom; never signalled
    kTavAtomStream_AtomOffsetOutOfRange = -12891,   ///< a read outside of the current atom's data
    kTavAtomStream_UnexpectedEndOfStream = -12892,  ///< the source gave fewer bytes than asked for
    kTavAtomStream_OffsetOutsideOfParent = -12893,  ///< a position or field lies beyond the container
    kTavAtomStream_BadLengthInAtom = -12894,        ///< a size field that cannot be
    kTavAtomStream_NotUUIDAtom = -12895,
    kTavAtomStream_NeedMoreData = -12896,  ///< of the header helpers: the data ends inside the header
    kTavAtomStream_ParameterError = -12897,
};

enum {
    kTavAtomHeaderSize = 8,        ///< size and type
    kTavAtomWideSizeLength = 8,    ///< what a 64-bit size adds
    kTavAtomExtendedTypeSize = 16  ///< what the type 'uuid' adds
};

typedef OSStatus (*TavAtomStreamReadBytes)(const void* source, int64_t sourceLength, size_t count, int64_t offset,
                                           void* destination, size_t* countRead);
typedef OSStatus (*TavAtomStreamReadBlockBuffer)(const void* source, int64_t sourceLength, size_t count, int64_t offset,
                                                 LuBlockBufferRef* blockBufferOut, size_t* countRead);

typedef struct TavAtomStream {
    uint8_t allowZeroSizeAtom;  ///< non-zero lets a size of 0 run to the container's end
    const void* source;
    int64_t sourceLength;
    TavAtomStreamReadBytes readBytes;
    TavAtomStreamReadBlockBuffer readBlockBuffer;
    int64_t containerOffset;  ///< where the run of atoms starts in the source
    int64_t containerLength;
    int64_t dataOffset;  ///< of the current atom's data, in the container
    OSType type;         ///< of the current atom, as the three below
    int64_t atomSize;    ///< header included
    int64_t dataLength;
    uint8_t uuid[16];                      ///< extended type, valid for 'uuid' atoms
    TavAssetAnalysisReporterRef reporter;  ///< may be absent
    const uint8_t* window;  ///< memory of the source around the cursor: bytes `windowStart` to `windowEnd`
    int64_t windowStart;
    int64_t windowEnd;
} TavAtomStream;

// Opening. Each puts the cursor on the first atom. `offset` is where the run starts in the source, `allowZeroSizeAtom`
// lets an atom of size 0 run to the end, `reporter` gets what is found wrong and may be absent.
//
// kTavAtomStream_OffsetOutsideOfParent   `offset` at or past the source's end, or no room for a header
// kTavAtomStream_BadLengthInAtom         the first atom is smaller than its header or larger than the source
// kTavAtomStream_UnexpectedEndOfStream   the source gave fewer bytes than it said it has
// kTavAtomStream_ParameterError          an argument absent; a memory block of size 0

/// `size` bounds the run; it may reach past the stream's end.
OSStatus TavAtomStreamInitWithByteStreamWithSizeAndReporter(LuByteStreamRef byteStream, int64_t offset, int64_t size,
                                                            uint8_t allowZeroSizeAtom,
                                                            TavAssetAnalysisReporterRef reporter,
                                                            TavAtomStream* streamOut);
OSStatus TavAtomStreamInitWithByteStreamAndReporter(LuByteStreamRef byteStream, int64_t offset,
                                                    uint8_t allowZeroSizeAtom, TavAssetAnalysisReporterRef reporter,
                                                    TavAtomStream* streamOut);
OSStatus TavAtomStreamInitWithByteStreamWithSize(LuByteStreamRef byteStream, int64_t offset, int64_t size,
                                                 uint8_t allowZeroSizeAtom, TavAtomStream* streamOut);
OSStatus TavAtomStreamInitWithByteStream(LuByteStreamRef byteStream, int64_t offset, uint8_t allowZeroSizeAtom,
                                         TavAtomStream* streamOut);
OSStatus TavAtomStreamInitWithBBufAndReporter(LuBlockBufferRef blockBuffer, size_t offset, uint8_t allowZeroSizeAtom,
                                              TavAssetAnalysisReporterRef reporter, TavAtomStream* streamOut);
OSStatus TavAtomStreamInitWithBBuf(LuBlockBufferRef blockBuffer, size_t offset, uint8_t allowZeroSizeAtom,
                                   TavAtomStream* streamOut);
/// `size` is that of the whole block; a run that starts at `offset` and passes its end is a short read there.
OSStatus TavAtomStreamInitWithMemoryBlockAndReporter(const void* memoryBlock, size_t size, int64_t offset,
                                                     uint8_t allowZeroSizeAtom, TavAssetAnalysisReporterRef reporter,
                                                     TavAtomStream* streamOut);
OSStatus TavAtomStreamInitWithMemoryBlock(const void* memoryBlock, size_t size, int64_t offset,
                                          uint8_t allowZeroSizeAtom, TavAtomStream* streamOut);
/// The children of the parent's current atom, from `offset` of its data on: 4 or more for a full atom, past version,
/// flags and fixed fields. The child shares source and reporter, and takes no atom of size 0.
OSStatus TavAtomStreamInitWithParent(const TavAtomStream* parent, size_t offset, TavAtomStream* childOut);

// The current atom. Out-parameters may be absent where several are given.

OSStatus TavAtomStreamGetCurrentAtomTypeAndDataLength(const TavAtomStream* stream, OSType* typeOut,
                                                      int64_t* dataLengthOut);
/// kTavAtomStream_NotUUIDAtom unless the type is 'uuid'.
OSStatus TavAtomStreamGetCurrentAtomUUIDType(const TavAtomStream* stream, uint8_t* uuidOut);
/// From the first 4 bytes of the data.
OSStatus TavAtomStreamGetCurrentAtomVersionAndFlags(const TavAtomStream* stream, uint8_t* versionOut,
                                                    uint32_t* flagsOut);
/// kTavAtomStream_AtomOffsetOutOfRange unless `offset` lies in the data and the range ends in it. An atom without data
/// has no range to read.
OSStatus TavAtomStreamReadCurrentAtomData(const TavAtomStream* stream, int64_t offset, size_t length,
                                          void* destination);
/// A contiguous block buffer, which the caller releases; `length` 0 is to the end of the data.
OSStatus TavAtomStreamReadCurrentAtomDataAndCreateBBuf(const TavAtomStream* stream, int64_t offset, size_t length,
                                                       LuBlockBufferRef* blockBufferOut);
/// The same of the whole atom, header included.
OSStatus TavAtomStreamReadCurrentAtomAndCreateBBuf(const TavAtomStream* stream, LuBlockBufferRef* blockBufferOut);
/// Where the atom starts in the source, and its whole size.
OSStatus TavAtomStreamGetCurrentAtomGlobalOffset(const TavAtomStream* stream, int64_t* offsetOut, int64_t* atomSizeOut);
OSStatus TavAtomStreamGetCurrentAtomOffsetInParent(const TavAtomStream* stream, int64_t* offsetOut);
/// kTavAtomStream_AtomOffsetOutOfRange for an offset at or past the data's end.
OSStatus TavAtomStreamGetCurrentAtomDataGlobalOffset(const TavAtomStream* stream, int64_t offsetInData,
                                                     int64_t* globalOffsetOut);
OSStatus TavAtomStreamGetCurrentAtomHeaderSize(const TavAtomStream* stream, int64_t* headerSizeOut);

// Moving. On any status but 0 the cursor stays, but for TavAtomStreamPositionViaAtomPath.
//
// kTavAtomStream_AtEnd                   the run ends with the current atom
// kTavAtomStream_OffsetOutsideOfParent   what follows is too short for a header: not reported
// kTavAtomStream_BadLengthInAtom         the next atom is smaller than its header or passes the container's end

OSStatus TavAtomStreamAdvanceToNextAtom(TavAtomStream* stream);
OSStatus TavAtomStreamAdvanceToNextAtomWithType(TavAtomStream* stream, OSType type);
/// Stays if the current atom has the type.
OSStatus TavAtomStreamPositionAtFirstAtomWithType(TavAtomStream* stream, OSType type);
/// `path[0]` among the children of the current atom, `path[1]` among those of that one, and so on.
OSStatus TavAtomStreamAdvanceViaAtomPath(TavAtomStream* stream, ZoIndex pathLength, const OSType* path);
/// `path[0]` among the current atom and what follows it, `path[1]` among the children of that one, and so on. A failure
/// behind `path[0]` leaves the cursor there.
OSStatus TavAtomStreamPositionViaAtomPath(TavAtomStream* stream, ZoIndex pathLength, const OSType* path);

// One header, without a stream. The out-parameters, each of which may be absent, get what was read whatever the status;
// an atom of size 0 gives size 0 and kTavAtomStream_BadLengthInAtom.
//
// kTavAtomStream_NeedMoreData            the data ends inside the header
// kTavAtomStream_OffsetOutsideOfParent   `offset` beyond the data, which is signalled

OSStatus TavAtomUtilityGetAtomTypeAndLengthInByteStream(LuByteStreamRef byteStream, int64_t offset, OSType* typeOut,
                                                        int64_t* sizeOut, size_t* headerSizeOut);
OSStatus TavAtomUtilityGetAtomTypeAndLengthInByteStreamWithSize(LuByteStreamRef byteStream, int64_t offset,
                                                                int64_t limitSize, OSType* typeOut, int64_t* sizeOut,
                                                                size_t* headerSizeOut);
OSStatus TavAtomUtilityGetAtomTypeAndLengthInBBuf(LuBlockBufferRef blockBuffer, size_t offset, OSType* typeOut,
                                                  int64_t* sizeOut, size_t* headerSizeOut);

// What went wrong, for reporters and for people.

typedef struct AtomTypeText {
    char text[11];
} AtomTypeText;
/// The four characters if all are printable, else "0x" and eight hexadecimal digits.
AtomTypeText AtomTypeToString(OSType type);
/// Adds a message to the reporter: status, text, and the atom's type unless it is 0. Nothing happens without a
/// reporter.
void AtomStreamReportErrorMessage(TavAssetAnalysisReporterRef reporter, OSStatus status, OSType type, const char* text);

ZO_EXTERN_C_END
