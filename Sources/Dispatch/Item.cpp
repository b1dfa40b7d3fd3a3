#include "Dispatch/Item.h"

#include <array>
#include <atomic>

#include "Dispatch/Group.h"
#include "Dispatch/Object.h"

namespace dispatch {

static constexpr unsigned kSlots = 63;

struct Slab {
    std::atomic<unsigned> live{kSlots};  ///< items that have not run, issued or not
    Item items[kSlots];

    void retire(unsigned count);
};

namespace {

constexpr unsigned kMaximumSpares = 64;

/// Slabs at hand. Constant initialisation, no destruction: tasks run until the process ends.
class Spares {
public:
    bool put(Slab* slab)
    {
        std::lock_guard guard(lock_);
        if (count_ == kMaximumSpares) return false;
        slabs_[count_++] = slab;
        return true;
    }
    Slab* get()
    {
        std::lock_guard guard(lock_);
        return count_ > 0 ? slabs_[--count_] : nullptr;
    }

private:
    std::mutex lock_;
    unsigned count_ = 0;
    std::array<Slab*, kMaximumSpares> slabs_{};
};

constinit Spares gSpares;

}  // namespace

void Slab::retire(unsigned count)
{
    if (live.fetch_sub(count, std::memory_order_acq_rel) > count) return;
    live.store(kSlots, std::memory_order_relaxed);
    if (!gSpares.put(this)) delete this;
}

namespace {

/// The slab that a thread issues items from.
struct ThreadSlab {
    ~ThreadSlab()
    {
        if (issued < kSlots) slab->retire(kSlots - issued);
        issued = kSlots;
    }

    Slab* slab = nullptr;
    unsigned issued = kSlots;
};

thread_local constinit ThreadSlab tSlab;

}  // namespace

Item* Item::create(void* context, dispatch_function_t function)
{
    ThreadSlab& mine = tSlab;
    if (mine.issued == kSlots) {
        mine.slab = gSpares.get();
        if (!mine.slab) mine.slab = make<Slab>();
        mine.issued = 0;
    }
    Item* item = new (&mine.slab->items[mine.issued++]) Item(context, function);
    item->slab = mine.slab;
    return item;
}

void Item::perform()
{
    function(context);
    Group* entered = group;
    slab->retire(1);
    if (entered) entered->leave();
}

}  // namespace dispatch
