#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoNumber.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int64_t kMax = INT64_MAX;
constexpr int64_t kMin = INT64_MIN;

ZoRef<ZoNumberRef> number(int64_t value) { return zoAdopt(ZoNumberCreate(nullptr, kZoNumberSInt64Type, &value)); }
ZoRef<ZoNumberRef> number(double value) { return zoAdopt(ZoNumberCreate(nullptr, kZoNumberFloat64Type, &value)); }
ZoRef<ZoNumberRef> wide(int64_t high, uint64_t low)
{
    const ZoSInt128 value = {high, low};
    return zoAdopt(ZoNumberCreate(nullptr, kZoNumberSInt128Type, &value));
}

// A value as one of the types sees it: stored as such, read as such.
struct Reading {
    const char* name;
    ZoRef<ZoNumberRef> source;
    ZoNumberType type;
    bool fits;
    int64_t integer;  // what integer types read
    double real;      // what float types read
};

TEST(Number, readsAsEveryTypeExactlyOrSaysNot)
{
    const Reading readings[] = {
        {"int to int8", number(int64_t{127}), kZoNumberSInt8Type, true, 127, 0},
        {"past int8", number(int64_t{128}), kZoNumberSInt8Type, false, 127, 0},
        {"below int8", number(int64_t{-129}), kZoNumberSInt8Type, false, -128, 0},
        {"past int16", number(int64_t{40000}), kZoNumberSInt16Type, false, 32767, 0},
        {"int32 minimum", number(int64_t{INT32_MIN}), kZoNumberIntType, true, INT32_MIN, 0},
        {"past int32", number(int64_t{INT32_MAX} + 1), kZoNumberSInt32Type, false, INT32_MAX, 0},
        {"int64 ends", number(kMin), kZoNumberZoIndexType, true, kMin, 0},
        {"fraction to int", number(-1.75), kZoNumberSInt64Type, false, -1, 0},
        {"whole double to int", number(-4e15), kZoNumberSInt64Type, true, -4000000000000000, 0},
        {"2^63 to int64", number(9223372036854775808.0), kZoNumberSInt64Type, false, kMax, 0},
        {"-2^63 to int64", number(-9223372036854775808.0), kZoNumberSInt64Type, true, kMin, 0},
        {"infinity to int", number(-kInfinity), kZoNumberSInt32Type, false, INT32_MIN, 0},
        {"NaN to int", number(kNaN), kZoNumberSInt64Type, false, 0, 0},
        {"2^53 to double", number(int64_t{1} << 53), kZoNumberDoubleType, true, 0, 9007199254740992.0},
        {"2^53+1 to double", number((int64_t{1} << 53) + 1), kZoNumberFloat64Type, false, 0, 9007199254740992.0},
        {"int64 maximum to double", number(kMax), kZoNumberGeometryFloatType, false, 0, 9223372036854775808.0},
        {"2^24+1 to float", number((int64_t{1} << 24) + 1), kZoNumberFloat32Type, false, 0, 16777216.0},
        {"0.1 to float", number(0.1), kZoNumberFloatType, false, 0, static_cast<double>(0.1f)},
        {"0.5 to float", number(0.5), kZoNumberFloat32Type, true, 0, 0.5},
        {"too large for float", number(1e300), kZoNumberFloat32Type, false, 0, kInfinity},
        {"infinity to float", number(kInfinity), kZoNumberFloat32Type, true, 0, kInfinity},
        {"2^64-1 to int64", wide(0, UINT64_MAX), kZoNumberSInt64Type, false, kMax, 0},
        {"2^64 to double", wide(1, 0), kZoNumberDoubleType, true, 0, 18446744073709551616.0},
        {"2^127-1 to double", wide(kMax, UINT64_MAX), kZoNumberDoubleType, false, 0, 0x1p127},
        {"narrow as wide", wide(-1, static_cast<uint64_t>(-5)), kZoNumberSInt8Type, true, -5, 0},
    };
    for (const Reading& reading : readings) {
        SCOPED_TRACE(reading.name);
        uint8_t bytes[17];
        std::memset(bytes, 0xEE, sizeof bytes);
        EXPECT_EQ(ZoNumberGetValue(reading.source.get(), reading.type, bytes), reading.fits);
        const auto read = [&](auto value) {
            std::memcpy(&value, bytes, sizeof value);
            EXPECT_EQ(bytes[sizeof value], 0xEE) << "wrote past its type";
            return value;
        };
        switch (reading.type) {
            case kZoNumberSInt8Type: EXPECT_EQ(read(int8_t{}), reading.integer); break;
            case kZoNumberSInt16Type: EXPECT_EQ(read(int16_t{}), reading.integer); break;
            case kZoNumberSInt32Type:
            case kZoNumberIntType: EXPECT_EQ(read(int32_t{}), reading.integer); break;
            case kZoNumberFloat32Type:
            case kZoNumberFloatType: EXPECT_EQ(static_cast<double>(read(float{})), reading.real); break;
            case kZoNumberSInt64Type:
            case kZoNumberZoIndexType: EXPECT_EQ(read(int64_t{}), reading.integer); break;
            default: EXPECT_EQ(read(double{}), reading.real); break;
        }
    }
}

