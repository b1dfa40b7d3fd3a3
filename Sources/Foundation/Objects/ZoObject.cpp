#define ZO_COUNTING_OUT_OF_LINE
#include "Foundation/Objects/ZoObject.h"

#include <sys/single_threaded.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"

#define ZO_WEAK_CLASS(name) extern const ZoRuntimeClass __Zo##name##Class __attribute__((weak))
ZO_WEAK_CLASS(Null);
ZO_WEAK_CLASS(Boolean);
ZO_WEAK_CLASS(Number);
ZO_WEAK_CLASS(Data);
ZO_WEAK_CLASS(Array);
ZO_WEAK_CLASS(String);
ZO_WEAK_CLASS(Dictionary);
ZO_WEAK_CLASS(Set);
ZO_WEAK_CLASS(AttributedString);
ZO_WEAK_CLASS(CharacterSet);
ZO_WEAK_CLASS(Date);
ZO_WEAK_CLASS(DateFormatter);
ZO_WEAK_CLASS(Calendar);
ZO_WEAK_CLASS(TimeZone);
ZO_WEAK_CLASS(Locale);
ZO_WEAK_CLASS(URL);
ZO_WEAK_CLASS(UUID);
ZO_WEAK_CLASS(Error);
ZO_WEAK_CLASS(NotificationCenter);
ZO_WEAK_CLASS(RunLoop);
ZO_WEAK_CLASS(RunLoopTimer);
ZO_WEAK_CLASS(ReadStream);
ZO_WEAK_CLASS(Bundle);
#undef ZO_WEAK_CLASS

