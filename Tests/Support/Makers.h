// Operations in a form that a sweep over failing allocations can repeat: one row an operation.

#pragma once

#include <gtest/gtest.h>

#include "Tests/Support/FailingAllocator.h"

namespace luvia_test {

/// What came of it. A result that lacks something, or a status beside a result, is wrong whatever failed on the way.
enum class Made { kWhole, kRefused, kWrong };

/// `isThere` says that the operation claims to have worked, `isWhole` that its result is the one expected.
inline Made made(bool isThere, bool isWhole)
{
    return !isThere ? Made::kRefused : isWhole ? Made::kWhole : Made::kWrong;
}

struct Maker {
    const char* what;
    Made (*make)(ZoAllocatorRef allocator);  ///< leaves nothing behind; takes what inputs it lacks for a refusal
    int64_t calls = 0;                       ///< of the allocator, at the least; 0 where none is passed on
    bool sparesICU = false;  ///< ICU 72 reads through null pointers where memory ends in ucal_open or udat_open
};

/// Fails each call of the allocator that is passed in once: nothing is lost silently, left behind, or ends the process.
inline void sweepMakers(const Maker* makers, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const Maker& maker = makers[i];
        if (maker.calls == 0) continue;
        SCOPED_TRACE(maker.what);
        const int64_t calls = sweepAllocationFailures([&](FailingAllocator& allocator) {
            const Made result = maker.make(allocator.get());
            EXPECT_NE(result, Made::kWrong) << "call " << allocator.calls();
            EXPECT_TRUE(result == Made::kWhole || allocator.hasFailed());
        });
        EXPECT_GE(calls, maker.calls);
    }
}
template <size_t N>
void sweepMakers(const Maker (&makers)[N])
{
    sweepMakers(makers, N);
}

}  // namespace luvia_test
