#include "Core/TavBaseObject/TavBaseObject.h"

#include <cstdlib>
#include <cstring>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Common/TavSignal.h"

struct LuClass_ {
    LuClassID parent;  // absent in the root
    const TavClassDescription* description;
    ZoRuntimeClass runtimeClass;  // filled where the class has a type of its own
    ZoTypeID typeID;              // 0 where it has none
};

struct LuProtocol_ {
    const void* reserved;
    TavProtocolDescription description;
};

struct LuBaseObject_ {
    ZoRuntimeBase base;
    LuClassID classID;
    const LuVTable* vtable;  // absent once the object was finalized
    // derived storage follows
};
static_assert(sizeof(LuBaseObject_) == sizeof(ZoRuntimeBase) + 16 && sizeof(TavProtocolDescription) == 32);

extern const TavClassDescription kTavBaseClassDesc = {
    .version = 1, .className = "TavBaseClass", .reserved = nullptr, .copyFormattingDescription = nullptr};
static constexpr LuClass_ kRootClass = {
    .parent = nullptr, .description = &kTavBaseClassDesc, .runtimeClass = {}, .typeID = 0};
extern const LuClassID kTavBaseClassID = &kRootClass;

static const TavBaseObjectBarrierSupport* sBarrierSupport;

static LuBaseObjectRef asObject(ZoTypeRef object) { return static_cast<LuBaseObjectRef>(const_cast<void*>(object)); }

// MARK: barriers

void TavBaseObjectSetBarrierSupport(const TavBaseObjectBarrierSupport* support)
{
    __atomic_store_n(&sBarrierSupport, support, __ATOMIC_RELEASE);
}

static const TavBaseObjectBarrierSupport* barrierSupport()
{
    return __atomic_load_n(&sBarrierSupport, __ATOMIC_ACQUIRE);
}

OSStatus TavBaseObjectStandardNotificationBarrier(LuBaseObjectRef object)
{
    const TavBaseObjectBarrierSupport* support = barrierSupport();
    return support ? support->barrier(object) : 0;
}

static bool hasStandardBarrier(const LuVTable* vtable)
{
    constexpr ZoIndex kVersionWithBarrier = 2;
    return vtable->base->version >= kVersionWithBarrier &&
           vtable->base->notificationBarrier == TavBaseObjectStandardNotificationBarrier;
}

// MARK: the callbacks of every base object's type

static void TavBaseObjectInit(ZoTypeRef object) { asObject(object)->vtable = nullptr; }

static void TavBaseObjectFinalize(ZoTypeRef object)
{
    const LuBaseObjectRef baseObject = asObject(object);
    const LuVTable* vtable = baseObject->vtable;
    if (!vtable) return;  // it was never completed
    if (const TavBaseObjectBarrierSupport* support = barrierSupport(); support && hasStandardBarrier(vtable))
        support->unregisterObject(baseObject);
    if (vtable->base->finalize) vtable->base->finalize(baseObject);
    baseObject->vtable = nullptr;
}

static Boolean TavBaseObjectEqual(ZoTypeRef object1, ZoTypeRef object2)
{
    if (object1 == object2) return true;
    if (!object1 || !object2) return false;
    const LuVTable* vtable = asObject(object1)->vtable;
    if (vtable != asObject(object2)->vtable || !vtable || !vtable->base->equal) return false;
    return vtable->base->equal(asObject(object1), asObject(object2));
}

static ZoStringRef TavBaseObjectCopyDebugDescription(ZoTypeRef object)
{
    const LuBaseObjectRef baseObject = asObject(object);
    if (baseObject->vtable && baseObject->vtable->base->copyDebugDescription)
        if (ZoStringRef text = baseObject->vtable->base->copyDebugDescription(baseObject)) return text;
    return ZoStringCreateWithFormat(
        nullptr, nullptr, ZOSTR("<LuBaseObject: instance<%p> storage<%p> class<%p> allocator<%p>>"), object,
        LuBaseObjectGetDerivedStorage(baseObject), static_cast<const void*>(baseObject->vtable),
        static_cast<const void*>(ZoGetAllocator(object)));
}

