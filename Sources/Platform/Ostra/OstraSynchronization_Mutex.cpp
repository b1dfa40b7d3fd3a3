#include "Platform/Ostra/OstraSynchronizationPrivate.h"

static TavMutex_* mutexCreate(ZoAllocatorRef allocator, const pthread_mutexattr_t* attributes)
{
    TavMutex_* mutex = tavRecordCreate<TavMutex_>(allocator);
    if (mutex && pthread_mutex_init(&mutex->posix, attributes) != 0) {
        tavRecordFree(mutex);
        return nullptr;
    }
    return mutex;
}

TavSimpleMutexRef TavSimpleMutexCreate(void) { return TavSimpleMutexCreateWithFlags(nullptr); }

TavSimpleMutexRef TavSimpleMutexCreateWithFlags(ZoAllocatorRef allocator) { return mutexCreate(allocator, nullptr); }

static OSStatus mutexDestroy(TavMutex_* mutex, const char* operation)
{
    if (!mutex) return 0;
    const int err = pthread_mutex_destroy(&mutex->posix);
    if (err) {
        tav_log(kTavLogType_Error, kTavLogFlag_LocalTime, 0, 0,
                "/workspace/tav/Sources/Platform/Ostra/OstraSynchronization %s: pthread_mutex_destroy ERROR %d mutex "
                "%p; just leaking it",
                operation, err, static_cast<void*>(mutex));
        return TAV_SIGNAL_FROM(operation, err, "pthread_mutex_destroy failed, just leaking it");
    }
    tavRecordFree(mutex);
    return 0;
}

OSStatus TavSimpleMutexDestroy(TavSimpleMutexRef mutex) { return mutexDestroy(mutex, __func__); }

OSStatus TavSimpleMutexLock(TavSimpleMutexRef mutex) { return pthread_mutex_lock(&mutex->posix); }

bool TavSimpleMutexTryLock(TavSimpleMutexRef mutex) { return pthread_mutex_trylock(&mutex->posix) == 0; }

OSStatus TavSimpleMutexUnlock(TavSimpleMutexRef mutex) { return pthread_mutex_unlock(&mutex->posix); }

TavReentrantMutexRef TavReentrantMutexCreate(void) { return TavReentrantMutexCreateWithFlags(nullptr); }

TavReentrantMutexRef TavReentrantMutexCreateWithFlags(ZoAllocatorRef allocator)
{
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0) return nullptr;
    TavReentrantMutexRef mutex = nullptr;
    if (pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE) == 0)
        mutex = mutexCreate(allocator, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return mutex;
}

OSStatus TavReentrantMutexDestroy(TavReentrantMutexRef mutex) { return mutexDestroy(mutex, __func__); }

OSStatus TavReentrantMutexLock(TavReentrantMutexRef mutex) { return pthread_mutex_lock(&mutex->posix); }

bool TavReentrantMutexTryLock(TavReentrantMutexRef mutex) { return pthread_mutex_trylock(&mutex->posix) == 0; }

OSStatus TavReentrantMutexUnlock(TavReentrantMutexRef mutex) { return pthread_mutex_unlock(&mutex->posix); }
