// Signal sources. A handler of ours counts arrivals in one word a signal and wakes the event thread, which hands the
// counts to the sources. A signal that is ignored never reaches a descriptor for signals, so a handler it has to be.

#include <errno.h>
#include <signal.h>

#include "Dispatch/EventThread.h"
#include "Dispatch/Queue.h"

struct dispatch_source_type_s {
    char kind;
};
const struct dispatch_source_type_s _dispatch_source_type_signal = {'s'};

namespace dispatch {

namespace {

class SignalSource final : public Object {
public:
    SignalSource(int signalNumber, Queue* target) : Object(target), signalNumber_(signalNumber) {}

    int signalNumber() const { return signalNumber_; }
    void setHandler(dispatch_function_t handler);
    void setCancelHandler(dispatch_function_t handler);
    void cancel();
    bool isCancelled();
    uintptr_t delivered();
    void arrived(uintptr_t count);

    void suspend() override;
    void resume() override;

private:
    void willDispose() override;
    bool hasWork() const;
    void pumpIfNeeded();
    void pump();

    const int signalNumber_;
    std::mutex lock_;  ///< guards the fields below; nothing is called under it
    dispatch_function_t handler_ = nullptr;
    dispatch_function_t cancelHandler_ = nullptr;
    uintptr_t arrived_ = 0;    ///< not handed to the handler yet
    uintptr_t delivered_ = 0;  ///< what the handler was last called for
    int suspended_ = 1;
    bool watching_ = false;
    bool cancelled_ = false;
    bool cancelDelivered_ = false;
    bool pumping_ = false;  ///< a pump is on the target queue and holds a reference
};

/// What the signal handler and the event thread share about one signal.
struct Watch {
    std::atomic<uintptr_t> arrived{0};
    std::atomic<void (*)(int)> plain{nullptr};  ///< the handler that stood before, in one of its two forms
    std::atomic<void (*)(int, siginfo_t*, void*)> detailed{nullptr};
    struct sigaction before {};
    memory::Vector<SignalSource*> sources;  ///< not retained: a source takes itself out before it goes
};

/// All fields but the atomic ones of a watch are guarded by the lock. Never destroyed: signals come to the end.
class Watches {
public:
    static Watches& shared()
    {
        static Watches* const watches = make<Watches>();
        return *watches;
    }
    void add(SignalSource* source);
    void remove(SignalSource* source);

private:
    static void onSignal(int signalNumber, siginfo_t* info, void* machine);
    static void collect() { shared().deliver(); }
    void install(int signalNumber);
    void uninstall(int signalNumber);
    void deliver();

