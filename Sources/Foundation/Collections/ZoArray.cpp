#include "Foundation/Collections/ZoArray.h"

#include <algorithm>
#include <utility>

#include "Foundation/Collections/ZoCollectionsPrivate.h"
#include "Foundation/Objects/ZoDescriptionPrivate.h"
#include "Foundation/Objects/ZoHashingPrivate.h"

namespace {

constexpr ZoIndex kFixedBytes = sizeof(ZoArray_) - sizeof(ZoRuntimeBase);
constexpr ZoIndex kLargestReservation = 4096;  // a capacity is a hint, and may come from a file
constexpr ZoIndex kWord = sizeof(const void*);

bool isArray(ZoArrayRef array) { return ZO_EXPECT(zoIsOfType(array, kZoTypeIDArray), "not an array"); }

bool isMutable(ZoArrayRef array)
{
    return isArray(array) && ZO_EXPECT(zoTypeFlags(array) & kCollectionIsMutable, "the array is not mutable");
}

bool isInside(ZoArrayRef array, ZoRange range)
{
    return ZO_EXPECT(range.location >= 0 && range.length >= 0 && range.location <= array->count &&
                         range.length <= array->count - range.location,
                     "range outside of the array");
}

bool isIndex(ZoArrayRef array, ZoIndex index)
{
    return ZO_EXPECT(index >= 0 && index < array->count, "index outside of the array");
}

ZoArray_* createRecord(ZoAllocatorRef allocator, const ZoArrayCallBacks* callBacks, ZoIndex inlineCount)
{
    if (!callBacks) callBacks = &kZoPlainValueCallBacks;
    ZoIndex inlineBytes;
    if (__builtin_mul_overflow(inlineCount, kWord, &inlineBytes)) return nullptr;
    const ZoIndex fixedBytes = kFixedBytes + zoRecordSize(callBacks);
    ZoTypeRef object = _ZoRuntimeCreateInstanceWithTail(allocator, kZoTypeIDArray, fixedBytes, inlineBytes);
    if (!object) return nullptr;
    auto* array = static_cast<ZoArray_*>(const_cast<void*>(object));
    void* storage = array + 1;
    array->callBacks = zoKeepRecord(callBacks, &storage);
    if (inlineCount > 0) array->values = static_cast<const void**>(storage);
    return array;
}

void releaseRange(ZoArray_* array, ZoIndex first, ZoIndex end)
{
    if (!array->callBacks->release) return;
    ZoAllocatorRef allocator = ZoGetAllocator(array);
    for (ZoIndex i = first; i < end; ++i) zoReleaseValue(array->callBacks, allocator, array->values[i]);
}

void arrayFinalize(ZoTypeRef object)
{
    auto* array = static_cast<ZoArray_*>(const_cast<void*>(object));
    releaseRange(array, 0, array->count);
    if (zoTypeFlags(array) & kCollectionIsMutable) ZoAllocatorDeallocate(ZoGetAllocator(array), array->values);
}

Boolean arrayEqual(ZoTypeRef object1, ZoTypeRef object2)
{
    const auto* a = static_cast<ZoArrayRef>(object1);
    const auto* b = static_cast<ZoArrayRef>(object2);
    if (a->count != b->count || a->callBacks->equal != b->callBacks->equal) return false;
    for (ZoIndex i = 0; i < a->count; ++i)
        if (!zoValuesAreEqual(a->callBacks, a->values[i], b->values[i])) return false;
    return true;
}

ZoHashCode arrayHash(ZoTypeRef object)
{
    return zoHashMix(static_cast<uint64_t>(static_cast<ZoArrayRef>(object)->count), kZoTypeIDArray);
}

// For a mutable array without storage. False if the allocator gives nothing.
bool reserveFirst(ZoArray_* array, ZoIndex count)
{
    array->values = static_cast<const void**>(ZoAllocatorAllocate(ZoGetAllocator(array), count * kWord, 0));
    if (array->values) array->capacity = count;
    return array->values != nullptr;
}

bool reserve(ZoArray_* array, ZoIndex extra)
{
    ZoIndex needed;
    if (!ZO_EXPECT(!__builtin_add_overflow(array->count, extra, &needed) && needed <= INTPTR_MAX / (2 * kWord),
                   "the count overflows"))
        return false;
    if (needed <= array->capacity) return true;
    const ZoIndex capacity = std::max<ZoIndex>({needed, array->capacity * 2, 4});
    void* grown = _ZoGrowBlock(ZoGetAllocator(array), array->values, array->count * kWord, capacity * kWord);
    if (!grown) return false;
    array->values = static_cast<const void**>(grown);
    array->capacity = capacity;
    return true;
}

// Retains `count` values behind those that are there. All or none.
bool appendRetained(ZoArray_* array, const void* const* values, ZoIndex count)
{
    ZoAllocatorRef allocator = ZoGetAllocator(array);
    const void** destination = array->values + array->count;
    for (ZoIndex i = 0; i < count; ++i) {
        const void* value = values[i];
        zoExpectValue(array->callBacks, value);
        if (!zoRetainValue(array->callBacks, allocator, &value)) {
            releaseRange(array, array->count, array->count + i);
            return false;
        }
        destination[i] = value;
    }
    array->count += count;
    return true;
}

// In front of what already stands there; stable and without calls to the comparator that its order could confuse.
void mergeSort(const void** values, const void** scratch, ZoIndex count, ZoComparatorFunction comparator, void* context)
{
    constexpr ZoIndex kRun = 8;
    for (ZoIndex start = 0; start < count; start += kRun) {
        const ZoIndex end = std::min(start + kRun, count);
        for (ZoIndex i = start + 1; i < end; ++i) {
            const void* value = values[i];
            ZoIndex j = i;
            for (; j > start && comparator(values[j - 1], value, context) > 0; --j) values[j] = values[j - 1];
            values[j] = value;
        }
    }
    for (ZoIndex width = kRun; width < count; width *= 2) {
        for (ZoIndex start = 0; start + width < count; start += 2 * width) {
            const ZoIndex end = std::min(start + 2 * width, count);
            std::copy(values + start, values + start + width, scratch);
            ZoIndex left = 0;
            ZoIndex right = start + width;
            ZoIndex out = start;
            while (left < width && right < end)
                values[out++] =
                    comparator(scratch[left], values[right], context) <= 0 ? scratch[left++] : values[right++];
            std::copy(scratch + left, scratch + width, values + out);
        }
    }
}

}  // namespace