namespace {

// In the order of the type IDs. What is not linked stands as a null pointer.
constinit const ZoRuntimeClass* const kBuiltinClasses[] = {
    nullptr,
    &__ZoAllocatorClass,
    &__ZoNullClass,
    &__ZoBooleanClass,
    &__ZoNumberClass,
    &__ZoDataClass,
    &__ZoArrayClass,
    &__ZoStringClass,
    &__ZoDictionaryClass,
    &__ZoSetClass,
    &__ZoAttributedStringClass,
    &__ZoCharacterSetClass,
    &__ZoDateClass,
    &__ZoDateFormatterClass,
    &__ZoCalendarClass,
    &__ZoTimeZoneClass,
    &__ZoLocaleClass,
    &__ZoURLClass,
    &__ZoUUIDClass,
    &__ZoErrorClass,
    &__ZoNotificationCenterClass,
    &__ZoRunLoopClass,
    &__ZoRunLoopTimerClass,
    &__ZoReadStreamClass,
    &__ZoBundleClass,
};
constexpr ZoTypeID kBuiltinEnd = sizeof(kBuiltinClasses) / sizeof(kBuiltinClasses[0]);
static_assert(kBuiltinEnd == kZoTypeIDBundle + 1 && kBuiltinEnd <= kZoTypeIDFirstRegistered);

constexpr ZoTypeID kRegisteredLimit = kZoTypeIDLimit - kZoTypeIDFirstRegistered;
// Zeroed pages that a program never touches cost it nothing, and look-ups need no lock.
constinit std::array<std::atomic<const ZoRuntimeClass*>, kRegisteredLimit> sRegisteredClasses{};
constinit std::atomic<ZoTypeID> sRegisteredCount{0};
constinit std::atomic<void (*)(ZoTypeRef)> sWeakReferenceReleaseObserver{nullptr};

// Memory in front of an object that has an allocator of its own; keeps the object aligned.
struct AllocatorPrefix {
    ZoAllocatorRef allocator;
    uintptr_t padding;
};
static_assert(sizeof(AllocatorPrefix) == 16);

// Finalizers release what their objects hold, so that a long chain of owners would use up the stack. Past this depth
// an object waits, linked through its `isa`, until the outermost release of the thread comes to it.
constexpr uint32_t kDeallocationDepth = 128;
struct Deallocations {
    uint32_t depth;
    ZoRuntimeBase* waiting;
};
constinit thread_local Deallocations tDeallocations{0, nullptr};

ZoRuntimeBase* baseOf(ZoTypeRef object) { return static_cast<ZoRuntimeBase*>(const_cast<void*>(object)); }

ZoTypeID typeIDOf(uint64_t info) { return (info & kZoInfoTypeMask) >> kZoInfoTypeShift; }

uint64_t countOf(uint64_t info) { return info >> kZoInfoCountShift; }

const ZoRuntimeClass* classOf(ZoTypeID typeID)
{
    if (typeID < kBuiltinEnd) return kBuiltinClasses[typeID];
    if (typeID < kZoTypeIDFirstRegistered || typeID >= kZoTypeIDLimit) return nullptr;
    return sRegisteredClasses[typeID - kZoTypeIDFirstRegistered].load(std::memory_order_acquire);
}

AllocatorPrefix* prefixOf(ZoRuntimeBase* base) { return reinterpret_cast<AllocatorPrefix*>(base) - 1; }

// The mark goes first: one that is set again belongs to a reference that the observer has not seen.
void tellReleaseObserver(ZoRuntimeBase* base)
{
    if (ZO_LIKELY(!(zoInfo(base) & kZoInfoWeaklyReferenced))) return;
    __atomic_fetch_and(&base->info, ~uint64_t{kZoInfoWeaklyReferenced}, __ATOMIC_RELAXED);
    if (auto* observer = sWeakReferenceReleaseObserver.load(std::memory_order_acquire)) observer(base);
}

void finalizeAndFree(ZoRuntimeBase* base, const ZoRuntimeClass* cls)
{
    if (cls->finalize && !(zoInfo(base) & kZoInfoNeedsNoFinalizer)) {
        cls->finalize(base);
        tellReleaseObserver(base);  // a finalizer may have made a weak reference to its object
    }
    if (!(zoInfo(base) & kZoInfoHasAllocator)) {
        std::free(base);
        return;
    }
    AllocatorPrefix* prefix = prefixOf(base);
    ZoAllocatorRef allocator = prefix->allocator;
    ZoAllocatorDeallocate(allocator, prefix);
    ZoRelease(allocator);
}

// Most objects are small: a loop of stores beats the call.
void zeroBytes(void* memory, size_t size)
{
    auto* bytes = static_cast<uint8_t*>(memory);
    if (size < 16 || size > 128) {
        std::memset(bytes, 0, size);
        return;
    }
    for (size_t i = 0; i + 16 <= size; i += 16) std::memset(bytes + i, 0, 16);
    std::memset(bytes + size - 16, 0, 16);
}

__attribute__((noinline)) void deallocateWithFinalizer(ZoRuntimeBase* base, uint64_t info, const ZoRuntimeClass* cls)
{
    // Another thread may be setting the mark of weak references.
    if (__libc_single_threaded)
        __atomic_store_n(&base->info, info | kZoInfoDeallocating, __ATOMIC_RELAXED);
    else
        __atomic_fetch_or(&base->info, kZoInfoDeallocating, __ATOMIC_RELAXED);
    tellReleaseObserver(base);
    Deallocations& own = tDeallocations;
    if (own.depth == kDeallocationDepth) {
        base->isa = reinterpret_cast<uintptr_t>(own.waiting);
        own.waiting = base;
        return;
    }
    ++own.depth;
    finalizeAndFree(base, cls);
    while (own.depth == 1 && own.waiting) {
        ZoRuntimeBase* next = own.waiting;
        own.waiting = reinterpret_cast<ZoRuntimeBase*>(next->isa);
        finalizeAndFree(next, classOf(typeIDOf(zoInfo(next))));
    }
    --own.depth;
}

// Called in tail position, so that releasing keeps no registers for it.
__attribute__((cold, noinline)) void reportOverRelease()
{
    _ZoReportMisuse("ZoRelease", "an object was released more often than retained");
}

// The count, `info` still shows it as 1, has reached 0: nobody else may change the header any more.
void deallocate(ZoRuntimeBase* base, uint64_t info)
{
    // A finalizer may retain and release its object; that does not end it a second time.
    if (ZO_UNLIKELY(info & kZoInfoDeallocating)) return;
    const auto* cls = reinterpret_cast<const ZoRuntimeClass*>(base->isa);
    const bool hasFinalizer = cls->finalize && !(info & kZoInfoNeedsNoFinalizer);
    if (!hasFinalizer && !(info & (kZoInfoWeaklyReferenced | kZoInfoHasAllocator)))
        std::free(base);
    else
        deallocateWithFinalizer(base, info - kZoInfoOneReference, cls);
}

}  // namespace

