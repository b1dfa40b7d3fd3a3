// What is kept of parameter sets for the slices that refer to them, and the structures that several kinds of NAL units
// share (ITU-T H.265 7.3.2, 7.3.4, 7.3.7, E.2.2).
//
// A digest is one block of memory without pointers, freed with free(). It belongs to whoever gave the slot that it
// was put into (HEVCBridgeParseContext::digestOut). Digests are never changed once they are there: any number of
// threads may read them.
//
//     const auto* sps = hevcbridgeFindDigest<HEVCSPSDigest>(context, pps->seqParameterSetId);

#pragma once

#include <bit>
#include <cstdlib>
#include <span>
#include <utility>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBitstream.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCParseContext.h"

/// A short-term reference picture set (7.4.8), with what was predicted from another set worked out.
struct HEVCShortTermRPS {
    static constexpr uint32_t kMostPics = 16;

    int32_t deltaPocS0[kMostPics];
    int32_t deltaPocS1[kMostPics];
    uint8_t usedByCurrPicS0[kMostPics];
    uint8_t usedByCurrPicS1[kMostPics];
    uint8_t numNegativePics;
    uint8_t numPositivePics;
};

/// Of a representation format (F.7.3.2.1.2). One without chroma information has a chromaFormat of 0.
struct HEVCRepFormat {
    uint32_t picWidth;
    uint32_t picHeight;
    uint32_t chromaFormat;
    uint8_t separateColourPlane;
};

/// Of a VPS with an extension. Tables are by nuh_layer_id, unless they say otherwise.
struct HEVCVPSDigest : HEVCDigest {
    static constexpr uint32_t kNALUnitType = 32;
    static constexpr uint32_t kMostLayers = 64;
    using PerLayer = uint8_t[kMostLayers];

    uint32_t numRepFormatsMinus1;
    PerLayer repFormatIdxForLayer;
    PerLayer numDirectRefLayers;
    PerLayer pocLsbNotPresent;
    PerLayer lastRefLayerIdx;                    ///< the layer index of the last direct reference layer
    PerLayer layerIdxInVps;                      ///< of layers that have a direct reference layer
    PerLayer subLayersVpsMaxMinus1;              ///< by layer index
    PerLayer maxTidIlRefPicsPlus1[kMostLayers];  ///< by layer index of the reference layer, then of the layer above it
    uint8_t defaultRefLayersActive;
    uint8_t maxOneActiveRefLayer;
    uint8_t maxSubLayersMinus1;

    /// They stand behind the record.
    std::span<HEVCRepFormat> repFormats()
    {
        return {reinterpret_cast<HEVCRepFormat*>(this + 1), size_t{numRepFormatsMinus1} + 1};
    }
    std::span<const HEVCRepFormat> repFormats() const { return const_cast<HEVCVPSDigest*>(this)->repFormats(); }
};

struct HEVCSPSDigest : HEVCDigest {
    static constexpr uint32_t kNALUnitType = 33;
    static constexpr uint32_t kMostLongTermPics = 32;
    static constexpr uint32_t kMostShortTermSets = 64;

    uint32_t videoParameterSetId;
    uint32_t nuhLayerId;
    uint32_t log2MinLumaCodingBlockSizeMinus3;
    uint32_t log2DiffMaxMinLumaCodingBlockSize;
    uint32_t picWidth;
    uint32_t picHeight;
    uint32_t log2MaxPicOrderCntLsbMinus4;
    uint32_t numLongTermRefPicsSps;
    uint32_t temporalMvpEnabled;
    uint32_t chromaArrayType;
    uint32_t repFormatIdx;
    uint8_t updateRepFormat;
    uint8_t multiLayerExtSps;  ///< the picture's format comes from the VPS
    uint8_t separateColourPlane;
    uint8_t longTermRefPicsPresent;
    uint8_t usedByCurrPicLtSps[kMostLongTermPics];
    uint8_t sampleAdaptiveOffsetEnabled;
    uint8_t ignoreVPSExtension;
    uint32_t numShortTermRefPicSets;

    /// They stand behind the record.
    HEVCShortTermRPS* shortTermRefPicSets() { return reinterpret_cast<HEVCShortTermRPS*>(this + 1); }
    std::span<const HEVCShortTermRPS> shortTermRefPicSets() const
    {
        return {const_cast<HEVCSPSDigest*>(this)->shortTermRefPicSets(), numShortTermRefPicSets};
    }
};

struct HEVCPPSDigest : HEVCDigest {
    static constexpr uint32_t kNALUnitType = 34;

