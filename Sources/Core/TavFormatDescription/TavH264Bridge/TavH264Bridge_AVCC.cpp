// Reading of `avcC`: ISO/IEC 14496-15 5.3.3.1.

#define TAV_SUBSYSTEM "<<<< H264Bridge >>>>"

#include <span>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264ParameterSets.h"
#include "Foundation/Values/ZoData.h"
#include "Platform/Common/TavSignal.h"
#include "Utilities/TavBigEndian.h"

namespace {

constexpr size_t kProfileOffset = 1, kLengthSizeOffset = 4, kSPSCountOffset = 5, kFirstSPSOffset = 6;
constexpr size_t kTailBeforeExtensions = 3;  // chroma format, two bit depths
constexpr size_t kLeastEntrySize = 2;

using Bytes = std::span<const uint8_t>;

int32_t lengthSizeOf(Bytes record) { return (record[kLengthSizeOffset] & 3) + 1; }

// Goes over length-prefixed entries, never past the record's end.
class EntryWalk {
public:
    EntryWalk(Bytes record, size_t offset) : record_(record), offset_(offset) {}

    bool isAtEnd() const { return offset_ == record_.size(); }
    bool skip(size_t count)
    {
        if (count > record_.size() - offset_) return false;
        offset_ += count;
        return true;
    }
    bool readCount(size_t& countOut)
    {
        if (isAtEnd()) return false;
        countOut = record_[offset_++];
        return true;
    }
    bool readEntry(Bytes& entryOut)
    {
        if (record_.size() - offset_ < 2) return false;
        const size_t length = loadBE16(record_.data() + offset_);
        if (length > record_.size() - offset_ - 2) return false;
        entryOut = record_.subspan(offset_ + 2, length);
        offset_ += 2 + length;
        return true;
    }
    bool skipEntries(size_t count)
    {
        for (Bytes entry; count > 0; --count)
            if (!readEntry(entry)) return false;
        return true;
    }

private:
    Bytes record_;
    size_t offset_;
};

// MARK: by offset

OSStatus entryAtIndex(const char* operation, EntryWalk& walk, size_t count, size_t index, const char* notFound,
                      const uint8_t** entryOut, size_t* sizeOut)
{
    Bytes entry;
    for (size_t i = 0; i < count; ++i) {
        if (!walk.readEntry(entry) || entry.size() < kLeastEntrySize)
            return kTavBridgeInvalidSerializedSampleDescriptionErr;
        if (i != index) continue;
        *entryOut = entry.data();
        *sizeOut = entry.size();
        return 0;
    }
    return TAV_SIGNAL_FROM(operation, kTavBridgeParameterErr, notFound);
}

bool isTooShortToRead(const uint8_t* avcC, size_t avcCSize) { return !avcC || avcCSize < 7; }

}  // namespace

OSStatus TavH264Bridge_GetNALUnitHeaderLengthFromAVCC(const uint8_t* avcC, size_t avcCSize,
                                                      int32_t* nalUnitHeaderLengthOut)
{
    if (isTooShortToRead(avcC, avcCSize)) return kTavBridgeInvalidSerializedSampleDescriptionErr;
    *nalUnitHeaderLengthOut = lengthSizeOf({avcC, avcCSize});
    return 0;
}

OSStatus TavH264Bridge_GetSPSFromAVCC(const uint8_t* avcC, size_t avcCSize, size_t index, const uint8_t** spsOut,
                                      size_t* spsSizeOut)
{
    if (isTooShortToRead(avcC, avcCSize)) return kTavBridgeInvalidSerializedSampleDescriptionErr;
    EntryWalk walk({avcC, avcCSize}, kFirstSPSOffset);
    return entryAtIndex(__func__, walk, avcC[kSPSCountOffset] & 0x1F, index, "SPS not found for given index", spsOut,
                        spsSizeOut);
}

OSStatus TavH264Bridge_GetPPSFromAVCC(const uint8_t* avcC, size_t avcCSize, size_t index, const uint8_t** ppsOut,
                                      size_t* ppsSizeOut)
{
    if (isTooShortToRead(avcC, avcCSize)) return kTavBridgeInvalidSerializedSampleDescriptionErr;
    EntryWalk walk({avcC, avcCSize}, kFirstSPSOffset);
    Bytes sps;
    for (size_t left = avcC[kSPSCountOffset] & 0x1F; left > 0; --left)
        if (!walk.readEntry(sps) || sps.size() < kLeastEntrySize)
            return kTavBridgeInvalidSerializedSampleDescriptionErr;
    size_t count = 0;
    if (!walk.readCount(count)) return kTavBridgeInvalidSerializedSampleDescriptionErr;
    return entryAtIndex(__func__, walk, count, index, "PPS not found for given index", ppsOut, ppsSizeOut);
}

// MARK: of data objects

static OSStatus bytesOf(const char* operation, ZoDataRef avcCData, Bytes& recordOut)
{
    if (!avcCData || ZoGetTypeID(avcCData) != ZoDataGetTypeID())
        return TAV_SIGNAL_FROM(operation, kTavBridgeParameterErr, "no avcCData or not a ZoData");
    recordOut = {ZoDataGetBytePtr(avcCData), static_cast<size_t>(ZoDataGetLength(avcCData))};
    if (recordOut.size() < kFirstSPSOffset)
        return TAV_SIGNAL_FROM(operation, kTavBridgeParameterErr, "avcCData too short");
    if (recordOut[0] != 1)
        return TAV_SIGNAL_FROM(operation, kTavBridgeParameterErr, "avcCData configurationVersion is not 1");
    return 0;
}

