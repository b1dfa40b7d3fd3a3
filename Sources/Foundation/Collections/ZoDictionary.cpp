#include "Foundation/Collections/ZoDictionary.h"

#include <algorithm>
#include <utility>

#include "Foundation/Collections/ZoCollectionsPrivate.h"
#include "Foundation/Objects/ZoDescriptionPrivate.h"
#include "Foundation/Objects/ZoHashingPrivate.h"

namespace {

constexpr ZoIndex kFixedBytes = sizeof(ZoDictionary_) - sizeof(ZoRuntimeBase);
constexpr ZoIndex kLargestReservation = 4096;  // a capacity is a hint, and may come from a file
constexpr uint32_t kNone = ZoOrderedTable::kNone;

bool isDictionary(ZoDictionaryRef dictionary)
{
    return ZO_EXPECT(zoIsOfType(dictionary, kZoTypeIDDictionary), "not a dictionary");
}

bool isMutable(ZoDictionaryRef dictionary)
{
    return isDictionary(dictionary) &&
           ZO_EXPECT(zoTypeFlags(dictionary) & kCollectionIsMutable, "the dictionary is not mutable");
}

uint32_t find(ZoDictionaryRef dictionary, const void* key)
{
    return dictionary->table.find(*dictionary->keyCallBacks, key, nullptr);
}

ZoDictionary_* createRecord(ZoAllocatorRef allocator, const ZoDictionaryKeyCallBacks* keyCallBacks,
                            const ZoDictionaryValueCallBacks* valueCallBacks, uint8_t flags, ZoIndex reserved)
{
    if (!keyCallBacks) keyCallBacks = &kZoPlainKeyCallBacks;
    if (!valueCallBacks) valueCallBacks = &kZoPlainValueCallBacks;
    const ZoIndex extraBytes = kFixedBytes + zoRecordSize(keyCallBacks) + zoRecordSize(valueCallBacks);
    ZoTypeRef object = _ZoRuntimeCreateInstance(allocator, kZoTypeIDDictionary, extraBytes, nullptr);
    if (!object) return nullptr;
    auto* dictionary = static_cast<ZoDictionary_*>(const_cast<void*>(object));
    zoSetTypeFlags(dictionary, flags);
    void* storage = dictionary + 1;
    dictionary->keyCallBacks = zoKeepRecord(keyCallBacks, &storage);
    dictionary->valueCallBacks = zoKeepRecord(valueCallBacks, &storage);
    ZoOrderedTable& table = dictionary->table;
    allocator = ZoGetAllocator(dictionary);
    if (flags & kCollectionIsMutable ? table.reserve(allocator, reserved) : table.reserveExactly(allocator, reserved))
        return dictionary;
    ZoRelease(dictionary);
    return nullptr;
}

// Room for one entry is reserved. False if a retain callback gave nothing.
bool insertRetained(ZoDictionary_* dictionary, const void* key, const void* value, uint32_t hash)
{
    ZoAllocatorRef allocator = ZoGetAllocator(dictionary);
    if (!zoRetainValue(dictionary->keyCallBacks, allocator, &key)) return false;
    if (!zoRetainValue(dictionary->valueCallBacks, allocator, &value)) {
        zoReleaseValue(dictionary->keyCallBacks, allocator, key);
        return false;
    }
    dictionary->table.insert(*dictionary->keyCallBacks, key, value, hash);
    return true;
}

// A key or value that is absent where objects are stored is the caller's mistake.
void expectPair(ZoDictionaryRef dictionary, const void* key, const void* value)
{
    zoExpectValue(dictionary->keyCallBacks, key);
    zoExpectValue(dictionary->valueCallBacks, value);
}

void releaseEntry(ZoDictionaryRef dictionary, ZoAllocatorRef allocator, const ZoTableEntry& entry)
{
    zoReleaseValue(dictionary->valueCallBacks, allocator, entry.value);
    zoReleaseValue(dictionary->keyCallBacks, allocator, entry.key);
}

void dictionaryFinalize(ZoTypeRef object)
{
    auto* dictionary = static_cast<ZoDictionary_*>(const_cast<void*>(object));
    ZoAllocatorRef allocator = ZoGetAllocator(dictionary);
    zoTableForEach(dictionary->table, [&](const ZoTableEntry& entry) { releaseEntry(dictionary, allocator, entry); });
    dictionary->table.freeStorage(allocator);
}

Boolean dictionaryEqual(ZoTypeRef object1, ZoTypeRef object2)
{
    const auto* a = static_cast<ZoDictionaryRef>(object1);
    const auto* b = static_cast<ZoDictionaryRef>(object2);
    if (a->table.live != b->table.live || a->keyCallBacks->equal != b->keyCallBacks->equal ||
        a->valueCallBacks->equal != b->valueCallBacks->equal)
        return false;
    for (uint32_t i = 0; i < a->table.used; ++i) {
        const ZoTableEntry& entry = a->table.entries[i];
        if (!entry.isLive()) continue;
        const uint32_t other = find(b, entry.key);
        if (other == kNone || !zoValuesAreEqual(a->valueCallBacks, entry.value, b->table.entries[other].value))
            return false;
    }
    return true;
}

ZoHashCode dictionaryHash(ZoTypeRef object)
{
    return zoHashMix(static_cast<ZoDictionaryRef>(object)->table.live, kZoTypeIDDictionary);
}

ZoDictionary_* createCopy(ZoAllocatorRef allocator, ZoDictionaryRef source, uint8_t flags, ZoIndex capacity)
{
    const ZoIndex reserved = std::max(ZoIndex{source->table.live}, std::min(capacity, kLargestReservation));
    ZoDictionary_* copy = createRecord(allocator, source->keyCallBacks, source->valueCallBacks, flags, reserved);
    if (!copy) return nullptr;
    bool complete = true;
    zoTableForEach(source->table, [&](const ZoTableEntry& entry) {
        complete = complete && insertRetained(copy, entry.key, entry.value, entry.hash);
    });
    if (complete) return copy;
    ZoRelease(copy);
    return nullptr;
}

// Room for one entry is reserved.
bool insertConverted(ZoDictionary_* dictionary, const ZoTableEntry& entry, bool isSameKind, ZoConvertFunction convert,
                     void* context)
{
    const ZoDictionaryKeyCallBacks& keyCallBacks = *dictionary->keyCallBacks;
    ZoAllocatorRef allocator = ZoGetAllocator(dictionary);
    const void* value = convert(entry.key, entry.value, context);
    if (!value) return false;
    const void* key = entry.key;
    uint32_t hash = entry.hash;
    const bool hasKey = zoRetainValue(&keyCallBacks, allocator, &key);
    // A key that is another object now may be one that changed since it was put in.
    const bool isNew =
        hasKey && ((isSameKind && key == entry.key) || dictionary->table.find(keyCallBacks, key, &hash) == kNone);
    if (isNew) {
        dictionary->table.insert(keyCallBacks, key, value, hash);
        return true;
    }
    zoReleaseValue(dictionary->valueCallBacks, allocator, value);
    if (hasKey) zoReleaseValue(&keyCallBacks, allocator, key);
    return false;
}

}  // namespace

