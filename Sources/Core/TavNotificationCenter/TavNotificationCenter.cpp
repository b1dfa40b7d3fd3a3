#include "Core/TavNotificationCenter/TavNotificationCenter.h"

#include "Core/TavNotificationCenter/TavNotificationCenterPrivate.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Platform/Common/TavSignal.h"

ZoTypeID LuNotificationCenterGetTypeID(void) { return ZoNotificationCenterGetTypeID(); }

LuNotificationCenterRef LuNotificationCenterGetDefaultLocalCenter(void) { return ZoNotificationCenterGetLocalCenter(); }

LuNotificationCenterRef LuNotificationCenterCreate(void)
{
    ZoRetain(ZoNotificationCenterGetLocalCenter());
    return ZoNotificationCenterGetLocalCenter();
}

// MARK: listeners

static OSStatus notificationCheckListener(LuNotificationCenterRef center, const void* listener,
                                          LuNotificationCallback callback, ZoStringRef name, const void* object)
{
    if (!center) return kLuNotificationInvalidCenterError;
    if (!callback) return kLuNotificationInvalidCallbackError;
    if (!listener) return kLuNotificationInvalidListenerError;
    if (!name && !object) return kLuNotificationNULLObjectAndNameError;
    return 0;
}

OSStatus LuNotificationCenterAddListener(LuNotificationCenterRef center, const void* listener,
                                         LuNotificationCallback callback, ZoStringRef name, const void* object,
                                         uint32_t)
{
    TAV_TRY(notificationCheckListener(center, listener, callback, name, object));
    ZoNotificationCenterAddObserver(center, listener, callback, name, object, kZoNotificationDeliverImmediately);
    return 0;
}

OSStatus LuNotificationCenterRemoveListener(LuNotificationCenterRef center, const void* listener,
                                            LuNotificationCallback, ZoStringRef name, const void* object)
{
    if (!center) return kLuNotificationInvalidCenterError;
    if (!listener) return kLuNotificationInvalidListenerError;
    ZoNotificationCenterRemoveObserver(center, listener, name, object);
    return 0;
}

// MARK: posts

OSStatus LuNotificationCenterPostNotification(LuNotificationCenterRef center, ZoStringRef name, const void* object,
                                              ZoDictionaryRef payload, uint32_t)
{
    if (!center) return kLuNotificationInvalidCenterError;
    if (!name) return kLuNotificationInvalidNameError;
    if (!object) return kLuNotificationInvalidObjectError;
    if (payload && ZoGetTypeID(payload) != ZoDictionaryGetTypeID())
        return TAV_SIGNAL(kLuNotificationInvalidObjectError, "inNotificationPayload must be a ZoDictionary");
    const NotificationPost post(object);
    ZoNotificationCenterPostNotification(center, name, object, payload, true);
    return 0;
}

// MARK: lists

static ZoStringRef notificationNameOf(const TavNotificationListenerListEntry& entry)
{
    return entry.name ? *entry.name : nullptr;
}

static OSStatus notificationCheckList(const char* operation, const TavNotificationListenerListEntry* list,
                                      ZoIndex count)
{
    if (count > 0 && !list) return TAV_SIGNAL_FROM(operation, kLuNotificationInvalidParameterError, "NULL list");
    return 0;
}

// Calls `remove(entry)` for the first `count` rows; the first failure.
template <typename Remove>
static OSStatus notificationRemoveRows(const TavNotificationListenerListEntry* list, ZoIndex count, Remove remove)
{
    OSStatus first = 0;
    for (ZoIndex i = 0; i < count; ++i) {
        const OSStatus status = remove(list[i]);
        if (first == 0) first = status;
    }
    return first;
}

OSStatus TavNotificationCenterAddListeners(LuNotificationCenterRef center, const void* listener,
                                           const TavNotificationListenerListEntry* list, ZoIndex count,
                                           const void* object, uint32_t flags)
{
    TAV_TRY(notificationCheckList(__func__, list, count));
    // The checks are all that can fail. Made first, they leave nothing to remove, which would take earlier listeners
    // along.
    for (ZoIndex i = 0; i < count; ++i)
        TAV_TRY(notificationCheckListener(center, listener, list[i].callback, notificationNameOf(list[i]), object));
    for (ZoIndex i = 0; i < count; ++i)
        TAV_TRY(LuNotificationCenterAddListener(center, listener, list[i].callback, notificationNameOf(list[i]), object,
                                                flags));
    return 0;
}

OSStatus TavNotificationCenterRemoveListeners(LuNotificationCenterRef center, const void* listener,
                                              const TavNotificationListenerListEntry* list, ZoIndex count,
                                              const void* object)
{
    TAV_TRY(notificationCheckList(__func__, list, count));
    return notificationRemoveRows(list, count, [&](const TavNotificationListenerListEntry& entry) {
        return LuNotificationCenterRemoveListener(center, listener, entry.callback, notificationNameOf(entry), object);
    });
}

OSStatus TavNotificationCenterRemoveWeakListeners(LuNotificationCenterRef center, ZoTypeRef listener,
                                                  const TavNotificationListenerListEntry* list, ZoIndex count,
                                                  const void* object)
{
    TAV_TRY(notificationCheckList(__func__, list, count));
    return notificationRemoveRows(list, count, [&](const TavNotificationListenerListEntry& entry) {
        return TavNotificationCenterRemoveWeakListener(center, listener, entry.callback, notificationNameOf(entry),
                                                       object);
    });
}

OSStatus TavNotificationCenterAddWeakListeners(LuNotificationCenterRef center, ZoTypeRef listener,
                                               const TavNotificationListenerListEntry* list, ZoIndex count,
                                               const void* object, uint32_t flags, dispatch_queue_t queue)
{
    TAV_TRY(notificationCheckList(__func__, list, count));
    for (ZoIndex i = 0; i < count; ++i) {
        const OSStatus status = TavNotificationCenterAddWeakListener(center, listener, list[i].callback,
                                                                     notificationNameOf(list[i]), object, flags, queue);
        if (status == 0) continue;
        TavNotificationCenterRemoveWeakListeners(center, listener, list, i, object);
        return status;
    }
    return 0;
}
