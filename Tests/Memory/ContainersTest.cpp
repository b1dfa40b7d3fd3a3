#include <gtest/gtest.h>

#include <memory>

#include "Memory/Containers.h"

// Sizes that no machine has end in the one line here, not in a finding.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace {

struct Budget {
    int* left;
    void* allocate(size_t bytes) const noexcept { return (*left)-- > 0 ? std::malloc(bytes) : nullptr; }
    void deallocate(void* block) const noexcept { std::free(block); }
};

TEST(ReportingArray, isAsItWasWhereItSaysNo)
{
    int left = 1;
    memory::ReportingArray<std::unique_ptr<int>, Budget> array{Budget{&left}};
    int appended = 0;
    while (array.append(std::make_unique<int>(appended))) ++appended;
    EXPECT_GT(appended, 0);
    EXPECT_FALSE(array.resize(100));
    EXPECT_FALSE(array.reserve(SIZE_MAX / 4));
    ASSERT_EQ(array.size(), static_cast<size_t>(appended));
    left = 1;
    EXPECT_TRUE(array.resize(100));
    for (int i = 0; i < appended; ++i) EXPECT_EQ(*array[static_cast<size_t>(i)], i);
    EXPECT_EQ(array.back(), nullptr);
    array.truncate(1);
    const auto moved = std::move(array);
    EXPECT_EQ(moved.size(), 1u);
    EXPECT_TRUE(array.empty());
}

TEST(ReportingArray, appendsRuns)
{
    memory::ReportingArray<int> array;
    const int run[] = {1, 2, 3};
    for (int i = 0; i < 100; ++i) ASSERT_TRUE(array.append(std::span<const int>(run)));
    EXPECT_EQ(array.size(), 300u);
    for (size_t i = 0; i < array.size(); ++i) ASSERT_EQ(array[i], run[i % 3]);
}

TEST(StoppingContainersDeathTest, endWithOneLine)
{
    memory::StoppingAllocator<int> allocator;
    const auto allocate = [&](size_t count) {
        int* const block = allocator.allocate(count);
        asm volatile("" : : "r"(block) : "memory");  // memory that nobody looks at would not be asked for
    };
    EXPECT_EXIT(allocate(SIZE_MAX / 8), testing::KilledBySignal(SIGABRT), "luvia: out of memory\n$");
    EXPECT_EXIT(allocate(SIZE_MAX / 2), testing::KilledBySignal(SIGABRT), "out of memory");
}

}  // namespace