ZoTypeID _ZoRuntimeRegisterClass(const ZoRuntimeClass* cls)
{
    if (!ZO_EXPECT(cls, "absent class record")) return 0;
    ZoTypeID index = sRegisteredCount.load(std::memory_order_relaxed);
    do {
        if (index >= kRegisteredLimit) return 0;
    } while (!sRegisteredCount.compare_exchange_weak(index, index + 1, std::memory_order_relaxed));
    sRegisteredClasses[index].store(cls, std::memory_order_release);
    return kZoTypeIDFirstRegistered + index;
}

const ZoRuntimeClass* _ZoRuntimeGetClassWithTypeID(ZoTypeID typeID) { return classOf(typeID); }

ZoTypeRef _ZoRuntimeCreateInstance(ZoAllocatorRef allocator, ZoTypeID typeID, ZoIndex extraBytes, unsigned char*)
{
    return _ZoRuntimeCreateInstanceWithTail(allocator, typeID, extraBytes, 0);
}

ZoTypeRef _ZoRuntimeCreateInstanceWithTail(ZoAllocatorRef allocator, ZoTypeID typeID, ZoIndex extraBytes,
                                           ZoIndex tailBytes)
{
    const ZoRuntimeClass* cls = classOf(typeID);
    if (!ZO_EXPECT(cls, "no class has this type ID")) return nullptr;
    ZoIndex size;
    if (!ZO_EXPECT(extraBytes >= 0 && tailBytes >= 0, "negative size")) return nullptr;
    constexpr ZoIndex kHeaders = sizeof(ZoRuntimeBase) + sizeof(AllocatorPrefix);
    if (__builtin_add_overflow(extraBytes, kHeaders, &size) || __builtin_add_overflow(size, tailBytes, &size))
        return nullptr;

    uint64_t info = kZoInfoOneReference | kZoInfoCounted | (uint64_t{typeID} << kZoInfoTypeShift);
    ZoRuntimeBase* base;
    if (zoIsSystemAllocator(allocator)) {
        base = static_cast<ZoRuntimeBase*>(std::malloc(static_cast<size_t>(size) - sizeof(AllocatorPrefix)));
        if (ZO_UNLIKELY(!base)) return nullptr;
    } else {
        auto* prefix = static_cast<AllocatorPrefix*>(ZoAllocatorAllocate(allocator, size, 0));
        if (!prefix) return nullptr;
        prefix->allocator = static_cast<ZoAllocatorRef>(ZoRetain(allocator));
        base = reinterpret_cast<ZoRuntimeBase*>(prefix + 1);
        info |= kZoInfoHasAllocator;
    }
    base->isa = reinterpret_cast<uintptr_t>(cls);
    base->info = info;
    zeroBytes(base + 1, static_cast<size_t>(extraBytes));
    if (cls->init) cls->init(base);
    return base;
}

ZoTypeRef ZoRetain(ZoTypeRef object)
{
    if (!ZO_EXPECT(object, "absent object")) return nullptr;
    uint64_t* word = &baseOf(object)->info;
    const uint64_t info = __atomic_load_n(word, __ATOMIC_RELAXED);
    if (!(info & kZoInfoCounted)) return object;
    // A process that has one thread, and the C library keeps count of that, needs no locked instruction.
    if (__libc_single_threaded)
        __atomic_store_n(word, info + kZoInfoOneReference, __ATOMIC_RELAXED);
    else
        __atomic_fetch_add(word, kZoInfoOneReference, __ATOMIC_RELAXED);
    return object;
}

