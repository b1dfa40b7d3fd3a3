// What collections share with each other and with their descriptions.

#pragma once

#include "Foundation/Collections/ZoCollectionCallbacks.h"
#include "Foundation/Collections/ZoOrderedTablePrivate.h"
#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"

enum : uint8_t { kCollectionIsMutable = 1 };  // type flag

struct ZoArray_ {
    ZoRuntimeBase base;
    const ZoArrayCallBacks* callBacks;
    const void** values;  // behind the record in immutable arrays
    ZoIndex count;
    ZoIndex capacity;  // mutable arrays
};

struct ZoDictionary_ {
    ZoRuntimeBase base;
    const ZoDictionaryKeyCallBacks* keyCallBacks;
    const ZoDictionaryValueCallBacks* valueCallBacks;
    ZoOrderedTable table;
};

struct ZoSet_ {
    ZoRuntimeBase base;
    const ZoSetCallBacks* callBacks;
    ZoOrderedTable table;
};

// Copies in one pass, of the size that they will have. `convert` gives what takes the place of a value, which the copy
// then owns, or nothing; nothing comes of it all then, and where the allocator gives nothing.

typedef const void* (*ZoConvertFunction)(const void* key, const void* value, void* context);

/// Keys are kept as `keyCallBacks` say, and those of the source are not compared again. Enumerated as the source is.
ZoDictionaryRef _ZoDictionaryCreateConverted(ZoAllocatorRef allocator, ZoDictionaryRef source, bool isMutable,
                                             const ZoDictionaryKeyCallBacks* keyCallBacks,
                                             const ZoDictionaryValueCallBacks* valueCallBacks,
                                             ZoConvertFunction convert, void* context);
/// The key that `convert` is given is absent.
ZoArrayRef _ZoArrayCreateConverted(ZoAllocatorRef allocator, ZoArrayRef source, bool isMutable,
                                   const ZoArrayCallBacks* callBacks, ZoConvertFunction convert, void* context);

/// Plain pointers: nothing is called.
inline constexpr ZoDictionaryKeyCallBacks kZoPlainKeyCallBacks = {};
inline constexpr ZoDictionaryValueCallBacks kZoPlainValueCallBacks = {};

/// Whether the record lives for the process, so that a collection may point at it instead of keeping a copy.
inline bool zoIsLastingRecord(const ZoDictionaryKeyCallBacks* callBacks) noexcept
{
    return callBacks == &kZoTypeDictionaryKeyCallBacks || callBacks == &kZoTypeSetCallBacks ||
           callBacks == &kZoPlainKeyCallBacks;
}
inline bool zoIsLastingRecord(const ZoDictionaryValueCallBacks* callBacks) noexcept
{
    return callBacks == &kZoTypeDictionaryValueCallBacks || callBacks == &kZoTypeArrayCallBacks ||
           callBacks == &kZoPlainValueCallBacks;
}

/// Storage that a collection needs behind its record to keep `callBacks`.
template <typename CallBacks>
ZoIndex zoRecordSize(const CallBacks* callBacks) noexcept
{
    return zoIsLastingRecord(callBacks) ? 0 : static_cast<ZoIndex>(sizeof(CallBacks));
}

/// The record to point at: `callBacks` itself, or its copy at `*storage`, which then moves past it.
template <typename CallBacks>
const CallBacks* zoKeepRecord(const CallBacks* callBacks, void** storage) noexcept
{
    if (zoIsLastingRecord(callBacks)) return callBacks;
    auto* copy = static_cast<CallBacks*>(*storage);
    *copy = *callBacks;
    *storage = copy + 1;
    return copy;
}

/// Calls the record's retain, where there is one. False if a value was lost, which is a failure of the allocator.
template <typename CallBacks>
bool zoRetainValue(const CallBacks* callBacks, ZoAllocatorRef allocator, const void** value) noexcept
{
    if (!callBacks->retain || !*value) return true;
    *value = callBacks->retain(allocator, *value);
    return *value != nullptr;
}

template <typename CallBacks>
void zoReleaseValue(const CallBacks* callBacks, ZoAllocatorRef allocator, const void* value) noexcept
{
    if (callBacks->release && value) callBacks->release(allocator, value);
}

template <typename CallBacks>
bool zoValuesAreEqual(const CallBacks* callBacks, const void* a, const void* b) noexcept
{
    return a == b || (callBacks->equal && a && b && callBacks->equal(a, b));
}

/// For objects, an absent one is the caller's mistake. Release builds store it all the same: nothing is called for it.
template <typename CallBacks>
void zoExpectValue(const CallBacks* callBacks, const void* value) noexcept
{
    const bool isThere = value || !callBacks->retain;
    (void)ZO_EXPECT(isThere, "an absent object put into a collection of objects");
}
