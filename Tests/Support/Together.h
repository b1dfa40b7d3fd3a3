// The same work in several threads that begin at once.

#pragma once

#include <barrier>
#include <functional>
#include <thread>
#include <vector>

namespace luvia_test {

inline void runTogether(size_t threads, const std::function<void(size_t)>& work)
{
    std::barrier start(static_cast<std::ptrdiff_t>(threads));
    std::vector<std::jthread> running;
    for (size_t i = 0; i < threads; ++i)
        running.emplace_back([&, i] {
            start.arrive_and_wait();
            work(i);
        });
}

}  // namespace luvia_test
