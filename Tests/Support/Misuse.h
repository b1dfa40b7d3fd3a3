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
