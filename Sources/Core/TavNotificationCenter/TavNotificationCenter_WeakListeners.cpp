#include <dispatch/dispatch.h>

#include "Core/TavNotificationCenter/TavNotificationCenter.h"
#include "Core/TavNotificationCenter/TavNotificationCenterPrivate.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Memory/Containers.h"
#include "Platform/Common/TavSignal.h"
#include "Platform/Ostra/OstraLockGuard.h"
#include "Utilities/TavZoWeakReferenceHolder.h"
#include "Utilities/TavZoWeakReferenceTable.h"

/// What the platform's center knows as an observer, by its key.
struct WeakListenerLink {
    ZoRuntimeBase base;
    TavZoWeakReferenceHolderRef weakListener;
    LuNotificationCallback callback;
    uint64_t key;
    dispatch_queue_t queue;  ///< where to deliver; null for at once
    uint32_t flags;
    ZoStringRef registration;  ///< its key in the dictionary below
};
using LinkRef = ZoRef<WeakListenerLink*>;

// Registration strings to links, which the dictionary keeps alive; the table knows them by their keys.
static ZoMutableDictionaryRef sWeakListenerLinks;
static TavSimpleMutexRef sWeakListenerMutex;  // guards the dictionary
static TavZoWeakReferenceTableRef sWeakListenerTable;
static ZoTypeID sWeakListenerLinkTypeID;

static WeakListenerLink* weakListenerLink(const void* object)
{
    return static_cast<WeakListenerLink*>(const_cast<void*>(object));
}

static void WeakListenerLink_Finalize(ZoTypeRef object)
{
    WeakListenerLink* const link = weakListenerLink(object);
    if (link->weakListener) ZoRelease(link->weakListener);
    if (link->queue) dispatch_release(link->queue);
    if (link->registration) ZoRelease(link->registration);
}

static const ZoRuntimeClass sLinkClass = {
    .version = 0,
    .className = "TavNotificationListenerWeakListenerLink",
    .init = nullptr,
    .copy = nullptr,
    .finalize = WeakListenerLink_Finalize,
    .equal = nullptr,
    .hash = nullptr,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = nullptr,
    .unused = {},
};

static void TavNotificationCenterWeakListenerLinksInitOnce()
{
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, nullptr, [](void*) {
        sWeakListenerLinks = ZoDictionaryCreateMutable(kZoAllocatorDefault, 0, &kZoTypeDictionaryKeyCallBacks,
                                                       &kZoTypeDictionaryValueCallBacks);
        sWeakListenerMutex = TavSimpleMutexCreate();
        if (TavZoWeakReferenceTableCreate(kZoAllocatorDefault, 0, &sWeakListenerTable) != 0 || !sWeakListenerLinks ||
            !sWeakListenerMutex)
            memory::stop();
        sWeakListenerLinkTypeID = _ZoRuntimeRegisterClass(&sLinkClass);
    });
}

static const void* weakListenerObserver(uint64_t key) { return reinterpret_cast<const void*>(key); }

static ZoRef<ZoStringRef> weakListenerCopyRegistration(ZoTypeRef listener, LuNotificationCallback callback,
                                                       ZoStringRef name, const void* object)
{
    return zoAdopt(ZoStringCreateWithFormat(kZoAllocatorDefault, nullptr, ZOSTR("weak--%p--%p--%@--%p--listener"),
                                            listener, reinterpret_cast<void*>(callback), name, object));
}

static LinkRef weakListenerCopyLinkWithKey(uint64_t key)
{
    return zoAdopt(weakListenerLink(TavZoWeakReferenceTableCopyValue(sWeakListenerTable, key)));
}

static ZoRef<ZoTypeRef> weakListenerCopyListener(const WeakListenerLink* link)
{
    return zoAdopt(TavZoWeakReferenceHolderCopyReferencedObject(link->weakListener));
}

// MARK: taking links out

// Takes the link that stands under a registration out of the dictionary; nothing if there is none.
static LinkRef weakListenerTakeRegistered(ZoStringRef registration)
{
    const TavSimpleMutexGuard guard(sWeakListenerMutex);
    auto link = LinkRef::retain(weakListenerLink(ZoDictionaryGetValue(sWeakListenerLinks, registration)));
    if (link) ZoDictionaryRemoveValue(sWeakListenerLinks, registration);
    return link;
}

// Takes this link out of the dictionary, unless another one stands in its place.
static void weakListenerTakeOut(const WeakListenerLink* link)
{
    LinkRef last;  // released behind the mutex
    const TavSimpleMutexGuard guard(sWeakListenerMutex);
    if (ZoDictionaryGetValue(sWeakListenerLinks, link->registration) != link) return;
    last = LinkRef::retain(weakListenerLink(link));
    ZoDictionaryRemoveValue(sWeakListenerLinks, link->registration);
}

