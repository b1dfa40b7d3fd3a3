#include "Utilities/TavAtomStream.h"

#include <algorithm>

#include "Utilities/TavAtomStreamPrivate.h"
#include "Utilities/TavBigEndian.h"

namespace {

constexpr OSType kUUIDType = LU_FOURCC('u', 'u', 'i', 'd');

int64_t headerSizeOf(const TavAtomStream& stream) { return stream.atomSize - stream.dataLength; }
int64_t globalOffsetOf(const TavAtomStream& stream)
{
    return stream.containerOffset + stream.dataOffset - headerSizeOf(stream);
}
int64_t endOf(const TavAtomStream& stream) { return stream.dataOffset + stream.dataLength; }

// MARK: headers

// Where a header is looked for, and how much of it may be believed.
struct HeaderSearch {
    int64_t offset;  // in the source
    int64_t limit;   // in the source
    bool allowZeroSize;
    bool zeroSizeIsLegal;
    const char* operation;  // in whose name failures are signalled; none: they are only reported
};

struct Header {
    OSType type = 0;
    int64_t size = 0;
    size_t headerSize = 0;
    uint8_t uuid[16] = {};
};

OSStatus refuse(const TavAtomStream& stream, const HeaderSearch& search, OSType type, const AtomStreamFailure& failure,
                int line = __builtin_LINE())
{
    return atomStreamRefuse(stream.reporter, failure, type, search.operation, __FILE__, line);
}

// Reads one part of a header; what the source does not give ends the walk.
OSStatus readPart(const TavAtomStream& stream, const HeaderSearch& search, int64_t offset, size_t count,
                  uint8_t* destination, OSType type, const char* shortFormat)
{
    size_t countRead = 0;
    TAV_TRY(atomStreamRead(stream, count, offset, destination, &countRead));
    if (countRead == count) return 0;
    if (type == 0)
        return refuse(stream, search, 0,
                      {kTavAtomStream_UnexpectedEndOfStream, shortFormat, search.offset, countRead, count});
    return refuse(stream, search, type,
                  {kTavAtomStream_UnexpectedEndOfStream, shortFormat, AtomTypeToString(type).text, search.offset,
                   countRead, count});
}

// ISO/IEC 14496-12 4.2.2: size, type, and where they ask for it a 64-bit size and an extended type.
OSStatus readSize(const TavAtomStream& stream, const HeaderSearch& search, const uint8_t* sizeAndType, Header& header)
{
    const uint32_t size = loadBE32(sizeAndType);
    const OSType type = loadBE32(sizeAndType + 4);
    header.headerSize = kTavAtomHeaderSize;
    if (size > 1) {
        header.size = size;
        return 0;
    }
    if (size == 0) {
        if (!search.zeroSizeIsLegal && !search.allowZeroSize) {
            header.headerSize = 0;
            return refuse(stream, search, type,
                          {kTavAtomStream_BadLengthInAtom, "Zero sized '%s' atom not at top level offset %lld",
                           AtomTypeToString(type).text, search.offset});
        }
        header.size = search.zeroSizeIsLegal ? 0 : search.limit - search.offset;
        return 0;
    }
    header.headerSize = 0;
    const int64_t wideOffset = search.offset + kTavAtomHeaderSize;
    if (search.limit - wideOffset < kTavAtomWideSizeLength)
        return refuse(stream, search, type,
                      {kTavAtomStream_OffsetOutsideOfParent,
                       "Attempt to read wide atom size for atom '%s' at offset %lld exceeding %lld-byte limit",
                       AtomTypeToString(type).text, wideOffset, search.limit});
    uint8_t wide[kTavAtomWideSizeLength];
    TAV_TRY(readPart(stream, search, wideOffset, sizeof(wide), wide, type,
                     "Fewer bytes read than expected for atom '%s' at offset %lld (read %zd wanted %zd)"));
    header.size = static_cast<int64_t>(loadBE64(wide));
    header.headerSize = kTavAtomHeaderSize + kTavAtomWideSizeLength;
    return 0;
}

OSStatus readExtendedType(const TavAtomStream& stream, const HeaderSearch& search, Header& header)
{
    const int64_t offset = search.offset + static_cast<int64_t>(header.headerSize);
    if (search.limit - offset < kTavAtomExtendedTypeSize)
        return refuse(stream, search, kUUIDType,
                      {kTavAtomStream_OffsetOutsideOfParent,
                       "Attempt to read uuid extended type past end of parent at offset %lld exceeding %lld-byte limit",
                       offset, search.limit});
    size_t countRead = 0;
    TAV_TRY(atomStreamRead(stream, sizeof(header.uuid), offset, header.uuid, &countRead));
    if (countRead != sizeof(header.uuid))
        return refuse(stream, search, kUUIDType,
                      {kTavAtomStream_UnexpectedEndOfStream,
                       "Fewer bytes read than expected reading UUID extended type at offset %lld (read %zd wanted %zd)",
                       offset, countRead, sizeof(header.uuid)});
    header.headerSize += kTavAtomExtendedTypeSize;
    return 0;
}

OSStatus readAtomHeader(const TavAtomStream& stream, const HeaderSearch& search, Header& header)
{
    if (search.limit - search.offset < kTavAtomHeaderSize) return kTavAtomStream_OffsetOutsideOfParent;
    uint8_t sizeAndType[kTavAtomHeaderSize];
    TAV_TRY(readPart(stream, search, search.offset, sizeof(sizeAndType), sizeAndType, 0,
                     "Fewer bytes read than expected reading atom header at offset %lld (read %zd wanted %zd)"));
    const OSType type = loadBE32(sizeAndType + 4);
    TAV_TRY(readSize(stream, search, sizeAndType, header));
    if (ZO_UNLIKELY(type == kUUIDType)) TAV_TRY(readExtendedType(stream, search, header));
    header.type = type;
    if (ZO_UNLIKELY(header.size < 0))
        return refuse(stream, search, type,
                      {kTavAtomStream_BadLengthInAtom, "Negative size %lld for '%s' atom at offset %lld", header.size,
                       AtomTypeToString(type).text, search.offset});
    if (ZO_UNLIKELY(header.size < static_cast<int64_t>(header.headerSize)))
        return refuse(stream, search, type,
                      {kTavAtomStream_BadLengthInAtom,
                       "Atom size (%lld) and header size (%zd) inconsistent for '%s' atom at offset %lld", header.size,
                       header.headerSize, AtomTypeToString(type).text, search.offset});
    return 0;
}

// Puts the cursor on the atom whose header stood at `offset` of the container.
void moveTo(TavAtomStream& stream, int64_t offset, const Header& header)
{
    const auto headerSize = static_cast<int64_t>(header.headerSize);
    stream.dataOffset = offset + headerSize;
    stream.type = header.type;
    stream.atomSize = header.size;
    stream.dataLength = header.size - headerSize;
    if (ZO_UNLIKELY(header.type == kUUIDType)) std::copy_n(header.uuid, sizeof(header.uuid), stream.uuid);
}

// The header at `offset` of the container, of an atom that must end inside of it.
OSStatus readSibling(TavAtomStream& stream, int64_t offset, Header& header, const char* operation)
{
    const HeaderSearch search = {.offset = stream.containerOffset + offset,
                                 .limit = stream.containerOffset + stream.containerLength,
                                 .allowZeroSize = stream.allowZeroSizeAtom != 0,
                                 .zeroSizeIsLegal = false,
                                 .operation = operation};
    atomStreamMoveWindow(stream, search.offset);
    TAV_TRY(readAtomHeader(stream, search, header));
    if (ZO_UNLIKELY(header.size > search.limit - search.offset))
        return refuse(stream, search, header.type,
                      {kTavAtomStream_BadLengthInAtom, "Atom '%s' has an invalid length %lld, offset %lld, limit %lld",
                       AtomTypeToString(header.type).text, header.size, search.offset, search.limit});
    return 0;
}

}  // namespace

