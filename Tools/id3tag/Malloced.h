// The owner of memory that came from malloc.

#pragma once

#include <stdlib.h>

#include <memory>

struct MallocedFreed {
    void operator()(void* memory) const { free(memory); }
};
template <typename T>
using Malloced = std::unique_ptr<T, MallocedFreed>;