// The platform's center and the table forget a link.
static void weakListenerForget(LuNotificationCenterRef center, const WeakListenerLink* link)
{
    ZoNotificationCenterRemoveObserver(center, weakListenerObserver(link->key), nullptr, nullptr);
    TavZoWeakReferenceTableRemoveValue(sWeakListenerTable, link->key);
}

// MARK: delivery

static dispatch_queue_t weakListenerReleaseQueue()
{
    static dispatch_once_t sOnce;
    static dispatch_queue_t sQueue;
    return notificationSerialQueue(&sOnce, &sQueue, "com.orvane.luvia.notificationcenter.deferredRelease");
}

// Calls the listener, and gives back the caller's reference to it.
static void weakListenerCall(const WeakListenerLink* link, ZoRef<ZoTypeRef> listener, LuNotificationCenterRef center,
                             ZoStringRef name, const void* object, ZoDictionaryRef payload)
{
    {
        const auto held = ZoRef<ZoTypeRef>::retain(listener.get());
        link->callback(center, const_cast<void*>(held.get()), name, object, payload);
    }
    if (link->flags & kTavNotificationWeakListenerFlag_DeferListenerRelease)
        notificationReleaseOn(weakListenerReleaseQueue(), listener.release());
}

// On the link's queue. The references to link, listener and, with its flag, object travelled with the deferral.
static void fncHandleDeferredNotification(LuNotificationCenterRef center, void* observer, ZoStringRef name,
                                          const void* object, ZoDictionaryRef payload)
{
    const LinkRef link = zoAdopt(weakListenerLink(observer));
    // The reference that travelled is there, so that the listener lives.
    ZoRef<ZoTypeRef> listener = weakListenerCopyListener(link.get());
    if (listener) {
        ZoRelease(listener.get());
        weakListenerCall(link.get(), std::move(listener), center, name, object, payload);
    }
    if (link.get()->flags & kTavNotificationWeakListenerFlag_RetainPostingObjectWhenDeferring) ZoRelease(object);
}

static void weakListenerDefer(LinkRef link, ZoRef<ZoTypeRef> listener, LuNotificationCenterRef center, ZoStringRef name,
                              const void* object, ZoDictionaryRef payload)
{
    const bool keepsObject = link.get()->flags & kTavNotificationWeakListenerFlag_RetainPostingObjectWhenDeferring;
    auto kept = ZoRef<ZoTypeRef>::retain(keepsObject ? object : nullptr);
    if (TavDeferNotificationToDispatchQueue(fncHandleDeferredNotification, center, link.get(), name, object, payload,
                                            link.get()->queue, kZoAllocatorDefault) != 0)
        return;
    // Given back by the delivery.
    static_cast<void>(link.release());
    static_cast<void>(listener.release());
    static_cast<void>(kept.release());
}

static void fncHandleWeakNotification(LuNotificationCenterRef center, void* observer, ZoStringRef name,
                                      const void* object, ZoDictionaryRef payload)
{
    LinkRef link = weakListenerCopyLinkWithKey(reinterpret_cast<uint64_t>(observer));
    if (!link) {
        // Removed before it had been added to the platform's center.
        ZoNotificationCenterRemoveObserver(center, observer, nullptr, nullptr);
        return;
    }
    ZoRef<ZoTypeRef> listener = weakListenerCopyListener(link.get());
    if (!listener) {
        weakListenerTakeOut(link.get());
        weakListenerForget(center, link.get());
        return;
    }
    if (link.get()->queue)
        weakListenerDefer(std::move(link), std::move(listener), center, name, object, payload);
    else
        weakListenerCall(link.get(), std::move(listener), center, name, object, payload);
}

// MARK: operations

// Stores the link under its registration. One whose listener has died makes room, and is handed out.
static OSStatus weakListenerStore(const char* operation, WeakListenerLink* link, LinkRef* deadOut)
{
    ZoRef<ZoTypeRef> listener;  // released behind the mutex
    const TavSimpleMutexGuard guard(sWeakListenerMutex);
    auto present = LinkRef::retain(weakListenerLink(ZoDictionaryGetValue(sWeakListenerLinks, link->registration)));
    if (present) {
        listener = weakListenerCopyListener(present.get());
        if (listener)
            return TAV_SIGNAL_FROM(operation, kTavNotificationInvalidObjectError,
                                   "inListener/inCallBack/inNotificationName/inObjectToObserve already registered");
        ZoDictionaryRemoveValue(sWeakListenerLinks, link->registration);
        *deadOut = std::move(present);
    }
    ZoDictionaryAddValue(sWeakListenerLinks, link->registration, link);
    return 0;
}

