// A small object that holds another one weakly, so that a weak reference can stand in a collection. While a holder of
// an object lives, the next request gives the same one, unless another thread is asking just then. May be called from
// any thread.

#pragma once

#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

typedef struct TavZoWeakReferenceHolder* TavZoWeakReferenceHolderRef;

ZoTypeID TavZoWeakReferenceHolderGetTypeID(void);
/// A holder, which the caller releases; nothing for an absent object, or without memory. Never waits.
TavZoWeakReferenceHolderRef TavZoWeakReferenceHolderCreateWithReferencedObject(ZoTypeRef object);
/// The object, which the caller releases; nothing once it has begun to die, or for an absent holder.
ZoTypeRef TavZoWeakReferenceHolderCopyReferencedObject(TavZoWeakReferenceHolderRef holder);

ZO_EXTERN_C_END
