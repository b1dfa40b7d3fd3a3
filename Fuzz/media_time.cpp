// Three times of any bits, two factors and a number: the operations agree with exact arithmetic where the times can be,
// and survive where they cannot; what comes out is a number or one of the four times that are none.

#include <cstdio>
#include <cstring>

#include "Tests/Core/TavTime/TimeChecker.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    time_model::Operands in = {};
    if (size > sizeof in) size = sizeof in;
    memcpy(&in, data, size);
    if (const char* fault = time_model::findFault(in)) {
        fprintf(stderr, "wrong: %s\n", fault);
        abort();
    }
    return 0;
}
