// Objects: reference counts, types, equality, and the run-time that classes register with.
// Every object begins with a ZoRuntimeBase of 16 bytes. Retain, release and the run-time's look-ups may be called from
// any thread; what an object's class lets threads do with its contents stands in that class's header.

#pragma once

#include "Foundation/Objects/ZoBase.h"

ZO_EXTERN_C_BEGIN

/// The header of every instance; a class declares its instance as this followed by its fields.
/// `isa` names the class; `info` holds the type ID and flags in its low half and the reference count in its high half,
/// where 0 stands for an object that is never freed. Only the run-time reads or writes these fields.
typedef struct ZoRuntimeBase {
    uintptr_t isa;
    uint64_t info;
} ZoRuntimeBase;

/// A record of constant text: `isa` is &__ZoConstantStringClassReference, `flags` 0x7C8, `text` NUL-terminated ASCII.
typedef struct ZoConstantString {
    const void* isa;
    uint64_t flags;
    const char* text;
    ZoIndex length;
} ZoConstantString;

extern const uintptr_t __ZoConstantStringClassReference[];

#define ZO_CONSTANT_STRING_FLAGS 0x7C8u
#define ZO_CONSTANT_STRING_RECORD(literal)                                                                  \
    {                                                                                                       \
        __ZoConstantStringClassReference, ZO_CONSTANT_STRING_FLAGS, literal, (ZoIndex)(sizeof(literal) - 1) \
    }

/// Defines the exported constant `name`, declared `extern const ZoStringRef name;`, with the ASCII text `literal`.
#define ZO_DEFINE_STRING(name, literal)                                                           \
    static const struct ZoConstantString name##Record = ZO_CONSTANT_STRING_RECORD("" literal ""); \
    const ZoStringRef name = (ZoStringRef)(const void*)&name##Record

/// A constant string object in an expression. Costs nothing at run time, is never freed.
#ifdef __cplusplus
#define ZOSTR(literal)                                                                               \
    ([]() noexcept -> ZoStringRef {                                                                  \
        static constinit const ZoConstantString zoRecord = ZO_CONSTANT_STRING_RECORD("" literal ""); \
        return reinterpret_cast<ZoStringRef>(&zoRecord);                                             \
    }())
#else
#define ZOSTR(literal)                                                                     \
    (__extension__({                                                                       \
        static const ZoConstantString zoRecord = ZO_CONSTANT_STRING_RECORD("" literal ""); \
        (ZoStringRef)(const void*) & zoRecord;                                             \
    }))
#endif

/// Bit of ZoRuntimeClass.version: instances keep a reference count of their own.
enum { kZoRuntimeCustomRefCount = 1 << 3 };

/// What a class tells the run-time. Static, or alive as long as the process: registration keeps the pointer.
typedef struct ZoRuntimeClass {
    ZoIndex version;
    const char* className;
    void (*init)(ZoTypeRef object);
    ZoTypeRef (*copy)(ZoAllocatorRef allocator, ZoTypeRef object);
    void (*finalize)(ZoTypeRef object);
    Boolean (*equal)(ZoTypeRef object1, ZoTypeRef object2);  ///< absent: identity
    ZoHashCode (*hash)(ZoTypeRef object);                    ///< absent: the address
    ZoStringRef (*copyFormattingDesc)(ZoTypeRef object, ZoDictionaryRef formatOptions);
    ZoStringRef (*copyDebugDesc)(ZoTypeRef object);
    const void* unused[3];
} ZoRuntimeClass;

/// Adds a reference and returns `object`. Constant objects are left alone. `object` must be there.
ZoTypeRef ZoRetain(ZoTypeRef object);
/// Takes a reference away; the last one finalizes the object and gives its memory to its allocator.
void ZoRelease(ZoTypeRef object);
ZoTypeID ZoGetTypeID(ZoTypeRef object);
/// Borrowed. The default allocator for constant objects.
ZoAllocatorRef ZoGetAllocator(ZoTypeRef object);
/// For debug output only. A constant object reports INTPTR_MAX.
ZoIndex ZoGetRetainCount(ZoTypeRef object);
/// Identity, or the class's `equal` for two objects of one type. Numbers, strings, data and collections compare by
/// value.
Boolean ZoEqual(ZoTypeRef object1, ZoTypeRef object2);
/// Equal objects have equal hashes. A hash is good for the process that it was made in: the next one has another.
ZoHashCode ZoHash(ZoTypeRef object);
/// A new string for people to read; never nothing for an object that is there. The same for equal contents, without
/// addresses: text itself, `1`, `0.5`, `true`, `null`, `<2 bytes: 0aff>`, arrays `["a", 1]`, dictionaries
/// `{"key" = 1}` and sets `(1, 2)` in their order, the class name in angle brackets for a class that describes nothing.
ZoStringRef ZoCopyDescription(ZoTypeRef object);
/// Writes one line to standard error: program name, process, and the formatted text. `level` 3 is an error.
void ZoLog(int32_t level, ZoStringRef format, ...);

/// A new type ID, or 0 when the table of types is full.
ZoTypeID _ZoRuntimeRegisterClass(const ZoRuntimeClass* cls);
/// Nothing for a type ID that was never given out.
const ZoRuntimeClass* _ZoRuntimeGetClassWithTypeID(ZoTypeID typeID);
/// A new object with one reference, `extraBytes` of zeroed storage behind its header, and the class's `init` already
/// run. `category` is 0. Nothing if the allocator gives nothing.
ZoTypeRef _ZoRuntimeCreateInstance(ZoAllocatorRef allocator, ZoTypeID typeID, ZoIndex extraBytes,
                                   unsigned char* category);
/// Takes a reference unless the object is being deallocated; gives the object, or nothing.
ZoTypeRef _ZoTryRetain(ZoTypeRef object);
Boolean _ZoIsDeallocating(ZoTypeRef object);
/// Marks that weak references to `object` exist, so that the observer below runs for it.
void _ZoSetWeaklyReferenced(ZoTypeRef object);
/// `observer` runs when an object with weak references is deallocated, before it is finalized and its memory goes.
void __ZoRuntimeSetWeakReferenceReleaseObserver(void (*observer)(ZoTypeRef object));

ZO_EXTERN_C_END

#ifdef __cplusplus
#include "Foundation/Objects/ZoCounting.h"
#endif