    uint32_t seqParameterSetId;
    uint32_t numExtraSliceHeaderBits;
    uint32_t numRefIdxL0DefaultActiveMinus1;
    uint32_t numRefIdxL1DefaultActiveMinus1;
    uint8_t dependentSliceSegmentsEnabled;
    uint8_t outputFlagPresent;
    uint8_t listsModificationPresent;
    uint8_t cabacInitPresent;
    uint8_t weightedPred;
    uint8_t weightedBipred;
    uint8_t sliceChromaQpOffsetsPresent;
    uint8_t chromaQpOffsetListEnabled;
    uint8_t deblockingFilterOverrideEnabled;
    uint8_t deblockingFilterDisabled;
    uint8_t loopFilterAcrossSlicesEnabled;
    uint8_t tilesEnabled;
    uint8_t entropyCodingSyncEnabled;
    uint8_t sliceSegmentHeaderExtensionPresent;
    uint8_t currPicRefEnabled;
};

/// The first digest of its kind with that identifier among the context's; null if there is none. Slots may be empty.
template <typename Digest>
const Digest* hevcbridgeFindDigest(const HEVCBridgeParseContext* context, uint32_t parameterSetId)
{
    for (const HEVCDigest* digest : std::span(context->digests, context->digestCount))
        if (digest && digest->nalUnitType == Digest::kNALUnitType && digest->parameterSetId == parameterSetId)
            return static_cast<const Digest*>(digest);
    return nullptr;
}

/// A digest while its parameter set is walked. What is not finished is freed.
template <typename Digest>
class HEVCDigestInMaking {
public:
    explicit HEVCDigestInMaking(HEVCDigest** digestOut) : digestOut_(digestOut) {}
    ~HEVCDigestInMaking() { free(digest_); }
    HEVCDigestInMaking(const HEVCDigestInMaking&) = delete;
    HEVCDigestInMaking& operator=(const HEVCDigestInMaking&) = delete;

    bool isWanted() const { return digestOut_; }
    Digest* get() const { return digest_; }

    /// With what `start` says and `bytesBehind` zeros behind the record.
    [[nodiscard]] OSStatus allocate(const Digest& start, uint32_t parameterSetId, size_t bytesBehind = 0)
    {
        digest_ = static_cast<Digest*>(calloc(1, sizeof(Digest) + bytesBehind));
        if (!digest_) return kTavBridgeAllocationFailedErr;
        *digest_ = start;
        digest_->nalUnitType = Digest::kNALUnitType;
        digest_->parameterSetId = parameterSetId;
        return 0;
    }

    /// Hands the digest over, unless the walk failed. One that a callback stopped keeps what was read until then.
    OSStatus finish(OSStatus status)
    {
        if (!digestOut_) return status;
        *digestOut_ = nullptr;
        if (status == 0 || status == kTavBridgeStopParsing) *digestOut_ = std::exchange(digest_, nullptr);
        return status;
    }

private:
    HEVCDigest** digestOut_;
    Digest* digest_ = nullptr;
};

/// Ceil(Log2(count)); 0 where there is nothing to choose from.
constexpr int32_t hevcbridgeCeilLog2(uint64_t count) { return count < 2 ? 0 : std::bit_width(count - 1); }

/// st_ref_pic_set (7.3.7) of index `stRpsIdx`, which is `numShortTermRefPicSets` in a slice; `setsSoFar` are those
/// before it. At most 15 pictures.
OSStatus hevcbridgeParseSTRefPicSet(HEVCBitstream* reader, const HEVCBridgeParseContext* context, uint32_t stRpsIdx,
                                    uint32_t numShortTermRefPicSets, const HEVCShortTermRPS* setsSoFar,
                                    HEVCShortTermRPS* out);

/// What all sub-layers of an hrd_parameters have in common and its syntax depends on. A VPS may leave it out of a
/// structure: it is then that of the structure before (E.3.2).
struct HEVCHRDCommon {
    bool hasNAL;
    bool hasVCL;
    bool hasSubPictures;
};

/// hrd_parameters (E.2.2). Nothing of a sub-layer is reported. Reads `common`, or where it is present writes it.
OSStatus hevcbridgeParseHRDParameters(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
                                      bool commonInfPresentFlag, uint32_t maxNumSubLayersMinus1, HEVCHRDCommon* common);

/// Steps over scaling_list_data (7.3.4).
OSStatus hevcbridgeParseScalingListData(HEVCBitstream* reader, const HEVCBridgeParseContext* context);
