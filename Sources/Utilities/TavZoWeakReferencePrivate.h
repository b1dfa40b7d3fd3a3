// The side table behind weak references, for its own source and for tests of its shape.

#pragma once

#include <pthread.h>

#include <cstddef>
#include <cstdint>

#include "Utilities/TavZoWeakReference.h"

/// One object that weak variables point at. Word 0 is the object, 0 in a free entry. The other four are the addresses
/// of its variables, or, where bit 0 of word 2 is set: a set of addresses, its count, its mask, its longest probe.
struct TavWeakEntry {
    uintptr_t words[5];

    bool isInline() const { return !(words[2] & 1); }
    uintptr_t* set() const { return reinterpret_cast<uintptr_t*>(words[1]); }
    uintptr_t setCount() const { return words[2] >> 1; }
    uintptr_t setMask() const { return words[3]; }
};

/// A stripe: a hash table with linear probing and no tombstones; `maxDisplacement` bounds every look-up.
struct alignas(128) TavWeakTable {
    pthread_spinlock_t lock;
    TavWeakEntry* entries;
    uintptr_t entryCount;
    uintptr_t mask;
    uintptr_t maxDisplacement;

    uintptr_t size() const { return entries ? mask + 1 : 0; }
};
static_assert(sizeof(TavWeakTable) == 128);

constexpr size_t kTavWeakStripeCount = 8;
extern TavWeakTable TavTableBuf[kTavWeakStripeCount];

constexpr uint32_t tavWeakStripeIndex(uintptr_t address)
{
    const auto a = static_cast<uint32_t>(address);
    return ((a >> 4) ^ (a >> 9)) & 7;
}
constexpr uint32_t tavWeakHash(uintptr_t pointer)
{
    const uint64_t h = ((pointer >> 4) ^ pointer) * UINT64_C(0x8A970BE7488FDA55);
    return static_cast<uint32_t>(h ^ __builtin_bswap64(h));
}
/// The entry of `referent`, or nothing. Under the stripe's lock.
TavWeakEntry* tavWeakFind(const TavWeakTable& table, ZoTypeRef referent);

/// What went wrong under a stripe's lock, to be logged once it is given back. Costs nothing where all goes well.
struct TavWeakComplaint;
class TavWeakComplaints {
public:
    TavWeakComplaints() = default;
    ~TavWeakComplaints();  ///< logs them, so that it must be declared before the lock is taken
    TavWeakComplaints(const TavWeakComplaints&) = delete;
    TavWeakComplaints& operator=(const TavWeakComplaints&) = delete;

    void cannotForm(ZoTypeRef referent, const ZoRuntimeClass* cls, ZoTypeID typeID);
    void unknownVariable(const TavZoWeakReference* location);
    void holdsAnother(const TavZoWeakReference* location, uintptr_t held, ZoTypeRef referent);

private:
    void add(const TavWeakComplaint& complaint);

    TavWeakComplaint* first_ = nullptr;
    TavWeakComplaint** end_ = &first_;
};

/// Runs once, from every entry point: the observer of deaths, and the locks.
void TavSideTableInitialize();
/// Both under the lock of the referent's stripe. The first gives the referent.
ZoTypeRef TavWeakRegisterNoLock(TavWeakTable* table, ZoTypeRef referent, TavZoWeakReference* location,
                                TavWeakComplaints* complaints);
void TavWeakUnregisterNoLock(TavWeakTable* table, ZoTypeRef referent, TavZoWeakReference* location,
                             TavWeakComplaints* complaints);
/// What the run-time calls for an object that dies.
void TavZeroAllWeakReferencesToObject(ZoTypeRef referent);
