#define TAV_SUBSYSTEM "<<<< WEAKREFTABLE >>>>"

#include "Utilities/TavZoWeakReferenceTable.h"

#include <dispatch/dispatch.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdlib>
#include <utility>

#include "Core/TavBaseObject/TavBaseObject.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Memory/Containers.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Common/TavSignal.h"
#include "Platform/Ostra/OstraLockGuard.h"
#include "Utilities/TavZoUtilities_Boxing.h"
#include "Utilities/TavZoWeakReference.h"

struct TavZoWeakReferenceTable {
    ZoRuntimeBase base;
    ZoMutableDictionaryRef entries;  ///< of Entry, each its own key and value
    uint64_t nextKey;
    uint32_t operationCount;
    bool clientProvidesKeys;
    bool use32BitKeys;
    TavSimpleMutexRef mutex;
};

// One with `key` alone, on the stack, serves as a key to look up.
struct WeakTableEntry {
    uint64_t key;
    TavZoWeakReference value;
    uint64_t disguisedValue;  ///< nothing that looks like a pointer to the object
};
static_assert(sizeof(WeakTableEntry) == 24);

static TavTraceNote sTrace;
static int32_t sTableCount;

static uint64_t weakTableDisguise(ZoTypeRef object) { return -reinterpret_cast<uint64_t>(object); }

#define WEAK_TABLE_TRACE(format, ...)                                                                        \
    do {                                                                                                     \
        if (tavTraceIsOn(&sTrace))                                                                           \
            tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, TAV_SUBSYSTEM " %s: " format, __func__, \
                    __VA_ARGS__);                                                                            \
    } while (0)

// MARK: the dictionary of entries

static WeakTableEntry* weakTableEntry(const void* value)
{
    return static_cast<WeakTableEntry*>(const_cast<void*>(value));
}

static void weakTableFreeEntry(ZoAllocatorRef, const void* value)
{
    TavZoWeakReferenceDestroy(&weakTableEntry(value)->value);
    free(weakTableEntry(value));
}

static const ZoDictionaryKeyCallBacks kEntryKeyCallBacks = {
    .version = 0,
    .retain = nullptr,
    .release = nullptr,
    .copyDescription = nullptr,
    .equal = [](const void* a, const void* b) -> Boolean { return weakTableEntry(a)->key == weakTableEntry(b)->key; },
    .hash = [](const void* entry) -> ZoHashCode { return weakTableEntry(entry)->key; },
};
static const ZoDictionaryValueCallBacks kEntryValueCallBacks = {
    .version = 0,
    .retain = nullptr,
    .release = weakTableFreeEntry,
    .copyDescription = nullptr,
    .equal = [](const void* a, const void* b) -> Boolean {
        return weakTableEntry(a)->disguisedValue == weakTableEntry(b)->disguisedValue;
    },
};

static WeakTableEntry* weakTableFind(TavZoWeakReferenceTableRef table, uint64_t key)
{
    const WeakTableEntry wanted = {key, nullptr, 0};
    return weakTableEntry(ZoDictionaryGetValue(table->entries, &wanted));
}

// Calls `body(entry)` for each.
template <typename Body>
static void weakTableForEach(TavZoWeakReferenceTableRef table, Body body)
{
    ZoDictionaryApplyFunction(
        table->entries,
        [](const void*, const void* value, void* context) { (*static_cast<Body*>(context))(weakTableEntry(value)); },
        &body);
}

// MARK: the class

static TavZoWeakReferenceTableRef weakTable(ZoTypeRef object)
{
    return static_cast<TavZoWeakReferenceTableRef>(const_cast<void*>(object));
}

static void WeakReferenceTable_Init(ZoTypeRef object)
{
    TavZoWeakReferenceTable fresh = {};
    fresh.base = weakTable(object)->base;
    *weakTable(object) = fresh;
}