TEST(Number, carriesUnsigned64BitValues)
{
    const struct {
        ZoRef<ZoNumberRef> source;
        bool fits;
        int64_t high;
        uint64_t low;
    } readings[] = {
        {number(int64_t{-1}), true, -1, UINT64_MAX},
        {wide(0, UINT64_MAX), true, 0, UINT64_MAX},
        {number(0x1p64), true, 1, 0},
        {number(0.5), false, 0, 0},
        {number(0x1p127), false, kMax, UINT64_MAX},
        {number(-0x1p127), true, kMin, 0},
        {number(-0x1p128), false, kMin, 0},
    };
    for (const auto& reading : readings) {
        ZoSInt128 value = {};
        EXPECT_EQ(ZoNumberGetValue(reading.source.get(), kZoNumberSInt128Type, &value), reading.fits);
        EXPECT_EQ(value.high, reading.high);
        EXPECT_EQ(value.low, reading.low);
    }
}

// The groups differ from each other; inside a group all are equal, with one hash.
TEST(Number, comparesByValueWhateverItWasMadeFrom)
{
    const auto as = [](ZoNumberType type, auto value) { return zoAdopt(ZoNumberCreate(nullptr, type, &value)); };
    const ZoRef<ZoNumberRef> groups[][3] = {{number(int64_t{0}), number(-0.0)},
                                            {number(int64_t{1}), number(1.0), as(kZoNumberSInt8Type, int8_t{1})},
                                            {number(0.5), as(kZoNumberFloat32Type, 0.5f), as(kZoNumberFloatType, 0.5f)},
                                            {number((int64_t{1} << 53) + 1)},
                                            {number(int64_t{1} << 53), number(0x1p53)},
                                            {wide(0, uint64_t{1} << 63), number(0x1p63)},
                                            {number(kMax)},
                                            {number(kNaN), number(-kNaN)},
                                            {number(kInfinity)}};
    for (const auto& group : groups) {
        for (const auto& a : group) {
            if (!a) continue;
            EXPECT_EQ(ZoHash(a.get()), ZoHash(group[0].get()));
            for (const auto& other : groups)
                for (const auto& b : other) EXPECT_EQ(b && ZoEqual(a.get(), b.get()), b && &group == &other);
        }
    }
}

TEST(Number, refusesTypesThatAreNot)
{
    const int64_t value = 1;
    int64_t out = 5;
    for (ZoNumberType type : {0, 7, 8, 10, 11, 15, 18, -1}) {
        EXPECT_EQ(ZoNumberCreate(nullptr, type, &value), nullptr) << type;
        EXPECT_FALSE(ZoNumberGetValue(number(int64_t{1}).get(), type, &out)) << type;
    }
    EXPECT_EQ(out, 5);
}

}  // namespace
