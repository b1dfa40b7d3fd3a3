// Weak references to foundation objects: pointer-sized variables that do not keep their object alive and read as
// nothing once it is gone. A striped table of the process knows which variables point at which object; when an object
// dies, all of them are set to 0 before its finalizer runs.
//
// A variable is touched by these operations alone. Each may be called from any thread, for one variable at once too;
// but nobody may still use a variable that another thread destroys. Eight spin locks guard the stripes; nothing is
// called under them but the run-time's look-ups.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

/// The plain address of the object, or 0.
typedef ZoTypeRef TavZoWeakReference;

/// The first store into a variable of unknown content. `value` may be absent; else the caller holds a reference to it.
/// What has begun to die is stored with a complaint in the log, and zeroed before its memory goes.
void TavZoWeakReferenceInit(TavZoWeakReference* location, ZoTypeRef value);
/// Replaces the object, or with an absent `value` forgets it.
void TavZoWeakReferenceStore(TavZoWeakReference* location, ZoTypeRef value);
/// The object with one more reference, which the caller releases; nothing once it has begun to die, and never anything
/// of a class that keeps its own count.
ZoTypeRef TavZoWeakReferenceLoadAndRetain(TavZoWeakReference* location);
/// Ends the use of a variable; its word is left as it is. One that holds 0 costs nothing.
void TavZoWeakReferenceDestroy(TavZoWeakReference* location);

ZO_EXTERN_C_END