static void WeakReferenceTable_Finalize(ZoTypeRef object)
{
    WEAK_TABLE_TRACE("(%p)", object);
    if (weakTable(object)->entries) ZoRelease(weakTable(object)->entries);
    TavSimpleMutexDestroy(weakTable(object)->mutex);
}

static ZoStringRef weakTableCopyDescription(ZoTypeRef object)
{
    return ZoStringCreateWithFormat(kZoAllocatorDefault, nullptr, ZOSTR("<TavZoWeakReferenceTable %s%p>"),
                                    weakTable(object)->clientProvidesKeys ? "Client provides keys " : "", object);
}

static const ZoRuntimeClass sTableClass = {
    .version = 0,
    .className = "TavZoWeakReferenceTable",
    .init = WeakReferenceTable_Init,
    .copy = nullptr,
    .finalize = WeakReferenceTable_Finalize,
    .equal = nullptr,
    .hash = nullptr,
    .copyFormattingDesc = [](ZoTypeRef object, ZoDictionaryRef) { return weakTableCopyDescription(object); },
    .copyDebugDesc = weakTableCopyDescription,
    .unused = {},
};

ZoTypeID TavZoWeakReferenceTableGetTypeID(void)
{
    static ZoTypeID sTypeID;
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, &sTypeID, [](void* typeID) {
        tavTraceNoteRegister(&sTrace, "weakreftable_trace", 0);
        *static_cast<ZoTypeID*>(typeID) = _ZoRuntimeRegisterClass(&sTableClass);
    });
    return sTypeID;
}

static uint64_t weakTableFirstKey(bool use32BitKeys)
{
    auto process = static_cast<uint64_t>(getpid());
    if (use32BitKeys) process %= 4294;
    const auto count = static_cast<uint32_t>(__atomic_add_fetch(&sTableCount, 1, __ATOMIC_RELAXED));
    return process * 1000000 + static_cast<uint64_t>(int64_t{static_cast<int32_t>(count * 10000u)});
}

OSStatus TavZoWeakReferenceTableCreate(ZoAllocatorRef allocator, uint32_t options, TavZoWeakReferenceTableRef* outTable)
{
    const ZoTypeID typeID = TavZoWeakReferenceTableGetTypeID();
    if (!outTable) return TAV_SIGNAL(kTavZoWeakReferenceTableError_ParamErr, "tableOut NULL");
    constexpr ZoIndex kExtraBytes = sizeof(TavZoWeakReferenceTable) - sizeof(ZoRuntimeBase);
    auto created = zoAdopt(weakTable(_ZoRuntimeCreateInstance(allocator, typeID, kExtraBytes, nullptr)));
    TavZoWeakReferenceTableRef const table = created.get();
    if (!table)
        return TAV_SIGNAL(kTavZoWeakReferenceTableError_AllocationFailed, "TavZoWeakReferenceTable allocation failed");
    WEAK_TABLE_TRACE("%p", static_cast<void*>(table));

    table->mutex = TavSimpleMutexCreate();
    if (!table->mutex) return TAV_SIGNAL(kTavBaseObjectError_AllocationFailed, "failed to create mutex");
    table->clientProvidesKeys = options & kTavZoWeakReferenceTableOption_ClientProvidesKeys;
    table->use32BitKeys = options & kTavZoWeakReferenceTableOption_Use32BitKeys;
    table->nextKey = weakTableFirstKey(table->use32BitKeys);
    table->entries = ZoDictionaryCreateMutable(allocator, 0, &kEntryKeyCallBacks, &kEntryValueCallBacks);
    if (!table->entries)
        return TAV_SIGNAL(kTavZoWeakReferenceTableError_AllocationFailed, "failed to create dictionary");
    *outTable = created.release();
    return 0;
}

// MARK: clean-up

