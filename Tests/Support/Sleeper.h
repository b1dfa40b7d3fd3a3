// Knows from outside when a thread is inside a wait, instead of guessing.

#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>
#include <utility>

#include "Tests/Support/HandOver.h"

namespace luvia_test {

/// A thread whose work begins with a wait; join() ends it.
class Sleeper {
public:
    template <typename Work>
    explicit Sleeper(Work work)
        : thread_([this, work = std::move(work)] {
              id_ = gettid();
              work();
          })
    {}
    ~Sleeper() { join(); }
    void join()
    {
        if (thread_.joinable()) thread_.join();
    }
    /// Until the system has put the thread to sleep, as five looks in a row see it.
    void awaitAsleep() const
    {
        const auto deadline = std::chrono::steady_clock::now() + HandOver::kLimit;
        for (int seen = 0; seen < 5; seen = isAsleep() ? seen + 1 : 0) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the thread does not wait";
            usleep(500);
        }
    }

private:
    bool isAsleep() const
    {
        if (id_ == 0) return false;
        char path[64], state = 0;
        snprintf(path, sizeof(path), "/proc/self/task/%d/stat", int(id_));
        FILE* file = fopen(path, "re");
        const bool read = file && fscanf(file, "%*d (%*[^)]) %c", &state) == 1;
        if (file) fclose(file);
        return read && state == 'S';
    }

    std::atomic<pid_t> id_{0};
    std::thread thread_;
};

}  // namespace luvia_test
