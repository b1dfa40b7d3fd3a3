// Sums, differences, quotients: what needs two times on one timescale.

#include "Core/TavTime/TavTimeInternal.h"

using namespace tavtime;

namespace {

enum class Operation { Add, Subtract };

/// +1 and -1 for the infinities, 0 for everything else.
int infinitySign(LuTime time)
{
    if (LuTimeIsPositiveInfinity(time)) return 1;
    return LuTimeIsNegativeInfinity(time) ? -1 : 0;
}

/// The outcome where an operand is not numeric.
LuTime combineSpecialOperands(LuTime left, LuTime right, Operation operation)
{
    if (!LuTimeIsValid(left) || !LuTimeIsValid(right)) return kLuTimeInvalid;
    const int leftSign = infinitySign(left);
    const int rightSign = operation == Operation::Add ? infinitySign(right) : -infinitySign(right);
    if (leftSign != 0) return rightSign == -leftSign ? kLuTimeInvalid : infinity(leftSign < 0);
    if (rightSign != 0) return infinity(rightSign < 0);
    return kLuTimeIndefinite;
}

bool epochsExcludeEachOther(LuTime left, LuTime right)
{
    return left.epoch != 0 && right.epoch != 0 && left.epoch != right.epoch;
}

int32_t commonTimescale(int32_t left, int32_t right)
{
    if (left == right) return left;
    // Not both are 0, so there is a divisor.
    const auto divisor = static_cast<int64_t>(greatestCommonDivisor(left, right));
    const int64_t multiple = right / divisor * left;
    return multiple > kLuTimeMaxTimescale ? kLuTimeFallbackTimescale : static_cast<int32_t>(multiple);
}

struct Aligned {
    LuTime left, right;
    int32_t timescale;
};

/// Both times at `timescale`, or at the first half, quarter... at which neither leaves 64 bits. At 1 an operand may
/// remain an infinity.
Aligned align(LuTime left, LuTime right, int32_t timescale)
{
    for (;; timescale >>= 1) {
        const Aligned aligned = {convert(left, timescale), convert(right, timescale), timescale};
        if (timescale < 2 || (!isInfinite(aligned.left) && !isInfinite(aligned.right))) return aligned;
    }
}

bool combineValues(int64_t left, int64_t right, Operation operation, int64_t* out)
{
    return operation == Operation::Add ? TavAddDidOverflowInt64Int64(left, right, out)
                                       : TavSubtractDidOverflowInt64Int64(left, right, out);
}

LuTime combine(LuTime left, LuTime right, Operation operation)
{
    if (!LuTimeIsNumeric(left) || !LuTimeIsNumeric(right)) return combineSpecialOperands(left, right, operation);
    if (epochsExcludeEachOther(left, right)) return kLuTimeInvalid;
    const LuTimeEpoch epoch = left.epoch == right.epoch ? 0 : left.epoch | right.epoch;
    const LuTimeFlags flags = numericFlags(left.flags | right.flags);

    // A zero takes no part, so that its timescale costs no precision. Of two, a sum has the right one's timescale.
    if (left.value == 0 && operation == Operation::Add) return {right.value, right.timescale, flags, epoch};
    if (right.value == 0) return {left.value, left.timescale, flags, epoch};
    if (left.value == 0 && right.value != std::numeric_limits<int64_t>::min())
        return {-right.value, right.timescale, flags, epoch};

    int32_t timescale = commonTimescale(left.timescale, right.timescale);
    for (;;) {
        const Aligned aligned = align(left, right, timescale);
        if (!LuTimeIsNumeric(aligned.left) || !LuTimeIsNumeric(aligned.right))
            return combineSpecialOperands(aligned.left, aligned.right, operation);
        int64_t value;
        if (!combineValues(aligned.left.value, aligned.right.value, operation, &value))
            return {value, aligned.timescale, numericFlags(aligned.left.flags | aligned.right.flags), epoch};
        if (aligned.timescale < 2) return infinity(value >= 0);  // the sum wrapped to the other sign
        timescale = aligned.timescale >> 1;
    }
}

}  // namespace

LuTime LuTimeAddGeneral(LuTime left, LuTime right) { return combine(left, right, Operation::Add); }

LuTime LuTimeSubtractGeneral(LuTime left, LuTime right) { return combine(left, right, Operation::Subtract); }

int64_t LuTimeDivide(LuTime dividend, LuTime divisor, LuTime* remainderOut)
{
    LuTime unused;
    LuTime& remainder = remainderOut ? *remainderOut : unused;
    remainder = kLuTimeInvalid;
    if (!LuTimeIsNumeric(dividend) || !LuTimeIsNumeric(divisor) || epochsExcludeEachOther(dividend, divisor)) return 0;
    if (divisor.value == 0) return 0;
    const LuTimeEpoch epoch = dividend.epoch != 0 ? dividend.epoch : divisor.epoch;
    if (dividend.value == 0) {
        remainder = {0, dividend.timescale, numericFlags(dividend.flags | divisor.flags), epoch};
        return 0;
    }
    const Aligned aligned = align(dividend, divisor, commonTimescale(dividend.timescale, divisor.timescale));
    if (!LuTimeIsNumeric(aligned.left) || !LuTimeIsNumeric(aligned.right)) return 0;
    // A divisor of less than half a tick at the common timescale has become 0.
    if (aligned.right.value == 0) return 0;
    remainder = {0, aligned.timescale, numericFlags(aligned.left.flags | aligned.right.flags), epoch};
    // The one quotient that leaves 64 bits would trap.
    if (aligned.right.value == -1)
        return aligned.left.value == std::numeric_limits<int64_t>::min() ? std::numeric_limits<int64_t>::max()
                                                                         : -aligned.left.value;
    remainder.value = aligned.left.value % aligned.right.value;
    return aligned.left.value / aligned.right.value;
}

LuTime LuTimeRemainder(LuTime dividend, LuTime divisor)
{
    LuTime remainder;
    (void)LuTimeDivide(dividend, divisor, &remainder);
    return remainder;
}
