// Writing of `avcC`: ISO/IEC 14496-15 5.3.3.1.

#define TAV_SUBSYSTEM "<<<< H264Bridge >>>>"

#include <algorithm>
#include <iterator>
#include <span>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264AVCCEntry.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264ParameterSets.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264Unescaped.h"
#include "Memory/Containers.h"
#include "Utilities/TavBigEndian.h"

int TavH264Bridge_sortParameterSets(const void* entry1, const void* entry2)
{
    const auto& a = *static_cast<const TavH264ParameterSetIdAndIndex*>(entry1);
    const auto& b = *static_cast<const TavH264ParameterSetIdAndIndex*>(entry2);
    if (a.id != b.id) return a.id < b.id ? -1 : 1;
    return (a.nalUnitType > b.nalUnitType) - (a.nalUnitType < b.nalUnitType);
}

namespace {

using Entry = TavH264ParameterSetIdAndIndex;
constexpr const char* kOperation = "TavH264Bridge_CreateAVCCFromH264ParameterSets";

struct ParameterSets {
    std::span<const uint8_t* const> pointers;
    std::span<const size_t> sizes;
};

// What all SPS of a record say together.
struct Summary {
    uint32_t AVCProfileIndication = 0;
    uint32_t profile_compatibility = 0xFF;
    uint32_t AVCLevelIndication = 0;
    bool hasChromaInfo = false;
    uint32_t chroma_format_idc = 0;
    uint32_t bit_depth_luma_minus8 = 0;
    uint32_t bit_depth_chroma_minus8 = 0;
    H264PictureSize size = {0, 0};
    bool sizesAgree = true;
    size_t spsCount = 0, ppsCount = 0, spsExtensionCount = 0;

