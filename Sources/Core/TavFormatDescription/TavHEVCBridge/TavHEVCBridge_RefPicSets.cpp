// st_ref_pic_set, ITU-T H.265 7.3.7 and 7.4.8.

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCParameterSets.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"

namespace {

constexpr char kTooManyPics[] =
    "{hevcbridgeParseSTRefPicSet} ERROR: num_negative_pics + num_positive_pics out of range";
constexpr uint32_t kDeltaPocLimit = 1 << 15;

// The flags by which a set takes over entries of another; the one behind the last entry stands for that set's picture.
struct Prediction {
    int32_t deltaRps;
    bool usedByCurrPic[HEVCShortTermRPS::kMostPics];
    bool useDelta[HEVCShortTermRPS::kMostPics];
};

// One of a set's two lists while it is built: of pictures before or behind the current one.
struct List {
    int32_t sign;
    int32_t* deltaPoc;
    uint8_t* used;
    uint8_t count = 0;

    void addIfOnItsSide(int32_t dPoc, const Prediction& prediction, uint32_t j)
    {
        if (dPoc * sign <= 0 || !prediction.useDelta[j]) return;
        deltaPoc[count] = dPoc;
        used[count++] = prediction.usedByCurrPic[j];
    }
};

// 7-61 for the negative list, 7-62 for the positive one. At most one more than the entries of the other set.
uint8_t predict(const HEVCShortTermRPS& ref, const Prediction& prediction, List list)
{
    const bool isNegative = list.sign < 0;
    const uint32_t negative = ref.numNegativePics;
    const uint32_t positive = ref.numPositivePics;
    const int32_t* farther = isNegative ? ref.deltaPocS1 : ref.deltaPocS0;
    const int32_t* same = isNegative ? ref.deltaPocS0 : ref.deltaPocS1;
    const uint32_t fartherFirst = isNegative ? negative : 0;
    const uint32_t sameFirst = isNegative ? 0 : negative;

    for (uint32_t j = isNegative ? positive : negative; j-- > 0;)
        list.addIfOnItsSide(farther[j] + prediction.deltaRps, prediction, fartherFirst + j);
    list.addIfOnItsSide(prediction.deltaRps, prediction, negative + positive);
    for (uint32_t j = 0; j < (isNegative ? negative : positive); ++j)
        list.addIfOnItsSide(same[j] + prediction.deltaRps, prediction, sameFirst + j);
    return list.count;
}

// 7.3.7 with inter_ref_pic_set_prediction_flag.
void walkPredictedSet(HEVCWalker& w, uint32_t stRpsIdx, bool isInSlice, const HEVCShortTermRPS* setsSoFar,
                      HEVCShortTermRPS& out)
{
    const uint32_t delta_idx_minus1 = isInSlice ? w.pullUE() : 0;
    w.require(delta_idx_minus1 < stRpsIdx, "{hevcbridgeParseSTRefPicSet} ERROR: delta_idx_minus1 out of range");
    const bool delta_rps_sign = w.pull(1);
    const uint32_t abs_delta_rps_minus1 = w.pullUE();
    w.require(abs_delta_rps_minus1 < kDeltaPocLimit,
              "{hevcbridgeParseSTRefPicSet} ERROR: abs_delta_rps_minus1 out of range");
    if (!w.ok()) return;

    const HEVCShortTermRPS& ref = setsSoFar[stRpsIdx - 1 - delta_idx_minus1];
    const uint32_t numDeltaPocs = uint32_t{ref.numNegativePics} + ref.numPositivePics;
    w.require(numDeltaPocs < HEVCShortTermRPS::kMostPics,
              "{hevcbridgeParseSTRefPicSet} ERROR: NumDeltaPocs out of range");
    const int32_t distance = static_cast<int32_t>(abs_delta_rps_minus1) + 1;
    Prediction prediction = {.deltaRps = delta_rps_sign ? -distance : distance};
    w.times(numDeltaPocs + 1, [&](uint32_t j) {
        prediction.usedByCurrPic[j] = w.pull(1);
        prediction.useDelta[j] = prediction.usedByCurrPic[j] || w.pull(1);
    });
    if (!w.ok()) return;
    out.numNegativePics = predict(ref, prediction, {-1, out.deltaPocS0, out.usedByCurrPicS0});
    out.numPositivePics = predict(ref, prediction, {1, out.deltaPocS1, out.usedByCurrPicS1});
    w.require(uint32_t{out.numNegativePics} + out.numPositivePics < HEVCShortTermRPS::kMostPics, kTooManyPics);
}

void walkList(HEVCWalker& w, uint32_t count, const char* message, List list)
{
    int32_t deltaPoc = 0;
    w.times(count, [&](uint32_t i) {
        const uint32_t delta_poc_minus1 = w.pullUE();
        w.require(delta_poc_minus1 < kDeltaPocLimit, message);
        if (!w.ok()) return;
        deltaPoc += list.sign * (static_cast<int32_t>(delta_poc_minus1) + 1);
        list.deltaPoc[i] = deltaPoc;
        list.used[i] = static_cast<uint8_t>(w.pull(1));
    });
}

// 7.3.7 without it.
void walkPlainSet(HEVCWalker& w, HEVCShortTermRPS& out)
{
    const uint32_t num_negative_pics = w.pullUE();
    w.require(num_negative_pics < HEVCShortTermRPS::kMostPics,
              "{hevcbridgeParseSTRefPicSet} ERROR: num_negative_pics out of range");
    const uint32_t num_positive_pics = w.pullUE();
    w.require(num_positive_pics < HEVCShortTermRPS::kMostPics,
              "{hevcbridgeParseSTRefPicSet} ERROR: num_positive_pics out of range");
    w.require(num_negative_pics + num_positive_pics < HEVCShortTermRPS::kMostPics, kTooManyPics);
    walkList(w, num_negative_pics, "{hevcbridgeParseSTRefPicSet} ERROR: delta_poc_s0_minus1 out of range",
             {-1, out.deltaPocS0, out.usedByCurrPicS0});
    walkList(w, num_positive_pics, "{hevcbridgeParseSTRefPicSet} ERROR: delta_poc_s1_minus1 out of range",
             {1, out.deltaPocS1, out.usedByCurrPicS1});
    out.numNegativePics = static_cast<uint8_t>(num_negative_pics);
    out.numPositivePics = static_cast<uint8_t>(num_positive_pics);
}

}  // namespace

// 7.3.7
OSStatus hevcbridgeParseSTRefPicSet(HEVCBitstream* reader, const HEVCBridgeParseContext* context, uint32_t stRpsIdx,
                                    uint32_t numShortTermRefPicSets, const HEVCShortTermRPS* setsSoFar,
                                    HEVCShortTermRPS* out)
{
    *out = {};
    HEVCWalker w(reader, context);
    const bool inter_ref_pic_set_prediction_flag = stRpsIdx != 0 && w.pull(1);
    if (inter_ref_pic_set_prediction_flag)
        walkPredictedSet(w, stRpsIdx, stRpsIdx == numShortTermRefPicSets, setsSoFar, *out);
    else
        walkPlainSet(w, *out);
    return w.status();
}