ZoDictionaryRef _ZoDictionaryCreateConverted(ZoAllocatorRef allocator, ZoDictionaryRef source, bool isMutable,
                                             const ZoDictionaryKeyCallBacks* keyCallBacks,
                                             const ZoDictionaryValueCallBacks* valueCallBacks,
                                             ZoConvertFunction convert, void* context)
{
    const uint8_t flags = isMutable ? kCollectionIsMutable : 0;
    ZoDictionary_* copy = createRecord(allocator, keyCallBacks, valueCallBacks, flags, source->table.live);
    if (!copy) return nullptr;
    const bool isSameKind = source->keyCallBacks->hash == copy->keyCallBacks->hash &&
                            source->keyCallBacks->equal == copy->keyCallBacks->equal;
    bool complete = true;
    zoTableForEach(source->table, [&](const ZoTableEntry& entry) {
        complete = complete && insertConverted(copy, entry, isSameKind, convert, context);
    });
    if (complete) return copy;
    ZoRelease(copy);
    return nullptr;
}

const ZoRuntimeClass __ZoDictionaryClass = {.className = "ZoDictionary",
                                            .finalize = dictionaryFinalize,
                                            .equal = dictionaryEqual,
                                            .hash = dictionaryHash,
                                            .copyDebugDesc = _ZoDictionaryCopyDescription};

