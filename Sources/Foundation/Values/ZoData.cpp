#include "Foundation/Values/ZoData.h"

#include <algorithm>
#include <cstring>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoDescriptionPrivate.h"
#include "Foundation/Objects/ZoHashingPrivate.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"

struct ZoData_ {
    ZoRuntimeBase base;
    uint8_t* bytes;
    ZoIndex length;
    union {
        ZoIndex capacity;            // mutable data
        ZoAllocatorRef deallocator;  // data that refers to bytes
    };
};

namespace {

enum : uint8_t { kDataIsMutable = 1, kDataRefersToBytes = 2 };  // neither: the bytes stand behind the record

constexpr ZoIndex kFixedBytes = sizeof(ZoData_) - sizeof(ZoRuntimeBase);
constexpr ZoIndex kLargestReservation = 1 << 20;  // a capacity is a hint, and may come from a file

bool isData(ZoDataRef data) { return ZO_EXPECT(zoIsOfType(data, kZoTypeIDData), "not a data object"); }

bool isMutable(ZoDataRef data)
{
    return isData(data) && ZO_EXPECT(zoTypeFlags(data) & kDataIsMutable, "the data is not mutable");
}

bool isInside(ZoDataRef data, ZoRange range)
{
    return ZO_EXPECT(range.location >= 0 && range.length >= 0 && range.location <= data->length &&
                         range.length <= data->length - range.location,
                     "range outside of the data");
}

ZoData_* createRecord(ZoAllocatorRef allocator, ZoIndex tailBytes, uint8_t flags)
{
    ZoTypeRef object = _ZoRuntimeCreateInstanceWithTail(allocator, kZoTypeIDData, kFixedBytes, tailBytes);
    if (!object) return nullptr;
    zoSetTypeFlags(object, flags);
    return static_cast<ZoData_*>(const_cast<void*>(object));
}

void dataFinalize(ZoTypeRef object)
{
    auto* data = static_cast<const ZoData_*>(object);
    const uint8_t flags = zoTypeFlags(data);
    if (flags & kDataIsMutable) {
        ZoAllocatorDeallocate(ZoGetAllocator(data), data->bytes);
    } else if (flags & kDataRefersToBytes) {
        ZoAllocatorDeallocate(data->deallocator, data->bytes);
        ZoRelease(data->deallocator);
    }
}

Boolean dataEqual(ZoTypeRef object1, ZoTypeRef object2)
{
    const auto* a = static_cast<const ZoData_*>(object1);
    const auto* b = static_cast<const ZoData_*>(object2);
    return a->length == b->length &&
           (a->length == 0 || std::memcmp(a->bytes, b->bytes, static_cast<size_t>(a->length)) == 0);
}

ZoHashCode dataHash(ZoTypeRef object)
{
    const auto* data = static_cast<const ZoData_*>(object);
    return zoHashBytes(data->bytes, static_cast<size_t>(data->length));
}

bool reserve(ZoData_* data, ZoIndex needed)
{
    if (needed <= data->capacity) return true;
    ZoAllocatorRef allocator = ZoGetAllocator(data);
    ZoIndex capacity = std::max<ZoIndex>(needed, 32);
    if (data->capacity <= INTPTR_MAX / 2) capacity = std::max(capacity, data->capacity + data->capacity / 2);
    capacity = ZoAllocatorGetPreferredSizeForSize(allocator, capacity, 0);
    void* grown = _ZoGrowBlock(allocator, data->bytes, data->length, capacity);
    if (!grown) return false;
    data->bytes = static_cast<uint8_t*>(grown);
    data->capacity = capacity;
    return true;
}

// Makes `range` into room for `newLength` bytes; gives where it begins, or nothing if there is no memory.
uint8_t* openRange(ZoData_* data, ZoRange range, ZoIndex newLength)
{
    ZoIndex length;
    if (!ZO_EXPECT(!__builtin_add_overflow(data->length - range.length, newLength, &length), "the length overflows"))
        return nullptr;
    if (!reserve(data, length)) return nullptr;
    uint8_t* start = data->bytes + range.location;
    const ZoIndex behind = data->length - range.location - range.length;
    if (behind > 0 && newLength != range.length)
        std::memmove(start + newLength, start + range.length, static_cast<size_t>(behind));
    data->length = length;
    return start;
}

}  // namespace

const ZoRuntimeClass __ZoDataClass = {.className = "ZoData",
                                      .finalize = dataFinalize,
                                      .equal = dataEqual,
                                      .hash = dataHash,
                                      .copyDebugDesc = _ZoDataCopyDescription};

ZoTypeID ZoDataGetTypeID() { return kZoTypeIDData; }

ZoDataRef ZoDataCreate(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length)
{
    if (!ZO_EXPECT(length >= 0 && (bytes || length == 0), "absent bytes or negative length")) return nullptr;
    ZoData_* data = createRecord(allocator, length, 0);
    if (!data) return nullptr;
    zoSetNeedsNoFinalizer(data);
    data->bytes = reinterpret_cast<uint8_t*>(data + 1);
    data->length = length;
    if (length > 0) std::memcpy(data->bytes, bytes, static_cast<size_t>(length));
    return data;
}