// MARK: classes and protocols

LuClassID LuBaseGetClassID(void) { return kTavBaseClassID; }

ZoTypeID LuBaseClassGetZoTypeID(LuClassID classID)
{
    for (; classID; classID = classID->parent)
        if (classID->typeID != 0) return classID->typeID;
    return 0;
}

OSStatus TavBaseClassRegisterClass(const TavClassDescription* description, LuClassID parent, uint32_t flags,
                                   LuClassID* classOut)
{
    if (!description || !parent || !classOut) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "bad param");
    const bool ownType = flags & kTavBaseClassRegister_OwnType;
    if (ownType && LuBaseClassGetZoTypeID(parent) != 0)
        return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "already rooted in Zo");
    auto* registered = static_cast<LuClass_*>(calloc(1, sizeof(LuClass_)));
    if (!registered) return TAV_SIGNAL(kTavBaseObjectError_AllocationFailed, "malloc failure");
    registered->parent = parent;
    registered->description = description;
    if (ownType) {
        registered->runtimeClass = {.version = 0,
                                    .className = description->className,
                                    .init = TavBaseObjectInit,
                                    .copy = nullptr,
                                    .finalize = TavBaseObjectFinalize,
                                    .equal = TavBaseObjectEqual,
                                    .hash = nullptr,
                                    .copyFormattingDesc = description->copyFormattingDescription,
                                    .copyDebugDesc = TavBaseObjectCopyDebugDescription,
                                    .unused = {}};
        registered->typeID = _ZoRuntimeRegisterClass(&registered->runtimeClass);
        if (registered->typeID == 0) {
            free(registered);
            return TAV_SIGNAL_NAMED(-1, "-1", "Zo failure");
        }
    }
    *classOut = registered;
    return 0;
}

OSStatus TavBaseProtocolRegisterProtocol(const TavProtocolDescription* description, uint32_t, LuProtocolID* protocolOut)
{
    if (!description || !protocolOut) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "bad param");
    auto* protocol = static_cast<LuProtocol_*>(calloc(1, sizeof(LuProtocol_)));
    if (!protocol) return TAV_SIGNAL(kTavBaseObjectError_AllocationFailed, "malloc failure");
    protocol->description = *description;
    *protocolOut = protocol;
    return 0;
}

// MARK: objects

OSStatus LuDerivedObjectCreate(ZoAllocatorRef allocator, const LuVTable* vtable, LuClassID classID,
                               LuBaseObjectRef* objectOut)
{
    constexpr ZoIndex kFirstVersion = 1, kLastVersion = 5;
    if (!vtable || !objectOut) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "bad param");
    *objectOut = nullptr;
    if (vtable->base->version < kFirstVersion)
        return TAV_SIGNAL(kTavBaseObjectError_UnsupportedVersion, "bad version < 1");
    if (vtable->base->version > kLastVersion)
        return TAV_SIGNAL(kTavBaseObjectError_UnsupportedVersion, "bad version > 5");
    if (vtable->reserved) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "reserved must be NULL");
    const ZoTypeID typeID = LuBaseClassGetZoTypeID(classID);
    if (typeID == 0) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "ZoTypeID must not be 0");

    ZoIndex extraBytes;
    constexpr ZoIndex kHeaderBytes = sizeof(LuBaseObject_) - sizeof(ZoRuntimeBase);
    ZoRef<LuBaseObjectRef> object;
    if (!__builtin_add_overflow(vtable->base->derivedStorageSize, kHeaderBytes, &extraBytes))
        object = zoAdopt(asObject(_ZoRuntimeCreateInstance(allocator, typeID, extraBytes, nullptr)));
    if (!object) return TAV_SIGNAL(kTavBaseObjectError_AllocationFailed, "Zo failure");
    object.get()->vtable = vtable;
    object.get()->classID = classID;
    if (const TavBaseObjectBarrierSupport* support = barrierSupport(); support && hasStandardBarrier(vtable))
        TAV_TRY(support->registerObject(object.get()));
    *objectOut = object.release();
    return 0;
}

const LuVTable* LuBaseObjectGetVTable(LuBaseObjectRef object) { return object ? object->vtable : nullptr; }

