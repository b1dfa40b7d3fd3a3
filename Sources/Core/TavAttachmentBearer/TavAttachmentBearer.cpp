// The registry of bearers, and the one interface that forwards to them.

#include "Core/TavAttachmentBearer/TavAttachmentBearer.h"

#include <atomic>
#include <mutex>

#include "Core/TavAttachmentBearer/TavYxBufferAttachments.h"
#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Platform/Common/TavSignal.h"
#include "Platform/Ostra/OstraThread.h"

// MARK: registry

// From type ID to callback table, both plain values. Look-ups take no lock, so a dictionary that was published is not
// changed any more: an entry makes a new one, and those before it stay, as someone may still be reading them.
static std::atomic<ZoDictionaryRef> sTavAttachmentBearerCallbacksPerTypeID;
static std::mutex sRegistrationMutex;
static ZoMutableArrayRef sSupersededRegistries;

static const void* keyOf(ZoTypeID typeID) { return reinterpret_cast<const void*>(typeID); }

static void runOnceStep()
{
    sSupersededRegistries = ZoArrayCreateMutable(kZoAllocatorDefault, 0, &kZoTypeArrayCallBacks);
    ZoDictionaryRef registry = ZoDictionaryCreateMutable(kZoAllocatorDefault, 0, nullptr, nullptr);
    if (!registry || !sSupersededRegistries) {
        TAV_WARN("ZoDictionaryCreateMutable failed");
        return;
    }
    sTavAttachmentBearerCallbacksPerTypeID.store(registry, std::memory_order_release);
    // Types of higher modules enter themselves where their classes are registered.
    TavAttachmentsRegisterYxBuffer();
}

static TavThreadOnce sRegistryOnce = TAV_THREAD_ONCE_INIT;

// Nothing, or what keeps the type from being entered.
static const char* enter(const TavAttachmentBearerCallbacks* callbacks, ZoTypeID typeID)
{
    const std::lock_guard<std::mutex> lock(sRegistrationMutex);
    ZoDictionaryRef registry = sTavAttachmentBearerCallbacksPerTypeID.load(std::memory_order_acquire);
    if (!registry) return "Expected to be called with sTavAttachmentBearerCallbacksPerTypeID created";
    if (ZoDictionaryContainsKey(registry, keyOf(typeID))) return "typeID already registered";
    ZoMutableDictionaryRef successor = ZoDictionaryCreateMutableCopy(kZoAllocatorDefault, 0, registry);
    if (!successor) return "ZoDictionaryCreateMutable failed";
    ZoDictionarySetValue(successor, keyOf(typeID), callbacks);
    sTavAttachmentBearerCallbacksPerTypeID.store(successor, std::memory_order_release);
    const ZoIndex before = ZoArrayGetCount(sSupersededRegistries);
    ZoArrayAppendValue(sSupersededRegistries, registry);
    if (ZoArrayGetCount(sSupersededRegistries) > before) ZoRelease(registry);  // or it stays without an owner
    return nullptr;
}

OSStatus TavRuntimeRegisterAttachmentBearerWithTypeID(const TavAttachmentBearerCallbacks* callbacks, ZoTypeID typeID)
{
    if (!callbacks || callbacks->version != 0) {
        return TAV_SIGNAL_NAMED(0, "0", "unrecognised callbacks->version (expected 0)");
    }
    if (!callbacks->setAttachment || !callbacks->getAttachment || !callbacks->removeAttachment ||
        !callbacks->removeAllAttachments || !callbacks->copyDictionaryOfAttachments) {
        return TAV_SIGNAL_NAMED(0, "0", "missing callback");
    }
    // Signalled without the lock: the log may make block buffers, whose type registers then.
    if (const char* refusal = enter(callbacks, typeID)) return TAV_SIGNAL_NAMED(0, "0", refusal);
    return 0;
}

const TavAttachmentBearerCallbacks* TavRuntimeGetAttachmentBearerCallbacksWithTypeID(ZoTypeID typeID)
{
    TavThreadRunOnce(&sRegistryOnce, runOnceStep);
    ZoDictionaryRef registry = sTavAttachmentBearerCallbacksPerTypeID.load(std::memory_order_acquire);
    if (!registry) return nullptr;
    return static_cast<const TavAttachmentBearerCallbacks*>(ZoDictionaryGetValue(registry, keyOf(typeID)));
}

