// vps_extension, ITU-T H.265 F.7.3.2.1.1 with the derivations of F.7.4.3.1.1, as far as slices need it.

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeParser.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCVideoParameterSet.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"

namespace {

constexpr uint32_t kMostLayers = HEVCVPSDigest::kMostLayers;

constexpr uint64_t bitOf(uint32_t i) { return uint64_t{1} << i; }
constexpr uint64_t bitsBelow(uint32_t i) { return bitOf(i) - 1; }

// The numbers of the bits that are set, from the lowest on.
template <typename Turn>
void forEachBit(uint64_t bits, Turn turn)
{
    for (; bits != 0; bits &= bits - 1) turn(static_cast<uint32_t>(std::countr_zero(bits)));
}

// Layers in the order in which layer sets list them, so that a layer set is a mask of places.
struct LayerOrder {
    uint8_t layerId[kMostLayers];
    uint64_t references[kMostLayers];  // by place: places of the layers that it depends on, those before it
};

// On the heap, zero-filled: some 8 kilobytes.
struct Extension {
    HEVCVideoParameterSet* vps;
    uint32_t maxLayersMinus1;
    HEVCVPSDigest digest;  // what becomes of the digest, until it has its place

    // By layer index, and masks of layer indexes. A nuh_layer_id that several layers have is that of the last.
    uint8_t layerId[kMostLayers];
    uint64_t directReferences[kMostLayers];
    uint64_t references[kMostLayers];
    // By nuh_layer_id.
    uint8_t viewOrderIdx[kMostLayers];
    uint8_t auxId[kMostLayers];

    // Base layer sets list layers by nuh_layer_id, additional ones partition by partition.
    LayerOrder byId;
    LayerOrder byPartition;
    uint32_t partitionCount;
    uint8_t partitionStart[kMostLayers];
    uint8_t partitionSize[kMostLayers];

    uint32_t baseLayerSetCount;
    uint32_t layerSetCount;
    uint32_t outputLayerSetCount;
    uint32_t defaultOutputLayerIdc;
    uint32_t numProfileTierLevelMinus1;

