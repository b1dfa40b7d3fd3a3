// What the library's own types share with the run-time: fixed type IDs, class records, the layout of the header word,
// constant objects. For sources of the object library only.
//
// A built-in type needs no registration. It defines its record, `const ZoRuntimeClass __ZoDataClass = {...};`, beside
// the function that makes its objects, and gives its fixed ID as its type ID. The table of classes refers to the
// records weakly: an object exists only where its type's object file is linked, and no program carries a type that it
// does not make.

#pragma once

#include <cstdlib>

#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoCounting.h"
#include "Foundation/Objects/ZoObject.h"

enum : ZoTypeID {
    kZoTypeIDAllocator = 1,
    kZoTypeIDNull = 2,
    kZoTypeIDBoolean = 3,
    kZoTypeIDNumber = 4,
    kZoTypeIDData = 5,
    kZoTypeIDArray = 6,
    kZoTypeIDString = 7,  // ZO_CONSTANT_STRING_FLAGS holds this number
    kZoTypeIDDictionary = 8,
    kZoTypeIDSet = 9,
    kZoTypeIDAttributedString = 10,
    kZoTypeIDCharacterSet = 11,
    kZoTypeIDDate = 12,
    kZoTypeIDDateFormatter = 13,
    kZoTypeIDCalendar = 14,
    kZoTypeIDTimeZone = 15,
    kZoTypeIDLocale = 16,
    kZoTypeIDURL = 17,
    kZoTypeIDUUID = 18,
    kZoTypeIDError = 19,
    kZoTypeIDNotificationCenter = 20,
    kZoTypeIDRunLoop = 21,
    kZoTypeIDRunLoopTimer = 22,
    kZoTypeIDReadStream = 23,
    kZoTypeIDBundle = 24,
    kZoTypeIDFirstRegistered = 32,  // what _ZoRuntimeRegisterClass gives first
    kZoTypeIDLimit = 65536,
};

// More of the header word `info` than ZoCounting.h shows: 0-7 flags that belong to the type, 8-23 type ID, 24-31 flags
// of the run-time, 32-63 count. A count of 0 with kZoInfoCounted clear is a constant object; with it set, an object
// that is being deallocated.
enum : uint64_t {
    kZoInfoTypeShift = 8,
    kZoInfoTypeMask = UINT64_C(0xFFFF) << kZoInfoTypeShift,
    kZoInfoDeallocating = UINT64_C(1) << 25,
    kZoInfoWeaklyReferenced = UINT64_C(1) << 26,
    kZoInfoNeedsNoFinalizer = UINT64_C(1) << 28,
    kZoInfoHasAllocator = UINT64_C(1) << 27,  // a word before the header names the allocator, which is retained
};
static_assert((ZO_CONSTANT_STRING_FLAGS & kZoInfoTypeMask) == kZoTypeIDString << kZoInfoTypeShift);

ZO_EXTERN_C_BEGIN

extern const ZoRuntimeClass __ZoAllocatorClass;
extern const ZoRuntimeClass __ZoNullClass;
extern const ZoRuntimeClass __ZoBooleanClass;
extern const ZoRuntimeClass __ZoNumberClass;
extern const ZoRuntimeClass __ZoDataClass;
extern const ZoRuntimeClass __ZoArrayClass;
extern const ZoRuntimeClass __ZoStringClass;  // beside __ZoConstantStringClassReference, so that one brings the other
extern const ZoRuntimeClass __ZoDictionaryClass;
extern const ZoRuntimeClass __ZoSetClass;
extern const ZoRuntimeClass __ZoAttributedStringClass;
extern const ZoRuntimeClass __ZoCharacterSetClass;
extern const ZoRuntimeClass __ZoDateClass;
extern const ZoRuntimeClass __ZoDateFormatterClass;
extern const ZoRuntimeClass __ZoCalendarClass;
extern const ZoRuntimeClass __ZoTimeZoneClass;
extern const ZoRuntimeClass __ZoLocaleClass;
extern const ZoRuntimeClass __ZoURLClass;
extern const ZoRuntimeClass __ZoUUIDClass;
extern const ZoRuntimeClass __ZoErrorClass;
extern const ZoRuntimeClass __ZoNotificationCenterClass;
extern const ZoRuntimeClass __ZoRunLoopClass;
extern const ZoRuntimeClass __ZoRunLoopTimerClass;
extern const ZoRuntimeClass __ZoReadStreamClass;
extern const ZoRuntimeClass __ZoBundleClass;

