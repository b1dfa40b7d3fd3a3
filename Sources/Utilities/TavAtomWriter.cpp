#include "Utilities/TavAtomWriter.h"

#include "Core/TavBlockBuffer/TavBlockBuffer.h"
#include "DataIO/TavByteStreams/TavByteStream.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/TavSignal.h"
#include "Utilities/TavBigEndian.h"

static constexpr int64_t kNarrowHeaderSize = 8, kWideHeaderSize = 16, kUUIDSize = 16, kVersionAndFlagsSize = 4;

static OSStatus atomWriterRequireStarted(const TavAtomWriter* writer, const char* operation)
{
    if (writer && writer->atomStarted) return 0;
    return TAV_SIGNAL_FROM(operation, kTavAtomWriter_NewAtomNotYetStarted, "TavAtomWriterBeginAtom not called");
}

static OSStatus atomWriterAppend(TavAtomWriter* writer, const void* data, size_t length)
{
    if (writer->blockBuffer) {
        TAV_TRY(TavBlockBufferAppendBytes(writer->blockBuffer, data, length));
    } else {
        size_t written = 0;
        TAV_TRY(LuByteStreamAppend(writer->byteStream, length, data, &written));
    }
    writer->atomSize += static_cast<int64_t>(length);
    return 0;
}

// Over what was written before.
static OSStatus atomWriterPatch(const TavAtomWriter* writer, int64_t offset, const void* data, size_t length)
{
    if (writer->blockBuffer) {
        return LuBlockBufferReplaceDataBytes(data, writer->blockBuffer, static_cast<size_t>(offset), length);
    }
    size_t written = 0;
    return TavByteStreamWrite(writer->byteStream, length, offset, data, &written);
}

OSStatus TavAtomWriterInitWithBlockBuffer(LuBlockBufferRef blockBuffer, TavAtomWriter* writerOut)
{
    *writerOut = {};
    writerOut->blockBuffer = blockBuffer;
    writerOut->atomOffset = static_cast<int64_t>(LuBlockBufferGetDataLength(blockBuffer));
    return 0;
}

OSStatus TavAtomWriterInitWithByteStream(LuByteStreamRef byteStream, TavAtomWriter* writerOut)
{
    *writerOut = {};
    ZoRef<ZoTypeRef> length;
    TAV_TRY(TavByteStreamCopyProperty(byteStream, kLuByteStreamProperty_EntireLength, nullptr, length.outParam()));
    int64_t offset = 0;
    if (!length || ZoGetTypeID(length.get()) != ZoNumberGetTypeID() ||
        !ZoNumberGetValue(static_cast<ZoNumberRef>(length.get()), kZoNumberSInt64Type, &offset))
        return TAV_SIGNAL_NAMED(-1, "-1", "Invalid byte stream");
    writerOut->byteStream = byteStream;
    writerOut->atomOffset = offset;
    return 0;
}

OSStatus TavAtomWriterInitWithParent(TavAtomWriter* parent, TavAtomWriter* writerOut)
{
    *writerOut = {};
    writerOut->blockBuffer = parent->blockBuffer;
    writerOut->byteStream = parent->byteStream;
    writerOut->parent = parent;
    writerOut->atomOffset = parent->atomOffset + parent->atomSize;
    return 0;
}

OSStatus TavAtomWriterBeginAtom(TavAtomWriter* writer, OSType type, uint8_t isWide)
{
    if (writer->atomStarted) return TAV_SIGNAL(kTavAtomWriter_NewAtomAlreadyStarted, "Previous atom not ended");
    if (const TavAtomWriter* parent = writer->parent) {
        TAV_TRY(atomWriterRequireStarted(parent, __func__));
        writer->atomOffset = parent->atomOffset + parent->atomSize;  // its own fields, and atoms of other children
    }
    uint8_t header[kWideHeaderSize] = {};
    storeBE32(header, isWide ? 1 : 0);
    storeBE32(header + 4, type);
    writer->atomSize = 0;
    TAV_TRY(atomWriterAppend(writer, header, isWide ? kWideHeaderSize : kNarrowHeaderSize));
    writer->headerSize = writer->atomSize;
    writer->isWide = isWide != 0;
    writer->atomStarted = true;
    return 0;
}

