// Locks beside the POSIX ones that they stand on.
// bar: SimpleMutex_luvia <= 1.05 * SimpleMutex_pthread
// bar: ReadLock_luvia/1 <= 1.4 * ReadLock_pthread/1
// bar: ReadLock_luvia/2 <= 1.4 * ReadLock_pthread/2
// bar: ReadLock_luvia/4 <= 1.0 * ReadLock_pthread/4
// bar: SemaphoreHandOver_luvia <= 1.5 * SemaphoreHandOver_sem

#include <benchmark/benchmark.h>
#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <thread>
#include <vector>

#include "Platform/Common/CommonSynchronization.h"

namespace {

void SimpleMutex_luvia(benchmark::State& state)
{
    const TavSimpleMutexRef mutex = TavSimpleMutexCreate();
    for (auto _ : state) {
        TavSimpleMutexLock(mutex);
        benchmark::ClobberMemory();
        TavSimpleMutexUnlock(mutex);
    }
    TavSimpleMutexDestroy(mutex);
}
BENCHMARK(SimpleMutex_luvia);

void SimpleMutex_pthread(benchmark::State& state)
{
    auto* mutex = new pthread_mutex_t;
    pthread_mutex_init(mutex, nullptr);
    for (auto _ : state) {
        pthread_mutex_lock(mutex);
        benchmark::ClobberMemory();
        pthread_mutex_unlock(mutex);
    }
    pthread_mutex_destroy(mutex);
    delete mutex;
}
BENCHMARK(SimpleMutex_pthread);

// The readers are inside one turn of the benchmark, so that the time is that of all of them, wherever they ran.
template <typename Lock, typename Unlock>
void readers(benchmark::State& state, Lock lock, Unlock unlock)
{
    constexpr int kTurns = 50000;
    for (auto _ : state) {
        std::vector<std::thread> threads;
        for (int index = 0; index < state.range(0); ++index)
            threads.emplace_back([&] {
                for (int turn = 0; turn < kTurns; ++turn) {
                    lock();
                    benchmark::ClobberMemory();
                    unlock();
                }
            });
        for (std::thread& thread : threads) thread.join();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * kTurns);
}

void ReadLock_luvia(benchmark::State& state)
{
    const TavReadWriteLockRef lock = TavReadWriteLockCreate(kTavReadWriteLockFlag_WritersTakePrecedence);
    readers(
        state, [&] { TavReadWriteLockLockForRead(lock); }, [&] { TavReadWriteLockUnlockForRead(lock); });
    TavReadWriteLockDestroy(lock);
}
BENCHMARK(ReadLock_luvia)->Arg(1)->Arg(2)->Arg(4)->UseRealTime();

void ReadLock_pthread(benchmark::State& state)
{
    pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
    readers(
        state, [&] { pthread_rwlock_rdlock(&lock); }, [&] { pthread_rwlock_unlock(&lock); });
    pthread_rwlock_destroy(&lock);
}
BENCHMARK(ReadLock_pthread)->Arg(1)->Arg(2)->Arg(4)->UseRealTime();

/// One turn: there and back.
template <typename Signal, typename Wait>
void handOver(benchmark::State& state, Signal signal, Wait wait)
{
    std::atomic<bool> ends = false;
    std::thread partner([&] {
        for (;;) {
            wait(0);
            const bool last = ends;
            signal(1);
            if (last) return;
        }
    });
    for (auto _ : state) {
        signal(0);
        wait(1);
    }
    ends = true;
    signal(0);
    partner.join();
}

void SemaphoreHandOver_luvia(benchmark::State& state)
{
    const TavSemaphoreRef semaphores[] = {TavSemaphoreCreate(0, 1), TavSemaphoreCreate(0, 1)};
    handOver(
        state, [&](int i) { TavSemaphoreSignal(semaphores[i]); },
        [&](int i) { TavSemaphoreWaitRelative(semaphores[i], kTavWaitForever); });
    for (const TavSemaphoreRef semaphore : semaphores) TavSemaphoreDestroy(semaphore);
}
BENCHMARK(SemaphoreHandOver_luvia)->UseRealTime();

void SemaphoreHandOver_sem(benchmark::State& state)
{
    sem_t semaphores[2];
    for (sem_t& semaphore : semaphores) sem_init(&semaphore, 0, 0);
    handOver(
        state, [&](int i) { sem_post(&semaphores[i]); }, [&](int i) { sem_wait(&semaphores[i]); });
    for (sem_t& semaphore : semaphores) sem_destroy(&semaphore);
}
BENCHMARK(SemaphoreHandOver_sem)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
