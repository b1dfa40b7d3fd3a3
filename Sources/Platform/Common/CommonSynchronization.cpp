#include "Platform/Common/CommonSynchronization.h"

#include <sched.h>

#include <atomic>

#include "Platform/Common/TavSignal.h"
#include "Platform/Ostra/OstraSynchronizationPrivate.h"

namespace {

// Who has the lock and who waits for it is one word: whoever changes it sees all of it, and a thread is counted among
// the sleepers in the very step in which it finds the way barred, so that who opens the way knows of it.
constexpr uint64_t kReader = 1;                   // 24 bits
constexpr uint64_t kSleeper = uint64_t{1} << 24;  // 20 bits: threads between finding the way barred and trying again
constexpr uint64_t kWaiting = uint64_t{1} << 44;  // 19 bits: writers that wait, where writers take precedence
constexpr uint64_t kWriter = uint64_t{1} << 63;
constexpr uint64_t kReaders = kSleeper - kReader, kSleepers = kWaiting - kSleeper, kAllWaiting = kWriter - kWaiting;
constexpr uint64_t kBarsReaders = kWriter | kAllWaiting, kBarsWriters = kWriter | kReaders;

}  // namespace

struct TavReadWriteLock_ {
    std::atomic<uint64_t> word;
    std::atomic<uint32_t> wakers;  ///< threads that have opened the way and are not done with the semaphore
    uint32_t flags;
    TavSemaphoreRef wakeUp;  ///< at most one token: what changed is found out from the word
    ZoAllocatorRef allocator;
};

TavReadWriteLockRef TavReadWriteLockCreate(uint32_t flags) { return TavReadWriteLockCreateWithFlags(nullptr, flags); }

TavReadWriteLockRef TavReadWriteLockCreateWithFlags(ZoAllocatorRef allocator, uint32_t flags)
{
    TavReadWriteLockRef lock = tavRecordCreate<TavReadWriteLock_>(allocator);
    if (!lock) return nullptr;
    lock->wakeUp = TavSemaphoreCreateWithFlags(allocator, 0, 1, 0);
    if (!lock->wakeUp) {
        tavRecordFree(lock);
        return nullptr;
    }
    lock->flags = flags;
    return lock;
}

/// Leaves a token for a sleeper, if there is any. A token that is still pending does for both.
static void lockWakeSleeper(TavReadWriteLockRef lock)
{
    if (lock->word.load(std::memory_order_relaxed) & kSleepers) TavSemaphoreSignal(lock->wakeUp);
}

/// Sleeps until there is a token; the caller is counted among the sleepers. On failure the lock is being destroyed.
static OSStatus lockSleep(TavReadWriteLockRef lock, bool yieldsFirst, uint64_t* seen)
{
    if (yieldsFirst) sched_yield();
    TAV_TRY(TavSemaphoreWaitRelative(lock->wakeUp, kTavWaitForever));
    *seen = lock->word.fetch_sub(kSleeper, std::memory_order_relaxed) - kSleeper;
    return 0;
}

__attribute__((cold, noinline)) static OSStatus lockForReadSlowly(TavReadWriteLockRef lock, uint64_t seen)
{
    bool slept = false, passedOn = false;
    for (;;) {
        const bool barred = (seen & kBarsReaders) != 0;
        if (!lock->word.compare_exchange_weak(seen, seen + (barred ? kSleeper : kReader), std::memory_order_acquire,
                                              std::memory_order_relaxed))
            continue;
        if (!barred) break;
        TAV_TRY(lockSleep(lock, passedOn, &seen));
        slept = true;
        // Meant for a writer. Whoever passes a token on yields before it asks for one, lest it catch its own again.
        passedOn = (seen & kAllWaiting) != 0;
        if (passedOn) lockWakeSleeper(lock);
    }
    if (slept) lockWakeSleeper(lock);  // other readers slept through the same writer
    return 0;
}

OSStatus TavReadWriteLockLockForRead(TavReadWriteLockRef lock)
{
    // The first guess is that nobody is there. A wrong one costs no more than looking would: it brings the word.
    uint64_t seen = 0;
    while (ZO_UNLIKELY(
        !lock->word.compare_exchange_weak(seen, seen + kReader, std::memory_order_acquire, std::memory_order_relaxed)))
        if (ZO_UNLIKELY((seen & kBarsReaders) != 0)) return lockForReadSlowly(lock, seen);
    return 0;
}

/// Takes `what` out of the word while `mustStand` holds of it, and wakes a sleeper if the way is open then. Who sees
/// the way open may destroy the lock: it waits for the wakers, who are counted before.
__attribute__((cold, noinline)) static void lockOpenWithSleepers(TavReadWriteLockRef lock, uint64_t seen, uint64_t what,
                                                                 uint64_t mustStand)
{
    lock->wakers.fetch_add(1, std::memory_order_relaxed);
    while ((seen & mustStand) != 0) {
        if (!lock->word.compare_exchange_weak(seen, seen - what, std::memory_order_release, std::memory_order_relaxed))
            continue;
        if (((seen - what) & mustStand) == 0 && (seen & kSleepers) != 0) TavSemaphoreSignal(lock->wakeUp);
        break;
    }
    lock->wakers.fetch_sub(1, std::memory_order_release);
}

OSStatus TavReadWriteLockUnlockForRead(TavReadWriteLockRef lock)
{
    uint64_t seen = kReader;
    while (ZO_UNLIKELY(!lock->word.compare_exchange_weak(seen, seen - kReader, std::memory_order_release,
                                                         std::memory_order_relaxed))) {
        if (ZO_UNLIKELY((seen & kReaders) == 0)) return 0;
        if (ZO_UNLIKELY((seen & kSleepers) != 0)) {
            lockOpenWithSleepers(lock, seen, kReader, kReaders);
            return 0;
        }
    }
    return 0;
}

OSStatus TavReadWriteLockLockForWrite(TavReadWriteLockRef lock)
{
    uint64_t seen = 0, counted = 0;  // whether this writer stands among those that wait
    const uint64_t counts = lock->flags & kTavReadWriteLockFlag_WritersTakePrecedence ? kWaiting : 0;
    for (;;) {
        const bool barred = (seen & kBarsWriters) != 0;
        const uint64_t wanted = seen + (barred ? kSleeper + counts - counted : kWriter - counted);
        if (!lock->word.compare_exchange_weak(seen, wanted, std::memory_order_acquire, std::memory_order_relaxed))
            continue;
        if (!barred) return 0;
        counted = counts;
        TAV_TRY(lockSleep(lock, false, &seen));
    }
}

OSStatus TavReadWriteLockUnlockForWrite(TavReadWriteLockRef lock)
{
    uint64_t seen = kWriter;
    while (ZO_UNLIKELY(!lock->word.compare_exchange_weak(seen, seen & ~kWriter, std::memory_order_release,
                                                         std::memory_order_relaxed))) {
        if ((seen & kWriter) == 0) return 0;
        if ((seen & kSleepers) != 0) {
            lockOpenWithSleepers(lock, seen, kWriter, kWriter);
            return 0;
        }
    }
    return 0;
}

OSStatus TavReadWriteLockDestroy(TavReadWriteLockRef lock)
{
    if (!lock) return 0;
    while (lock->wakers.load(std::memory_order_acquire) != 0) sched_yield();
    if (const OSStatus err = TavSemaphoreDestroy(lock->wakeUp))
        return TAV_SIGNAL(err, "TavSemaphoreDestroy failed - leaking TavReadWriteLockRef");
    tavRecordFree(lock);
    return 0;
}
