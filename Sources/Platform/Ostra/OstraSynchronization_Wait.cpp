#include <errno.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include "Platform/Ostra/OstraIntegers.h"
#include "Platform/Ostra/OstraSynchronizationPrivate.h"

static constexpr int64_t kNanosecondsPerSecond = 1000000000;

TavDeadline tavDeadlineAfter(int64_t timeout)
{
    TavDeadline deadline = {timeout, false, {}};
    if (timeout < 0) return deadline;
    struct timeval now = {};
    gettimeofday(&now, nullptr);
    int64_t nanoseconds = 0;
    if (TavMultiplyAndAddDidOverflowInt64Int64Int64(int64_t{now.tv_sec} * 1000000 + now.tv_usec, 1000, timeout,
                                                    &nanoseconds))
        return deadline;
    deadline.isAbsolute = true;
    deadline.when.tv_sec = nanoseconds / kNanosecondsPerSecond;
    deadline.when.tv_nsec = nanoseconds % kNanosecondsPerSecond;
    return deadline;
}

int tavWaitOnConditionTimedRelative(pthread_cond_t* condition, TavSimpleMutexRef mutex, int64_t timeout,
                                    const char* operation)
{
    if (timeout < 0) {
        const int err = pthread_cond_wait(condition, &mutex->posix);
        if (err) TAV_SIGNAL_FROM(operation, err, "pthread_cond_wait failed");
        return err;
    }
    struct timespec when = {};
    clock_gettime(CLOCK_REALTIME, &when);
    when.tv_sec += timeout / kNanosecondsPerSecond;
    when.tv_nsec += timeout % kNanosecondsPerSecond;
    if (when.tv_nsec >= kNanosecondsPerSecond) {
        when.tv_nsec -= kNanosecondsPerSecond;
        when.tv_sec += 1;
    }
    const int err = pthread_cond_timedwait(condition, &mutex->posix, &when);
    if (err && err != ETIMEDOUT) TAV_SIGNAL_FROM(operation, err, "pthread_cond_timedwait_relative_np failed");
    return err;
}

int tavWaitOnCondition(pthread_cond_t* condition, TavSimpleMutexRef mutex, const TavDeadline& deadline,
                       const char* operation)
{
    if (!deadline.isAbsolute) return tavWaitOnConditionTimedRelative(condition, mutex, deadline.timeout, operation);
    const int err = pthread_cond_timedwait(condition, &mutex->posix, &deadline.when);
    if (err && err != ETIMEDOUT) TAV_SIGNAL_FROM(operation, err, "pthread_cond_timedwait failed");
    return err;
}

int TavUSleep(uint32_t microseconds) { return usleep(microseconds); }
