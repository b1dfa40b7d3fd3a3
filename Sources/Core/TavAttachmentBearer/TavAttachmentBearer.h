// The registry of attachment bearers. A type becomes a bearer by a table of five operations, entered once under its
// type ID, as a rule where its class is registered; the table is static data of the type's module. Entries stay for
// good. Any thread may register; look-ups take no lock.

#pragma once

#include "Core/TavAttachmentBearer/LuAttachment.h"

ZO_EXTERN_C_BEGIN

typedef struct TavAttachmentBearerCallbacks {
    uintptr_t version;  ///< 0
    void (*setAttachment)(ZoTypeRef object, ZoStringRef key, ZoTypeRef value, LuAttachmentMode mode);
    /// Borrowed. Writes the mode if it is asked for and the key is there.
    ZoTypeRef (*getAttachment)(ZoTypeRef object, ZoStringRef key, LuAttachmentMode* modeOut);
    void (*removeAttachment)(ZoTypeRef object, ZoStringRef key);
    void (*removeAllAttachments)(ZoTypeRef object);
    ZoDictionaryRef (*copyDictionaryOfAttachments)(ZoAllocatorRef allocator, ZoTypeRef object, LuAttachmentMode mode);
} TavAttachmentBearerCallbacks;

/// Always 0. What is wrong is signalled and not entered: an unknown version, a missing callback, a type that is entered
/// already (the first table stays), and a registry that no operation has been used on yet.
OSStatus TavRuntimeRegisterAttachmentBearerWithTypeID(const TavAttachmentBearerCallbacks* callbacks, ZoTypeID typeID);
/// For a type that makes itself a bearer: makes the registry first if it is not there, and signals nothing if this very
/// table is entered already.
void TavRuntimeEnsureAttachmentBearerWithTypeID(const TavAttachmentBearerCallbacks* callbacks, ZoTypeID typeID);
/// Nothing for a type that is no bearer. Makes the registry first if it is not there.
const TavAttachmentBearerCallbacks* TavRuntimeGetAttachmentBearerCallbacksWithTypeID(ZoTypeID typeID);
/// Only signals: a bearer stays one.
void TavRuntimeUnregisterAttachmentBearerWithTypeID(const TavAttachmentBearerCallbacks* callbacks, ZoTypeID typeID);

ZO_EXTERN_C_END