// MARK: opening

// `stream` has source, container and reporter; gets its first atom.
OSStatus CommonAtomStreamInitialization(TavAtomStream& stream)
{
    const HeaderSearch search = {.offset = stream.containerOffset,
                                 .limit = stream.containerOffset + stream.containerLength,
                                 .allowZeroSize = stream.allowZeroSizeAtom != 0,
                                 .zeroSizeIsLegal = false,
                                 .operation = nullptr};
    Header header;
    atomStreamMoveWindow(stream, search.offset);
    const OSStatus status = readAtomHeader(stream, search, header);
    const bool sizeWasRead = header.headerSize != 0;
    if (status == kTavAtomStream_BadLengthInAtom && sizeWasRead && header.size < kTavAtomHeaderSize)
        return refuse(stream, search, header.type,
                      {kTavAtomStream_BadLengthInAtom,
                       "Atom total length (%lld) less than an atom header size. Atom '%s' at offset %lld.", header.size,
                       AtomTypeToString(header.type).text, search.offset});
    TAV_TRY(status);
    if (header.size > stream.containerLength)
        return refuse(stream, search, header.type,
                      {kTavAtomStream_BadLengthInAtom,
                       "Atom total length (%lld) exceeds container's length. Atom '%s' at offset %lld.", header.size,
                       AtomTypeToString(header.type).text, search.offset});
    moveTo(stream, 0, header);
    return 0;
}

