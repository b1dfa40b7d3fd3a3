// What the sources of the notification center share.

#pragma once

#include <dispatch/dispatch.h>

#include "Foundation/Objects/ZoObject.h"

struct NotificationBarrierLock;

/// Stands for one post of `object`: holds the lock of its barrier for reading, if it has one.
class NotificationPost {
public:
    explicit NotificationPost(const void* object);
    ~NotificationPost();
    NotificationPost(const NotificationPost&) = delete;
    NotificationPost& operator=(const NotificationPost&) = delete;

private:
    NotificationBarrierLock* lock_;
};

/// Makes the serial queue `label` once, for the process.
dispatch_queue_t notificationSerialQueue(dispatch_once_t* once, dispatch_queue_t* queue, const char* label);
/// Releases `object` on `queue`, later.
void notificationReleaseOn(dispatch_queue_t queue, ZoTypeRef object);
