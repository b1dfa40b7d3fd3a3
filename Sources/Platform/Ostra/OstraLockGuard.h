// Holds a simple mutex to the end of a scope. What must be released behind the lock is declared before the guard.

#pragma once

#include "Platform/Ostra/OstraSynchronization.h"

class TavSimpleMutexGuard {
public:
    explicit TavSimpleMutexGuard(TavSimpleMutexRef mutex) : mutex_(mutex) { TavSimpleMutexLock(mutex); }
    ~TavSimpleMutexGuard() { TavSimpleMutexUnlock(mutex_); }
    TavSimpleMutexGuard(const TavSimpleMutexGuard&) = delete;
    TavSimpleMutexGuard& operator=(const TavSimpleMutexGuard&) = delete;

private:
    TavSimpleMutexRef mutex_;
};