static OSStatus initWithParent(const TavAtomStream* parent, size_t offset, TavAtomStream* childOut,
                               const char* operation)
{
    if (!parent || !childOut) return TAV_SIGNAL_FROM(operation, kTavAtomStream_ParameterError, "NULL parent or child");
    if (offset > static_cast<uint64_t>(parent->dataLength))
        return atomStreamRefuse(
            parent->reporter,
            {kTavAtomStream_OffsetOutsideOfParent,
             "Offset %zd outside of parent container length %lld (Effective global offset %lld)", offset,
             parent->dataLength, atomStreamSaturatingAdd(parent->containerOffset + parent->dataOffset, offset)},
            parent->type, operation);
    TavAtomStream child = *parent;
    child.allowZeroSizeAtom = 0;
    child.containerOffset = parent->containerOffset + parent->dataOffset;
    child.containerLength = parent->dataLength;
    Header header;
    TAV_TRY(readSibling(child, static_cast<int64_t>(offset), header, operation));
    moveTo(child, static_cast<int64_t>(offset), header);
    *childOut = child;
    return 0;
}

OSStatus TavAtomStreamInitWithParent(const TavAtomStream* parent, size_t offset, TavAtomStream* childOut)
{
    return initWithParent(parent, offset, childOut, __func__);
}

// MARK: moving

// What nearly every atom is: one with a plain header in the window, which ends inside of its container. Any other is
// left for the careful way.
static bool moveInWindow(TavAtomStream& stream, int64_t end)
{
    const int64_t offset = stream.containerOffset + end;
    if (offset < stream.windowStart || stream.windowEnd - offset < kTavAtomHeaderSize) return false;
    const uint8_t* const header = stream.window + (offset - stream.windowStart);
    const int64_t size = loadBE32(header);
    const OSType type = loadBE32(header + 4);
    if (size < kTavAtomHeaderSize || size > stream.containerLength - end || type == kUUIDType) return false;
    stream.dataOffset = end + kTavAtomHeaderSize;
    stream.type = type;
    stream.atomSize = size;
    stream.dataLength = size - kTavAtomHeaderSize;
    return true;
}

static OSStatus advance(TavAtomStream& stream, const char* operation)
{
    const int64_t end = endOf(stream);
    if (end == stream.containerLength) return kTavAtomStream_AtEnd;
    if (ZO_LIKELY(moveInWindow(stream, end))) return 0;
    Header header;
    TAV_TRY(readSibling(stream, end, header, operation));
    moveTo(stream, end, header);
    return 0;
}

// Stays if the current atom has the type and may be the one.
static OSStatus find(TavAtomStream& stream, OSType type, bool currentToo, const char* operation)
{
    if (currentToo && stream.type == type) return 0;
    TavAtomStream scan = stream;
    do {
        TAV_TRY(advance(scan, operation));
    } while (scan.type != type);
    stream = scan;
    return 0;
}

static OSStatus descend(TavAtomStream& stream, ZoIndex pathLength, const OSType* path, const char* operation)
{
    TavAtomStream level = stream;
    for (ZoIndex i = 0; i < pathLength; ++i) {
        TavAtomStream child;
        TAV_TRY(initWithParent(&level, 0, &child, operation));
        TAV_TRY(find(child, path[i], true, operation));
        level = child;
    }
    stream = level;
    return 0;
}

OSStatus TavAtomStreamAdvanceToNextAtom(TavAtomStream* stream)
{
    if (!stream) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL stream");
    return advance(*stream, __func__);
}

OSStatus TavAtomStreamAdvanceToNextAtomWithType(TavAtomStream* stream, OSType type)
{
    if (!stream) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL stream");
    return find(*stream, type, false, __func__);
}

