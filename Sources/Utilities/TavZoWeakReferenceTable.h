// 64-bit keys for objects that are held weakly: a key can cross a boundary where a pointer cannot safely go, and reads
// as nothing once its object has died. Dead entries go by themselves, some time later.
//
// Every operation may be called from any thread. The table's mutex guards it; nothing that belongs to a client runs
// under it, neither a function that is applied nor the end of an object.

#pragma once

#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

typedef struct TavZoWeakReferenceTable* TavZoWeakReferenceTableRef;

enum {
    kTavZoWeakReferenceTableError_ParamErr = -12065,
    kTavZoWeakReferenceTableError_AllocationFailed = -12066,
    kTavZoWeakReferenceTableError_KeyNotFound = -12067,
    kTavZoWeakReferenceTableError_WrongKindOfTable = -12068,
    kTavZoWeakReferenceTableError_KeyAlreadyInUse = -12069,
};

enum {
    kTavZoWeakReferenceTableOption_ClientProvidesKeys = 0x1,
    kTavZoWeakReferenceTableOption_Use32BitKeys = 0x2,  ///< generated keys fit 32 bits
};

ZoTypeID TavZoWeakReferenceTableGetTypeID(void);

/// An empty table, which the caller releases. Keys of different tables and processes stay apart as long as each hands
/// out fewer than 10,000.
///
/// kTavZoWeakReferenceTableError_ParamErr           no `outTable`
/// kTavZoWeakReferenceTableError_AllocationFailed   no memory for the table
/// kTavBaseObjectError_AllocationFailed             none for its mutex
OSStatus TavZoWeakReferenceTableCreate(ZoAllocatorRef allocator, uint32_t options,
                                       TavZoWeakReferenceTableRef* outTable);

/// Adds an object, as often as it is asked to, and gives the new key, which is never 0.
///
/// kTavZoWeakReferenceTableError_WrongKindOfTable   clients choose this table's keys; `outKey` is left as it is
/// kTavZoWeakReferenceTableError_ParamErr           something is absent
/// kTavZoWeakReferenceTableError_AllocationFailed   no memory; nothing was added
OSStatus TavZoWeakReferenceTableAddValueAndGetKey(TavZoWeakReferenceTableRef table, ZoTypeRef value, uint64_t* outKey);
/// Adds an object under the client's key; the key of an object that has died may be used again.
///
/// kTavZoWeakReferenceTableError_ParamErr           the key is 0, or something is absent
/// kTavZoWeakReferenceTableError_WrongKindOfTable   this table makes its own keys
/// kTavZoWeakReferenceTableError_KeyAlreadyInUse    for an object that lives
/// kTavZoWeakReferenceTableError_AllocationFailed   no memory; nothing was added
OSStatus TavZoWeakReferenceTableAddValueAssociatedWithKey(TavZoWeakReferenceTableRef table, ZoTypeRef value,
                                                          uint64_t key);

/// kTavZoWeakReferenceTableError_ParamErr      no table, or the key is 0
/// kTavZoWeakReferenceTableError_KeyNotFound   not signalled; a dead object's key is found until its entry goes
OSStatus TavZoWeakReferenceTableRemoveValue(TavZoWeakReferenceTableRef table, uint64_t key);
/// The object, which the caller releases; nothing if it has died or there is no such key.
ZoTypeRef TavZoWeakReferenceTableCopyValue(TavZoWeakReferenceTableRef table, uint64_t key);
/// A key of the object, or 0. Walks the whole table.
uint64_t TavZoWeakReferenceTableGetKey(TavZoWeakReferenceTableRef table, ZoTypeRef value);
/// A new dictionary of numbers to the objects that live, which the caller releases.
///
/// kTavZoWeakReferenceTableError_ParamErr           something is absent
/// kTavZoWeakReferenceTableError_AllocationFailed   no memory
OSStatus TavZoWeakReferenceTableCopyValues(TavZoWeakReferenceTableRef table, ZoDictionaryRef* valuesOut);

typedef void (*TavZoWeakReferenceTableApplierFunction)(uint64_t key, ZoTypeRef value, void* context);
/// Calls `function` for each object that lives, in no lock; it may change the table, and sees it as it was at the
/// start.
///
/// kTavZoWeakReferenceTableError_ParamErr           no table, or no function
/// kTavZoWeakReferenceTableError_AllocationFailed   no memory; nothing was called
OSStatus TavZoWeakReferenceTableApplyFunction(TavZoWeakReferenceTableRef table,
                                              TavZoWeakReferenceTableApplierFunction function, void* context);

ZO_EXTERN_C_END
