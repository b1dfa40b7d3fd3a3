#include "Utilities/TavZoWeakReference.h"

#include <dispatch/dispatch.h>

#include <cinttypes>
#include <cstdlib>
#include <utility>

#include "Memory/Containers.h"
#include "Platform/Common/TavLog.h"
#include "Utilities/TavZoWeakReferencePrivate.h"

#define WEAK_REFERENCE "<<<< TavZoWeakReference >>>> %s: "

TavWeakTable TavTableBuf[kTavWeakStripeCount];

// MARK: complaints

struct TavWeakComplaint {
    enum class Kind { cannotForm, unknownVariable, holdsAnother } kind;
    const void* location;
    const void* held;
    const void* referent;
    const void* cls;
    uint64_t typeID;
    TavWeakComplaint* next;
};

void TavWeakComplaints::add(const TavWeakComplaint& complaint)
{
    *end_ = memory::make<TavWeakComplaint>(complaint);
    end_ = &(*end_)->next;
}

void TavWeakComplaints::cannotForm(ZoTypeRef referent, const ZoRuntimeClass* cls, ZoTypeID typeID)
{
    add({TavWeakComplaint::Kind::cannotForm, nullptr, nullptr, referent, cls, typeID, nullptr});
}

void TavWeakComplaints::unknownVariable(const TavZoWeakReference* location)
{
    add({TavWeakComplaint::Kind::unknownVariable, location, nullptr, nullptr, nullptr, 0, nullptr});
}

void TavWeakComplaints::holdsAnother(const TavZoWeakReference* location, uintptr_t held, ZoTypeRef referent)
{
    add({TavWeakComplaint::Kind::holdsAnother, location, reinterpret_cast<void*>(held), referent, nullptr, 0, nullptr});
}

static void weakLog(const TavWeakComplaint& complaint)
{
    const auto log = [](const char* format, auto... arguments) {
        tav_log(kTavLogType_Error, kTavLogFlag_LocalTime, 0, 0, format, arguments...);
    };
    switch (complaint.kind) {
        case TavWeakComplaint::Kind::cannotForm:
            return log(WEAK_REFERENCE
                       "Cannot form weak reference to instance (%p) of class %p (ID %llu). It is possible that this "
                       "object was over-released, or is in the process of deallocation.",
                       "TavWeakRegisterNoLock", complaint.referent, complaint.cls,
                       static_cast<unsigned long long>(complaint.typeID));
        case TavWeakComplaint::Kind::unknownVariable:
            return log(WEAK_REFERENCE
                       "Attempted to unregister unknown __weak variable at %p. This is probably incorrect use of "
                       "TavZoWeakReferenceStore() and TavZoWeakReferenceLoadAndRetain().\n",
                       "TavRemoveReferrer", complaint.location);
        case TavWeakComplaint::Kind::holdsAnother:
            return log(WEAK_REFERENCE
                       "__weak variable at %p holds %p instead of %p. This is probably incorrect use of "
                       "TavZoWeakReferenceStore() and TavZoWeakReferenceLoadAndRetain().\n",
                       "TavZeroAllWeakReferencesToObject", complaint.location, complaint.held, complaint.referent);
    }
}

TavWeakComplaints::~TavWeakComplaints()
{
    while (TavWeakComplaint* const complaint = first_) {
        first_ = complaint->next;
        weakLog(*complaint);
        delete complaint;
    }
}

// MARK: words and tables

static uintptr_t weakAddress(const void* pointer) { return reinterpret_cast<uintptr_t>(pointer); }

// The owner of a variable that reads 0 may free it at once: what the observer did before must be seen then.
static uintptr_t weakRead(const TavZoWeakReference* location)
{
    return weakAddress(__atomic_load_n(location, __ATOMIC_ACQUIRE));
}

static void weakWrite(TavZoWeakReference* location, ZoTypeRef value)
{
    __atomic_store_n(location, value, __ATOMIC_RELEASE);
}

static TavWeakTable* weakTableOf(uintptr_t address) { return &TavTableBuf[tavWeakStripeIndex(address)]; }

// A registration that is lost would leave a variable dangling, so that a shortage of memory ends the process.
template <typename T>
static T* weakAllocate(uintptr_t count)
{
    auto* const array = static_cast<T*>(calloc(count, sizeof(T)));
    if (!array) memory::stop();
    return array;
}

class WeakLock {
public:
    explicit WeakLock(TavWeakTable* table) : table_(table) { pthread_spin_lock(&table->lock); }
    ~WeakLock() { pthread_spin_unlock(&table_->lock); }
    WeakLock(const WeakLock&) = delete;
    WeakLock& operator=(const WeakLock&) = delete;

private:
    TavWeakTable* table_;
};

TavWeakEntry* tavWeakFind(const TavWeakTable& table, ZoTypeRef referent)
{
    if (!table.entries) return nullptr;
    uintptr_t index = tavWeakHash(weakAddress(referent)) & table.mask;
    for (uintptr_t steps = 0; steps <= table.maxDisplacement; ++steps, index = (index + 1) & table.mask) {
        if (table.entries[index].words[0] == weakAddress(referent)) return &table.entries[index];
    }
    return nullptr;
}