    uint64_t layerSet(uint32_t i) const { return i == 0 ? 1 : vps->layerSets[i - 1]; }
};

// scalability_mask_flag index, table F.1.
enum : uint32_t { kViewOrderIdx = 1, kAuxId = 3 };

struct ScalabilityType {
    uint32_t mask;
    uint32_t dimensionBits;
    uint32_t offset;  // dimBitOffset
};

struct Scalability {
    bool isSplit;  // a layer's dimensions are parts of its identifier
    uint32_t count;
    ScalabilityType types[16];
};

Scalability walkScalability(HEVCWalker& w)
{
    Scalability scalability = {};
    scalability.isSplit = w.needFlag(HEVCField::splitting_flag);
    for (uint32_t mask = 0; mask < 16; ++mask)
        if (w.needFlag(HEVCField::scalability_mask_flag)) scalability.types[scalability.count++].mask = mask;

    uint32_t offset = 0;
    const uint32_t derived = scalability.isSplit && scalability.count > 0 ? 1 : 0;
    w.times(scalability.count - derived, [&](uint32_t j) {
        const uint32_t bits = w.needU(3, HEVCField::dimension_id_len_minus1) + 1;
        scalability.types[j] = {scalability.types[j].mask, bits, offset};
        offset += bits;
    });
    if (derived) {
        w.require(offset < 6,
                  "{hevcbridgeParseVPSExtension} ERROR: Wrong dimBitOffset[NumScalabilityTypes - 1] in VPS extension");
        ScalabilityType& last = scalability.types[scalability.count - 1];
        last = {last.mask, 6 - offset, offset};
    }
    return scalability;
}

uint32_t walkDimension(HEVCWalker& w, const Scalability& scalability, const ScalabilityType& type, uint32_t layerId)
{
    if (!scalability.isSplit) return w.needU(static_cast<int32_t>(type.dimensionBits), HEVCField::dimension_id);
    return layerId >> type.offset & static_cast<uint32_t>(bitsBelow(type.dimensionBits));
}

void walkLayers(HEVCWalker& w, Extension& x)
{
    const Scalability scalability = walkScalability(w);
    const bool hasIds = w.needFlag(HEVCField::vps_nuh_layer_id_present_flag);
    w.times(x.maxLayersMinus1, [&](uint32_t before) {
        const uint32_t i = before + 1;
        const uint32_t layerId = hasIds ? w.needU(6, HEVCField::layer_id_in_nuh) : i;
        x.layerId[i] = static_cast<uint8_t>(layerId);
        for (const ScalabilityType& type : std::span(scalability.types, scalability.count)) {
            const auto dimension = static_cast<uint8_t>(walkDimension(w, scalability, type, layerId));
            if (type.mask == kViewOrderIdx) x.viewOrderIdx[layerId] = dimension;
            if (type.mask == kAuxId) x.auxId[layerId] = dimension;
        }
    });
    w.times(x.maxLayersMinus1, [&](uint32_t before) {
        const uint32_t layerId = x.layerId[before + 1];
        w.report(HEVCField::AuxiliaryPictureIdAndNuhLayerId, x.auxId[layerId] | layerId << 8,
                 static_cast<int32_t>(before));
    });
}

// NumViews.
uint32_t countViews(const Extension& x)
{
    uint32_t views = 0;
    for (uint32_t i = 0; i <= x.maxLayersMinus1; ++i) {
        const auto isOfView = [&](uint8_t layerId) { return x.viewOrderIdx[layerId] == x.viewOrderIdx[x.layerId[i]]; };
        if (std::none_of(x.layerId, x.layerId + i, isOfView)) ++views;
    }
    return views;
}

void walkViews(HEVCWalker& w, const Extension& x)
{
    const auto view_id_len = static_cast<int32_t>(w.needU(4, HEVCField::view_id_len));
    if (view_id_len == 0) return;
    w.times(countViews(x), [&](uint32_t view) {
        const uint32_t view_id_val = w.needU(view_id_len, HEVCField::view_id_val);
        for (const uint32_t layerId : std::span(x.layerId, x.maxLayersMinus1 + 1))
            if (x.viewOrderIdx[layerId] == view) w.report(HEVCField::ViewIdAndNuhLayerId, view_id_val | layerId << 16);
    });
}

// DependencyFlag, and what the digest has of direct dependencies.
void deriveDependencies(Extension& x)
{
    for (uint32_t i = 0; i <= x.maxLayersMinus1; ++i) {
        const uint64_t direct = x.directReferences[i];
        x.references[i] = direct;
        forEachBit(direct, [&](uint32_t k) { x.references[i] |= x.references[k]; });

        const uint32_t layerId = x.layerId[i];
        x.digest.numDirectRefLayers[layerId] = static_cast<uint8_t>(std::popcount(direct));
        if (direct == 0) continue;
        x.digest.lastRefLayerIdx[layerId] = static_cast<uint8_t>(63 - std::countl_zero(direct));
        x.digest.layerIdxInVps[layerId] = static_cast<uint8_t>(i);
    }
}

// The order by nuh_layer_id. Layers that the VPS does not know depend on nothing.
void deriveOrderById(Extension& x)
{
    for (uint32_t id = 0; id < kMostLayers; ++id) x.byId.layerId[id] = static_cast<uint8_t>(id);
    for (uint32_t i = 0; i <= x.maxLayersMinus1; ++i) {
        uint64_t& references = x.byId.references[x.layerId[i]];
        references = 0;
        forEachBit(x.references[i], [&](uint32_t j) { references |= bitOf(x.layerId[j]); });
    }
}

// TreePartitionLayerIdList: each independent layer with those that depend on it and stand in no partition yet.
void derivePartitions(Extension& x)
{
    LayerOrder& order = x.byPartition;
    uint32_t places = 0;
    uint64_t placed = 0;
    const auto place = [&](uint32_t layerId) {
        if (placed & bitOf(layerId)) return;
        placed |= bitOf(layerId);
        order.layerId[places++] = static_cast<uint8_t>(layerId);
    };
    for (uint32_t i = 0; i <= x.maxLayersMinus1; ++i) {
        if (x.digest.numDirectRefLayers[x.layerId[i]] != 0) continue;
        const uint32_t start = places;
        place(x.layerId[i]);
        for (uint32_t j = i + 1; j <= x.maxLayersMinus1; ++j)
            if (x.references[j] & bitOf(i)) place(x.layerId[j]);
        x.partitionStart[x.partitionCount] = static_cast<uint8_t>(start);
        x.partitionSize[x.partitionCount++] = static_cast<uint8_t>(places - start);
    }
    for (uint32_t upper = 0; upper < places; ++upper)
        for (uint32_t lower = 0; lower < upper; ++lower)
            if (x.byId.references[order.layerId[upper]] & bitOf(order.layerId[lower]))
                order.references[upper] |= bitOf(lower);
}

void walkDependencies(HEVCWalker& w, Extension& x)
{
    w.times(x.maxLayersMinus1, [&](uint32_t before) {
        const uint32_t i = before + 1;
        w.times(i, [&](uint32_t j) {
            if (w.needFlag(HEVCField::direct_dependency_flag)) x.directReferences[i] |= bitOf(j);
        });
    });
    deriveDependencies(x);
    deriveOrderById(x);
    derivePartitions(x);
}

// The layers of one additional layer set, as places in the order by partition.
uint64_t walkAdditionalLayerSet(HEVCWalker& w, const Extension& x)
{
    uint64_t layers = 0;
    w.times(x.partitionCount - 1, [&](uint32_t before) {
        const uint32_t size = x.partitionSize[before + 1];
        if (size == 0) return;
        const uint32_t highest_layer_idx_plus1 =
            w.needU(hevcbridgeCeilLog2(size + 1), HEVCField::highest_layer_idx_plus1);
        w.require(highest_layer_idx_plus1 <= size,
                  "{hevcbridgeParseVPSExtension} ERROR: highest_layer_idx_plus1 shall be in the range of 0 to "
                  "NumLayersInTreePartition[j], inclusive");
        if (w.ok()) layers |= bitsBelow(highest_layer_idx_plus1) << x.partitionStart[before + 1];
    });
    return layers;
}

void walkAdditionalLayerSets(HEVCWalker& w, Extension& x)
{
    x.baseLayerSetCount = static_cast<uint32_t>(x.vps->layerSets.size()) + 1;
    x.layerSetCount = x.baseLayerSetCount;
    if (x.partitionCount < 2) return;
    const uint32_t num_add_layer_sets = w.needUE(HEVCField::num_add_layer_sets);
    w.require(num_add_layer_sets < 1024,
              "{hevcbridgeParseVPSExtension} ERROR: num_add_layer_sets shall be in the range of 0 to 1023, inclusive");
    w.times(num_add_layer_sets, [&] {
        if (!x.vps->layerSets.append(walkAdditionalLayerSet(w, x))) w.end(kTavBridgeAllocationFailedErr);
    });
    x.layerSetCount += num_add_layer_sets;
}

void walkSubLayers(HEVCWalker& w, Extension& x)
{
    std::fill_n(x.digest.subLayersVpsMaxMinus1, kMostLayers, static_cast<uint8_t>(x.vps->maxSubLayersMinus1));
    if (w.needFlag(HEVCField::vps_sub_layers_max_minus1_present_flag))
        w.times(x.maxLayersMinus1 + 1, [&](uint32_t i) {
            x.digest.subLayersVpsMaxMinus1[i] = static_cast<uint8_t>(w.needU(3, HEVCField::sub_layers_vps_max_minus1));
        });

    for (auto& row : x.digest.maxTidIlRefPicsPlus1) std::fill(std::begin(row), std::end(row), uint8_t{7});
    if (w.needFlag(HEVCField::max_tid_ref_present_flag))
        w.times(x.maxLayersMinus1, [&](uint32_t i) {
            w.times(x.maxLayersMinus1 - i, [&](uint32_t between) {
                const uint32_t j = i + 1 + between;
                if (x.directReferences[j] & bitOf(i))
                    x.digest.maxTidIlRefPicsPlus1[i][j] =
                        static_cast<uint8_t>(w.needU(3, HEVCField::max_tid_il_ref_pics_plus1));
            });
        });
    x.digest.defaultRefLayersActive = w.needFlag(HEVCField::default_ref_layers_active_flag);
}

void walkProfiles(HEVCWalker& w, Extension& x)
{
    x.numProfileTierLevelMinus1 = w.needUE(HEVCField::vps_num_profile_tier_level_minus1);
    const uint32_t first = x.vps->baseLayerInternal ? 2 : 1;
    w.times(x.numProfileTierLevelMinus1 < first ? 0 : x.numProfileTierLevelMinus1 - first + 1, [&] {
        const bool vps_profile_present_flag = w.needFlag(HEVCField::vps_profile_present_flag);
        w.structure(hevcbridgeParseProfileTierLevel, vps_profile_present_flag, x.vps->maxSubLayersMinus1);
    });
}

void walkOutputLayerSetCount(HEVCWalker& w, Extension& x)
{
    x.outputLayerSetCount = x.layerSetCount;
    if (x.layerSetCount < 2) return;
    const uint32_t num_add_olss = w.needUE(HEVCField::num_add_olss);
    w.require(num_add_olss < 1024,
              "{hevcbridgeParseVPSExtension} ERROR: num_add_olss shall be in the range of 0 to 1023, inclusive");
    x.defaultOutputLayerIdc = std::min(w.needU(2, HEVCField::default_output_layer_idc), 2u);
    x.outputLayerSetCount += num_add_olss;
}

// OlsIdxToLsIdx of the output layer set `i`.
uint32_t walkLayerSetOf(HEVCWalker& w, const Extension& x, uint32_t i)
{
    if (i < x.layerSetCount) return i;
    if (x.layerSetCount == 2) return 1;
    const uint32_t layer_set_idx_for_ols_minus1 =
        w.needU(hevcbridgeCeilLog2(x.layerSetCount - 1), HEVCField::layer_set_idx_for_ols_minus1);
    w.require(layer_set_idx_for_ols_minus1 <= x.layerSetCount - 2,
              "{hevcbridgeParseVPSExtension} ERROR: layer_set_idx_for_ols_minus1 shall be in the range of 0 to "
              "NumLayerSets - 2, inclusive");
    return w.ok() ? layer_set_idx_for_ols_minus1 + 1 : 0;
}

// OutputLayerFlag of the output layer set `i`, which has these layers.
uint64_t walkOutputLayers(HEVCWalker& w, const Extension& x, uint32_t i, uint64_t layers)
{
    if (i < x.baseLayerSetCount && x.defaultOutputLayerIdc == 0) return layers;
    if (i < x.baseLayerSetCount && x.defaultOutputLayerIdc == 1) return std::bit_floor(layers);
    uint64_t outputs = 0;
    forEachBit(layers, [&](uint32_t place) {
        if (w.needFlag(HEVCField::output_layer_flag)) outputs |= bitOf(place);
    });
    return outputs;
}

void walkOutputLayerSet(HEVCWalker& w, const Extension& x, uint32_t i)
{
    const uint32_t layerSet = walkLayerSetOf(w, x, i);
    const LayerOrder& order = layerSet < x.baseLayerSetCount ? x.byId : x.byPartition;
    const uint64_t layers = x.layerSet(layerSet);
    const uint64_t outputs = walkOutputLayers(w, x, i, layers);

    uint64_t necessary = outputs;
    forEachBit(outputs, [&](uint32_t place) { necessary |= order.references[place] & layers & bitsBelow(place); });
    if (x.numProfileTierLevelMinus1 > 0) {
        const int32_t bits = hevcbridgeCeilLog2(uint64_t{x.numProfileTierLevelMinus1} + 1);
        forEachBit(necessary, [&](uint32_t) { w.u(bits, HEVCField::profile_tier_level_idx); });
    }
    if (std::has_single_bit(outputs) && x.digest.numDirectRefLayers[order.layerId[std::countr_zero(outputs)]] > 0)
        w.flag(HEVCField::alt_output_layer_flag);
}

// rep_format, F.7.3.2.1.2
void walkRepFormat(HEVCWalker& w, HEVCRepFormat& format)
{
    format.picWidth = w.needU(16, HEVCField::pic_width_vps_in_luma_samples);
    format.picHeight = w.needU(16, HEVCField::pic_height_vps_in_luma_samples);
    if (w.needFlag(HEVCField::chroma_and_bit_depth_vps_present_flag)) {
        format.chromaFormat = w.needU(2, HEVCField::chroma_format_vps_idc);
        if (format.chromaFormat == 3)
            format.separateColourPlane = w.needFlag(HEVCField::separate_colour_plane_vps_flag);
        w.u(4, HEVCField::bit_depth_vps_luma_minus8);
        w.u(4, HEVCField::bit_depth_vps_chroma_minus8);
    }
    if (w.needFlag(HEVCField::conformance_window_vps_flag)) {
        w.ue(HEVCField::conf_win_vps_left_offset);
        w.ue(HEVCField::conf_win_vps_right_offset);
        w.ue(HEVCField::conf_win_vps_top_offset);
        w.ue(HEVCField::conf_win_vps_bottom_offset);
    }
}

void walkRepFormatIndexes(HEVCWalker& w, const Extension& x, HEVCVPSDigest& digest)
{
    const uint32_t most = digest.numRepFormatsMinus1;
    const bool arePresent = most > 0 && w.needFlag(HEVCField::rep_format_idx_present_flag);
    w.times(x.maxLayersMinus1 + 1, [&](uint32_t i) {
        const bool isPresent = arePresent && (i > 0 || !x.vps->baseLayerInternal);
        digest.repFormatIdxForLayer[x.layerId[i]] = static_cast<uint8_t>(
            isPresent ? w.needU(hevcbridgeCeilLog2(most + 1), HEVCField::vps_rep_format_idx) : std::min(i, most));
    });
}

void walkRepFormats(HEVCWalker& w, Extension& x, HEVCDigestInMaking<HEVCVPSDigest>& making)
{
    const uint32_t vps_num_rep_formats_minus1 = w.needUE(HEVCField::vps_num_rep_formats_minus1);
    w.require(vps_num_rep_formats_minus1 < 256,
              "{hevcbridgeParseSliceSegmentLayer} ERROR: vps_num_rep_formats_minus1 out of range");
    if (!w.ok()) return;
    x.digest.numRepFormatsMinus1 = vps_num_rep_formats_minus1;
    x.digest.maxSubLayersMinus1 = static_cast<uint8_t>(x.vps->maxSubLayersMinus1);
    if (making.isWanted()) {
        const size_t formatBytes = (size_t{vps_num_rep_formats_minus1} + 1) * sizeof(HEVCRepFormat);
        if (const OSStatus status = making.allocate(x.digest, x.vps->parameterSetId, formatBytes); status != 0)
            return w.end(status);
    }
    HEVCVPSDigest* kept = making.get();
    w.times(vps_num_rep_formats_minus1 + 1, [&](uint32_t i) {
        HEVCRepFormat format = {};
        walkRepFormat(w, format);
        if (kept) kept->repFormats()[i] = format;
    });

    HEVCVPSDigest& digest = kept ? *kept : x.digest;
    walkRepFormatIndexes(w, x, digest);
    digest.maxOneActiveRefLayer = w.needFlag(HEVCField::max_one_active_ref_layer_flag);
    w.flag(HEVCField::vps_poc_lsb_aligned_flag);
    w.times(x.maxLayersMinus1, [&](uint32_t before) {
        const uint32_t layerId = x.layerId[before + 1];
        if (x.digest.numDirectRefLayers[layerId] == 0)
            digest.pocLsbNotPresent[layerId] = w.needFlag(HEVCField::poc_lsb_not_present_flag);
    });
}

}  // namespace