void* LuBaseObjectGetDerivedStorage(LuBaseObjectRef object) { return object ? object + 1 : nullptr; }

LuClassID LuBaseObjectGetClassID(LuBaseObjectRef object) { return object->classID; }

Boolean ZoTypeIsLuBaseObject(ZoTypeRef object)
{
    if (!object) return false;
    const ZoRuntimeClass* runtimeClass = _ZoRuntimeGetClassWithTypeID(ZoGetTypeID(object));
    return runtimeClass && runtimeClass->init == TavBaseObjectInit;
}

Boolean LuBaseObjectIsMemberOfClass(LuBaseObjectRef object, LuClassID classID)
{
    if (!object || !classID) return false;
    const ZoTypeID typeID = LuBaseClassGetZoTypeID(classID);
    if (typeID != 0 && typeID != ZoGetTypeID(object)) return false;
    if (!ZoTypeIsLuBaseObject(object)) return false;
    for (LuClassID own = object->classID; own; own = own->parent)
        if (own == classID) return true;
    return false;
}

// MARK: protocols of an object

const LuProtocolVTable* LuBaseObjectGetProtocolVTable(LuBaseObjectRef object, LuProtocolID protocolID)
{
    constexpr ZoIndex kVersionWithProtocols = 3;
    const LuVTable* vtable = LuBaseObjectGetVTable(object);
    if (!vtable || !protocolID || vtable->base->version < kVersionWithProtocols || !vtable->base->protocolTable)
        return nullptr;
    const LuProtocolTable& table = *vtable->base->protocolTable;
    for (uint32_t i = 0; i < table.entryCount; ++i) {
        const LuProtocolTableEntry& entry = table.entries[i];
        if (entry.getProtocolID && entry.getProtocolID() == protocolID) return entry.vtable;
    }
    return nullptr;
}

Boolean LuBaseObjectImplementsProtocol(LuBaseObjectRef object, LuProtocolID protocolID)
{
    return LuBaseObjectGetProtocolVTable(object, protocolID) != nullptr;
}

ZoStringRef LuBaseProtocolCopyDebugDescription(LuBaseObjectRef object, LuProtocolID protocolID)
{
    const LuProtocolVTable* vtable = LuBaseObjectGetProtocolVTable(object, protocolID);
    const ZoMutableStringRef text = ZoStringCreateMutable(nullptr, 0);
    if (!text) return nullptr;
    ZoStringAppendFormat(text, nullptr,
                         ZOSTR("<LuBaseProtocol on LuBaseObject: protocol<%p> instance<%p> allocator<%p>>{"),
                         static_cast<const void*>(protocolID), static_cast<const void*>(object),
                         static_cast<const void*>(object ? ZoGetAllocator(object) : nullptr));
    const bool describes = vtable && vtable->base && vtable->base->copyDebugDescription;
    if (const auto own = zoAdopt(describes ? vtable->base->copyDebugDescription(object) : nullptr)) {
        ZoStringAppendFormat(text, nullptr, ZOSTR("\n%@\n"), own.get());
    } else {
        ZoStringAppend(text, ZOSTR("UNIMPLEMENTED"));
    }
    ZoStringAppend(text, ZOSTR("}"));
    return text;
}

// MARK: the internal names

TAV_DEFINE_ALIAS(TavBaseGetClassID, LuBaseGetClassID);
TAV_DEFINE_ALIAS(TavBaseClassGetZoTypeID, LuBaseClassGetZoTypeID);
TAV_DEFINE_ALIAS(TavDerivedObjectCreate, LuDerivedObjectCreate);
TAV_DEFINE_ALIAS(TavBaseObjectGetVTable, LuBaseObjectGetVTable);
TAV_DEFINE_ALIAS(TavBaseObjectGetDerivedStorage, LuBaseObjectGetDerivedStorage);
TAV_DEFINE_ALIAS(TavBaseObjectGetClassID, LuBaseObjectGetClassID);
TAV_DEFINE_ALIAS(TavBaseObjectIsMemberOfClass, LuBaseObjectIsMemberOfClass);
