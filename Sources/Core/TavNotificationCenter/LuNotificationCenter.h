// Notifications between the framework's objects, on the foundation's local center: listeners of a name, an object or
// both, posts, and barriers that wait until no post of an object is under way.
//
// Every operation may be called from any thread and from within a callback, but for what LuNotificationCenterBarrier
// says. No lock of the center is held while a callback runs, but a post holds the lock of its object's barrier for
// reading. Status values marked * are returned without being signalled.

#pragma once

#include "Foundation/Services/ZoNotificationCenter.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

typedef ZoNotificationCenterRef LuNotificationCenterRef;
/// (center, listener, name, object, payload)
typedef ZoNotificationCallback LuNotificationCallback;

enum {
    kLuNotificationInvalidCallbackError = -12720,
    kLuNotificationInvalidCenterError = -12721,
    kLuNotificationInvalidNameError = -12722,
    kLuNotificationInvalidListenerError = -12723,
    kLuNotificationInvalidObjectError = -12724,  ///< no object, a payload of a wrong kind, already or not registered
    kLuNotificationNULLObjectAndNameError = -12725,
    kLuNotificationAllocationFailedError = -12726,
    kLuNotificationInvalidParameterError = -12727,
};

ZoTypeID LuNotificationCenterGetTypeID(void);
/// Borrowed.
LuNotificationCenterRef LuNotificationCenterGetDefaultLocalCenter(void);
/// The same center, retained.
LuNotificationCenterRef LuNotificationCenterCreate(void);

/// Calls `callback` for posts of `name` by `object`; an absent one stands for all, but one must be given. Adding twice
/// calls twice. Nothing is retained: a listener removes itself before it goes. `flags` has no effect.
///
/// kLuNotificationInvalidCenterError*, kLuNotificationInvalidCallbackError*, kLuNotificationInvalidListenerError*,
/// kLuNotificationNULLObjectAndNameError*
OSStatus LuNotificationCenterAddListener(LuNotificationCenterRef center, const void* listener,
                                         LuNotificationCallback callback, ZoStringRef name, const void* object,
                                         uint32_t flags);
/// Ends all that was added for the listener with this name and object, whatever the callback.
///
/// kLuNotificationInvalidCenterError*, kLuNotificationInvalidListenerError*
OSStatus LuNotificationCenterRemoveListener(LuNotificationCenterRef center, const void* listener,
                                            LuNotificationCallback callback, ZoStringRef name, const void* object);

/// Calls the listeners before it returns. `flags` has no effect.
///
/// kLuNotificationInvalidCenterError*, kLuNotificationInvalidNameError*, kLuNotificationInvalidObjectError*
/// kLuNotificationInvalidObjectError   `payload` is there and no dictionary
OSStatus LuNotificationCenterPostNotification(LuNotificationCenterRef center, ZoStringRef name, const void* object,
                                              ZoDictionaryRef payload, uint32_t flags);

/// From now on posts of `object` can be waited for. The object is known by its address and not retained.
///
/// kLuNotificationInvalidCenterError*, kLuNotificationInvalidObjectError* (no object)
/// kLuNotificationInvalidObjectError      registered already
/// kLuNotificationAllocationFailedError   no memory
OSStatus LuNotificationCenterRegisterForBarrierSupport(LuNotificationCenterRef center, const void* object);
/// Posts that are under way finish undisturbed.
///
/// kLuNotificationInvalidCenterError*, kLuNotificationInvalidObjectError* (no object)
/// kLuNotificationInvalidObjectError      not registered
OSStatus LuNotificationCenterUnregisterForBarrierSupport(LuNotificationCenterRef center, const void* object);
/// Returns once every post of `object` that had begun is over. Not to be called from a callback of such a post, which
/// would wait for itself.
///
/// kLuNotificationInvalidCenterError*, kLuNotificationInvalidObjectError* (no object)
/// kLuNotificationInvalidObjectError      not registered
OSStatus LuNotificationCenterBarrier(LuNotificationCenterRef center, const void* object);

ZO_EXTERN_C_END
