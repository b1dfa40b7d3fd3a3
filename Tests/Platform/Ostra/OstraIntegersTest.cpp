#include "Platform/Ostra/OstraIntegers.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "Platform/Ostra/OstraClock.h"

extern "C" int64_t mulDivFromC(int64_t value, int32_t multiplier, int32_t divisor, int32_t* remainder);

namespace {

constexpr int64_t kMin = INT64_MIN, kMax = INT64_MAX;
using Wide = __int128;
using UWide = unsigned __int128;

template <typename T>
struct Result {
    T quotient;
    int64_t remainder;
    bool operator==(const Result&) const = default;
};
template <typename T>
std::ostream& operator<<(std::ostream& out, const Result<T>& result)
{
    return out << result.quotient << " remainder " << result.remainder;
}

// The models: one wide division, and the limits where it cannot answer.
Result<uint64_t> modelOfUnsigned(uint64_t value, uint32_t multiplier, uint32_t divisor)
{
    const UWide product = UWide(value) * multiplier;
    if (divisor == 0 || product / divisor > UINT64_MAX) return {UINT64_MAX, 0};
    return {uint64_t(product / divisor), int64_t(product % divisor)};
}

Result<int64_t> modelOfSigned(int64_t value, int32_t multiplier, int32_t divisor)
{
    const bool negative = ((value < 0) != (multiplier < 0)) != (divisor < 0);
    const Wide product = Wide(value) * multiplier;
    const Wide magnitude =
        divisor == 0 ? 0 : (product < 0 ? -product : product) / (divisor < 0 ? -Wide(divisor) : divisor);
    if (divisor == 0 || magnitude > Wide(UINT64_MAX)) return {negative ? kMin : kMax, 0};
    const int64_t remainder = int64_t((product < 0 ? -product : product) % (divisor < 0 ? -Wide(divisor) : divisor));
    const int64_t limited = magnitude > kMax ? kMax : int64_t(magnitude);
    return {negative ? (limited == kMax ? kMin : -limited) : limited, negative ? -remainder : remainder};
}

Result<uint64_t> unsignedResult(uint64_t value, uint32_t multiplier, uint32_t divisor)
{
    uint32_t remainder = 77;
    const uint64_t quotient = TavUInt64MulDiv(value, multiplier, divisor, &remainder);
    EXPECT_EQ(TavUInt64MulDiv(value, multiplier, divisor, nullptr), quotient);
    return {quotient, remainder};
}

Result<int64_t> signedResult(int64_t value, int32_t multiplier, int32_t divisor)
{
    int32_t remainder = 77;
    const int64_t quotient = TavInt64MulDiv(value, multiplier, divisor, &remainder);
    EXPECT_EQ(TavInt64MulDiv(value, multiplier, divisor, nullptr), quotient);
    return {quotient, remainder};
}

// Words of all widths, close to powers of two and to the ends, with either sign.
int64_t anyWord(std::mt19937_64& random)
{
    const uint64_t word = random() >> (random() % 64);
    switch (random() % 4) {
        case 0: return int64_t(word);
        case 1: return int64_t(0 - word);
        case 2: return int64_t((uint64_t(1) << (random() % 64)) + random() % 5 - 2);
        default: return int64_t(0 - ((uint64_t(1) << (random() % 64)) + random() % 5 - 2));
    }
}

TEST(OstraIntegers, multiplyDivideAgreesWithAWideDivision)
{
    const uint64_t seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 random(seed);
    for (int turn = 0; turn < 300000; ++turn) {
        const int64_t value = anyWord(random);
        const auto multiplier = int32_t(anyWord(random));
        const auto divisor = random() % 8 == 0 ? multiplier : int32_t(anyWord(random));
        ASSERT_EQ(signedResult(value, multiplier, divisor), modelOfSigned(value, multiplier, divisor))
            << value << " * " << multiplier << " / " << divisor;
        ASSERT_EQ(unsignedResult(uint64_t(value), uint32_t(multiplier), uint32_t(divisor)),
                  modelOfUnsigned(uint64_t(value), uint32_t(multiplier), uint32_t(divisor)))
            << uint64_t(value) << " * " << uint32_t(multiplier) << " / " << uint32_t(divisor);
    }
}

// What the model shares with the code: the limits, and the signs at them.
TEST(OstraIntegers, multiplyDivideSaturatesToTheLimits)
{
    struct Row {
        int64_t value;
        int32_t multiplier, divisor;
        Result<int64_t> expected;
    };
    for (const Row& row : {
             Row{kMin, 1, 1, {kMin, 0}}, Row{kMin, -1, 1, {kMax, 0}}, Row{kMin, INT32_MIN, INT32_MIN, {kMin, 0}},
             Row{-kMax, 1, 1, {kMin, 0}},  // indistinguishable from saturation
             Row{1 - kMax, 1, 1, {1 - kMax, 0}}, Row{1, 1, 0, {kMax, 0}}, Row{-1, 1, 0, {kMin, 0}},
             Row{0, 0, 0, {kMax, 0}}, Row{-7, 1, 2, {-3, -1}}, Row{7, -1, 2, {-3, -1}}, Row{-7, -1, 2, {3, 1}},
             Row{kMax, 3, 2, {kMax, 1}},  // fits 64 bits unsigned: saturated, the remainder kept
         }) {
        EXPECT_EQ(signedResult(row.value, row.multiplier, row.divisor), row.expected)
            << row.value << " * " << row.multiplier << " / " << row.divisor;
        int32_t remainder;
        EXPECT_EQ(mulDivFromC(row.value, row.multiplier, row.divisor, &remainder), row.expected.quotient);
    }
    const uint64_t top = uint64_t(1) << 63;
    EXPECT_EQ(unsignedResult(top, 2, 2), (Result<uint64_t>{top, 0}));
    EXPECT_EQ(unsignedResult(UINT64_MAX, 2, 1), (Result<uint64_t>{UINT64_MAX, 0}));
    EXPECT_EQ(unsignedResult(UINT64_MAX, UINT32_MAX, UINT32_MAX), (Result<uint64_t>{UINT64_MAX, 0}));
    EXPECT_EQ(unsignedResult(5, 3, 0), (Result<uint64_t>{UINT64_MAX, 0}));
}

TEST(OstraIntegers, checkedArithmeticWrapsAndTells)
{
    int64_t out;
    EXPECT_TRUE(TavAddDidOverflowInt64Int64(kMax, 1, &out));
    EXPECT_EQ(out, kMin);
    EXPECT_FALSE(TavAddDidOverflowInt64Int64(kMax, kMin, &out));
    EXPECT_TRUE(TavSubtractDidOverflowInt64Int64(0, kMin, &out));
    EXPECT_EQ(out, kMin);
    EXPECT_FALSE(TavMultiplyAndAddDidOverflowInt64Int64Int64(kMin / 2, 2, 5, &out));
    EXPECT_EQ(out, kMin + 5);
    EXPECT_TRUE(TavMultiplyAndAddDidOverflowInt64Int64Int64(kMax, 1, 1, &out)) << "the sum overflows";
    EXPECT_TRUE(TavMultiplyAndAddDidOverflowInt64Int64Int64(kMax, 2, kMin, &out)) << "the product does, and comes back";
    EXPECT_EQ(out, kMax - 1);
}

TEST(OstraIntegers, nearestPowerOfTwoRoundsUpFromTheMiddle)
{
    const uint32_t expected[] = {0, 1, 2, 4, 4, 4, 8, 8, 8, 8, 8, 8, 16};
    for (uint32_t value = 0; value < std::size(expected); ++value)
        EXPECT_EQ(TavUInt32NearestPowerOfTwo(value), expected[value]) << value;
    EXPECT_EQ(TavUInt32NearestPowerOfTwo(0x5FFFFFFF), 0x40000000u);
    EXPECT_EQ(TavUInt32NearestPowerOfTwo(0x60000000), 0x80000000u);
    EXPECT_EQ(TavUInt32NearestPowerOfTwo(0x80000000), 0u);
    EXPECT_EQ(TavUInt32NearestPowerOfTwo(UINT32_MAX), 0u);
}

TEST(OstraIntegers, everyHalfFloatComesBackButSubnormals)
{
    for (uint32_t bits = 0; bits < 0x10000; ++bits) {
        const float value = TavFloat16ConvertToFloat32(bits);
        const int exponent = int(bits >> 10 & 0x1F), mantissa = int(bits & 0x3FF);
        ASSERT_EQ(std::signbit(value), bits >> 15 == 1) << bits;
        if (exponent < 31) {
            const double expected =
                exponent ? std::ldexp(1 + mantissa / 1024.0, exponent - 15) : std::ldexp(mantissa, -24);
            ASSERT_EQ(std::fabs(double(value)), expected) << bits;
        } else {
            ASSERT_EQ(std::bit_cast<uint32_t>(value) & 0x7FFFFFFF, 0x7F800000u | uint32_t(mantissa)) << bits;
        }
        ASSERT_EQ(TavFloat32ConvertToFloat16(value), exponent ? bits : bits & 0x8000) << bits;
    }
}

TEST(OstraIntegers, floatsAreCutToHalfFloats)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    struct Row {
        float value;
        uint32_t bits;
    };
    for (const Row& row :
         {Row{65520.0f, 0x7BFF}, Row{65536.0f, 0x7C00}, Row{-65536.0f, 0xFC00}, Row{1e-6f, 0}, Row{-1e-6f, 0x8000},
          Row{0x1p-14f, 0x0400}, Row{0x1.fffffep-15f, 0}, Row{1.9999999f, 0x3FFF}, Row{kInfinity, 0x7C00},
          Row{-kInfinity, 0xFC00}, Row{std::bit_cast<float>(0x7FC00000), 0x7E00},
          Row{std::bit_cast<float>(0xFFC00801), 0xFC01}})
        EXPECT_EQ(TavFloat32ConvertToFloat16(row.value), row.bits) << row.value;
}

TEST(OstraClock, countsNanosecondsOfTheMonotonicClock)
{
    struct timespec before = {};
    clock_gettime(CLOCK_MONOTONIC, &before);
    const uint64_t start = uint64_t(before.tv_sec) * 1000000000 + uint64_t(before.tv_nsec);
    const uint64_t now = TavGetUpTime();
    EXPECT_LE(start, now);
    EXPECT_LE(now, TavGetUpTimeNanoseconds());
    EXPECT_LT(now - start, 60 * uint64_t{1000000000});
}

}  // namespace
