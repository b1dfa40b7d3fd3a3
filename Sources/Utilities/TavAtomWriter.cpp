#include "Utilities/TavAtomWriter.h"

#include "DataIO/TavByteStreams/TavByteStream.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/TavSignal.h"
#include "Utilities/TavBigEndian.h"

static constexpr int64_t kNarrowHeaderSize = 8, kWideHeaderSize = 16, kUUIDSize = 16, kVersionAndFlagsSize = 4;

static OSStatus atomWriterRequireStarted(const TavAtomWriter* writer)
{
    if (writer && writer->atomStarted) return 0;
    return TAV_SIGNAL(kTavAtomWriter_NewAtomNotYetStarted, "TavAtomWriterBeginAtom not called");
}

// A writer at the top makes the stream over its block buffer for each atom; children use their parent's.
static void atomWriterDropStream(TavAtomWriter* writer)
{
    if (writer->parent || !writer->blockBuffer || !writer->byteStream) return;
    ZoRelease(writer->byteStream);
    writer->byteStream = nullptr;
}

static OSStatus atomWriterAppend(TavAtomWriter* writer, const void* data, size_t length)
{
    size_t written = 0;
    TAV_TRY(LuByteStreamAppend(writer->byteStream, length, data, &written));
    writer->atomSize += static_cast<int64_t>(length);
    return 0;
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
    if (writer->parent) {
        TAV_TRY(atomWriterRequireStarted(writer->parent));
        writer->byteStream = writer->parent->byteStream;  // it makes a new one for each of its atoms
    }
    if (!writer->parent && writer->blockBuffer && !writer->byteStream)
        TAV_TRY(LuByteStreamCreateWritableForBlockBuffer(nullptr, writer->blockBuffer, 0, nullptr, nullptr,
                                                         &writer->byteStream));
    uint8_t header[kWideHeaderSize] = {};
    storeBE32(header, isWide ? 1 : 0);
    storeBE32(header + 4, type);
    writer->atomSize = 0;
    if (OSStatus status = atomWriterAppend(writer, header, isWide ? kWideHeaderSize : kNarrowHeaderSize)) {
        atomWriterDropStream(writer);
        return status;
    }
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
        atomWriterDropStream(writer);
        return status;
    }
    writer->headerSize = writer->atomSize;
    return 0;
}

OSStatus TavAtomWriterAppendVersionAndFlags(TavAtomWriter* writer, uint8_t version, uint32_t flags)
{
    TAV_TRY(atomWriterRequireStarted(writer));
    uint8_t bytes[kVersionAndFlagsSize] = {version};
    storeBE24(bytes + 1, flags);
    TAV_TRY(atomWriterAppend(writer, bytes, sizeof(bytes)));
    writer->headerSize = writer->atomSize;
    return 0;
}

OSStatus TavAtomWriterAppendData(TavAtomWriter* writer, const void* data, size_t length)
{
    TAV_TRY(atomWriterRequireStarted(writer));
    return length == 0 ? 0 : atomWriterAppend(writer, data, length);
}

OSStatus TavAtomWriterAppendBlockBufferData(TavAtomWriter* writer, LuBlockBufferRef blockBuffer, size_t offset,
                                            size_t length)
{
    TAV_TRY(atomWriterRequireStarted(writer));
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

static OSStatus atomWriterPatchSize(const TavAtomWriter* writer)
{
    uint8_t size[8];
    size_t written = 0;
    if (writer->isWide) {
        storeBE64(size, static_cast<uint64_t>(writer->atomSize));
        return TavByteStreamWrite(writer->byteStream, 8, writer->atomOffset + 8, size, &written);
    }
    if (writer->atomSize > UINT32_MAX) return TAV_SIGNAL(kTavAtomWriter_DataTooBigToFit, "Data too big");
    storeBE32(size, static_cast<uint32_t>(writer->atomSize));
    return TavByteStreamWrite(writer->byteStream, 4, writer->atomOffset, size, &written);
}

OSStatus TavAtomWriterEndAtom(TavAtomWriter* writer)
{
    const OSStatus status = writer->atomStarted ? atomWriterPatchSize(writer) : 0;
    if (writer->atomStarted && status == 0) {
        if (writer->parent) writer->parent->atomSize += writer->atomSize;
        writer->atomOffset += writer->atomSize;
    }
    writer->atomStarted = false;
    writer->atomSize = 0;
    writer->headerSize = 0;
    atomWriterDropStream(writer);
    return status;
}

OSStatus TavAtomWriterGetAtomGlobalDataOffset(const TavAtomWriter* writer, int64_t* offsetOut)
{
    TAV_TRY(atomWriterRequireStarted(writer));
    *offsetOut = writer->atomOffset + writer->headerSize;
    return 0;
}

OSStatus TavAtomWriterGetAtomSize(const TavAtomWriter* writer, int64_t* sizeOut)
{
    TAV_TRY(atomWriterRequireStarted(writer));
    *sizeOut = writer->atomSize;
    return 0;
}

OSStatus TavAtomWriterGetAtomDataSize(const TavAtomWriter* writer, int64_t* sizeOut)
{
    TAV_TRY(atomWriterRequireStarted(writer));
    *sizeOut = writer->atomSize - writer->headerSize;
    return 0;
}