ZoDataRef ZoDataCreateWithBytesNoCopy(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length,
                                      ZoAllocatorRef bytesDeallocator)
{
    if (!ZO_EXPECT(length >= 0 && (bytes || length == 0), "absent bytes or negative length")) return nullptr;
    ZoData_* data = createRecord(allocator, 0, kDataRefersToBytes);
    if (!data) return nullptr;
    data->bytes = const_cast<uint8_t*>(bytes);
    data->length = length;
    data->deallocator = bytesDeallocator ? bytesDeallocator : kZoAllocatorDefault;
    ZoRetain(data->deallocator);
    return data;
}

ZoDataRef ZoDataCreateCopy(ZoAllocatorRef allocator, ZoDataRef data)
{
    if (!isData(data)) return nullptr;
    // Bytes that the object only borrows may go before the copy does.
    const uint8_t flags = zoTypeFlags(data);
    const bool ownsBytes = !(flags & kDataRefersToBytes) || data->deallocator != kZoAllocatorNull;
    if (!(flags & kDataIsMutable) && ownsBytes && zoIsSameAllocator(allocator, ZoGetAllocator(data)))
        return static_cast<ZoDataRef>(ZoRetain(data));
    return ZoDataCreate(allocator, data->bytes, data->length);
}

ZoMutableDataRef ZoDataCreateMutable(ZoAllocatorRef allocator, ZoIndex capacity)
{
    if (!ZO_EXPECT(capacity >= 0, "negative capacity")) return nullptr;
    ZoData_* data = createRecord(allocator, 0, kDataIsMutable);
    if (!data || capacity == 0) return data;
    capacity = std::min(capacity, kLargestReservation);
    data->bytes = static_cast<uint8_t*>(ZoAllocatorAllocate(allocator, capacity, 0));
    if (!data->bytes) {
        ZoRelease(data);
        return nullptr;
    }
    data->capacity = capacity;
    return data;
}

ZoMutableDataRef ZoDataCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex capacity, ZoDataRef data)
{
    if (!isData(data)) return nullptr;
    ZoData_* copy = ZoDataCreateMutable(allocator, 0);
    if (!copy) return nullptr;
    const ZoIndex reserved = std::max(data->length, std::min(capacity, kLargestReservation));
    if (reserved <= 0) return copy;
    copy->bytes = static_cast<uint8_t*>(ZoAllocatorAllocate(allocator, reserved, 0));
    if (!copy->bytes) {
        ZoRelease(copy);
        return nullptr;
    }
    copy->capacity = reserved;
    copy->length = data->length;
    if (data->length > 0) std::memcpy(copy->bytes, data->bytes, static_cast<size_t>(data->length));
    return copy;
}

ZoIndex ZoDataGetLength(ZoDataRef data) { return isData(data) ? data->length : 0; }

const uint8_t* ZoDataGetBytePtr(ZoDataRef data) { return isData(data) ? data->bytes : nullptr; }

uint8_t* ZoDataGetMutableBytePtr(ZoMutableDataRef data) { return isMutable(data) ? data->bytes : nullptr; }

void ZoDataGetBytes(ZoDataRef data, ZoRange range, uint8_t* buffer)
{
    if (!isData(data) || !isInside(data, range) || range.length == 0) return;
    if (!ZO_EXPECT(buffer, "absent buffer")) return;
    std::memcpy(buffer, data->bytes + range.location, static_cast<size_t>(range.length));
}

void ZoDataSetLength(ZoMutableDataRef data, ZoIndex length)
{
    if (!isMutable(data) || !ZO_EXPECT(length >= 0, "negative length")) return;
    if (length <= data->length)
        data->length = length;
    else
        ZoDataIncreaseLength(data, length - data->length);
}

void ZoDataIncreaseLength(ZoMutableDataRef data, ZoIndex extraLength)
{
    if (!isMutable(data) || !ZO_EXPECT(extraLength >= 0, "negative length") || extraLength == 0) return;
    uint8_t* start = openRange(data, {data->length, 0}, extraLength);
    if (start) std::memset(start, 0, static_cast<size_t>(extraLength));
}

void ZoDataAppendBytes(ZoMutableDataRef data, const uint8_t* bytes, ZoIndex length)
{
    if (isMutable(data)) ZoDataReplaceBytes(data, {data->length, 0}, bytes, length);
}

void ZoDataDeleteBytes(ZoMutableDataRef data, ZoRange range) { ZoDataReplaceBytes(data, range, nullptr, 0); }

void ZoDataReplaceBytes(ZoMutableDataRef data, ZoRange range, const uint8_t* newBytes, ZoIndex newLength)
{
    if (!isMutable(data) || !isInside(data, range)) return;
    if (!ZO_EXPECT(newLength >= 0 && (newBytes || newLength == 0), "absent bytes or negative length")) return;
    if (range.length == 0 && newLength == 0) return;

    // Bytes of the data itself move while room is made for them.
    const auto at = reinterpret_cast<uintptr_t>(newBytes);
    const auto own = reinterpret_cast<uintptr_t>(data->bytes);
    void* copy = nullptr;
    if (newLength > 0 && at >= own && at - own < static_cast<uintptr_t>(data->capacity)) {
        copy = _ZoGrowBlock(kZoAllocatorMalloc, nullptr, 0, newLength);
        std::memcpy(copy, newBytes, static_cast<size_t>(newLength));
        newBytes = static_cast<const uint8_t*>(copy);
    }
    uint8_t* start = openRange(data, range, newLength);
    if (start && newLength > 0) std::memcpy(start, newBytes, static_cast<size_t>(newLength));
    ZoAllocatorDeallocate(kZoAllocatorMalloc, copy);
}