ZoTypeID ZoDictionaryGetTypeID() { return kZoTypeIDDictionary; }

ZoDictionaryRef ZoDictionaryCreate(ZoAllocatorRef allocator, const void** keys, const void** values, ZoIndex count,
                                   const ZoDictionaryKeyCallBacks* keyCallBacks,
                                   const ZoDictionaryValueCallBacks* valueCallBacks)
{
    if (!ZO_EXPECT(count >= 0 && ((keys && values) || count == 0), "absent pairs or negative count")) return nullptr;
    ZoDictionary_* dictionary = createRecord(allocator, keyCallBacks, valueCallBacks, 0, count);
    if (!dictionary) return nullptr;
    for (ZoIndex i = 0; i < count; ++i) {
        expectPair(dictionary, keys[i], values[i]);
        uint32_t hash;
        if (dictionary->table.find(*dictionary->keyCallBacks, keys[i], &hash) != kNone) continue;
        if (!insertRetained(dictionary, keys[i], values[i], hash)) {
            ZoRelease(dictionary);
            return nullptr;
        }
    }
    return dictionary;
}

ZoMutableDictionaryRef ZoDictionaryCreateMutable(ZoAllocatorRef allocator, ZoIndex capacity,
                                                 const ZoDictionaryKeyCallBacks* keyCallBacks,
                                                 const ZoDictionaryValueCallBacks* valueCallBacks)
{
    if (!ZO_EXPECT(capacity >= 0, "negative capacity")) return nullptr;
    return createRecord(allocator, keyCallBacks, valueCallBacks, kCollectionIsMutable,
                        std::min(capacity, kLargestReservation));
}

ZoDictionaryRef ZoDictionaryCreateCopy(ZoAllocatorRef allocator, ZoDictionaryRef dictionary)
{
    if (!isDictionary(dictionary)) return nullptr;
    if (!(zoTypeFlags(dictionary) & kCollectionIsMutable) && zoIsSameAllocator(allocator, ZoGetAllocator(dictionary)))
        return static_cast<ZoDictionaryRef>(ZoRetain(dictionary));
    return createCopy(allocator, dictionary, 0, 0);
}

ZoMutableDictionaryRef ZoDictionaryCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex capacity,
                                                     ZoDictionaryRef dictionary)
{
    return isDictionary(dictionary) ? createCopy(allocator, dictionary, kCollectionIsMutable, capacity) : nullptr;
}

ZoIndex ZoDictionaryGetCount(ZoDictionaryRef dictionary)
{
    return isDictionary(dictionary) ? ZoIndex{dictionary->table.live} : 0;
}

ZoIndex ZoDictionaryGetCountOfKey(ZoDictionaryRef dictionary, const void* key)
{
    return ZoDictionaryContainsKey(dictionary, key) ? 1 : 0;
}

Boolean ZoDictionaryContainsKey(ZoDictionaryRef dictionary, const void* key)
{
    return isDictionary(dictionary) && find(dictionary, key) != kNone;
}