void TavRuntimeEnsureAttachmentBearerWithTypeID(const TavAttachmentBearerCallbacks* callbacks, ZoTypeID typeID)
{
    if (TavRuntimeGetAttachmentBearerCallbacksWithTypeID(typeID) == callbacks) return;
    TavRuntimeRegisterAttachmentBearerWithTypeID(callbacks, typeID);
}

void TavRuntimeUnregisterAttachmentBearerWithTypeID(const TavAttachmentBearerCallbacks*, ZoTypeID)
{
    TAV_WARN("TavRuntimeUnregisterAttachmentBearerWithTypeID() is a no-op");
}

// MARK: forwarding

static const TavAttachmentBearerCallbacks* callbacksOf(ZoTypeRef target)
{
    return target ? TavRuntimeGetAttachmentBearerCallbacksWithTypeID(ZoGetTypeID(target)) : nullptr;
}

static bool isMode(LuAttachmentMode mode)
{
    if (mode <= kLuAttachmentMode_ShouldPropagate) return true;
    TAV_WARN("attachmentMode out of range");
    return false;
}

static bool isKey(ZoStringRef key)
{
    if (key) return true;
    TAV_WARN("NULL key");
    return false;
}

void LuSetAttachment(ZoTypeRef target, ZoStringRef key, ZoTypeRef value, LuAttachmentMode attachmentMode)
{
    if (!isKey(key) || !isMode(attachmentMode)) return;
    if (const TavAttachmentBearerCallbacks* bearer = callbacksOf(target)) {
        bearer->setAttachment(target, key, value, attachmentMode);
    }
}

ZoTypeRef LuGetAttachment(ZoTypeRef target, ZoStringRef key, LuAttachmentMode* attachmentModeOut)
{
    if (!isKey(key)) return nullptr;
    const TavAttachmentBearerCallbacks* bearer = callbacksOf(target);
    return bearer ? bearer->getAttachment(target, key, attachmentModeOut) : nullptr;
}

void LuRemoveAttachment(ZoTypeRef target, ZoStringRef key)
{
    if (!isKey(key)) return;
    if (const TavAttachmentBearerCallbacks* bearer = callbacksOf(target)) bearer->removeAttachment(target, key);
}

void LuRemoveAllAttachments(ZoTypeRef target)
{
    if (const TavAttachmentBearerCallbacks* bearer = callbacksOf(target)) bearer->removeAllAttachments(target);
}

ZoDictionaryRef LuCopyDictionaryOfAttachments(ZoAllocatorRef allocator, ZoTypeRef target,
                                              LuAttachmentMode attachmentMode)
{
    if (!isMode(attachmentMode)) return nullptr;
    const TavAttachmentBearerCallbacks* bearer = callbacksOf(target);
    return bearer ? bearer->copyDictionaryOfAttachments(allocator, target, attachmentMode) : nullptr;
}

void LuSetAttachments(ZoTypeRef target, ZoDictionaryRef theAttachments, LuAttachmentMode attachmentMode)
{
    struct Context {
        ZoTypeRef target;
        const TavAttachmentBearerCallbacks* bearer;
        LuAttachmentMode mode;
    };
    Context context = {target, callbacksOf(target), attachmentMode};
    if (!context.bearer || !theAttachments) return;
    const auto set = [](const void* key, const void* value, void* opaque) {
        const Context* to = static_cast<Context*>(opaque);
        to->bearer->setAttachment(to->target, static_cast<ZoStringRef>(key), value, to->mode);
    };
    ZoDictionaryApplyFunction(theAttachments, set, &context);
}

void LuPropagateAttachments(ZoTypeRef source, ZoTypeRef destination)
{
    const ZoRef<ZoDictionaryRef> travelling =
        zoAdopt(LuCopyDictionaryOfAttachments(kZoAllocatorDefault, source, kLuAttachmentMode_ShouldPropagate));
    LuSetAttachments(destination, travelling.get(), kLuAttachmentMode_ShouldPropagate);
}
