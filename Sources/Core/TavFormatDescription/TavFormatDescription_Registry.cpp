#include <atomic>
#include <new>

#include "Core/TavFormatDescription/TavFormatDescriptionPrivate.h"
#include "Platform/Common/CommonThread.h"
#include "Platform/Ostra/OstraSynchronization.h"
#include "Platform/Ostra/OstraThread.h"

TavTraceNote gTavFormatDescTrace;

namespace {

struct Kind {
    LuMediaType mediaType;
    TavDerivedFormatDescriptionCallbacks callbacks;
    const Kind* next;
};

/// A handful of kinds, each linked in once and never taken out: the list is read without the lock.
struct Registry {
    TavSimpleMutexRef lock;  // guards insertion
    std::atomic<const Kind*> kinds;
};

}  // namespace

static TavThreadOnce sRegistryOnce = PTHREAD_ONCE_INIT;
static std::atomic<Registry*> sTavFormatDescriptionRegistry;

static void tavFormatDescriptionCreateRegistry()
{
    tavTraceNoteRegister(&gTavFormatDescTrace, "formatdescription_trace", 0);
    static Registry sRegistry;
    sRegistry.lock = TavSimpleMutexCreate();
    if (sRegistry.lock) sTavFormatDescriptionRegistry.store(&sRegistry, std::memory_order_release);
}

bool tavFormatDescriptionRegistryExists()
{
    return sTavFormatDescriptionRegistry.load(std::memory_order_acquire) != nullptr;
}

const TavDerivedFormatDescriptionCallbacks* tavFormatDescriptionGetKind(LuMediaType mediaType)
{
    const Registry* registry = sTavFormatDescriptionRegistry.load(std::memory_order_acquire);
    const Kind* kind = registry ? registry->kinds.load(std::memory_order_acquire) : nullptr;
    for (; kind; kind = kind->next)
        if (kind->mediaType == mediaType) return &kind->callbacks;
    return nullptr;
}

/// Links `kind` in unless there is one of its media type.
static bool tavFormatDescriptionAddKind(Registry& registry, Kind* kind)
{
    TavSimpleMutexLock(registry.lock);
    const bool added = !tavFormatDescriptionGetKind(kind->mediaType);
    if (added) {
        kind->next = registry.kinds.load(std::memory_order_relaxed);
        registry.kinds.store(kind, std::memory_order_release);
    }
    TavSimpleMutexUnlock(registry.lock);
    return added;
}

OSStatus TavDerivedFormatDescriptionRegister(LuMediaType mediaType,
                                             const TavDerivedFormatDescriptionCallbacks* callbacks)
{
    if (!callbacks) return TAV_SIGNAL(kTavFormatDescriptionError_InvalidParameter, "!callbacks");
    if (callbacks->version != 0)
        return TAV_SIGNAL(kTavFormatDescriptionError_InvalidParameter, "callbacks->version != 0");
    if (!callbacks->equal) return TAV_SIGNAL(kTavFormatDescriptionError_InvalidParameter, "callbacks->equal == NULL");
    TavThreadRunOnce(&sRegistryOnce, tavFormatDescriptionCreateRegistry);
    Registry* registry = sTavFormatDescriptionRegistry.load(std::memory_order_acquire);
    if (!registry) return TAV_SIGNAL(kTavFormatDescriptionError_AllocationFailed, "one-time setup failed");

    Kind* kind = new (std::nothrow) Kind{mediaType, *callbacks, nullptr};
    if (!kind) return TAV_SIGNAL(kTavFormatDescriptionError_AllocationFailed, "callbacks struct");
    if (!tavFormatDescriptionAddKind(*registry, kind)) delete kind;
    return 0;
}
