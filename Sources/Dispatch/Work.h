// What queues and workers hand on: a link with a function, and lists of them that cost no allocation.

#pragma once

#include <dispatch/dispatch.h>
#include <pthread.h>

#include <condition_variable>
#include <mutex>

namespace dispatch {

/// Something that an executor runs once. The record is gone or in use again when `run` returns.
struct Work {
    Work* next = nullptr;
    void (*run)(Work* self) = nullptr;
};

/// First in, first out.
template <typename T>
class List {
public:
    bool empty() const { return !first_; }
    T* front() const { return first_; }
    void append(T* work)
    {
        work->next = nullptr;
        if (last_)
            last_->next = work;
        else
            first_ = work;
        last_ = work;
    }
    T* pop()
    {
        T* work = first_;
        if (work && !(first_ = static_cast<T*>(work->next))) last_ = nullptr;
        return work;
    }
    /// Takes all of `earlier` in before its own.
    void prepend(List& earlier)
    {
        if (earlier.empty()) return;
        earlier.last_->next = first_;
        if (!last_) last_ = earlier.last_;
        first_ = earlier.first_;
        earlier = List();
    }

private:
    T* first_ = nullptr;
    T* last_ = nullptr;
};

/// For a few instructions at a time: spins before it sleeps.
class BriefLock {
public:
    void lock() { pthread_mutex_lock(&mutex_); }
    void unlock() { pthread_mutex_unlock(&mutex_); }

private:
    pthread_mutex_t mutex_ = PTHREAD_ADAPTIVE_MUTEX_INITIALIZER_NP;
};

/// Happens once. The last thing that set() touches is the lock, so that the waiter may own the memory.
class Event {
public:
    void set()
    {
        std::lock_guard guard(lock_);
        happened_ = true;
        changed_.notify_all();
    }
    void wait()
    {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [this] { return happened_; });
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool happened_ = false;
};

}  // namespace dispatch