OSStatus TavAtomStreamPositionAtFirstAtomWithType(TavAtomStream* stream, OSType type)
{
    if (!stream) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL stream");
    return find(*stream, type, true, __func__);
}

OSStatus TavAtomStreamAdvanceViaAtomPath(TavAtomStream* stream, ZoIndex pathLength, const OSType* path)
{
    if (!stream || !path || pathLength < 1) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL stream or no path");
    return descend(*stream, pathLength, path, __func__);
}

OSStatus TavAtomStreamPositionViaAtomPath(TavAtomStream* stream, ZoIndex pathLength, const OSType* path)
{
    if (!stream || !path || pathLength < 1) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL stream or no path");
    TAV_TRY(find(*stream, path[0], true, __func__));
    return pathLength == 1 ? 0 : descend(*stream, pathLength - 1, path + 1, __func__);
}

// MARK: the current atom

OSStatus TavAtomStreamGetCurrentAtomTypeAndDataLength(const TavAtomStream* stream, OSType* typeOut,
                                                      int64_t* dataLengthOut)
{
    if (!stream) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL stream");
    if (typeOut) *typeOut = stream->type;
    if (dataLengthOut) *dataLengthOut = stream->dataLength;
    return 0;
}

OSStatus TavAtomStreamGetCurrentAtomUUIDType(const TavAtomStream* stream, uint8_t* uuidOut)
{
    if (!stream || !uuidOut) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL stream or uuidOut");
    if (stream->type != kUUIDType) return kTavAtomStream_NotUUIDAtom;
    std::copy_n(stream->uuid, sizeof(stream->uuid), uuidOut);
    return 0;
}

static OSStatus checkDataRange(const TavAtomStream& stream, int64_t offset, size_t length, const char* operation)
{
    if (offset >= 0 && offset < stream.dataLength && length <= static_cast<uint64_t>(stream.dataLength - offset))
        return 0;
    return atomStreamRefuse(stream.reporter,
                            {kTavAtomStream_AtomOffsetOutOfRange,
                             "Attempt to read %zd bytes at %lld out of range of '%s' atom's data size %lld", length,
                             offset, AtomTypeToString(stream.type).text, stream.dataLength},
                            stream.type, operation);
}

static OSStatus refuseShortData(const TavAtomStream& stream, int64_t offset, size_t got, size_t wanted,
                                const char* operation)
{
    return atomStreamRefuse(
        stream.reporter,
        {kTavAtomStream_UnexpectedEndOfStream,
         "Fewer bytes read than expected (got %zd wanted %zd) %lld bytes into '%s' atom length %lld @ %lld", got,
         wanted, offset, AtomTypeToString(stream.type).text, stream.atomSize, globalOffsetOf(stream)},
        stream.type, operation);
}

static OSStatus readData(const TavAtomStream* stream, int64_t offset, size_t length, void* destination,
                         const char* operation)
{
    if (!stream || !destination)
        return TAV_SIGNAL_FROM(operation, kTavAtomStream_ParameterError, "NULL stream or destination");
    TAV_TRY(checkDataRange(*stream, offset, length, operation));
    size_t countRead = 0;
    TAV_TRY(atomStreamRead(*stream, length, stream->containerOffset + stream->dataOffset + offset, destination,
                           &countRead));
    return countRead == length ? 0 : refuseShortData(*stream, offset, countRead, length, operation);
}

OSStatus TavAtomStreamGetCurrentAtomVersionAndFlags(const TavAtomStream* stream, uint8_t* versionOut,
                                                    uint32_t* flagsOut)
{
    uint8_t versionAndFlags[4];
    TAV_TRY(readData(stream, 0, sizeof(versionAndFlags), versionAndFlags, __func__));
    if (versionOut) *versionOut = versionAndFlags[0];
    if (flagsOut) *flagsOut = loadBE24(versionAndFlags + 1);
    return 0;
}

OSStatus TavAtomStreamReadCurrentAtomData(const TavAtomStream* stream, int64_t offset, size_t length, void* destination)
{
    return readData(stream, offset, length, destination, __func__);
}