    bool hasTail() const { return h264BridgeProfileHasRecordTail(AVCProfileIndication); }
};

OSStatus checkUnit(const uint8_t* unit, size_t size)
{
    constexpr size_t kSizeLimit = 0x10000;
    if (size >= kSizeLimit)
        return TAV_SIGNAL_FROM(kOperation, kTavBridgeParameterErr, "parameterSetSizes[i] must be less than UINT16_MAX");
    if (size == 0) return TAV_SIGNAL_FROM(kOperation, kTavBridgeParameterErr, "parameterSetSizes[i] too small");
    if (!unit) return TAV_SIGNAL_FROM(kOperation, kTavBridgeParameterErr, "no parameterSetPointers[i]");
    const bool forbidden_zero_bit = unit[0] & 0x80;
    const uint32_t nal_ref_idc = unit[0] >> 5 & 3;
    if (forbidden_zero_bit || nal_ref_idc == 0)
        return TAV_SIGNAL_FROM(kOperation, kTavBridgeParameterErr, "not a parameter set NAL unit");
    const uint32_t type = h264BridgeNALUnitType(unit[0]);
    if (type != kH264NALUnitType_SPS && type != kH264NALUnitType_PPS && type != kH264NALUnitType_SPSExtension)
        return TAV_SIGNAL_FROM(kOperation, kTavBridgeParameterErr, "NAL unit type must be SPS, PPS or SPSExt");
    return 0;
}

OSStatus readID(const uint8_t* unit, size_t size, Entry& entry)
{
    TavH264BitReader r(unit, size, kOperation);
    r.skip(h264BridgeNALUnitType(unit[0]) == kH264NALUnitType_SPS ? 32 : 8);
    entry.id = r.ue();
    entry.nalUnitType = h264BridgeNALUnitType(unit[0]);
    return r.status();
}

void addPictureSize(const H264Unescaped& unit, Summary& summary)
{
    // An SPS that cannot be read to its end is stored all the same; it only has no size.
    TavH264BitReader r(unit.bytes(), unit.size(), kOperation, TavH264BitReader::OnFailure::kStaySilent);
    SeqParamSet sps;
    const H264PictureSize size = PullParamSetSPS(r, sps) == 0 ? h264BridgePictureSize(sps) : H264PictureSize{0, 0};
    const auto differs = [](uint32_t before, uint32_t now) { return before != 0 && before != now; };
    if (differs(summary.size.width, size.width) || differs(summary.size.height, size.height))
        summary.sizesAgree = false;
    summary.size = size;
}

OSStatus addSPS(const uint8_t* bytes, size_t size, Summary& summary)
{
    H264Unescaped unit;
    TAV_TRY(unit.set(bytes, size));
    addPictureSize(unit, summary);

    TavH264BitReader r(unit.bytes(), unit.size(), kOperation);
    r.skip(8);
    const uint32_t profile_idc = r.u(8);
    const uint32_t constraints = r.u(8);
    const uint32_t level_idc = r.u(8);
    r.skipUE();  // seq_parameter_set_id
    TAV_TRY(r.status());
    summary.AVCProfileIndication = std::max(summary.AVCProfileIndication, profile_idc);
    summary.profile_compatibility &= constraints;
    summary.AVCLevelIndication = std::max(summary.AVCLevelIndication, level_idc);
    if (!h264BridgeProfileHasRecordTail(profile_idc)) return 0;

    const uint32_t chroma_format_idc = r.ue();
    if (chroma_format_idc == 3) r.skip(1);
    const uint32_t bit_depth_luma_minus8 = r.ue();
    const uint32_t bit_depth_chroma_minus8 = r.ue();
    TAV_TRY(r.status());
    if (summary.hasChromaInfo) {
        if (summary.chroma_format_idc != chroma_format_idc)
            return TAV_SIGNAL_FROM(kOperation, kTavBridgeParameterErr, "inconsistent chroma_format");
        if (summary.bit_depth_luma_minus8 != bit_depth_luma_minus8)
            return TAV_SIGNAL_FROM(kOperation, kTavBridgeParameterErr, "inconsistent bit_depth_luma_minus8");
        if (summary.bit_depth_chroma_minus8 != bit_depth_chroma_minus8)
            return TAV_SIGNAL_FROM(kOperation, kTavBridgeParameterErr, "inconsistent bit_depth_chroma_minus8");
    }
    summary.hasChromaInfo = true;
    summary.chroma_format_idc = chroma_format_idc;
    summary.bit_depth_luma_minus8 = bit_depth_luma_minus8;
    summary.bit_depth_chroma_minus8 = bit_depth_chroma_minus8;
    return 0;
}

OSStatus examine(const ParameterSets& sets, std::span<Entry> entries, Summary& summary)
{
    for (size_t i = 0; i < entries.size(); ++i) {
        TAV_TRY(checkUnit(sets.pointers[i], sets.sizes[i]));
        entries[i].index = i;
        TAV_TRY(readID(sets.pointers[i], sets.sizes[i], entries[i]));
        if (entries[i].nalUnitType == kH264NALUnitType_SPS) TAV_TRY(addSPS(sets.pointers[i], sets.sizes[i], summary));
        summary.spsCount += entries[i].nalUnitType == kH264NALUnitType_SPS;
        summary.ppsCount += entries[i].nalUnitType == kH264NALUnitType_PPS;
        summary.spsExtensionCount += entries[i].nalUnitType == kH264NALUnitType_SPSExtension;
    }
    if (summary.spsCount == 0) return TAV_SIGNAL_FROM(kOperation, kTavBridgeParameterErr, "no SPS NAL unit found");
    if (summary.ppsCount == 0) return TAV_SIGNAL_FROM(kOperation, kTavBridgeParameterErr, "no PPS NAL unit found");
    return 0;
}

// A record without a tail has no place of its own for SPS extensions: they stand among the SPS.
OSStatus settleCounts(Summary& summary)
{
    if (!summary.hasTail()) {
        summary.spsCount += summary.spsExtensionCount;
        summary.spsExtensionCount = 0;
    }
    if (summary.spsCount > 0x1F)
        return TAV_SIGNAL_FROM(kOperation, kTavBridgeParameterErr, "SPSCount must be less than or equal to 0x1F");
    if (summary.ppsCount > 0xFF)
        return TAV_SIGNAL_FROM(kOperation, kTavBridgeParameterErr, "PPSCount must be less than or equal to 0xFF");
    if (summary.spsExtensionCount > 0xFF)
        return TAV_SIGNAL_FROM(kOperation, kTavBridgeParameterErr, "SPSExtCount must be less than or equal to 0xFF");
    return 0;
}

// Fills the record from its front; room was measured before.
class RecordWriter {
public:
    explicit RecordWriter(uint8_t* next) : next_(next) {}

