#include "Dispatch/Threads.h"

#include <pthread.h>
#include <sched.h>
#include <signal.h>

#include <memory>

#include "Dispatch/Object.h"

namespace dispatch {

namespace {

struct Start {
    const char* name;
    void (*body)(void* context);
    void* context;
};

void* run(void* context)
{
    const Start start = *std::unique_ptr<Start>(static_cast<Start*>(context));
    pthread_setname_np(pthread_self(), start.name);
    start.body(start.context);
    return nullptr;
}

}  // namespace

bool startThread(const char* name, void (*body)(void* context), void* context)
{
    sigset_t blocked, old;
    sigfillset(&blocked);
    for (int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS}) sigdelset(&blocked, fault);
    Start* start = make<Start>(Start{name, body, context});

    pthread_sigmask(SIG_SETMASK, &blocked, &old);
    pthread_t thread;
    const int failure = pthread_create(&thread, nullptr, run, start);
    pthread_sigmask(SIG_SETMASK, &old, nullptr);

    if (failure) {
        delete start;
        return false;
    }
    pthread_detach(thread);
    return true;
}

unsigned processorCount()
{
    cpu_set_t set;
    const int count = sched_getaffinity(0, sizeof set, &set) == 0 ? CPU_COUNT(&set) : 1;
    return count > 0 ? static_cast<unsigned>(count) : 1;
}

}  // namespace dispatch
