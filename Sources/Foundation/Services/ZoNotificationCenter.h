// Notifications inside the process: who observes a name, an object or both is called when one is posted.
// Every operation may be called from any thread and from within a callback; no lock is held while a callback runs.
// Names are compared as text, observers and objects by address; neither of these two is retained.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

typedef void (*ZoNotificationCallback)(ZoNotificationCenterRef center, void* observer, ZoStringRef name,
                                       const void* object, ZoDictionaryRef userInfo);

typedef ZoIndex ZoNotificationSuspensionBehavior;
/// The local center is never suspended: what stands here makes no difference to it.
enum { kZoNotificationDeliverImmediately = 4 };

ZoTypeID ZoNotificationCenterGetTypeID(void);
/// Borrowed; the same for the whole process, which it outlives.
ZoNotificationCenterRef ZoNotificationCenterGetLocalCenter(void);
/// An absent name observes all names, an absent object all objects. Adding twice calls twice.
void ZoNotificationCenterAddObserver(ZoNotificationCenterRef center, const void* observer,
                                     ZoNotificationCallback callback, ZoStringRef name, const void* object,
                                     ZoNotificationSuspensionBehavior suspensionBehavior);
/// Ends what was added for the observer with this name and object; an absent one stands for each. No later post calls
/// it. A post that another thread is in the middle of may be running the callback, or be just about to call it, when
/// this returns: an observer that goes away must know that no one else posts, or outlive the posts.
void ZoNotificationCenterRemoveObserver(ZoNotificationCenterRef center, const void* observer, ZoStringRef name,
                                        const void* object);
/// Calls the observers in the order in which they were added, before it returns (`deliverImmediately` or not: there is
/// nothing that the local center waits for). Who is added while it runs is not called, who is removed no longer.
void ZoNotificationCenterPostNotification(ZoNotificationCenterRef center, ZoStringRef name, const void* object,
                                          ZoDictionaryRef userInfo, Boolean deliverImmediately);

ZO_EXTERN_C_END
