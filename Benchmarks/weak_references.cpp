// packages: gobject-2.0
// bar: LoadWeak_luvia <= 0.7 * LoadWeak_glib
// bar: LoadWeak_luvia <= 2.0 * LoadWeak_std
// bar: LoadWeakOnTwoThreads_luvia <= 0.7 * LoadWeakOnTwoThreads_glib
// bar: LoadWeakOnTwoThreads_luvia <= 2.0 * LoadWeakOnTwoThreads_std
// bar: MakeOneWeakDie_luvia <= 4.0 * MakeOneWeakDie_std
// bar: HoldMany_luvia/100000 >= 5e6 items/s

#include <benchmark/benchmark.h>
#include <glib-object.h>

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoData.h"
#include "Utilities/TavZoWeakReference.h"

namespace {

// A second thread that lives makes counting atomic everywhere: what a program with threads pays.
const std::thread& anotherThread()
{
    static auto* const sThread = new std::thread([] {
        for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
    });
    return *sThread;
}

ZoRef<ZoTypeRef> makeObject() { return zoAdopt(ZoTypeRef{ZoDataCreate(nullptr, nullptr, 0)}); }

struct LuviaWeak {
    LuviaWeak() { TavZoWeakReferenceInit(&weak, object.get()); }
    ~LuviaWeak() { TavZoWeakReferenceDestroy(&weak); }
    void load() { ZoRelease(TavZoWeakReferenceLoadAndRetain(&weak)); }
    ZoRef<ZoTypeRef> object = makeObject();
    alignas(64) TavZoWeakReference weak;
};

struct GLibWeak {
    GLibWeak() { g_weak_ref_init(&weak, object); }
    ~GLibWeak()
    {
        g_weak_ref_clear(&weak);
        g_object_unref(object);
    }
    void load() { g_object_unref(g_weak_ref_get(&weak)); }
    GObject* object = G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
    alignas(64) GWeakRef weak;
};

struct StdWeak {
    void load() { benchmark::DoNotOptimize(weak.lock()); }
    std::shared_ptr<int> object = std::make_shared<int>(1);
    alignas(64) std::weak_ptr<int> weak = object;
};

template <typename Weak>
void loadWeak(benchmark::State& state)
{
    anotherThread();
    Weak weak;
    for (auto _ : state) weak.load();
}

}  // namespace

static void LoadWeak_luvia(benchmark::State& state) { loadWeak<LuviaWeak>(state); }
static void LoadWeak_glib(benchmark::State& state) { loadWeak<GLibWeak>(state); }
static void LoadWeak_std(benchmark::State& state) { loadWeak<StdWeak>(state); }
BENCHMARK(LoadWeak_luvia);
BENCHMARK(LoadWeak_glib);
BENCHMARK(LoadWeak_std);

// Each thread has an object of its own.
static void LoadWeakOnTwoThreads_luvia(benchmark::State& state) { loadWeak<LuviaWeak>(state); }
static void LoadWeakOnTwoThreads_glib(benchmark::State& state) { loadWeak<GLibWeak>(state); }
static void LoadWeakOnTwoThreads_std(benchmark::State& state) { loadWeak<StdWeak>(state); }
BENCHMARK(LoadWeakOnTwoThreads_luvia)->Threads(2);
BENCHMARK(LoadWeakOnTwoThreads_glib)->Threads(2);
BENCHMARK(LoadWeakOnTwoThreads_std)->Threads(2);

static void MakeOneWeakDie_luvia(benchmark::State& state)
{
    anotherThread();
    for (auto _ : state) {
        TavZoWeakReference weak;
        auto object = makeObject();
        TavZoWeakReferenceInit(&weak, object.get());
        object.reset();
        TavZoWeakReferenceDestroy(&weak);
    }
}
BENCHMARK(MakeOneWeakDie_luvia);

static void MakeOneWeakDie_std(benchmark::State& state)
{
    anotherThread();
    for (auto _ : state) {
        auto object = std::make_shared<int>(1);
        std::weak_ptr<int> weak = object;
        object.reset();
        benchmark::DoNotOptimize(weak.expired());
    }
}
BENCHMARK(MakeOneWeakDie_std);

// One after the other of many objects that are held weakly: the time is that of one.
static void HoldMany_luvia(benchmark::State& state)
{
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<LuviaWeak> weak(count);
    for (auto _ : state)
        for (LuviaWeak& one : weak) one.load();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(HoldMany_luvia)->Arg(100)->Arg(1000)->Arg(10000)->Arg(100000);

BENCHMARK_MAIN();
