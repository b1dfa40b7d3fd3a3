// Writes atoms onto a block buffer or a byte stream: a placeholder for the size, the data, and at the end the size.
// A plain record in the caller's memory, which retains nothing of its targets; it belongs to one thread.
//
//     TavAtomWriter outer, inner;
//     TAV_TRY(TavAtomWriterInitWithBlockBuffer(buffer, &outer));
//     TAV_TRY(TavAtomWriterBeginAtom(&outer, LU_FOURCC('s', 'i', 'n', 'f'), false));
//     TAV_TRY(TavAtomWriterInitWithParent(&outer, &inner));    // after the outer atom has begun, and its own fields
//     TAV_TRY(TavAtomWriterBeginAtom(&inner, LU_FOURCC('f', 'r', 'm', 'a'), false));
//     ...
//     TAV_TRY(TavAtomWriterEndAtom(&inner));                   // its size counts in the outer atom's from here on
//     TAV_TRY(TavAtomWriterEndAtom(&outer));
//
// Once an operation has failed, what was written is of no use. Nothing of the writer has to be released, whether its
// atoms were ended or not. Bytes for a block buffer fill blocks of its own that fit what is written (see
// TavBlockBufferAppendBytes), from atom to atom.

#pragma once

#include "Core/TavBlockBuffer/LuBlockBuffer.h"
#include "DataIO/TavByteStreams/LuByteStream.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

enum {
    kTavAtomWriter_NewAtomNotYetStarted = -12570,
    kTavAtomWriter_NewAtomAlreadyStarted = -12571,
    kTavAtomWriter_DataTooBigToFit = -12572,
};

typedef struct TavAtomWriter {
    LuBlockBufferRef blockBuffer;  ///< the target; may be absent
    LuByteStreamRef byteStream;    ///< the target where there is no `blockBuffer`
    struct TavAtomWriter* parent;
    int64_t atomOffset;  ///< in the target, of the current atom, or between atoms of the next one
    int64_t headerSize;  ///< of the current atom, version and flags included
    int64_t atomSize;    ///< written so far
    bool isWide;
    bool atomStarted;
} TavAtomWriter;

/// Atoms are appended to what the block buffer holds.
OSStatus TavAtomWriterInitWithBlockBuffer(LuBlockBufferRef blockBuffer, TavAtomWriter* writerOut);
/// Atoms are appended to the stream. -1 if its length is no number.
OSStatus TavAtomWriterInitWithByteStream(LuByteStreamRef byteStream, TavAtomWriter* writerOut);
/// A writer of atoms inside of the parent's current one, from where its data now ends.
OSStatus TavAtomWriterInitWithParent(TavAtomWriter* parent, TavAtomWriter* writerOut);

/// A wide atom has a 64-bit size. kTavAtomWriter_NewAtomAlreadyStarted if the last one was not ended.
OSStatus TavAtomWriterBeginAtom(TavAtomWriter* writer, OSType type, uint8_t isWide);
/// An atom of the extended type `uuid`, of 16 bytes.
OSStatus TavAtomWriterBeginUUIDAtom(TavAtomWriter* writer, const uint8_t* uuid, uint8_t isWide);

// The rest is kTavAtomWriter_NewAtomNotYetStarted where no atom is open, but for TavAtomWriterEndAtom.

/// The low 24 bits of `flags`. Both count as header.
OSStatus TavAtomWriterAppendVersionAndFlags(TavAtomWriter* writer, uint8_t version, uint32_t flags);
/// A length of 0 does nothing.
OSStatus TavAtomWriterAppendData(TavAtomWriter* writer, const void* data, size_t length);
/// By reference where the target is a block buffer. A length of 0 does nothing.
OSStatus TavAtomWriterAppendBlockBufferData(TavAtomWriter* writer, LuBlockBufferRef blockBuffer, size_t offset,
                                            size_t length);
/// Writes the size, and moves behind the atom. Without an open atom it succeeds.
/// kTavAtomWriter_DataTooBigToFit where the size leaves the 32 bits of an atom that is not wide.
OSStatus TavAtomWriterEndAtom(TavAtomWriter* writer);

OSStatus TavAtomWriterGetAtomGlobalDataOffset(const TavAtomWriter* writer, int64_t* offsetOut);
OSStatus TavAtomWriterGetAtomSize(const TavAtomWriter* writer, int64_t* sizeOut);
OSStatus TavAtomWriterGetAtomDataSize(const TavAtomWriter* writer, int64_t* sizeOut);

ZO_EXTERN_C_END