void ZoRelease(ZoTypeRef object)
{
    if (!ZO_EXPECT(object, "absent object")) return;
    uint64_t* word = &baseOf(object)->info;
    uint64_t info = __atomic_load_n(word, __ATOMIC_RELAXED);
    if (!(info & kZoInfoCounted)) return;
    if (ZO_UNLIKELY(countOf(info) == 0)) return reportOverRelease();
    if (__libc_single_threaded)
        __atomic_store_n(word, info - kZoInfoOneReference, __ATOMIC_RELAXED);
    else
        info = __atomic_fetch_sub(word, kZoInfoOneReference, __ATOMIC_ACQ_REL);
    if (countOf(info) == 1) deallocate(baseOf(object), info);
}

void _ZoReleaseLast(ZoTypeRef object, uint64_t info)
{
    if (ZO_UNLIKELY(countOf(info) == 0)) return reportOverRelease();
    __atomic_store_n(&baseOf(object)->info, info - kZoInfoOneReference, __ATOMIC_RELAXED);
    deallocate(baseOf(object), info);
}

ZoTypeRef _ZoTryRetain(ZoTypeRef object)
{
    if (!ZO_EXPECT(object, "absent object")) return nullptr;
    uint64_t* word = &baseOf(object)->info;
    uint64_t info = __atomic_load_n(word, __ATOMIC_RELAXED);
    if (!(info & kZoInfoCounted)) return object;
    do {
        if (countOf(info) == 0 || (info & kZoInfoDeallocating)) return nullptr;
    } while (!__atomic_compare_exchange_n(word, &info, info + kZoInfoOneReference, true, __ATOMIC_ACQUIRE,
                                          __ATOMIC_RELAXED));
    return object;
}

Boolean _ZoIsDeallocating(ZoTypeRef object)
{
    if (!ZO_EXPECT(object, "absent object")) return false;
    const uint64_t info = zoInfo(object);
    return (info & kZoInfoCounted) && (countOf(info) == 0 || (info & kZoInfoDeallocating));
}

void _ZoSetWeaklyReferenced(ZoTypeRef object)
{
    if (!ZO_EXPECT(object, "absent object")) return;
    if (zoInfo(object) & kZoInfoCounted)
        __atomic_fetch_or(&baseOf(object)->info, kZoInfoWeaklyReferenced, __ATOMIC_RELAXED);
}

void __ZoRuntimeSetWeakReferenceReleaseObserver(void (*observer)(ZoTypeRef object))
{
    sWeakReferenceReleaseObserver.store(observer, std::memory_order_release);
}

ZoTypeID ZoGetTypeID(ZoTypeRef object)
{
    if (!ZO_EXPECT(object, "absent object")) return 0;
    return typeIDOf(zoInfo(object));
}

ZoAllocatorRef ZoGetAllocator(ZoTypeRef object)
{
    if (!ZO_EXPECT(object, "absent object")) return kZoAllocatorDefault;
    return zoInfo(object) & kZoInfoHasAllocator ? prefixOf(baseOf(object))->allocator : kZoAllocatorDefault;
}

ZoIndex ZoGetRetainCount(ZoTypeRef object)
{
    if (!ZO_EXPECT(object, "absent object")) return 0;
    const uint64_t info = zoInfo(object);
    return info & kZoInfoCounted ? static_cast<ZoIndex>(countOf(info)) : INTPTR_MAX;
}

Boolean ZoEqual(ZoTypeRef object1, ZoTypeRef object2)
{
    if (object1 == object2) return true;
    if (!ZO_EXPECT(object1 && object2, "absent object")) return false;
    const ZoTypeID typeID = typeIDOf(zoInfo(object1));
    if (typeID != typeIDOf(zoInfo(object2))) return false;
    const ZoRuntimeClass* cls = classOf(typeID);
    return cls && cls->equal && cls->equal(object1, object2);
}

ZoHashCode ZoHash(ZoTypeRef object)
{
    if (!ZO_EXPECT(object, "absent object")) return 0;
    const ZoRuntimeClass* cls = classOf(typeIDOf(zoInfo(object)));
    return cls && cls->hash ? cls->hash(object) : reinterpret_cast<ZoHashCode>(object);
}