    std::mutex lock_;
    Watch watches_[_NSIG];
};

void Watches::onSignal(int signalNumber, siginfo_t* info, void* machine)
{
    const int savedErrno = errno;
    Watch& watch = shared().watches_[signalNumber];
    watch.arrived.fetch_add(1);
    EventThread::shared().wake();
    if (auto detailed = watch.detailed.load())
        detailed(signalNumber, info, machine);
    else if (auto plain = watch.plain.load())
        plain(signalNumber);
    errno = savedErrno;
}

void Watches::install(int signalNumber)
{
    Watch& watch = watches_[signalNumber];
    sigaction(signalNumber, nullptr, &watch.before);
    const bool detailed = watch.before.sa_flags & SA_SIGINFO;
    const bool none = !detailed && (watch.before.sa_handler == SIG_DFL || watch.before.sa_handler == SIG_IGN);
    watch.detailed = detailed ? watch.before.sa_sigaction : nullptr;
    watch.plain = detailed || none ? nullptr : watch.before.sa_handler;

    EventThread::shared().watchSignal(signalNumber, collect);
    struct sigaction ours = {};
    ours.sa_sigaction = onSignal;
    ours.sa_flags = SA_SIGINFO | SA_RESTART | (watch.before.sa_flags & SA_ONSTACK);
    ours.sa_mask = watch.before.sa_mask;
    sigaction(signalNumber, &ours, nullptr);
}

void Watches::uninstall(int signalNumber)
{
    struct sigaction now = {};
    sigaction(signalNumber, nullptr, &now);
    if ((now.sa_flags & SA_SIGINFO) && now.sa_sigaction == onSignal)
        sigaction(signalNumber, &watches_[signalNumber].before, nullptr);
}

void Watches::add(SignalSource* source)
{
    std::lock_guard guard(lock_);
    auto& sources = watches_[source->signalNumber()].sources;
    if (source->isCancelled()) return;
    if (sources.empty()) install(source->signalNumber());
    sources.push_back(source);
}

void Watches::remove(SignalSource* source)
{
    std::lock_guard guard(lock_);
    auto& sources = watches_[source->signalNumber()].sources;
    if (std::erase(sources, source) && sources.empty()) uninstall(source->signalNumber());
}

void Watches::deliver()
{
    for (Watch& watch : watches_) {
        const uintptr_t count = watch.arrived.exchange(0);
        if (count == 0) continue;
        memory::Vector<SignalSource*> alive;
        {
            std::lock_guard guard(lock_);
            for (SignalSource* source : watch.sources)
                if (source->tryRetain()) alive.push_back(source);
        }
        for (SignalSource* source : alive) {
            source->arrived(count);
            source->release();
        }
    }
}

void SignalSource::setHandler(dispatch_function_t handler)
{
    {
        std::lock_guard guard(lock_);
        handler_ = handler;
    }
    pumpIfNeeded();
}

void SignalSource::setCancelHandler(dispatch_function_t handler)
{
    std::lock_guard guard(lock_);
    cancelHandler_ = handler;
}

void SignalSource::arrived(uintptr_t count)
{
    {
        std::lock_guard guard(lock_);
        arrived_ += count;
    }
    pumpIfNeeded();
}

uintptr_t SignalSource::delivered()
{
    std::lock_guard guard(lock_);
    return delivered_;
}

bool SignalSource::isCancelled()
{
    std::lock_guard guard(lock_);
    return cancelled_;
}

void SignalSource::suspend()
{
    std::lock_guard guard(lock_);
    ++suspended_;
}

void SignalSource::resume()
{
    bool watch = false;
    {
        std::lock_guard guard(lock_);
        if (suspended_ == 0) stop("source resumed more often than suspended");
        if (--suspended_ > 0) return;
        watch = !cancelled_ && !std::exchange(watching_, true);
    }
    if (watch) Watches::shared().add(this);
    pumpIfNeeded();
}

void SignalSource::cancel()
{
    {
        std::lock_guard guard(lock_);
        if (std::exchange(cancelled_, true)) return;
    }
    Watches::shared().remove(this);
    pumpIfNeeded();
}

void SignalSource::willDispose() { Watches::shared().remove(this); }

/// Under the lock.
bool SignalSource::hasWork() const
{
    if (suspended_ > 0) return false;
    return cancelled_ ? !cancelDelivered_ : arrived_ > 0 && handler_;
}

void SignalSource::pumpIfNeeded()
{
    {
        std::lock_guard guard(lock_);
        if (pumping_ || !hasWork()) return;
        pumping_ = true;
    }
    retain();
    target()->async(this, [](void* source) { static_cast<SignalSource*>(source)->pump(); });
}

void SignalSource::pump()
{
    dispatch_function_t call = nullptr;
    {
        std::lock_guard guard(lock_);
        if (hasWork()) {
            call = cancelled_ ? cancelHandler_ : handler_;
            if (cancelled_)
                cancelDelivered_ = true;
            else
                delivered_ = std::exchange(arrived_, 0);
        }
    }
    if (call) call(userContext.load());
    {
        std::lock_guard guard(lock_);
        pumping_ = false;
    }
    pumpIfNeeded();
    release();
}

}  // namespace

}  // namespace dispatch

using namespace dispatch;

static SignalSource* source(dispatch_source_t handle) { return reinterpret_cast<SignalSource*>(handle); }

dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle, uintptr_t mask,
                                         dispatch_queue_t queue)
{
    struct sigaction now;
    if (type != DISPATCH_SOURCE_TYPE_SIGNAL || mask || handle == 0 || handle >= _NSIG || handle == SIGKILL ||
        handle == SIGSTOP || sigaction(static_cast<int>(handle), nullptr, &now) != 0)
        return nullptr;
    Queue* target = queue ? fromHandle(queue) : globalQueue();
    return reinterpret_cast<dispatch_source_t>(make<SignalSource>(static_cast<int>(handle), target));
}

void dispatch_source_set_event_handler_f(dispatch_source_t handle, dispatch_function_t handler)
{
    source(handle)->setHandler(handler);
}
void dispatch_source_set_cancel_handler_f(dispatch_source_t handle, dispatch_function_t handler)
{
    source(handle)->setCancelHandler(handler);
}
void dispatch_source_cancel(dispatch_source_t handle) { source(handle)->cancel(); }
intptr_t dispatch_source_testcancel(dispatch_source_t handle) { return source(handle)->isCancelled(); }
uintptr_t dispatch_source_get_data(dispatch_source_t handle) { return source(handle)->delivered(); }
uintptr_t dispatch_source_get_handle(dispatch_source_t handle)
{
    return static_cast<uintptr_t>(source(handle)->signalNumber());
}
