// Base objects: public classes with several implementations, each a static virtual table and a block of derived storage
// behind the object header. A public class registers one run-time type; its implementations, and classes below it,
// share it.
//
// Class and protocol records live as long as the process. Objects take no lock of their own; what stands in derived
// storage is the implementation's to protect.

#pragma once

#include "Foundation/Objects/ZoObject.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

typedef struct LuBaseObject_* LuBaseObjectRef;
typedef const struct LuClass_* LuClassID;
/// The address of a protocol record, compared by identity.
typedef const struct LuProtocol_* LuProtocolID;

enum {
    kLuBaseObjectError_ParamErr = -12780,
    kLuBaseObjectError_UnsupportedVersion = -12781,
    kLuBaseObjectError_NoSuchOperation = -12782,
    kLuBaseObjectError_PropertyNotFound = -12784,
    kLuBaseObjectError_AllocationFailed = -12786,
};

/// An entry whose `getProtocolID` is empty is skipped.
typedef struct LuProtocolTableEntry {
    LuProtocolID (*getProtocolID)(void);
    const struct LuProtocolVTable* vtable;
} LuProtocolTableEntry;

typedef struct LuProtocolTable {
    uint32_t version;
    uint32_t entryCount;
    const LuProtocolTableEntry* entries;
} LuProtocolTable;

typedef struct LuBaseProtocol {
    const void* reserved;
    ZoStringRef (*copyDebugDescription)(LuBaseObjectRef object);
} LuBaseProtocol;

/// The protocol's own operations follow.
typedef struct LuProtocolVTable {
    const void* reserved;
    const LuBaseProtocol* base;
} LuProtocolVTable;

/// Operations that all base objects have. `version`, 1 to 5, says how much of it is there: the barrier from 2 on, the
/// protocols from 3 on. Every operation may be empty.
typedef struct LuBaseClass {
    ZoIndex version;
    size_t derivedStorageSize;
    Boolean (*equal)(LuBaseObjectRef object1, LuBaseObjectRef object2);  ///< called for two of one virtual table
    void (*unused)(void);
    void (*finalize)(LuBaseObjectRef object);
    ZoStringRef (*copyDebugDescription)(LuBaseObjectRef object);
    /// `valueOut` points to a variable of the property's type.
    OSStatus (*copyProperty)(LuBaseObjectRef object, ZoStringRef key, ZoAllocatorRef allocator, void* valueOut);
    OSStatus (*setProperty)(LuBaseObjectRef object, ZoStringRef key, ZoTypeRef value);
    OSStatus (*notificationBarrier)(LuBaseObjectRef object);
    const LuProtocolTable* protocolTable;
} LuBaseClass;

typedef struct LuVTable {
    const void* reserved;  ///< must be empty
    const LuBaseClass* base;
    const void* derived;  ///< operations of the public class, which defines their table
} LuVTable;

/// The root of all classes.
LuClassID LuBaseGetClassID(void);
/// The first type ID from the class towards the root; 0 if there is none, or no class.
ZoTypeID LuBaseClassGetZoTypeID(LuClassID classID);

/// An object with `vtable`'s derived storage, zeroed, which the caller releases.
///
/// kLuBaseObjectError_ParamErr            an argument absent, a reserved field in use, a class without a type
/// kLuBaseObjectError_UnsupportedVersion  of the base class table
/// kLuBaseObjectError_AllocationFailed    no memory
/// and what registering for notification barriers returns, where the table has the standard barrier
OSStatus LuDerivedObjectCreate(ZoAllocatorRef allocator, const LuVTable* vtable, LuClassID classID,
                               LuBaseObjectRef* objectOut);

/// Nothing for an absent object, and of one that was finalized.
const LuVTable* LuBaseObjectGetVTable(LuBaseObjectRef object);
/// Nothing for an absent object.
void* LuBaseObjectGetDerivedStorage(LuBaseObjectRef object);
/// The object must be there.
LuClassID LuBaseObjectGetClassID(LuBaseObjectRef object);
/// Whether the object is of that class or of one below it. False for an object of a foreign type, and an absent class.
Boolean LuBaseObjectIsMemberOfClass(LuBaseObjectRef object, LuClassID classID);
/// Whether the type of the object was made for base objects.
Boolean ZoTypeIsLuBaseObject(ZoTypeRef object);

/// The object's operations for the protocol, or nothing.
const LuProtocolVTable* LuBaseObjectGetProtocolVTable(LuBaseObjectRef object, LuProtocolID protocolID);
Boolean LuBaseObjectImplementsProtocol(LuBaseObjectRef object, LuProtocolID protocolID);
/// The caller releases it.
ZoStringRef LuBaseProtocolCopyDebugDescription(LuBaseObjectRef object, LuProtocolID protocolID);

ZO_EXTERN_C_END
