#include "Utilities/TavZoUtilities_Boxing.h"

#include <limits>

#include "Foundation/Values/ZoNumber.h"

template <typename Value>
static ZoNumberRef boxAs(ZoAllocatorRef allocator, ZoNumberType type, Value value)
{
    return ZoNumberCreate(allocator, type, &value);
}

// `fits` is the signed type of the same width.
template <typename Signed, typename Wider, typename Value>
static ZoNumberRef boxUnsigned(ZoAllocatorRef allocator, ZoNumberType fits, ZoNumberType wider, Value value)
{
    if (value <= static_cast<Value>(std::numeric_limits<Signed>::max()))
        return boxAs(allocator, fits, static_cast<Signed>(value));
    return boxAs(allocator, wider, static_cast<Wider>(value));
}

template <typename Value>
static Value unboxAs(ZoTypeRef number, ZoNumberType type)
{
    Value value = {};
    if (number && ZoGetTypeID(number) == ZoNumberGetTypeID())
        ZoNumberGetValue(static_cast<ZoNumberRef>(number), type, &value);
    return value;
}

ZoNumberRef TavZoNumberCreateUInt8(ZoAllocatorRef allocator, uint8_t value)
{
    return boxUnsigned<int8_t, int16_t>(allocator, kZoNumberSInt8Type, kZoNumberSInt16Type, value);
}
ZoNumberRef TavZoNumberCreateUInt16(ZoAllocatorRef allocator, uint16_t value)
{
    return boxUnsigned<int16_t, int32_t>(allocator, kZoNumberSInt16Type, kZoNumberSInt32Type, value);
}
ZoNumberRef TavZoNumberCreateUInt32(ZoAllocatorRef allocator, uint32_t value)
{
    return boxUnsigned<int32_t, int64_t>(allocator, kZoNumberSInt32Type, kZoNumberSInt64Type, value);
}
ZoNumberRef TavZoNumberCreateUInt64(ZoAllocatorRef allocator, uint64_t value)
{
    if (value <= INT64_MAX) return boxAs(allocator, kZoNumberSInt64Type, static_cast<int64_t>(value));
    return boxAs(allocator, kZoNumberSInt128Type, ZoSInt128{0, value});
}
ZoNumberRef TavZoNumberCreateSInt8(ZoAllocatorRef allocator, int8_t value)
{
    return boxAs(allocator, kZoNumberSInt8Type, value);
}
ZoNumberRef TavZoNumberCreateSInt16(ZoAllocatorRef allocator, int16_t value)
{
    return boxAs(allocator, kZoNumberSInt16Type, value);
}
ZoNumberRef TavZoNumberCreateSInt32(ZoAllocatorRef allocator, int32_t value)
{
    return boxAs(allocator, kZoNumberSInt32Type, value);
}
ZoNumberRef TavZoNumberCreateSInt64(ZoAllocatorRef allocator, int64_t value)
{
    return boxAs(allocator, kZoNumberSInt64Type, value);
}
ZoNumberRef TavZoNumberCreateFloat32(ZoAllocatorRef allocator, float value)
{
    return boxAs(allocator, kZoNumberFloat32Type, value);
}
ZoNumberRef TavZoNumberCreateFloat64(ZoAllocatorRef allocator, double value)
{
    return boxAs(allocator, kZoNumberFloat64Type, value);
}

uint8_t TavZoNumberGetUInt8(ZoTypeRef number)
{
    return static_cast<uint8_t>(unboxAs<int16_t>(number, kZoNumberSInt16Type));
}
uint16_t TavZoNumberGetUInt16(ZoTypeRef number)
{
    return static_cast<uint16_t>(unboxAs<int32_t>(number, kZoNumberSInt32Type));
}
uint32_t TavZoNumberGetUInt32(ZoTypeRef number)
{
    return static_cast<uint32_t>(unboxAs<int64_t>(number, kZoNumberSInt64Type));
}
uint64_t TavZoNumberGetUInt64(ZoTypeRef number) { return unboxAs<ZoSInt128>(number, kZoNumberSInt128Type).low; }
int8_t TavZoNumberGetSInt8(ZoTypeRef number) { return unboxAs<int8_t>(number, kZoNumberSInt8Type); }
int16_t TavZoNumberGetSInt16(ZoTypeRef number) { return unboxAs<int16_t>(number, kZoNumberSInt16Type); }
int32_t TavZoNumberGetSInt32(ZoTypeRef number) { return unboxAs<int32_t>(number, kZoNumberSInt32Type); }
int64_t TavZoNumberGetSInt64(ZoTypeRef number) { return unboxAs<int64_t>(number, kZoNumberSInt64Type); }
float TavZoNumberGetFloat32(ZoTypeRef number) { return unboxAs<float>(number, kZoNumberFloat32Type); }
double TavZoNumberGetFloat64(ZoTypeRef number) { return unboxAs<double>(number, kZoNumberFloat64Type); }