// F.7.3.2.1.1
OSStatus hevcbridgeParseVPSExtension(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
                                     HEVCVideoParameterSet* vps, HEVCDigestInMaking<HEVCVPSDigest>* digest)
{
    const std::unique_ptr<Extension> x(new (std::nothrow) Extension());
    if (!x) return kTavBridgeAllocationFailedErr;
    x->vps = vps;
    x->maxLayersMinus1 = std::min(vps->maxLayersMinus1, kMostLayers - 2);

    HEVCWalker w(reader, context);
    if (vps->maxLayersMinus1 > 0 && vps->baseLayerInternal)
        w.structure(hevcbridgeParseProfileTierLevel, false, vps->maxSubLayersMinus1);
    walkLayers(w, *x);
    walkViews(w, *x);
    walkDependencies(w, *x);
    walkAdditionalLayerSets(w, *x);
    walkSubLayers(w, *x);
    walkProfiles(w, *x);
    walkOutputLayerSetCount(w, *x);
    if (context->ignoreVPSExtension) w.end(kTavBridgeStopParsing);
    w.times(x->outputLayerSetCount - 1, [&](uint32_t before) { walkOutputLayerSet(w, *x, before + 1); });
    walkRepFormats(w, *x, *digest);
    w.end(kTavBridgeStopParsing);  // what follows says nothing about slices
    return w.status();
}