static void weakTableRemoveDead(TavZoWeakReferenceTableRef table)
{
    WEAK_TABLE_TRACE("(%p) has %ld entries", static_cast<void*>(table),
                     static_cast<long>(ZoDictionaryGetCount(table->entries)));
    memory::ReportingArray<const WeakTableEntry*> dead;
    bool complete = true;
    weakTableForEach(table, [&](WeakTableEntry* entry) {
        if (!__atomic_load_n(&entry->value, __ATOMIC_ACQUIRE)) complete = dead.append(entry) && complete;
    });
    if (!complete) {
        TAV_SIGNAL_FROM("TavZoWeakReferenceTableCleanup", kTavZoWeakReferenceTableError_AllocationFailed,
                        "no keyValueEntriesToRemove");
        return;
    }
    if (dead.empty()) return;
    WEAK_TABLE_TRACE("(%p) cleanup deleting %ld entries.", static_cast<void*>(table), static_cast<long>(dead.size()));
    for (const WeakTableEntry* entry : dead) {
        WEAK_TABLE_TRACE("Remove NULL value for key %llu", static_cast<unsigned long long>(entry->key));
        const WeakTableEntry wanted = {entry->key, nullptr, 0};  // the entry itself goes on the way
        ZoDictionaryRemoveValue(table->entries, &wanted);
    }
}

// With each operation that counts, under the mutex, once its own work is done.
static void weakTableCountOperation(TavZoWeakReferenceTableRef table)
{
    constexpr uint32_t kOperationsBetweenCleanups = 100;
    if (++table->operationCount != kOperationsBetweenCleanups) return;
    table->operationCount = 0;
    weakTableRemoveDead(table);
}

// MARK: adding

static OSStatus weakTableAddEntry(const char* operation, TavZoWeakReferenceTableRef table, ZoTypeRef value,
                                  uint64_t key)
{
    auto* const entry = static_cast<WeakTableEntry*>(calloc(1, sizeof(WeakTableEntry)));
    if (entry) {
        entry->key = key;
        entry->disguisedValue = weakTableDisguise(value);
        TavZoWeakReferenceInit(&entry->value, value);
        ZoDictionaryAddValue(table->entries, entry, entry);
        if (ZoDictionaryGetValue(table->entries, entry) == entry) {
            if (tavTraceIsOn(&sTrace))
                tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0,
                        TAV_SUBSYSTEM " %s: (%p) Add value with key %llu", operation, static_cast<void*>(table),
                        static_cast<unsigned long long>(key));
            return 0;
        }
        weakTableFreeEntry(nullptr, entry);
    }
    return TAV_SIGNAL_FROM(operation, kTavZoWeakReferenceTableError_AllocationFailed,
                           "failed to allocate keyValueEntry");
}

// The next key that is free; with 32 bits, or after a client's lifetime of keys, the count may have come round.
static uint64_t weakTableTakeKey(TavZoWeakReferenceTableRef table)
{
    uint64_t key;
    do {
        key = table->nextKey++;
        if (table->use32BitKeys) key = static_cast<uint32_t>(key);
    } while (key == 0 || weakTableFind(table, key));
    return key;
}

OSStatus TavZoWeakReferenceTableAddValueAndGetKey(TavZoWeakReferenceTableRef table, ZoTypeRef value, uint64_t* outKey)
{
    if (!table) return TAV_SIGNAL(kTavZoWeakReferenceTableError_ParamErr, "table is NULL");
    if (table->clientProvidesKeys)
        return TAV_SIGNAL(kTavZoWeakReferenceTableError_WrongKindOfTable,
                          "Table was created with kTavZoWeakReferenceTableOption_ClientProvidesKeys option");
    if (!outKey) return TAV_SIGNAL(kTavZoWeakReferenceTableError_ParamErr, "keyOut is NULL");
    *outKey = 0;
    if (!value) return TAV_SIGNAL(kTavZoWeakReferenceTableError_ParamErr, "value is NULL");

    const TavSimpleMutexGuard guard(table->mutex);
    const uint64_t key = weakTableTakeKey(table);
    TAV_TRY(weakTableAddEntry(__func__, table, value, key));
    *outKey = key;
    return 0;
}