const ZoRuntimeClass __ZoArrayClass = {.className = "ZoArray",
                                       .finalize = arrayFinalize,
                                       .equal = arrayEqual,
                                       .hash = arrayHash,
                                       .copyDebugDesc = _ZoArrayCopyDescription};

ZoTypeID ZoArrayGetTypeID() { return kZoTypeIDArray; }

ZoArrayRef ZoArrayCreate(ZoAllocatorRef allocator, const void** values, ZoIndex count,
                         const ZoArrayCallBacks* callBacks)
{
    if (!ZO_EXPECT(count >= 0 && (values || count == 0), "absent values or negative count")) return nullptr;
    ZoArray_* array = createRecord(allocator, callBacks, count);
    if (array && !appendRetained(array, values, count)) {
        ZoRelease(array);
        return nullptr;
    }
    return array;
}

ZoArrayRef ZoArrayCreateCopy(ZoAllocatorRef allocator, ZoArrayRef array)
{
    if (!isArray(array)) return nullptr;
    if (!(zoTypeFlags(array) & kCollectionIsMutable) && zoIsSameAllocator(allocator, ZoGetAllocator(array)))
        return static_cast<ZoArrayRef>(ZoRetain(array));
    return ZoArrayCreate(allocator, array->values, array->count, array->callBacks);
}

ZoArrayRef _ZoArrayCreateConverted(ZoAllocatorRef allocator, ZoArrayRef source, bool isMutable,
                                   const ZoArrayCallBacks* callBacks, ZoConvertFunction convert, void* context)
{
    ZoArray_* copy = createRecord(allocator, callBacks, isMutable ? 0 : source->count);
    if (!copy) return nullptr;
    if (isMutable) zoSetTypeFlags(copy, kCollectionIsMutable);
    bool complete = !isMutable || source->count == 0 || reserveFirst(copy, source->count);
    for (ZoIndex i = 0; complete && i < source->count; ++i) {
        const void* value = convert(nullptr, source->values[i], context);
        if (value) copy->values[copy->count++] = value;
        complete = value != nullptr;
    }
    if (complete) return copy;
    ZoRelease(copy);
    return nullptr;
}

ZoMutableArrayRef ZoArrayCreateMutable(ZoAllocatorRef allocator, ZoIndex capacity, const ZoArrayCallBacks* callBacks)
{
    if (!ZO_EXPECT(capacity >= 0, "negative capacity")) return nullptr;
    ZoArray_* array = createRecord(allocator, callBacks, 0);
    if (!array) return nullptr;
    zoSetTypeFlags(array, kCollectionIsMutable);
    if (capacity == 0 || reserveFirst(array, std::min(capacity, kLargestReservation))) return array;
    ZoRelease(array);
    return nullptr;
}

ZoMutableArrayRef ZoArrayCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex capacity, ZoArrayRef array)
{
    if (!isArray(array)) return nullptr;
    ZoArray_* copy = ZoArrayCreateMutable(allocator, 0, array->callBacks);
    if (!copy) return nullptr;
    const ZoIndex reserved = std::max(array->count, std::min(capacity, kLargestReservation));
    if (reserved <= 0 || (reserveFirst(copy, reserved) && appendRetained(copy, array->values, array->count)))
        return copy;
    ZoRelease(copy);
    return nullptr;
}

ZoIndex ZoArrayGetCount(ZoArrayRef array) { return isArray(array) ? array->count : 0; }

