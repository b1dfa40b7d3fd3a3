// Numbers that differ from run to run; what fails while they are in scope names their seed.

#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace luvia_test {

class SeededRandom {
public:
    uint64_t operator()() { return engine_(); }
    /// Below `limit`; 0 if that is 0.
    size_t below(size_t limit) { return limit ? static_cast<size_t>(engine_()) % limit : 0; }

private:
    const uint64_t seed_ = std::random_device{}();
    testing::ScopedTrace trace_{__FILE__, __LINE__, "seed " + std::to_string(seed_)};
    std::mt19937_64 engine_{seed_};
};

}  // namespace luvia_test