OSStatus TavZoWeakReferenceTableAddValueAssociatedWithKey(TavZoWeakReferenceTableRef table, ZoTypeRef value,
                                                          uint64_t key)
{
    if (key == 0) return TAV_SIGNAL(kTavZoWeakReferenceTableError_ParamErr, "key must not be zero");
    if (!table) return TAV_SIGNAL(kTavZoWeakReferenceTableError_ParamErr, "table is NULL");
    if (!value) return TAV_SIGNAL(kTavZoWeakReferenceTableError_ParamErr, "value is NULL");
    if (!table->clientProvidesKeys)
        return TAV_SIGNAL(kTavZoWeakReferenceTableError_WrongKindOfTable,
                          "Table was not created with kTavZoWeakReferenceTableOption_ClientProvidesKeys option");

    ZoRef<ZoTypeRef> present;  // released behind the mutex
    const TavSimpleMutexGuard guard(table->mutex);
    WeakTableEntry* const entry = weakTableFind(table, key);
    if (!entry) return weakTableAddEntry(__func__, table, value, key);
    present = zoAdopt(TavZoWeakReferenceLoadAndRetain(&entry->value));
    if (present) return TAV_SIGNAL(kTavZoWeakReferenceTableError_KeyAlreadyInUse, "Duplicate keys disallowed");
    WEAK_TABLE_TRACE("(%p) Replace NULL value for key %llu", static_cast<void*>(table),
                     static_cast<unsigned long long>(key));
    TavZoWeakReferenceStore(&entry->value, value);
    entry->disguisedValue = weakTableDisguise(value);
    return 0;
}

// MARK: by key

static OSStatus weakTableCheckKey(const char* operation, TavZoWeakReferenceTableRef table, uint64_t key)
{
    if (!table) return TAV_SIGNAL_FROM(operation, kTavZoWeakReferenceTableError_ParamErr, "table is NULL");
    if (key == 0) return TAV_SIGNAL_FROM(operation, kTavZoWeakReferenceTableError_ParamErr, "key is 0");
    return 0;
}

OSStatus TavZoWeakReferenceTableRemoveValue(TavZoWeakReferenceTableRef table, uint64_t key)
{
    TAV_TRY(weakTableCheckKey(__func__, table, key));
    WEAK_TABLE_TRACE("(%p) Remove value with key %llu", static_cast<void*>(table),
                     static_cast<unsigned long long>(key));
    const TavSimpleMutexGuard guard(table->mutex);
    const WeakTableEntry wanted = {key, nullptr, 0};
    const bool found = weakTableFind(table, key);
    if (found) ZoDictionaryRemoveValue(table->entries, &wanted);
    weakTableCountOperation(table);
    return found ? 0 : kTavZoWeakReferenceTableError_KeyNotFound;
}

ZoTypeRef TavZoWeakReferenceTableCopyValue(TavZoWeakReferenceTableRef table, uint64_t key)
{
    if (weakTableCheckKey(__func__, table, key) != 0) return nullptr;
    WEAK_TABLE_TRACE("(%p) Copy value with key %llu", static_cast<void*>(table), static_cast<unsigned long long>(key));
    const TavSimpleMutexGuard guard(table->mutex);
    WeakTableEntry* const entry = weakTableFind(table, key);
    ZoTypeRef const value = entry ? TavZoWeakReferenceLoadAndRetain(&entry->value) : nullptr;
    weakTableCountOperation(table);
    return value;
}

// MARK: over all

uint64_t TavZoWeakReferenceTableGetKey(TavZoWeakReferenceTableRef table, ZoTypeRef value)
{
    if (!table || !value) {
        tav_log(kTavLogType_Error, kTavLogFlag_LocalTime, 0, 0, TAV_SUBSYSTEM " %s: %s is NULL", __func__,
                table ? "value" : "table");
        return 0;
    }
    WEAK_TABLE_TRACE("(%p) Get key with value %@", static_cast<void*>(table), value);

    uint64_t key = 0;
    const TavSimpleMutexGuard guard(table->mutex);
    weakTableForEach(table, [&](WeakTableEntry* entry) {
        if (entry->disguisedValue != weakTableDisguise(value)) return;
        // The caller has a reference, so that this one is not the last.
        const auto held = zoAdopt(TavZoWeakReferenceLoadAndRetain(&entry->value));
        if (held.get() == value) key = entry->key;
    });
    weakTableCountOperation(table);
    return key;
}

