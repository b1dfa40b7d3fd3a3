#include "Tests/Core/TavBlockBuffer/BlockBufferModel.h"

#include <gtest/gtest.h>

#include <random>

using namespace luvia_test;

TEST(BlockBufferModel, agreesAfterAnySequenceOfOperations)
{
    const unsigned seed = std::random_device{}();
    std::printf("seed %u\n", seed);
    std::mt19937 random(seed);
    BlockBufferModel model([&random](size_t n) { return random() % n; },
                           [seed](const char* what) { ADD_FAILURE() << what << ", seed " << seed; });
    for (int i = 0; i < 10000 && !::testing::Test::HasFailure(); ++i) {
        model.step();
        if (i % 50 == 0) model.verifyAll();
    }
    model.verifyAll();
    model.releaseAll();
}