/// As _ZoRuntimeCreateInstance, with `tailBytes` more behind `extraBytes` that are left as they come. `init` is run.
ZoTypeRef _ZoRuntimeCreateInstanceWithTail(ZoAllocatorRef allocator, ZoTypeID typeID, ZoIndex extraBytes,
                                           ZoIndex tailBytes);

/// For operations that have no status. Gives a block of `newSize` bytes that begins with the first `usedBytes` of
/// `memory`, which may be absent and is freed. The process stops where the system has no memory; an allocator that the
/// caller brought may give nothing, and `memory` is then as it was.
void* _ZoGrowBlock(ZoAllocatorRef allocator, void* memory, ZoIndex usedBytes, ZoIndex newSize);

ZO_EXTERN_C_END

/// Header of a constant object, for records in static data: `static constinit const ZoConstantHeader`.
struct ZoConstantHeader {
    const void* isa = nullptr;
    uint64_t info;

    constexpr explicit ZoConstantHeader(ZoTypeID typeID) noexcept : info(uint64_t{typeID} << kZoInfoTypeShift) {}
};
static_assert(sizeof(ZoConstantHeader) == sizeof(ZoRuntimeBase));

inline uint64_t zoInfo(ZoTypeRef object) noexcept
{
    return __atomic_load_n(&static_cast<const ZoRuntimeBase*>(object)->info, __ATOMIC_RELAXED);
}

inline bool zoIsOfType(ZoTypeRef object, ZoTypeID typeID) noexcept
{
    return object && (zoInfo(object) & kZoInfoTypeMask) == uint64_t{typeID} << kZoInfoTypeShift;
}

/// The byte of flags that belongs to the object's type.
inline uint8_t zoTypeFlags(ZoTypeRef object) noexcept { return static_cast<uint8_t>(zoInfo(object)); }

inline void zoSetInfo(ZoTypeRef object, uint64_t bits) noexcept
{
    uint64_t* info = &static_cast<ZoRuntimeBase*>(const_cast<void*>(object))->info;
    __atomic_store_n(info, __atomic_load_n(info, __ATOMIC_RELAXED) | bits, __ATOMIC_RELAXED);
}

/// Sets bits of it, once, before another thread knows the object.
inline void zoSetTypeFlags(ZoTypeRef object, uint8_t flags) noexcept { zoSetInfo(object, flags); }

/// For a type of which only some instances hold anything: this one, for all its life, is no more than its memory.
inline void zoSetNeedsNoFinalizer(ZoTypeRef object) noexcept { zoSetInfo(object, kZoInfoNeedsNoFinalizer); }

/// The allocators whose memory is malloc(3)'s. They cost an object no storage.
inline bool zoIsSystemAllocator(ZoAllocatorRef allocator) noexcept
{
    return !allocator || allocator == kZoAllocatorDefault || allocator == kZoAllocatorMalloc;
}

inline bool zoIsSameAllocator(ZoAllocatorRef a, ZoAllocatorRef b) noexcept
{
    return a == b || (zoIsSystemAllocator(a) && zoIsSystemAllocator(b));
}

/// A new object of a built-in type whose fields all follow at once, and `tailBytes` behind it: only the header is set.
template <typename Instance>
inline Instance* zoCreateBare(ZoAllocatorRef allocator, ZoTypeID typeID, const ZoRuntimeClass* cls,
                              ZoIndex tailBytes = 0) noexcept
{
    if (!zoIsSystemAllocator(allocator)) {
        constexpr ZoIndex kExtra = sizeof(Instance) - sizeof(ZoRuntimeBase);
        return static_cast<Instance*>(
            const_cast<void*>(_ZoRuntimeCreateInstanceWithTail(allocator, typeID, 0, kExtra + tailBytes)));
    }
    auto* instance = static_cast<Instance*>(std::malloc(sizeof(Instance) + static_cast<size_t>(tailBytes)));
    if (ZO_UNLIKELY(!instance)) return nullptr;
    instance->base.isa = reinterpret_cast<uintptr_t>(cls);
    instance->base.info = kZoInfoOneReference | kZoInfoCounted | uint64_t{typeID} << kZoInfoTypeShift;
    return instance;
}