// The keys and objects that live, retained.
struct WeakTablePair {
    uint64_t key;
    ZoRef<ZoTypeRef> value;
};
using WeakTablePairs = memory::ReportingArray<WeakTablePair>;

static bool weakTableCopyPairs(TavZoWeakReferenceTableRef table, WeakTablePairs* pairs)
{
    if (!pairs->reserve(static_cast<size_t>(ZoDictionaryGetCount(table->entries)))) return false;
    bool complete = true;
    weakTableForEach(table, [&](WeakTableEntry* entry) {
        complete = pairs->append({entry->key, zoAdopt(TavZoWeakReferenceLoadAndRetain(&entry->value))}) && complete;
    });
    return complete;
}

OSStatus TavZoWeakReferenceTableCopyValues(TavZoWeakReferenceTableRef table, ZoDictionaryRef* valuesOut)
{
    if (!table) return TAV_SIGNAL(kTavZoWeakReferenceTableError_ParamErr, "table is NULL");
    if (!valuesOut) return TAV_SIGNAL(kTavZoWeakReferenceTableError_ParamErr, "valuesOut is NULL");
    WEAK_TABLE_TRACE("(%p) CopyValues", static_cast<void*>(table));

    WeakTablePairs pairs;
    {
        const TavSimpleMutexGuard guard(table->mutex);
        if (!weakTableCopyPairs(table, &pairs))
            return TAV_SIGNAL(kTavZoWeakReferenceTableError_AllocationFailed, "failed to allocate values");
        weakTableCountOperation(table);
    }
    auto values = zoAdopt(ZoDictionaryCreateMutable(kZoAllocatorDefault, static_cast<ZoIndex>(pairs.size()),
                                                    &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    if (!values) return TAV_SIGNAL(kTavZoWeakReferenceTableError_AllocationFailed, "failed to allocate values");
    for (const WeakTablePair& pair : pairs) {
        if (!pair.value) continue;
        const auto key = zoAdopt(TavZoNumberCreateUInt64(kZoAllocatorDefault, pair.key));
        if (!key) return TAV_SIGNAL(kTavZoWeakReferenceTableError_AllocationFailed, "failed to allocate values");
        ZoDictionaryAddValue(values.get(), key.get(), pair.value.get());
    }
    *valuesOut = values.release();
    return 0;
}

OSStatus TavZoWeakReferenceTableApplyFunction(TavZoWeakReferenceTableRef table,
                                              TavZoWeakReferenceTableApplierFunction function, void* context)
{
    if (!table) return TAV_SIGNAL(kTavZoWeakReferenceTableError_ParamErr, "table is NULL");
    if (!function) return TAV_SIGNAL(kTavZoWeakReferenceTableError_ParamErr, "function is NULL");
    WEAK_TABLE_TRACE("(%p) ApplyFunction %p context %p", static_cast<void*>(table), reinterpret_cast<void*>(function),
                     context);

    WeakTablePairs pairs;
    {
        const TavSimpleMutexGuard guard(table->mutex);
        if (ZoDictionaryGetCount(table->entries) == 0) return 0;
        if (!weakTableCopyPairs(table, &pairs))
            return TAV_SIGNAL(kTavZoWeakReferenceTableError_AllocationFailed, "failed to allocate copiedEntries");
        weakTableCountOperation(table);
    }
    for (WeakTablePair& pair : pairs) {
        if (!pair.value) continue;
        function(pair.key, pair.value.get(), context);
        pair.value = {};
    }
    return 0;
}