static OSStatus weakListenerCreateLink(const char* operation, ZoTypeRef listener, LuNotificationCallback callback,
                                       ZoStringRef name, const void* object, uint32_t flags, dispatch_queue_t queue,
                                       LinkRef* linkOut)
{
    auto registration = weakListenerCopyRegistration(listener, callback, name, object);
    if (!registration) return TAV_SIGNAL_FROM(operation, kTavNotificationAllocationFailedError, "no hash");
    constexpr ZoIndex kExtraBytes = sizeof(WeakListenerLink) - sizeof(ZoRuntimeBase);
    auto created = zoAdopt(
        weakListenerLink(_ZoRuntimeCreateInstance(kZoAllocatorDefault, sWeakListenerLinkTypeID, kExtraBytes, nullptr)));
    WeakListenerLink* const link = created.get();
    if (!link) return TAV_SIGNAL_FROM(operation, kTavNotificationAllocationFailedError, "no link");
    link->weakListener = TavZoWeakReferenceHolderCreateWithReferencedObject(listener);
    if (!link->weakListener)
        return TAV_SIGNAL_FROM(operation, kTavNotificationAllocationFailedError, "no weakListener");
    link->callback = callback;
    link->flags = flags;
    link->registration = registration.release();
    if (queue) dispatch_retain(queue);
    link->queue = queue;
    TAV_TRY(TavZoWeakReferenceTableAddValueAndGetKey(sWeakListenerTable, link, &link->key));
    *linkOut = std::move(created);
    return 0;
}

static OSStatus weakListenerCheck(LuNotificationCenterRef center, const WeakListenerLink* link, ZoStringRef name,
                                  const void* object)
{
    if (!center) return kTavNotificationInvalidCenterError;
    if (!link->callback) return kLuNotificationInvalidCallbackError;
    if (link->key == 0) return kLuNotificationInvalidListenerError;
    return name || object ? 0 : kTavNotificationNULLObjectAndNameError;
}

OSStatus TavNotificationCenterAddWeakListener(LuNotificationCenterRef center, ZoTypeRef listener,
                                              LuNotificationCallback callback, ZoStringRef name, const void* object,
                                              uint32_t flags, dispatch_queue_t queue)
{
    TavNotificationCenterWeakListenerLinksInitOnce();
    if (flags & kTavNotificationWeakListenerFlag_RetainPostingObjectWhenDeferring && !queue)
        return TAV_SIGNAL(kLuNotificationInvalidParameterError,
                          "Cannot use RetainPostingObjectWhenDeferring when not deferring.");
    LinkRef link, dead;
    TAV_TRY(weakListenerCreateLink(__func__, listener, callback, name, object, flags, queue, &link));
    OSStatus status = weakListenerStore(__func__, link.get(), &dead);
    if (dead) weakListenerForget(ZoNotificationCenterGetLocalCenter(), dead.get());
    if (status == 0) {
        status = weakListenerCheck(center, link.get(), name, object);
        if (status != 0) weakListenerTakeOut(link.get());
    }
    if (status != 0) {
        TavZoWeakReferenceTableRemoveValue(sWeakListenerTable, link.get()->key);
        return status;
    }
    ZoNotificationCenterAddObserver(center, weakListenerObserver(link.get()->key), fncHandleWeakNotification, name,
                                    object, kZoNotificationDeliverImmediately);
    return 0;
}

OSStatus TavNotificationCenterRemoveWeakListener(LuNotificationCenterRef center, ZoTypeRef listener,
                                                 LuNotificationCallback callback, ZoStringRef name, const void* object)
{
    TavNotificationCenterWeakListenerLinksInitOnce();
    const auto registration = weakListenerCopyRegistration(listener, callback, name, object);
    if (!registration) return TAV_SIGNAL(kTavNotificationAllocationFailedError, "no hash");
    const LinkRef link = weakListenerTakeRegistered(registration.get());
    if (!link) return 0;
    TavZoWeakReferenceTableRemoveValue(sWeakListenerTable, link.get()->key);
    if (!center) return kTavNotificationInvalidCenterError;
    if (link.get()->key == 0) return kLuNotificationInvalidListenerError;
    ZoNotificationCenterRemoveObserver(center, weakListenerObserver(link.get()->key), nullptr, nullptr);
    return 0;
}