const void* ZoArrayGetValueAtIndex(ZoArrayRef array, ZoIndex index)
{
    return isArray(array) && isIndex(array, index) ? array->values[index] : nullptr;
}

void ZoArrayGetValues(ZoArrayRef array, ZoRange range, const void** values)
{
    if (!isArray(array) || !isInside(array, range) || range.length == 0) return;
    if (!ZO_EXPECT(values, "absent buffer")) return;
    std::copy_n(array->values + range.location, range.length, values);
}

Boolean ZoArrayContainsValue(ZoArrayRef array, ZoRange range, const void* value)
{
    return ZoArrayGetFirstIndexOfValue(array, range, value) != kZoNotFound;
}

ZoIndex ZoArrayGetFirstIndexOfValue(ZoArrayRef array, ZoRange range, const void* value)
{
    if (!isArray(array) || !isInside(array, range)) return kZoNotFound;
    for (ZoIndex i = range.location; i < range.location + range.length; ++i)
        if (zoValuesAreEqual(array->callBacks, array->values[i], value)) return i;
    return kZoNotFound;
}

ZoIndex ZoArrayGetLastIndexOfValue(ZoArrayRef array, ZoRange range, const void* value)
{
    if (!isArray(array) || !isInside(array, range)) return kZoNotFound;
    for (ZoIndex i = range.location + range.length; i-- > range.location;)
        if (zoValuesAreEqual(array->callBacks, array->values[i], value)) return i;
    return kZoNotFound;
}

void ZoArrayApplyFunction(ZoArrayRef array, ZoRange range, ZoArrayApplierFunction applier, void* context)
{
    if (!isArray(array) || !isInside(array, range) || !ZO_EXPECT(applier, "absent function")) return;
    // The function may take values away.
    for (ZoIndex i = range.location; i < range.location + range.length && i < array->count; ++i)
        applier(array->values[i], context);
}

void ZoArrayAppendValue(ZoMutableArrayRef array, const void* value)
{
    if (isMutable(array) && reserve(array, 1)) appendRetained(array, &value, 1);
}

void ZoArrayAppendArray(ZoMutableArrayRef array, ZoArrayRef other, ZoRange otherRange)
{
    if (!isMutable(array) || !isArray(other) || !isInside(other, otherRange)) return;
    // Only now are the other's values looked up: it may be the same array.
    if (reserve(array, otherRange.length))
        appendRetained(array, other->values + otherRange.location, otherRange.length);
}

void ZoArrayInsertValueAtIndex(ZoMutableArrayRef array, ZoIndex index, const void* value)
{
    if (!isMutable(array) || !ZO_EXPECT(index >= 0 && index <= array->count, "index outside of the array")) return;
    if (!reserve(array, 1) || !appendRetained(array, &value, 1)) return;
    std::rotate(array->values + index, array->values + array->count - 1, array->values + array->count);
}

void ZoArraySetValueAtIndex(ZoMutableArrayRef array, ZoIndex index, const void* value)
{
    if (!isMutable(array)) return;
    if (index == array->count) {
        ZoArrayAppendValue(array, value);
        return;
    }
    if (!isIndex(array, index)) return;
    ZoAllocatorRef allocator = ZoGetAllocator(array);
    zoExpectValue(array->callBacks, value);
    if (!zoRetainValue(array->callBacks, allocator, &value)) return;
    const void* old = array->values[index];
    array->values[index] = value;
    zoReleaseValue(array->callBacks, allocator, old);
}

void ZoArrayRemoveValueAtIndex(ZoMutableArrayRef array, ZoIndex index)
{
    if (!isMutable(array) || !isIndex(array, index)) return;
    const void* old = array->values[index];
    std::copy(array->values + index + 1, array->values + array->count, array->values + index);
    --array->count;
    zoReleaseValue(array->callBacks, ZoGetAllocator(array), old);
}

void ZoArrayRemoveAllValues(ZoMutableArrayRef array)
{
    if (!isMutable(array)) return;
    // What a release sets off may look at the array: it is empty by then.
    const void** values = std::exchange(array->values, nullptr);
    const ZoIndex count = std::exchange(array->count, 0);
    array->capacity = 0;
    ZoAllocatorRef allocator = ZoGetAllocator(array);
    for (ZoIndex i = 0; i < count; ++i) zoReleaseValue(array->callBacks, allocator, values[i]);
    ZoAllocatorDeallocate(allocator, values);
}

void ZoArraySortValues(ZoMutableArrayRef array, ZoRange range, ZoComparatorFunction comparator, void* context)
{
    if (!isMutable(array) || !isInside(array, range) || !ZO_EXPECT(comparator, "absent comparator")) return;
    if (range.length < 2) return;
    auto* scratch = static_cast<const void**>(_ZoGrowBlock(kZoAllocatorMalloc, nullptr, 0, range.length * kWord));
    mergeSort(array->values + range.location, scratch, range.length, comparator, context);
    ZoAllocatorDeallocate(kZoAllocatorMalloc, scratch);
}
