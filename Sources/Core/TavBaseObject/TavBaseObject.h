// Base objects for those who define classes: registration, the standard barrier, the internal names.

#pragma once

#include "Core/TavBaseObject/LuBaseObject.h"
#include "Platform/Common/TavAlias.h"

ZO_EXTERN_C_BEGIN

enum {
    kTavBaseObjectError_ParamErr = kLuBaseObjectError_ParamErr,
    kTavBaseObjectError_UnsupportedVersion = kLuBaseObjectError_UnsupportedVersion,
    kTavBaseObjectError_NoSuchOperation = kLuBaseObjectError_NoSuchOperation,
    kTavBaseObjectError_PropertyNotFound = kLuBaseObjectError_PropertyNotFound,
    kTavBaseObjectError_AllocationFailed = kLuBaseObjectError_AllocationFailed,
};

/// Static data of the class's author.
typedef struct TavClassDescription {
    int64_t version;  ///< 1
    const char* className;
    const void* reserved;
    ZoStringRef (*copyFormattingDescription)(ZoTypeRef object, ZoDictionaryRef formatOptions);  ///< may be absent
} TavClassDescription;

/// What a protocol is registered with; its 32 bytes are copied.
typedef struct TavProtocolDescription {
    int64_t version;
    const char* protocolName;
    const void* reserved[2];
} TavProtocolDescription;

/// Flag of TavBaseClassRegisterClass: the class gets a run-time type of its own. Exactly one class on the way from a
/// leaf to the root has one.
enum { kTavBaseClassRegister_OwnType = 1 };

extern const TavClassDescription kTavBaseClassDesc;
extern const LuClassID kTavBaseClassID;

/// Makes a class below `parent`. Called once for each class, behind a once-guard of its GetClassID function.
///
/// kTavBaseObjectError_ParamErr          an argument absent, or a type for a class below one that has a type
/// kTavBaseObjectError_AllocationFailed  no memory
/// -1                                    the run-time has no room for another type
OSStatus TavBaseClassRegisterClass(const TavClassDescription* description, LuClassID parent, uint32_t flags,
                                   LuClassID* classOut);
/// kTavBaseObjectError_ParamErr, kTavBaseObjectError_AllocationFailed
OSStatus TavBaseProtocolRegisterProtocol(const TavProtocolDescription* description, uint32_t unused,
                                         LuProtocolID* protocolOut);

/// The default barrier of a class: waits for the notifications that are on their way about the object.
OSStatus TavBaseObjectStandardNotificationBarrier(LuBaseObjectRef object);

/// What stands behind the standard barrier. Without a notification center there is nothing that an object could wait
/// for, and all three count as done. The center's module gives them before main begins, since an object that is older
/// stays unregistered; it is unregistered all the same when it ends, as is one whose registration failed.
typedef struct TavBaseObjectBarrierSupport {
    OSStatus (*registerObject)(LuBaseObjectRef object);
    void (*unregisterObject)(LuBaseObjectRef object);
    OSStatus (*barrier)(LuBaseObjectRef object);
} TavBaseObjectBarrierSupport;
void TavBaseObjectSetBarrierSupport(const TavBaseObjectBarrierSupport* support);

TAV_DECLARE_ALIAS(TavBaseGetClassID, LuBaseGetClassID);
TAV_DECLARE_ALIAS(TavBaseClassGetZoTypeID, LuBaseClassGetZoTypeID);
TAV_DECLARE_ALIAS(TavDerivedObjectCreate, LuDerivedObjectCreate);
TAV_DECLARE_ALIAS(TavBaseObjectGetVTable, LuBaseObjectGetVTable);
TAV_DECLARE_ALIAS(TavBaseObjectGetDerivedStorage, LuBaseObjectGetDerivedStorage);
TAV_DECLARE_ALIAS(TavBaseObjectGetClassID, LuBaseObjectGetClassID);
TAV_DECLARE_ALIAS(TavBaseObjectIsMemberOfClass, LuBaseObjectIsMemberOfClass);

ZO_EXTERN_C_END
