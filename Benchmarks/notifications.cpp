// bar: PostToOne_luvia <= 1.6 * PostToOne_platform
// bar: PostToThousand_luvia <= 1.1 * PostToThousand_platform
// bar: PostToTenWeak_luvia <= 1.0 * PostToTenTracked_signals

#include <benchmark/benchmark.h>

#include <boost/signals2.hpp>
#include <memory>
#include <vector>

#include "Core/TavNotificationCenter/TavNotificationCenter.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"

namespace {

const ZoStringRef kName = ZOSTR("happened");
int sCalls;
void called(ZoNotificationCenterRef, void*, ZoStringRef, const void*, ZoDictionaryRef) { ++sCalls; }

ZoRef<ZoTypeRef> makeObject() { return zoAdopt(ZoTypeRef{ZoDataCreate(nullptr, nullptr, 0)}); }

// An object with so many plain listeners.
struct Plain {
    explicit Plain(int count) : listeners(static_cast<size_t>(count))
    {
        for (char& listener : listeners)
            LuNotificationCenterAddListener(center, &listener, called, kName, object.get(), 0);
    }
    ~Plain()
    {
        for (char& listener : listeners)
            LuNotificationCenterRemoveListener(center, &listener, called, kName, object.get());
    }
    LuNotificationCenterRef center = LuNotificationCenterGetDefaultLocalCenter();
    ZoRef<ZoTypeRef> object = makeObject();
    std::vector<char> listeners;
};

void postLuvia(benchmark::State& state, int count)
{
    Plain plain(count);
    for (auto _ : state) LuNotificationCenterPostNotification(plain.center, kName, plain.object.get(), nullptr, 0);
}
void postPlatform(benchmark::State& state, int count)
{
    Plain plain(count);
    for (auto _ : state) ZoNotificationCenterPostNotification(plain.center, kName, plain.object.get(), nullptr, true);
}

}  // namespace

static void PostToOne_luvia(benchmark::State& state) { postLuvia(state, 1); }
static void PostToOne_platform(benchmark::State& state) { postPlatform(state, 1); }
static void PostToThousand_luvia(benchmark::State& state) { postLuvia(state, 1000); }
static void PostToThousand_platform(benchmark::State& state) { postPlatform(state, 1000); }
BENCHMARK(PostToOne_luvia);
BENCHMARK(PostToOne_platform);
BENCHMARK(PostToThousand_luvia);
BENCHMARK(PostToThousand_platform);

static void PostToTenWeak_luvia(benchmark::State& state)
{
    LuNotificationCenterRef const center = LuNotificationCenterGetDefaultLocalCenter();
    const auto object = makeObject();
    std::vector<ZoRef<ZoTypeRef>> listeners;
    for (int i = 0; i < 10; ++i) {
        listeners.push_back(makeObject());
        TavNotificationCenterAddWeakListener(center, listeners.back().get(), called, kName, object.get(), 0, nullptr);
    }
    for (auto _ : state) LuNotificationCenterPostNotification(center, kName, object.get(), nullptr, 0);
}
BENCHMARK(PostToTenWeak_luvia);

static void PostToTenTracked_signals(benchmark::State& state)
{
    using Signal = boost::signals2::signal<void(const void*)>;
    Signal signal;
    std::vector<std::shared_ptr<int>> listeners;
    for (int i = 0; i < 10; ++i) {
        listeners.push_back(std::make_shared<int>(0));
        signal.connect(Signal::slot_type([](const void*) { ++sCalls; }).track_foreign(listeners.back()));
    }
    for (auto _ : state) signal(&signal);
}
BENCHMARK(PostToTenTracked_signals);

BENCHMARK_MAIN();
