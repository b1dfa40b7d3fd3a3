// Sequences of operations on block buffers, chosen by the input, beside the model.

#include <cstdint>

#include "Tests/Core/TavBlockBuffer/BlockBufferModel.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    size_t at = 0;
    const auto choose = [&](size_t n) {
        size_t value = at < size ? data[at++] : 0;
        if (n > 256 && at < size) value = value << 8 | data[at++];
        return value % n;
    };
    luvia_test::BlockBufferModel model(choose, [](const char* what) {
        std::fprintf(stderr, "model and buffer differ: %s\n", what);
        std::abort();
    });
    for (int steps = 0; at < size && steps < 500; ++steps) model.step();
    model.verifyAll();
    model.releaseAll();
    return 0;
}
