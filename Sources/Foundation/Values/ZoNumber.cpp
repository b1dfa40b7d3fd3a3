#include "Foundation/Values/ZoNumber.h"

#include <array>
#include <cmath>
#include <limits>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoDescriptionPrivate.h"
#include "Foundation/Objects/ZoHashingPrivate.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"
#include "Foundation/Values/ZoNumberPrivate.h"

namespace {

constexpr double kTwoTo127 = 170141183460469231731687303715884105728.0;
constexpr ZoInt128 kInt128Max = static_cast<ZoInt128>(~static_cast<unsigned __int128>(0) >> 1);
constexpr ZoInt128 kInt128Min = -kInt128Max - 1;

// Small integers are constant objects: most numbers that describe media are small.
constexpr int kSmallFirst = -1;
constexpr int kSmallLast = 256;

struct SmallNumber {
    ZoConstantHeader header{kZoTypeIDNumber};
    int64_t value = 0;
};

constexpr auto makeSmallNumbers()
{
    std::array<SmallNumber, kSmallLast - kSmallFirst + 1> numbers;
    for (int i = kSmallFirst; i <= kSmallLast; ++i) numbers[static_cast<size_t>(i - kSmallFirst)].value = i;
    return numbers;
}
constinit const auto kSmallNumbers = makeSmallNumbers();

template <typename T>
T load(const void* value)
{
    T out;
    std::memcpy(&out, value, sizeof out);
    return out;
}

template <typename T>
Boolean storeAs(T converted, bool exact, void* out)
{
    std::memcpy(out, &converted, sizeof converted);
    return exact;
}

// Toward zero, and to the nearest end where it lies outside; 0 for what is not a number.
ZoInt128 integerFromDouble(double value, bool* exact)
{
    *exact = false;
    if (std::isnan(value)) return 0;
    if (value >= kTwoTo127) return kInt128Max;
    if (value < -kTwoTo127) return kInt128Min;
    const auto whole = static_cast<ZoInt128>(value);
    *exact = static_cast<double>(whole) == value;
    return whole;
}

template <typename T>
Boolean storeInteger(const ZoNumberValue& number, void* out)
{
    bool exact = true;
    const ZoInt128 value = number.isFloat ? integerFromDouble(number.real, &exact) : number.integer;
    constexpr ZoInt128 kLow = std::numeric_limits<T>::min();
    constexpr ZoInt128 kHigh = std::numeric_limits<T>::max();
    if (value < kLow) return storeAs(static_cast<T>(kLow), false, out);
    if (value > kHigh) return storeAs(static_cast<T>(kHigh), false, out);
    return storeAs(static_cast<T>(value), exact, out);
}

Boolean storeInt128(const ZoNumberValue& number, void* out)
{
    bool exact = true;
    const ZoInt128 value = number.isFloat ? integerFromDouble(number.real, &exact) : number.integer;
    const auto bits = static_cast<unsigned __int128>(value);
    const ZoSInt128 halves = {static_cast<int64_t>(static_cast<uint64_t>(bits >> 64)), static_cast<uint64_t>(bits)};
    return storeAs(halves, exact, out);
}

template <typename T>
Boolean storeReal(const ZoNumberValue& number, void* out)
{
    if (number.isFloat) {
        const T value = static_cast<T>(number.real);
        return storeAs(value, std::isnan(number.real) || static_cast<double>(value) == number.real, out);
    }
    const T value = static_cast<T>(number.integer);
    // The conversion may have rounded up to a power of two that the integer type does not reach.
    const bool exact =
        std::fabs(static_cast<double>(value)) < kTwoTo127 && static_cast<ZoInt128>(value) == number.integer;
    return storeAs(value, exact, out);
}

size_t sizeOfType(ZoNumberType type)
{
    switch (type) {
        case kZoNumberSInt8Type: return 1;
        case kZoNumberSInt16Type: return 2;
        case kZoNumberSInt32Type:
        case kZoNumberIntType:
        case kZoNumberFloat32Type:
        case kZoNumberFloatType: return 4;
        case kZoNumberSInt128Type: return sizeof(ZoSInt128);
        default: return 8;
    }
}

// Out of line, so that the choice between the three keeps no registers for them.
__attribute__((noinline)) ZoNumberRef createInteger(ZoAllocatorRef allocator, int64_t value)
{
    if (value >= kSmallFirst && value <= kSmallLast)
        return reinterpret_cast<ZoNumberRef>(&kSmallNumbers[static_cast<size_t>(value - kSmallFirst)]);
    auto* number = zoCreateBare<ZoNumber_>(allocator, kZoTypeIDNumber, &__ZoNumberClass);
    if (number) number->integer = value;
    return number;
}

__attribute__((noinline)) ZoNumberRef createReal(ZoAllocatorRef allocator, double value)
{
    auto* number = zoCreateBare<ZoNumber_>(allocator, kZoTypeIDNumber, &__ZoNumberClass);
    if (!number) return nullptr;
    number->real = value;
    zoSetTypeFlags(number, kNumberIsReal);
    return number;
}

__attribute__((noinline)) ZoNumberRef createWide(ZoAllocatorRef allocator, ZoSInt128 value)
{
    if (value.high == static_cast<int64_t>(value.low) >> 63)
        return createInteger(allocator, static_cast<int64_t>(value.low));
    auto* number = zoCreateBare<ZoWideNumber>(allocator, kZoTypeIDNumber, &__ZoNumberClass);
    if (!number) return nullptr;
    number->halves = value;
    zoSetTypeFlags(number, kNumberIsWide);
    return reinterpret_cast<ZoNumberRef>(number);
}

// Values compare, whatever type they were made from; what is not a number equals itself.
Boolean numberEqual(ZoTypeRef object1, ZoTypeRef object2)
{
    const ZoNumberValue a = zoNumberValue(object1);
    const ZoNumberValue b = zoNumberValue(object2);
    if (!a.isFloat && !b.isFloat) return a.integer == b.integer;
    if (a.isFloat && b.isFloat) return a.real == b.real || (std::isnan(a.real) && std::isnan(b.real));
    bool exact;
    const ZoInt128 whole = integerFromDouble(a.isFloat ? a.real : b.real, &exact);
    return exact && whole == (a.isFloat ? b.integer : a.integer);
}

ZoHashCode numberHash(ZoTypeRef object)
{
    const ZoNumberValue number = zoNumberValue(object);
    bool exact = true;
    const ZoInt128 value = number.isFloat ? integerFromDouble(number.real, &exact) : number.integer;
    if (exact) return zoHashMix(static_cast<uint64_t>(value), static_cast<uint64_t>(value >> 64));
    return std::isnan(number.real) ? 0 : zoHashMix(load<uint64_t>(&number.real), 0);
}

}  // namespace

