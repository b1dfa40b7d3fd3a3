// The record of an H.264 stream, ISO/IEC 14496-15 5.3.3.1, and the parameter sets in it.

#include <algorithm>
#include <numeric>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264ParameterSets.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264Unescaped.h"
#include "Platform/Ostra/OstraDebugPrivate.h"
#include "Utilities/TavBigEndian.h"
#include "inspect/Payload.h"

namespace {

using Bytes = std::span<const uint8_t>;
constexpr OSStatus kBadRecord = kTavBridgeInvalidSerializedSampleDescriptionErr;

// MARK: one parameter set

struct ParameterSet {
    uint32_t id = 0;
    uint32_t spsID = 0;  // of a PPS
    SeqParamSet sps;     // of an SPS
};

// ITU-T H.264 7.3.2.1.1
OSStatus readSPS(Bytes unit, ParameterSet& out)
{
    H264Unescaped unescaped;
    TAV_TRY(unescaped.set(unit.data(), unit.size()));
    TavH264BitReader r(unescaped.bytes(), unescaped.size(), __func__);
    TAV_TRY(PullParamSetSPS(r, out.sps));
    out.id = out.sps.seq_parameter_set_id;
    return 0;
}

// 7.3.2.2
OSStatus readPPS(Bytes unit, ParameterSet& out)
{
    return TavH264Bridge_GetPPSSequenceID(unit.data(), unit.size(), &out.spsID, &out.id);
}

// 7.3.2.1.2
OSStatus readSPSExtension(Bytes unit, ParameterSet& out)
{
    TavH264BitReader r(unit.data(), unit.size(), __func__);
    r.skip(8);
    out.id = r.ue();
    return r.status();
}

// [frames, seconds] of E.2.1, unless one of them is 0.
void writeFrameRate(ValueWriter& w, const SeqParamSet& sps)
{
    if (sps.vui.time_scale == 0 || sps.vui.num_units_in_tick == 0) return;
    const bool ticksAreFields = sps.frame_mbs_only_flag || sps.pic_order_cnt_type != 2;
    const int64_t ticks = int64_t{sps.vui.num_units_in_tick} * (ticksAreFields ? 2 : 1);
    const int64_t common = std::gcd(int64_t{sps.vui.time_scale}, ticks);
    w.key("frameRate").rational(sps.vui.time_scale / common, ticks / common);
}

void writeDerivedOfSPS(ValueWriter& w, const ParameterSet& set)
{
    const H264PictureSize picture = h264BridgePictureSize(set.sps);
    w.key("width").unsignedInteger(picture.width);
    w.key("height").unsignedInteger(picture.height);
    writeFrameRate(w, set.sps);
    w.key("chroma").unsignedInteger(set.sps.chroma_format_idc);
    w.key("depth").beginArray();
    w.unsignedInteger(set.sps.bit_depth_luma_minus8 + 8U);
    w.unsignedInteger(set.sps.bit_depth_chroma_minus8 + 8U);
    w.endArray();
}

void writeDerivedOfPPS(ValueWriter& w, const ParameterSet& set) { w.key("sps").unsignedInteger(set.spsID); }

struct Kind {
    const char* name;
    const char* textName;
    uint32_t nalType;
    OSStatus (*read)(Bytes unit, ParameterSet& out);
    void (*writeDerived)(ValueWriter& w, const ParameterSet& set);
};
constexpr Kind kSPS = {"SPS", "sps", kH264NALUnitType_SPS, readSPS, writeDerivedOfSPS};
constexpr Kind kPPS = {"PPS", "pps", kH264NALUnitType_PPS, readPPS, writeDerivedOfPPS};
constexpr Kind kSPSExtension = {"SPSExt", "spsExt", kH264NALUnitType_SPSExtension, readSPSExtension, nullptr};

// What the library said when it refused with this status.
const char* signalledText(OSStatus status, OstraLastError& error)
{
    return ostraDebugGetLastError(&error) == 0 && error.code == status ? error.message : "unreadable";
}

// MARK: the record

// Writes and judges one record; `rest_` is what has not been read of it.
class AVCRecord {
public:
    explicit AVCRecord(const PayloadBox& box) : w_(box.writer), findings_(box.findings), rest_(box.data) {}

