// What a fuzz target finds wrong ends the process, with a word about it.

#pragma once

#include <cstdio>
#include <cstdlib>

inline void require(bool condition, const char* what = "a check of the target failed")
{
    if (condition) return;
    std::fprintf(stderr, "wrong: %s\n", what);
    std::abort();
}