    void byte(size_t value) { *next_++ = static_cast<uint8_t>(value); }
    void entriesOf(const ParameterSets& sets, std::span<const Entry> entries, uint32_t type, uint32_t orType)
    {
        for (const Entry& entry : entries) {
            if (entry.nalUnitType != type && entry.nalUnitType != orType) continue;
            const size_t size = sets.sizes[entry.index];
            storeBE16(next_, static_cast<uint16_t>(size));
            std::copy_n(sets.pointers[entry.index], size, next_ + 2);
            next_ += 2 + size;
        }
    }

private:
    uint8_t* next_;
};

OSStatus writeRecord(const ParameterSets& sets, std::span<const Entry> entries, const Summary& summary,
                     int32_t nalUnitHeaderLength, ZoDataRef* avcCDataOut)
{
    constexpr size_t kFixedSize = 7, kTailSize = 4;
    size_t size = kFixedSize + (summary.hasTail() ? kTailSize : 0);
    for (const Entry& entry : entries) size += 2 + sets.sizes[entry.index];
    auto record = zoAdopt(ZoDataCreateMutable(nullptr, static_cast<ZoIndex>(size)));
    if (record) ZoDataSetLength(record.get(), static_cast<ZoIndex>(size));
    if (!record || ZoDataGetLength(record.get()) != static_cast<ZoIndex>(size))
        return TAV_SIGNAL_FROM(kOperation, kTavBridgeAllocationFailedErr, "avcC allocation failed");

    RecordWriter w(ZoDataGetMutableBytePtr(record.get()));
    w.byte(1);  // configurationVersion
    w.byte(summary.AVCProfileIndication);
    w.byte(summary.profile_compatibility);
    w.byte(summary.AVCLevelIndication);
    w.byte(0xFC | static_cast<size_t>(nalUnitHeaderLength - 1));
    w.byte(0xE0 | summary.spsCount);
    w.entriesOf(sets, entries, kH264NALUnitType_SPS,
                summary.hasTail() ? kH264NALUnitType_SPS : kH264NALUnitType_SPSExtension);
    w.byte(summary.ppsCount);
    w.entriesOf(sets, entries, kH264NALUnitType_PPS, kH264NALUnitType_PPS);
    if (summary.hasTail()) {
        w.byte(0xFC | summary.chroma_format_idc);
        w.byte(0xF8 | summary.bit_depth_luma_minus8);
        w.byte(0xF8 | summary.bit_depth_chroma_minus8);
        w.byte(summary.spsExtensionCount);
        w.entriesOf(sets, entries, kH264NALUnitType_SPSExtension, kH264NALUnitType_SPSExtension);
    }
    *avcCDataOut = record.release();
    return 0;
}

}  // namespace

OSStatus TavH264Bridge_CreateAVCCFromH264ParameterSets(ZoAllocatorRef, size_t parameterSetCount,
                                                       const uint8_t* const* parameterSetPointers,
                                                       const size_t* parameterSetSizes, int32_t nalUnitHeaderLength,
                                                       uint32_t* widthOut, uint32_t* heightOut, ZoDataRef* avcCDataOut)
{
    constexpr size_t kLeastSets = 2;
    if (!parameterSetPointers) return TAV_SIGNAL(kTavBridgeParameterErr, "no parameterSetPointers");
    if (!parameterSetSizes) return TAV_SIGNAL(kTavBridgeParameterErr, "no ParameterSetSizes");
    if (parameterSetCount < kLeastSets)
        return TAV_SIGNAL(kTavBridgeParameterErr, "need at least 2 parameter sets (1SPS+1PPS)");
    if (nalUnitHeaderLength != 1 && nalUnitHeaderLength != 2 && nalUnitHeaderLength != 4)
        return TAV_SIGNAL(kTavBridgeParameterErr, "NALUnitHeaderLength is not 1, 2 or 4");
    if (!avcCDataOut) return TAV_SIGNAL(kTavBridgeParameterErr, "no avcCDataOut");
    *avcCDataOut = nullptr;
    if (widthOut) *widthOut = 0;
    if (heightOut) *heightOut = 0;

    memory::ReportingArray<Entry> entryArray;
    if (!entryArray.resize(parameterSetCount))
        return TAV_SIGNAL(kTavBridgeAllocationFailedErr, "no parameterSetIdAndIndexes");
    const std::span<Entry> entries(entryArray.data(), parameterSetCount);
    const ParameterSets sets = {{parameterSetPointers, parameterSetCount}, {parameterSetSizes, parameterSetCount}};
    Summary summary;
    TAV_TRY(examine(sets, entries, summary));
    TAV_TRY(settleCounts(summary));
    // Equal ones stay in the caller's order. std::stable_sort would do so too, and allocate.
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        const int order = TavH264Bridge_sortParameterSets(&a, &b);
        return order != 0 ? order < 0 : a.index < b.index;
    });
    TAV_TRY(writeRecord(sets, entries, summary, nalUnitHeaderLength, avcCDataOut));
    if (widthOut && summary.sizesAgree) *widthOut = summary.size.width;
    if (heightOut && summary.sizesAgree) *heightOut = summary.size.height;
    return 0;
}

OSStatus TavH264Bridge_CreateAVCCFromSPSAndPPS(ZoAllocatorRef allocator, const uint8_t* sps, size_t spsSize,
                                               const uint8_t* pps, size_t ppsSize, int32_t nalUnitHeaderLength,
                                               ZoDataRef* avcCDataOut)
{
    const uint8_t* const pointers[] = {sps, pps};
    const size_t sizes[] = {spsSize, ppsSize};
    return TavH264Bridge_CreateAVCCFromH264ParameterSets(allocator, std::size(sizes), pointers, sizes,
                                                         nalUnitHeaderLength, nullptr, nullptr, avcCDataOut);
}