const ZoRuntimeClass __ZoNumberClass = {
    .className = "ZoNumber", .equal = numberEqual, .hash = numberHash, .copyDebugDesc = _ZoNumberCopyDescription};

ZoTypeID ZoNumberGetTypeID() { return kZoTypeIDNumber; }

ZoNumberRef ZoNumberCreate(ZoAllocatorRef allocator, ZoNumberType type, const void* value)
{
    if (!ZO_EXPECT(value, "absent value")) return nullptr;
    switch (type) {
        case kZoNumberSInt8Type: return createInteger(allocator, load<int8_t>(value));
        case kZoNumberSInt16Type: return createInteger(allocator, load<int16_t>(value));
        case kZoNumberSInt32Type:
        case kZoNumberIntType: return createInteger(allocator, load<int32_t>(value));
        case kZoNumberSInt64Type:
        case kZoNumberZoIndexType: return createInteger(allocator, load<int64_t>(value));
        case kZoNumberFloat32Type:
        case kZoNumberFloatType: return createReal(allocator, static_cast<double>(load<float>(value)));
        case kZoNumberFloat64Type:
        case kZoNumberDoubleType:
        case kZoNumberGeometryFloatType: return createReal(allocator, load<double>(value));
        case kZoNumberSInt128Type: return createWide(allocator, load<ZoSInt128>(value));
        default: return nullptr;
    }
}

Boolean ZoNumberGetValue(ZoNumberRef number, ZoNumberType type, void* value)
{
    if (!ZO_EXPECT(value, "absent value")) return false;
    if (!ZO_EXPECT(zoIsOfType(number, kZoTypeIDNumber), "not a number")) {
        std::memset(value, 0, sizeOfType(type));
        return false;
    }
    const ZoNumberValue read = zoNumberValue(number);
    switch (type) {
        case kZoNumberSInt8Type: return storeInteger<int8_t>(read, value);
        case kZoNumberSInt16Type: return storeInteger<int16_t>(read, value);
        case kZoNumberSInt32Type:
        case kZoNumberIntType: return storeInteger<int32_t>(read, value);
        case kZoNumberSInt64Type:
        case kZoNumberZoIndexType: return storeInteger<int64_t>(read, value);
        case kZoNumberFloat32Type:
        case kZoNumberFloatType: return storeReal<float>(read, value);
        case kZoNumberFloat64Type:
        case kZoNumberDoubleType:
        case kZoNumberGeometryFloatType: return storeReal<double>(read, value);
        case kZoNumberSInt128Type: return storeInt128(read, value);
        default: return false;
    }
}
