#include "Foundation/Collections/ZoSet.h"

#include "Foundation/Collections/ZoCollectionsPrivate.h"
#include "Foundation/Objects/ZoDescriptionPrivate.h"
#include "Foundation/Objects/ZoHashingPrivate.h"

namespace {

bool isSet(ZoSetRef set) { return ZO_EXPECT(zoIsOfType(set, kZoTypeIDSet), "not a set"); }

void setFinalize(ZoTypeRef object)
{
    auto* set = static_cast<ZoSet_*>(const_cast<void*>(object));
    ZoAllocatorRef allocator = ZoGetAllocator(set);
    zoTableForEach(set->table,
                   [&](const ZoTableEntry& entry) { zoReleaseValue(set->callBacks, allocator, entry.key); });
    set->table.freeStorage(allocator);
}

Boolean setEqual(ZoTypeRef object1, ZoTypeRef object2)
{
    const auto* a = static_cast<ZoSetRef>(object1);
    const auto* b = static_cast<ZoSetRef>(object2);
    if (a->table.live != b->table.live || a->callBacks->equal != b->callBacks->equal) return false;
    for (uint32_t i = 0; i < a->table.used; ++i)
        if (b->table.find(*b->callBacks, a->table.entries[i].key, nullptr) == ZoOrderedTable::kNone) return false;
    return true;
}

ZoHashCode setHash(ZoTypeRef object) { return zoHashMix(static_cast<ZoSetRef>(object)->table.live, kZoTypeIDSet); }

}  // namespace

const ZoRuntimeClass __ZoSetClass = {.className = "ZoSet",
                                     .finalize = setFinalize,
                                     .equal = setEqual,
                                     .hash = setHash,
                                     .copyDebugDesc = _ZoSetCopyDescription};

ZoTypeID ZoSetGetTypeID() { return kZoTypeIDSet; }

ZoSetRef ZoSetCreate(ZoAllocatorRef allocator, const void** values, ZoIndex count, const ZoSetCallBacks* callBacks)
{
    if (!ZO_EXPECT(count >= 0 && (values || count == 0), "absent values or negative count")) return nullptr;
    if (!callBacks) callBacks = &kZoPlainKeyCallBacks;
    const ZoIndex extraBytes = static_cast<ZoIndex>(sizeof(ZoSet_) - sizeof(ZoRuntimeBase)) + zoRecordSize(callBacks);
    ZoTypeRef object = _ZoRuntimeCreateInstance(allocator, kZoTypeIDSet, extraBytes, nullptr);
    if (!object) return nullptr;
    auto* set = static_cast<ZoSet_*>(const_cast<void*>(object));
    void* storage = set + 1;
    set->callBacks = zoKeepRecord(callBacks, &storage);
    allocator = ZoGetAllocator(set);
    bool complete = set->table.reserve(allocator, count);
    for (ZoIndex i = 0; complete && i < count; ++i) {
        const void* value = values[i];
        zoExpectValue(callBacks, value);
        uint32_t hash;
        if (set->table.find(*callBacks, value, &hash) != ZoOrderedTable::kNone) continue;
        complete = zoRetainValue(callBacks, allocator, &value);
        if (complete) set->table.insert(*callBacks, value, nullptr, hash);
    }
    if (complete) return set;
    ZoRelease(set);
    return nullptr;
}

ZoIndex ZoSetGetCount(ZoSetRef set) { return isSet(set) ? ZoIndex{set->table.live} : 0; }

Boolean ZoSetContainsValue(ZoSetRef set, const void* value)
{
    return isSet(set) && set->table.find(*set->callBacks, value, nullptr) != ZoOrderedTable::kNone;
}

void ZoSetGetValues(ZoSetRef set, const void** values)
{
    if (!isSet(set) || !ZO_EXPECT(values || set->table.live == 0, "absent buffer")) return;
    zoTableForEach(set->table, [&](const ZoTableEntry& entry) { *values++ = entry.key; });
}