    void write()
    {
        constexpr size_t kHeadSize = 6;
        const Bytes head = rest_.first(std::min(kHeadSize, rest_.size()));
        if (!head.empty() && head[0] != 1)
            return findings_.report(kBadRecord, "configurationVersion is %u, not 1", head[0]);
        if (head.size() < kHeadSize) return findings_.report(kBadRecord, "The record has %zu bytes", head.size());
        rest_ = rest_.subspan(kHeadSize);
        writeHead(head);
        if (!w_.isText()) w_.key("parameterSets").beginArray();
        writeGroups(head);
        if (!w_.isText()) w_.endArray();
    }

private:
    void writeHead(Bytes head)
    {
        w_.key("configuration").beginObject(ValueWriter::Layout::kSpread);
        w_.key("profile").unsignedInteger(head[1]);
        w_.key("level").unsignedInteger(head[3]);
        w_.key("compatibility").unsignedInteger(head[2]);
        w_.key("lengthSize").unsignedInteger((head[4] & 3U) + 1);
        w_.endObject();
    }

    // Chroma format and depths in front of the extensions stand in each SPS, too. Many encoders leave all of that out.
    void writeGroups(Bytes head)
    {
        constexpr size_t kBeforeExtensions = 3;
        if (!writeSets(kSPS, head[5] & 31) || !writeCountedSets(kPPS)) return;
        if (rest_.empty() || !h264BridgeProfileHasRecordTail(head[1])) return;
        rest_ = rest_.subspan(std::min(kBeforeExtensions, rest_.size()));
        writeCountedSets(kSPSExtension);
    }

    bool writeCountedSets(const Kind& kind)
    {
        if (rest_.empty()) {
            findings_.report(kBadRecord, "The record ends before the count of %s", kind.name);
            return false;
        }
        const size_t count = rest_[0];
        rest_ = rest_.subspan(1);
        return writeSets(kind, count);
    }

    bool writeSets(const Kind& kind, size_t count)
    {
        for (size_t i = 0; i < count; ++i) {
            const size_t size = rest_.size() < 2 ? 0 : loadBE16(rest_.data());
            if (rest_.size() < 2 || size > rest_.size() - 2) {
                findings_.report(kBadRecord, "The record ends inside of %s %zu", kind.name, i);
                return false;
            }
            writeSet(kind, i, rest_.subspan(2, size));
            rest_ = rest_.subspan(2 + size);
        }
        return true;
    }

    void writeSet(const Kind& kind, size_t index, Bytes unit)
    {
        ParameterSet set;
        OstraLastError error;
        OSStatus status = kBadRecord;
        const char* text = "not a NAL unit of this type";
        if (!unit.empty() && h264BridgeNALUnitType(unit[0]) == kind.nalType) {
            status = kind.read(unit, set);
            if (status != 0) text = signalledText(status, error);
        }
        if (status != 0) findings_.report(status, "%s %zu: %s", kind.name, index, text);
        if (w_.isText()) return writeSetForPeople(kind, index, unit, set, status);

        w_.beginObject();
        w_.key("kind").string(kind.name);
        if (status == 0) {
            w_.key("nalType").unsignedInteger(kind.nalType);
            w_.key("id").unsignedInteger(set.id);
        }
        w_.key("size").unsignedInteger(unit.size());
        if (status != 0) {
            w_.key("error").beginObject();
            w_.key("code").integer(status);
            w_.key("text").string(text);
            w_.endObject();
        } else if (kind.writeDerived) {
            w_.key("derived").beginObject();
            kind.writeDerived(w_, set);
            w_.endObject();
        }
        w_.endObject();
    }

    void writeSetForPeople(const Kind& kind, size_t index, Bytes unit, const ParameterSet& set, OSStatus status)
    {
        char name[16], text[kTavH264BridgeSPSDescriptionSize] = "unreadable";
        snprintf(name, sizeof(name), "%s%zu", kind.textName, index);
        if (status == 0 && kind.nalType == kH264NALUnitType_SPS)
            TavH264Bridge_DescribeSPS(unit.data(), unit.size(), text);
        else if (status == 0)
            snprintf(text, sizeof(text), "id %u", set.id);
        w_.key(name).string(text);
    }

    ValueWriter& w_;
    Findings& findings_;
    Bytes rest_;
};

}  // namespace

void readAVCConfiguration(const PayloadBox& box) { AVCRecord(box).write(); }
