// bar: SerialAsyncAndWait_luvia/real_time <= 1.5 * SerialAsyncAndWait_mutexAndCondition/real_time
// bar: SerialAsyncAndWait_luvia/real_time >= 2e6 items/s

#include <benchmark/benchmark.h>
#include <dispatch/dispatch.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

static constexpr int kTasks = 1'000'000;

static void SerialAsyncAndWait_luvia(benchmark::State& state)
{
    dispatch_queue_t queue = dispatch_queue_create("bench", DISPATCH_QUEUE_SERIAL);
    for (auto _ : state) {
        for (int i = 0; i < kTasks; ++i) dispatch_async_f(queue, nullptr, [](void*) {});
        dispatch_sync_f(queue, nullptr, [](void*) {});
    }
    state.SetItemsProcessed(state.iterations() * kTasks);
    dispatch_release(queue);
}
BENCHMARK(SerialAsyncAndWait_luvia)->UseRealTime()->Unit(benchmark::kMillisecond);

namespace {

/// The plain form: one worker, one lock, one condition.
class FunctionQueue {
public:
    ~FunctionQueue()
    {
        push(nullptr);
        worker_.join();
    }
    void push(std::function<void()> task)
    {
        {
            std::lock_guard guard(lock_);
            tasks_.push_back(std::move(task));
        }
        arrived_.notify_one();
    }

private:
    void run()
    {
        for (;;) {
            std::unique_lock guard(lock_);
            arrived_.wait(guard, [this] { return !tasks_.empty(); });
            std::function<void()> task = std::move(tasks_.front());
            tasks_.pop_front();
            guard.unlock();
            if (!task) return;
            task();
        }
    }
    std::mutex lock_;
    std::condition_variable arrived_;
    std::deque<std::function<void()>> tasks_;
    std::thread worker_{[this] { run(); }};
};

}  // namespace

static void SerialAsyncAndWait_mutexAndCondition(benchmark::State& state)
{
    FunctionQueue queue;
    for (auto _ : state) {
        for (int i = 0; i < kTasks; ++i) queue.push([] {});
        std::mutex lock;
        std::condition_variable changed;
        bool done = false;
        queue.push([&] {
            std::lock_guard guard(lock);
            done = true;
            changed.notify_one();
        });
        std::unique_lock guard(lock);
        changed.wait(guard, [&] { return done; });
    }
    state.SetItemsProcessed(state.iterations() * kTasks);
}
BENCHMARK(SerialAsyncAndWait_mutexAndCondition)->UseRealTime()->Unit(benchmark::kMillisecond);

// What a caller pays where nothing is in the way.
static void UncontendedSync_luvia(benchmark::State& state)
{
    dispatch_queue_t queue = dispatch_queue_create("bench", DISPATCH_QUEUE_SERIAL);
    for (auto _ : state) dispatch_sync_f(queue, nullptr, [](void*) {});
    dispatch_release(queue);
}
BENCHMARK(UncontendedSync_luvia);

static void OnceWhenDone_luvia(benchmark::State& state)
{
    dispatch_once_t once = 0;
    for (auto _ : state) {
        dispatch_once_f(&once, nullptr, [](void*) {});
        benchmark::ClobberMemory();
    }
}
BENCHMARK(OnceWhenDone_luvia);

BENCHMARK_MAIN();
