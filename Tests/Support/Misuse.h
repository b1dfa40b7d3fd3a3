// What a caller's mistake does: debug builds of the library stop with a line, release builds do what is defined.

#pragma once

#include <gtest/gtest.h>

#ifdef NDEBUG
#define EXPECT_MISUSE(statement, message) \
    do {                                  \
        statement;                        \
    } while (0)
#else
#define EXPECT_MISUSE(statement, message) EXPECT_DEATH({ statement; }, message)
#endif

namespace luvia_test {

struct Misuse {
    void (*misuse)();
    const char* line;  // that a debug build ends with
};

/// One row a mistake; what a release build answers is checked inside of the row.
template <size_t N>
void expectMisuses(const Misuse (&rows)[N])
{
    for (const Misuse& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_MISUSE(row.misuse(), row.line);
    }
}

}  // namespace luvia_test
