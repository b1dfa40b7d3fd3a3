// Times as tests write, compare and make them up.

#pragma once

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <random>
#include <string>

#include "Core/TavTime/LuTimeRange.h"
#include "Tests/Core/TavTime/TimeModel.h"

inline void PrintTo(const LuTime& time, std::ostream* out)
{
    *out << time.value << "/" << time.timescale << " flags " << time.flags << " epoch " << time.epoch;
}

inline void PrintTo(const LuTimeRange& range, std::ostream* out)
{
    *out << "from ";
    PrintTo(range.start, out);
    *out << " for ";
    PrintTo(range.duration, out);
}

namespace time_test {

constexpr int64_t kMax = INT64_MAX;
constexpr int64_t kMin = INT64_MIN;

inline LuTime exact(int64_t value, int32_t timescale, int64_t epoch = 0) { return {value, timescale, 1, epoch}; }
inline LuTime rounded(int64_t value, int32_t timescale, int64_t epoch = 0) { return {value, timescale, 3, epoch}; }

/// Numbers of every size, and their neighbours, where arithmetic goes wrong.
class TimeMaker {
public:
    TimeMaker() : seed_(std::random_device{}()), engine_(seed_)
    {
        printf("seed %u\n", seed_);
        ::testing::Test::RecordProperty("seed", std::to_string(seed_));
    }

    uint64_t below(uint64_t limit) { return engine_() % limit; }

    int64_t value()
    {
        static constexpr int64_t kCorners[] = {0,    1,        -1,       2,         kMax,     -kMax,
                                               kMin, kMax - 1, kMin + 2, INT32_MAX, INT32_MIN};
        if (below(6) == 0) return kCorners[below(std::size(kCorners))];
        const auto magnitude = static_cast<int64_t>(engine_() >> (1 + below(63)));
        return below(2) ? magnitude : -magnitude;
    }

    int32_t timescale()
    {
        static constexpr int32_t kCommon[] = {
            1,     2,     3,     24,     25,      30,      600,       1000,       1001,       24000,      30000,
            44100, 48000, 90000, 240000, 1000000, 1 << 20, 705600000, 1000000000, 1000000007, 1000000009, INT32_MAX};
        if (below(3) != 0) return kCommon[below(std::size(kCommon))];
        return static_cast<int32_t>(1 + (engine_() & 0x7FFFFFFE) % INT32_MAX) >> below(31) | 1;
    }

    int32_t factor()
    {
        static constexpr int32_t kCorners[] = {0, 1, -1, 2, 3, -7, INT32_MAX, INT32_MIN, -INT32_MAX};
        if (below(4) == 0) return kCorners[below(std::size(kCorners))];
        const auto magnitude = static_cast<int32_t>((engine_() & INT32_MAX) >> below(31));
        return below(2) ? magnitude : -magnitude;
    }

    LuTime numeric()
    {
        return {value(), timescale(), below(4) ? 1u : 3u, below(5) ? 0 : static_cast<int64_t>(below(3)) - 1};
    }

    LuTime any()
    {
        const LuTime kinds[] = {kLuTimeInvalid, kLuTimeIndefinite, kLuTimePositiveInfinity, kLuTimeNegativeInfinity};
        return below(8) ? numeric() : kinds[below(4)];
    }

private:
    unsigned seed_;
    std::mt19937_64 engine_;
};

}  // namespace time_test