OSStatus TavAtomStreamReadCurrentAtomDataAndCreateBBuf(const TavAtomStream* stream, int64_t offset, size_t length,
                                                       LuBlockBufferRef* blockBufferOut)
{
    if (blockBufferOut) *blockBufferOut = nullptr;
    if (!stream || !blockBufferOut) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL stream or blockBufferOut");
    if (length == 0 && offset >= 0 && offset < stream->dataLength)
        length = static_cast<size_t>(stream->dataLength - offset);
    TAV_TRY(checkDataRange(*stream, offset, length, __func__));
    size_t countRead = 0;
    TAV_TRY(atomStreamReadContiguous(*stream, length, stream->containerOffset + stream->dataOffset + offset,
                                     blockBufferOut, &countRead));
    if (countRead == length) return 0;
    atomStreamReleaseBlockBuffer(blockBufferOut);
    return refuseShortData(*stream, offset, countRead, length, __func__);
}

OSStatus TavAtomStreamReadCurrentAtomAndCreateBBuf(const TavAtomStream* stream, LuBlockBufferRef* blockBufferOut)
{
    if (blockBufferOut) *blockBufferOut = nullptr;
    if (!stream || !blockBufferOut) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL stream or blockBufferOut");
    const auto length = static_cast<size_t>(stream->atomSize);
    size_t countRead = 0;
    TAV_TRY(atomStreamReadContiguous(*stream, length, globalOffsetOf(*stream), blockBufferOut, &countRead));
    if (countRead == length) return 0;
    atomStreamReleaseBlockBuffer(blockBufferOut);
    return atomStreamRefuse(stream->reporter,
                            {kTavAtomStream_UnexpectedEndOfStream,
                             "Fewer bytes read than expected (got %zd wanted %zd) for '%s' atom @ %lld", countRead,
                             length, AtomTypeToString(stream->type).text, globalOffsetOf(*stream)},
                            stream->type, __func__);
}

OSStatus TavAtomStreamGetCurrentAtomGlobalOffset(const TavAtomStream* stream, int64_t* offsetOut, int64_t* atomSizeOut)
{
    if (!stream) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL stream");
    if (offsetOut) *offsetOut = globalOffsetOf(*stream);
    if (atomSizeOut) *atomSizeOut = stream->atomSize;
    return 0;
}

OSStatus TavAtomStreamGetCurrentAtomOffsetInParent(const TavAtomStream* stream, int64_t* offsetOut)
{
    if (!stream || !offsetOut) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL stream or offsetOut");
    *offsetOut = stream->dataOffset - headerSizeOf(*stream);
    return 0;
}

OSStatus TavAtomStreamGetCurrentAtomDataGlobalOffset(const TavAtomStream* stream, int64_t offsetInData,
                                                     int64_t* globalOffsetOut)
{
    if (!stream || !globalOffsetOut) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL stream or globalOffsetOut");
    if (offsetInData < 0 || offsetInData >= stream->dataLength)
        return atomStreamRefuse(
            stream->reporter,
            {kTavAtomStream_AtomOffsetOutOfRange, "Offset %lld beyond end of '%s' atom's dataLength %lld", offsetInData,
             AtomTypeToString(stream->type).text, stream->dataLength},
            stream->type, __func__);
    *globalOffsetOut = stream->containerOffset + stream->dataOffset + offsetInData;
    return 0;
}

OSStatus TavAtomStreamGetCurrentAtomHeaderSize(const TavAtomStream* stream, int64_t* headerSizeOut)
{
    if (!stream || !headerSizeOut) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL stream or headerSizeOut");
    *headerSizeOut = headerSizeOf(*stream);
    return 0;
}

// MARK: single headers

OSStatus atomStreamReadSingleHeader(const TavAtomStream& stream, int64_t offset, int64_t limit, const char* operation,
                                    OSType* typeOut, int64_t* sizeOut, size_t* headerSizeOut)
{
    const HeaderSearch search = {
        .offset = offset, .limit = limit, .allowZeroSize = false, .zeroSizeIsLegal = true, .operation = operation};
    Header header;
    const OSStatus status = readAtomHeader(stream, search, header);
    if (typeOut) *typeOut = header.type;
    if (sizeOut) *sizeOut = header.size;
    if (headerSizeOut) *headerSizeOut = header.headerSize;
    const bool dataEnded =
        status == kTavAtomStream_UnexpectedEndOfStream || status == kTavAtomStream_OffsetOutsideOfParent;
    return dataEnded ? kTavAtomStream_NeedMoreData : status;
}
