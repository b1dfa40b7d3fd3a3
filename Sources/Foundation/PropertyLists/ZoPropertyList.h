// Property lists: strings, numbers, booleans, dates, data, and arrays and dictionaries of them, as bytes.
// Two forms: XML, for people and for exchange, and a compact binary one. Input is not trusted: nesting is bounded by
// kZoPropertyListMaximumDepth, and time and memory are linear in the input's length. A binary list may hold one object in
// many places. Leaves are then shared; a list whose containers, spelled out, would have more members than 2^20 and 64
// times its length is refused, and so is one that would be larger than 64 MiB and 64 times its length where a copy of
// every leaf is asked for (kZoPropertyListMutableContainersAndLeaves).
// The binary form also carries kZoNull. An XML date is cut to whole seconds, and its years go from 1 to 9999.

#pragma once

#include "Foundation/Services/ZoReadStream.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoError.h"

ZO_EXTERN_C_BEGIN

typedef ZoIndex ZoPropertyListFormat;
enum {
    kZoPropertyListXMLFormat_v1_0 = 100,
    kZoPropertyListBinaryFormat_v1_0 = 200,
};

/// For reading and copying: which objects are mutable.
enum {
    kZoPropertyListImmutable = 0,
    kZoPropertyListMutableContainers = 1,
    kZoPropertyListMutableContainersAndLeaves = 2,  ///< strings and data too
};

enum { kZoPropertyListMaximumDepth = 512 };

/// Domain and codes of this module's errors; the failure reason tells in a line what was found and where.
extern const ZoStringRef kZoErrorDomainPropertyList;
enum {
    kZoPropertyListErrorBadArgument = 1,  ///< an absent argument, or a format or option that is none
    kZoPropertyListErrorCorrupt = 2,      ///< the bytes are not a property list, or go beyond its bounds
    kZoPropertyListErrorUnsupported = 3,  ///< an object that the form cannot carry, or a container within itself
    kZoPropertyListErrorStream = 4,       ///< the stream is not open, or reading failed
    kZoPropertyListErrorAllocation = 5,
};

/// The bytes of `propertyList` in `format`; dictionaries in their order of enumeration. `options` is 0. Nothing on
/// failure, and then an error that the caller owns in `error`, which may be absent (as below, too).
ZoDataRef ZoPropertyListCreateData(ZoAllocatorRef allocator, ZoPropertyListRef propertyList,
                                   ZoPropertyListFormat format, ZoOptionFlags options, ZoErrorRef* error);
/// The list that `data` holds in either form; which one it was comes out in `format`, which may be absent.
ZoPropertyListRef ZoPropertyListCreateWithData(ZoAllocatorRef allocator, ZoDataRef data, ZoOptionFlags options,
                                               ZoPropertyListFormat* format, ZoErrorRef* error);
/// The same from an open stream, of which `streamLength` bytes are read, or all up to 1 GiB if that is 0.
ZoPropertyListRef ZoPropertyListCreateWithStream(ZoAllocatorRef allocator, ZoReadStreamRef stream, ZoIndex streamLength,
                                                 ZoOptionFlags options, ZoPropertyListFormat* format,
                                                 ZoErrorRef* error);
/// A copy that shares no container (and with `mutabilityOption` 2 no leaf) with the original. Nothing if something in
/// it is not of a property list.
ZoPropertyListRef ZoPropertyListCreateDeepCopy(ZoAllocatorRef allocator, ZoPropertyListRef propertyList,
                                               ZoOptionFlags mutabilityOption);

ZO_EXTERN_C_END