static void weakInsertEntry(TavWeakTable* table, const TavWeakEntry& entry)
{
    uintptr_t index = tavWeakHash(entry.words[0]) & table->mask;
    uintptr_t displacement = 0;
    for (; table->entries[index].words[0]; ++displacement) index = (index + 1) & table->mask;
    table->entries[index] = entry;
    if (displacement > table->maxDisplacement) table->maxDisplacement = displacement;
    ++table->entryCount;
}

static void TavWeakResize(TavWeakTable* table, uintptr_t newSize)
{
    TavWeakEntry* const old = table->entries;
    const uintptr_t oldSize = table->size();
    table->entries = weakAllocate<TavWeakEntry>(newSize);
    table->mask = newSize - 1;
    table->entryCount = 0;
    table->maxDisplacement = 0;
    for (uintptr_t i = 0; i < oldSize; ++i) {
        if (old[i].words[0]) weakInsertEntry(table, old[i]);
    }
    free(old);
}

static void weakRemoveEntry(TavWeakTable* table, TavWeakEntry* entry)
{
    *entry = {};
    --table->entryCount;
    const uintptr_t size = table->size();
    if (size >= 1024 && table->entryCount <= size / 16) TavWeakResize(table, size / 8);
}

// MARK: the variables of one entry

static void weakInsertIntoSet(TavWeakEntry* entry, uintptr_t location)
{
    uintptr_t* const set = entry->set();
    uintptr_t index = tavWeakHash(location) & entry->setMask();
    uintptr_t displacement = 0;
    for (; set[index]; ++displacement) index = (index + 1) & entry->setMask();
    set[index] = location;
    if (displacement > entry->words[4]) entry->words[4] = displacement;
    entry->words[2] += 2;
}

static void weakGrowSet(TavWeakEntry* entry)
{
    uintptr_t* const old = entry->set();
    const uintptr_t oldSize = old ? entry->setMask() + 1 : 0;
    const uintptr_t newSize = oldSize ? 2 * oldSize : 8;
    *entry = {{entry->words[0], weakAddress(weakAllocate<uintptr_t>(newSize)), 1, newSize - 1, 0}};
    for (uintptr_t i = 0; i < oldSize; ++i) {
        if (old[i]) weakInsertIntoSet(entry, old[i]);
    }
    free(old);
}

static void TavAppendReferrer(TavWeakEntry* entry, uintptr_t location)
{
    if (entry->isInline()) {
        for (int word = 1; word <= 4; ++word) {
            if (entry->words[word]) continue;
            entry->words[word] = location;
            return;
        }
        auto* const set = weakAllocate<uintptr_t>(4);
        for (int i = 0; i < 4; ++i) set[i] = entry->words[1 + i];
        *entry = {{entry->words[0], weakAddress(set), 4 << 1 | 1, 3, 0}};
    }
    if (entry->setCount() >= 3 * (entry->setMask() + 1) / 4) weakGrowSet(entry);
    weakInsertIntoSet(entry, location);
}

static bool weakRemoveFromSet(TavWeakEntry* entry, uintptr_t location)
{
    uintptr_t* const set = entry->set();
    uintptr_t index = tavWeakHash(location) & entry->setMask();
    for (uintptr_t steps = 0; steps <= entry->words[4]; ++steps, index = (index + 1) & entry->setMask()) {
        if (set[index] != location) continue;
        set[index] = 0;
        entry->words[2] -= 2;
        return true;
    }
    return false;
}

static bool TavRemoveReferrer(TavWeakEntry* entry, uintptr_t location)
{
    if (!entry->isInline()) return weakRemoveFromSet(entry, location);
    bool found = false;
    for (int word = 1; word <= 4; ++word) {
        if (entry->words[word] != location) continue;
        entry->words[word] = 0;
        found = true;
    }
    return found;
}

static bool weakIsUnused(const TavWeakEntry& entry)
{
    return entry.isInline() && !(entry.words[1] | entry.words[2] | entry.words[3] | entry.words[4]);
}

// MARK: registration

ZoTypeRef TavWeakRegisterNoLock(TavWeakTable* table, ZoTypeRef referent, TavZoWeakReference* location,
                                TavWeakComplaints* complaints)
{
    if (!referent) return nullptr;
    const ZoTypeID typeID = ZoGetTypeID(referent);
    const ZoRuntimeClass* const cls = _ZoRuntimeGetClassWithTypeID(typeID);
    if ((cls && cls->version & kZoRuntimeCustomRefCount) || _ZoIsDeallocating(referent))
        complaints->cannotForm(referent, cls, typeID);

    if (TavWeakEntry* const entry = tavWeakFind(*table, referent)) {
        TavAppendReferrer(entry, weakAddress(location));
        return referent;
    }
    if (table->entryCount >= 3 * table->size() / 4) TavWeakResize(table, table->entries ? 2 * table->size() : 64);
    weakInsertEntry(table, {{weakAddress(referent), weakAddress(location), 0, 0, 0}});
    // Behind the entry and under the lock: the observer that this brings finds it.
    _ZoSetWeaklyReferenced(referent);
    return referent;
}