OSStatus TavH264Bridge_GetSPSAndPPSCountFromAVCC(ZoDataRef avcCData, size_t* spsCountOut, size_t* ppsCountOut)
{
    Bytes record;
    TAV_TRY(bytesOf(__func__, avcCData, record));
    const size_t spsCount = record[kSPSCountOffset] & 0x1F;
    EntryWalk walk(record, kFirstSPSOffset);
    size_t ppsCount = 0;
    if (!walk.skipEntries(spsCount) || !walk.readCount(ppsCount))
        return TAV_SIGNAL(kTavBridgeParameterErr, "avcCData too short");
    if (spsCountOut) *spsCountOut = spsCount;
    if (ppsCountOut) *ppsCountOut = ppsCount;
    return 0;
}

namespace {

constexpr const char* kGetAndVisit = "TavH264Bridge_GetAndVisitH264ParameterSetAtIndex";

// What a caller wants of a walk over all groups of a record.
struct Wanted {
    size_t index;
    const uint8_t** parameterSetOut;
    size_t* sizeOut;
    size_t* countOut;
    TavH264BridgeParameterSetVisitor visitor;
    void* context;

    bool anEntry() const { return parameterSetOut || sizeOut; }
    bool onlyAnEntry() const { return !countOut && !visitor; }
};

// One group. `index` counts through all of them; `done` is set once nothing more is wanted.
OSStatus visitGroup(EntryWalk& walk, size_t count, const Wanted& wanted, size_t& index, bool& done)
{
    for (Bytes entry; count > 0; --count, ++index) {
        if (!walk.readEntry(entry)) return TAV_SIGNAL_FROM(kGetAndVisit, kTavBridgeParameterErr, "avcCData too short");
        if (index == wanted.index) {
            if (wanted.parameterSetOut) *wanted.parameterSetOut = entry.data();
            if (wanted.sizeOut) *wanted.sizeOut = entry.size();
            done = wanted.onlyAnEntry();
            if (done) return 0;
        }
        if (wanted.visitor) wanted.visitor(wanted.context, index, entry.data(), entry.size());
    }
    return 0;
}

OSStatus visitRecord(Bytes record, const Wanted& wanted, size_t& index, bool& done)
{
    EntryWalk walk(record, kFirstSPSOffset);
    TAV_TRY(visitGroup(walk, record[kSPSCountOffset] & 0x1F, wanted, index, done));
    size_t count = 0;
    if (done) return 0;
    if (!walk.readCount(count)) return TAV_SIGNAL_FROM(kGetAndVisit, kTavBridgeParameterErr, "avcCData too short");
    TAV_TRY(visitGroup(walk, count, wanted, index, done));
    if (done || walk.isAtEnd() || !h264BridgeProfileHasRecordTail(record[kProfileOffset])) return 0;
    if (!walk.skip(kTailBeforeExtensions) || !walk.readCount(count))
        return TAV_SIGNAL_FROM(kGetAndVisit, kTavBridgeParameterErr, "avcCData too short");
    return visitGroup(walk, count, wanted, index, done);
}

}  // namespace

OSStatus TavH264Bridge_GetAndVisitH264ParameterSetAtIndex(ZoDataRef avcCData, size_t parameterSetIndex,
                                                          const uint8_t** parameterSetOut, size_t* parameterSetSizeOut,
                                                          size_t* parameterSetCountOut, int32_t* nalUnitHeaderLengthOut,
                                                          TavH264BridgeParameterSetVisitor visitor, void* context)
{
    if (parameterSetOut) *parameterSetOut = nullptr;
    if (parameterSetSizeOut) *parameterSetSizeOut = 0;
    if (parameterSetCountOut) *parameterSetCountOut = 0;
    if (nalUnitHeaderLengthOut) *nalUnitHeaderLengthOut = 0;
    Bytes record;
    TAV_TRY(bytesOf(__func__, avcCData, record));
    if (nalUnitHeaderLengthOut) *nalUnitHeaderLengthOut = lengthSizeOf(record);
    const Wanted wanted = {parameterSetIndex,    parameterSetOut, parameterSetSizeOut,
                           parameterSetCountOut, visitor,         context};
    if (!wanted.anEntry() && wanted.onlyAnEntry()) return 0;

    size_t count = 0;
    bool done = false;
    TAV_TRY(visitRecord(record, wanted, count, done));
    if (done) return 0;
    if (parameterSetCountOut) *parameterSetCountOut = count;
    if (wanted.anEntry() && parameterSetIndex >= count)
        return TAV_SIGNAL(kTavBridgeParameterErr, "parameterSetIndex requested exceeding parameterSetCount");
    return 0;
}

OSStatus TavH264Bridge_VisitAllH264ParameterSets(ZoDataRef avcCData, size_t* parameterSetCountOut,
                                                 int32_t* nalUnitHeaderLengthOut,
                                                 TavH264BridgeParameterSetVisitor visitor, void* context)
{
    return TavH264Bridge_GetAndVisitH264ParameterSetAtIndex(avcCData, 0, nullptr, nullptr, parameterSetCountOut,
                                                            nalUnitHeaderLengthOut, visitor, context);
}
