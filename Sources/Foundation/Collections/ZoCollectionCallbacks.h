// How collections keep their values. An absent record stores plain pointers, compared by identity.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

typedef const void* (*ZoRetainCallBack)(ZoAllocatorRef allocator, const void* value);
typedef void (*ZoReleaseCallBack)(ZoAllocatorRef allocator, const void* value);
typedef ZoStringRef (*ZoCopyDescriptionCallBack)(const void* value);
typedef Boolean (*ZoEqualCallBack)(const void* value1, const void* value2);
typedef ZoHashCode (*ZoHashCallBack)(const void* value);

typedef struct ZoDictionaryKeyCallBacks {
    ZoIndex version;
    ZoRetainCallBack retain;
    ZoReleaseCallBack release;
    ZoCopyDescriptionCallBack copyDescription;
    ZoEqualCallBack equal;
    ZoHashCallBack hash;
} ZoDictionaryKeyCallBacks;

typedef struct ZoDictionaryValueCallBacks {
    ZoIndex version;
    ZoRetainCallBack retain;
    ZoReleaseCallBack release;
    ZoCopyDescriptionCallBack copyDescription;
    ZoEqualCallBack equal;
} ZoDictionaryValueCallBacks;

typedef ZoDictionaryValueCallBacks ZoArrayCallBacks;
typedef ZoDictionaryKeyCallBacks ZoSetCallBacks;

extern const ZoDictionaryKeyCallBacks kZoTypeDictionaryKeyCallBacks;        ///< retains its keys
extern const ZoDictionaryKeyCallBacks kZoCopyStringDictionaryKeyCallBacks;  ///< copies its keys, which are strings
extern const ZoDictionaryValueCallBacks kZoTypeDictionaryValueCallBacks;
extern const ZoArrayCallBacks kZoTypeArrayCallBacks;
extern const ZoSetCallBacks kZoTypeSetCallBacks;

ZO_EXTERN_C_END