void TavWeakUnregisterNoLock(TavWeakTable* table, ZoTypeRef referent, TavZoWeakReference* location,
                             TavWeakComplaints* complaints)
{
    if (!referent) return;
    TavWeakEntry* const entry = tavWeakFind(*table, referent);
    if (!entry) return;
    if (!TavRemoveReferrer(entry, weakAddress(location))) complaints->unknownVariable(location);
    if (weakIsUnused(*entry)) weakRemoveEntry(table, entry);
}

static void weakZero(uintptr_t address, ZoTypeRef referent, TavWeakComplaints* complaints)
{
    if (!address) return;
    auto* const location = reinterpret_cast<TavZoWeakReference*>(address);
    const uintptr_t held = weakRead(location);
    if (held == weakAddress(referent))
        weakWrite(location, nullptr);  // from here on its owner may have freed it
    else if (held)
        complaints->holdsAnother(location, held, referent);
}

void TavZeroAllWeakReferencesToObject(ZoTypeRef referent)
{
    TavWeakComplaints complaints;
    TavWeakTable* const table = weakTableOf(weakAddress(referent));
    const WeakLock lock(table);
    TavWeakEntry* const entry = tavWeakFind(*table, referent);
    if (!entry) return;
    if (entry->isInline()) {
        for (int word = 1; word <= 4; ++word) weakZero(entry->words[word], referent, &complaints);
    } else {
        for (uintptr_t i = 0; i <= entry->setMask(); ++i) weakZero(entry->set()[i], referent, &complaints);
        free(entry->set());
    }
    weakRemoveEntry(table, entry);
}

void TavSideTableInitialize()
{
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, nullptr, [](void*) {
        __ZoRuntimeSetWeakReferenceReleaseObserver(TavZeroAllWeakReferencesToObject);
        for (TavWeakTable& table : TavTableBuf) pthread_spin_init(&table.lock, PTHREAD_PROCESS_PRIVATE);
    });
}

// MARK: operations

void TavZoWeakReferenceInit(TavZoWeakReference* location, ZoTypeRef value)
{
    TavSideTableInitialize();
    weakWrite(location, nullptr);
    if (!value) return;
    TavWeakComplaints complaints;
    TavWeakTable* const table = weakTableOf(weakAddress(value));
    const WeakLock lock(table);
    weakWrite(location, TavWeakRegisterNoLock(table, value, location, &complaints));
}

// Calls `body` under the locks of both stripes; the one with the higher address is taken first.
template <typename Body>
static auto weakWithLocks(TavWeakTable* one, TavWeakTable* other, Body body)
{
    if (one < other) std::swap(one, other);
    const WeakLock higher(one);
    if (one == other) return body();
    const WeakLock lower(other);
    return body();
}

void TavZoWeakReferenceStore(TavZoWeakReference* location, ZoTypeRef value)
{
    TavSideTableInitialize();
    TavWeakComplaints complaints;
    for (;;) {
        const uintptr_t old = weakRead(location);
        TavWeakTable* const oldTable = weakTableOf(old ? old : weakAddress(value));
        TavWeakTable* const newTable = weakTableOf(value ? weakAddress(value) : old);
        const bool stored = weakWithLocks(oldTable, newTable, [&] {
            if (weakRead(location) != old) return false;
            TavWeakUnregisterNoLock(oldTable, reinterpret_cast<ZoTypeRef>(old), location, &complaints);
            weakWrite(location, TavWeakRegisterNoLock(newTable, value, location, &complaints));
            return true;
        });
        if (stored) return;
    }
}

// Calls `body` for the object that the variable holds, under the lock of its stripe; nothing if it holds none.
template <typename Body>
static ZoTypeRef weakWithReferent(TavZoWeakReference* location, Body body)
{
    TavSideTableInitialize();
    for (uintptr_t held = weakRead(location); held;) {
        TavWeakTable* const table = weakTableOf(held);
        const WeakLock lock(table);
        const uintptr_t now = weakRead(location);
        if (now == held) return body(table, reinterpret_cast<ZoTypeRef>(held));
        held = now;
    }
    return nullptr;
}

ZoTypeRef TavZoWeakReferenceLoadAndRetain(TavZoWeakReference* location)
{
    return weakWithReferent(location, [](TavWeakTable* table, ZoTypeRef referent) -> ZoTypeRef {
        if (!tavWeakFind(*table, referent)) return nullptr;
        const ZoRuntimeClass* const cls = _ZoRuntimeGetClassWithTypeID(ZoGetTypeID(referent));
        return cls && cls->version & kZoRuntimeCustomRefCount ? nullptr : _ZoTryRetain(referent);
    });
}

void TavZoWeakReferenceDestroy(TavZoWeakReference* location)
{
    TavWeakComplaints complaints;
    weakWithReferent(location, [&](TavWeakTable* table, ZoTypeRef referent) {
        TavWeakUnregisterNoLock(table, referent, location, &complaints);
        return referent;
    });
}