OSStatus TavAtomWriterBeginUUIDAtom(TavAtomWriter* writer, const uint8_t* uuid, uint8_t isWide)
{
    TAV_TRY(TavAtomWriterBeginAtom(writer, LU_FOURCC('u', 'u', 'i', 'd'), isWide));
    if (OSStatus status = atomWriterAppend(writer, uuid, kUUIDSize)) {
        writer->atomStarted = false;
        return status;
    }
    writer->headerSize = writer->atomSize;
    return 0;
}

OSStatus TavAtomWriterAppendVersionAndFlags(TavAtomWriter* writer, uint8_t version, uint32_t flags)
{
    TAV_TRY(atomWriterRequireStarted(writer, __func__));
    uint8_t bytes[kVersionAndFlagsSize] = {version};
    storeBE24(bytes + 1, flags);
    TAV_TRY(atomWriterAppend(writer, bytes, sizeof(bytes)));
    writer->headerSize = writer->atomSize;
    return 0;
}

OSStatus TavAtomWriterAppendData(TavAtomWriter* writer, const void* data, size_t length)
{
    TAV_TRY(atomWriterRequireStarted(writer, __func__));
    return length == 0 ? 0 : atomWriterAppend(writer, data, length);
}

OSStatus TavAtomWriterAppendBlockBufferData(TavAtomWriter* writer, LuBlockBufferRef blockBuffer, size_t offset,
                                            size_t length)
{
    TAV_TRY(atomWriterRequireStarted(writer, __func__));
    if (length == 0) return 0;
    if (writer->blockBuffer) {
        TAV_TRY(LuBlockBufferAppendBufferReference(writer->blockBuffer, blockBuffer, offset, length, 0));
    } else {
        size_t written = 0;
        TAV_TRY(LuByteStreamAppendBlockBuffer(writer->byteStream, blockBuffer, offset, length, &written));
    }
    writer->atomSize += static_cast<int64_t>(length);
    return 0;
}

static OSStatus atomWriterPatchSize(const TavAtomWriter* writer, const char* operation)
{
    uint8_t size[8];
    if (writer->isWide) {
        storeBE64(size, static_cast<uint64_t>(writer->atomSize));
        return atomWriterPatch(writer, writer->atomOffset + 8, size, 8);
    }
    if (writer->atomSize > UINT32_MAX)
        return TAV_SIGNAL_FROM(operation, kTavAtomWriter_DataTooBigToFit, "Data too big");
    storeBE32(size, static_cast<uint32_t>(writer->atomSize));
    return atomWriterPatch(writer, writer->atomOffset, size, 4);
}

OSStatus TavAtomWriterEndAtom(TavAtomWriter* writer)
{
    const OSStatus status = writer->atomStarted ? atomWriterPatchSize(writer, __func__) : 0;
    if (writer->atomStarted && status == 0) {
        if (writer->parent) writer->parent->atomSize += writer->atomSize;
        writer->atomOffset += writer->atomSize;
    }
    writer->atomStarted = false;
    writer->atomSize = 0;
    writer->headerSize = 0;
    return status;
}

OSStatus TavAtomWriterGetAtomGlobalDataOffset(const TavAtomWriter* writer, int64_t* offsetOut)
{
    TAV_TRY(atomWriterRequireStarted(writer, __func__));
    *offsetOut = writer->atomOffset + writer->headerSize;
    return 0;
}

OSStatus TavAtomWriterGetAtomSize(const TavAtomWriter* writer, int64_t* sizeOut)
{
    TAV_TRY(atomWriterRequireStarted(writer, __func__));
    *sizeOut = writer->atomSize;
    return 0;
}

OSStatus TavAtomWriterGetAtomDataSize(const TavAtomWriter* writer, int64_t* sizeOut)
{
    TAV_TRY(atomWriterRequireStarted(writer, __func__));
    *sizeOut = writer->atomSize - writer->headerSize;
    return 0;
}