Boolean ZoDictionaryContainsValue(ZoDictionaryRef dictionary, const void* value)
{
    if (!isDictionary(dictionary)) return false;
    for (uint32_t i = 0; i < dictionary->table.used; ++i) {
        const ZoTableEntry& entry = dictionary->table.entries[i];
        if (entry.isLive() && zoValuesAreEqual(dictionary->valueCallBacks, entry.value, value)) return true;
    }
    return false;
}

const void* ZoDictionaryGetValue(ZoDictionaryRef dictionary, const void* key)
{
    if (!isDictionary(dictionary)) return nullptr;
    const uint32_t position = find(dictionary, key);
    return position == kNone ? nullptr : dictionary->table.entries[position].value;
}

Boolean ZoDictionaryGetValueIfPresent(ZoDictionaryRef dictionary, const void* key, const void** value)
{
    const uint32_t position = isDictionary(dictionary) ? find(dictionary, key) : kNone;
    if (value) *value = position == kNone ? nullptr : dictionary->table.entries[position].value;
    return position != kNone;
}

void ZoDictionaryGetKeysAndValues(ZoDictionaryRef dictionary, const void** keys, const void** values)
{
    if (!isDictionary(dictionary)) return;
    zoTableForEach(dictionary->table, [&](const ZoTableEntry& entry) {
        if (keys) *keys++ = entry.key;
        if (values) *values++ = entry.value;
    });
}

void ZoDictionaryApplyFunction(ZoDictionaryRef dictionary, ZoDictionaryApplierFunction applier, void* context)
{
    if (!isDictionary(dictionary) || !ZO_EXPECT(applier, "absent function")) return;
    zoTableForEach(dictionary->table, [&](const ZoTableEntry& entry) { applier(entry.key, entry.value, context); });
}

void ZoDictionaryAddValue(ZoMutableDictionaryRef dictionary, const void* key, const void* value)
{
    if (!isMutable(dictionary)) return;
    expectPair(dictionary, key, value);
    uint32_t hash;
    if (dictionary->table.find(*dictionary->keyCallBacks, key, &hash) != kNone) return;
    if (dictionary->table.reserveOne(ZoGetAllocator(dictionary))) insertRetained(dictionary, key, value, hash);
}

void ZoDictionarySetValue(ZoMutableDictionaryRef dictionary, const void* key, const void* value)
{
    if (!isMutable(dictionary)) return;
    expectPair(dictionary, key, value);
    ZoAllocatorRef allocator = ZoGetAllocator(dictionary);
    uint32_t hash;
    const uint32_t position = dictionary->table.find(*dictionary->keyCallBacks, key, &hash);
    if (position == kNone) {
        if (dictionary->table.reserveOne(allocator)) insertRetained(dictionary, key, value, hash);
        return;
    }
    if (!zoRetainValue(dictionary->valueCallBacks, allocator, &value)) return;
    const void* old = std::exchange(dictionary->table.entries[position].value, value);
    zoReleaseValue(dictionary->valueCallBacks, allocator, old);
}

void ZoDictionaryRemoveValue(ZoMutableDictionaryRef dictionary, const void* key)
{
    if (!isMutable(dictionary)) return;
    const uint32_t position = find(dictionary, key);
    if (position == kNone) return;
    // What a release sets off may look at the dictionary: the entry is gone by then.
    const ZoTableEntry entry = dictionary->table.entries[position];
    dictionary->table.remove(position);
    releaseEntry(dictionary, ZoGetAllocator(dictionary), entry);
}

void ZoDictionaryRemoveAllValues(ZoMutableDictionaryRef dictionary)
{
    if (!isMutable(dictionary)) return;
    ZoAllocatorRef allocator = ZoGetAllocator(dictionary);
    ZoOrderedTable removed = std::exchange(dictionary->table, {});
    zoTableForEach(removed, [&](const ZoTableEntry& entry) { releaseEntry(dictionary, allocator, entry); });
    removed.freeStorage(allocator);
}
